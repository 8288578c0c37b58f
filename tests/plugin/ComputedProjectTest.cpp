// The tools over stations that were computed.
#include "tests/plugin/ProjectFixture.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/StatementTrace.h"
#include "tests/support/WaitUntil.h"

#include "host/inspection/Station.h"
#include "host/inspection/StationWindow.h"
#include "host/viewmanager/pick.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>
#include <osgEarthAnnotation/PlaceNode>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

TEST_F(OnAProject, ReportAndShapeCommandsWriteWhatTheirNamesSay) {
    computeAllStations();
    struct Output {
        const char* command;
        QString kind;
        QString suffix;
    };
    for (const Output& output : {Output{"输出报告", "report", "pdf"}, Output{"输出shape", "shape", ""}}) {
        const QTemporaryDir folder;
        InspectionContext::instance().setOutputFolder(folder.path());
        QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::outputFinished);
        m_host.click(output.command);
        EXPECT_FALSE(m_host.button(output.command).isChecked()) << output.command;
        ASSERT_TRUE(waitUntil([&] { return !finished.isEmpty(); }, 120000)) << output.command;
        EXPECT_EQ(finished[0][0].toString(), output.kind) << output.command;
        EXPECT_TRUE(finished[0][1].toBool()) << output.command;
        const QFileInfo written(finished[0][2].toString());
        EXPECT_TRUE(written.exists()) << output.command;
        EXPECT_EQ(written.suffix(), output.suffix) << output.command;
    }
    InspectionContext::instance().setOutputFolder(QString());
}

osg::ref_ptr<GUIEventAdapter> pressInTheMiddle(const PluginHost& host) {
    const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
    event->setEventType(GUIEventAdapter::PUSH);
    event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
    event->setX(static_cast<float>(host.globe->width()) / 2.0F);
    event->setY(static_cast<float>(host.globe->height()) / 2.0F);
    return event;
}

/// Presses the left button of the anomaly tool in the middle of the globe.
void press(const PluginHost& host) {
    host.handler("查看\\编辑异常")
        .handle(*pressInTheMiddle(host), *dynamic_cast<osgGA::GUIActionAdapter*>(host.globe->getViewer()));
}

/// Text of the elevation difference on the globe, empty while there is none.
std::string toldDifference(const PluginHost& host) {
    osgEarth::MapNode* mapNode = host.globe->getMapNode();
    for (unsigned index = 0; index < mapNode->getNumChildren(); ++index) {
        if (const auto* label = dynamic_cast<osgEarth::Annotation::PlaceNode*>(mapNode->getChild(index))) {
            return label->getText();
        }
    }
    return {};
}

/// What was measured in the middle of the globe, as the tool writes it.
std::string measuredDifference(const PluginHost& host, KV_StationItem& station) {
    osgEarth::GeoPoint point;
    EXPECT_TRUE(point.fromWorld(host.globe->getMapNode()->getMapSRS(),
                                pick(host.globe->getViewer(), *pressInTheMiddle(host))));
    point = point.transform(osgEarth::SpatialReference::get(station.m_station.m_srs));
    double metres = 0.0;
    EXPECT_TRUE(station.readdiffvz());
    EXPECT_TRUE(station.m_diffData.GetdZ(point.x(), point.y(), metres));
    return QString::number(metres, 'g', 6).toStdString();
}

TEST_F(OnAProject, APressOnAStationWithoutAnomaliesTellsTheMeasuredDifference) {
    computeAllStations();
    const QString folder = InspectionContext::instance().project()->description().folder;
    const auto last = static_cast<int>(stationCount());
    InspectionContext::instance().closeProject();
    ForeignConnection(folder + "/inspection.db")
        .run(QStringLiteral("delete from anomaly where station_id=%1").arg(last));
    ASSERT_FALSE(InspectionContext::instance().openProject(folder));
    checkAllStations();
    KV_StationItem& station =
        *InspectionContext::instance().GetStationWindow()->GetSelectedStationItem().back();
    ASSERT_TRUE(station.m_diffData.m_anomalies.empty());

    flyToLastStation();
    m_host.click("查看\\编辑异常");
    m_host.settle();
    press(m_host);
    EXPECT_NE(toldDifference(m_host), "0");
    EXPECT_EQ(toldDifference(m_host), measuredDifference(m_host, station));
    flyToFirstStation();
}

TEST_F(OnAProject, APressFollowsWhatAnotherProgramStoresOfAStation) {
    computeAllStations();
    m_host.click("查看\\编辑异常");
    m_host.settle();
    press(m_host);
    const std::string measured = toldDifference(m_host);
    EXPECT_NE(measured, "0");

    const ForeignConnection other(InspectionContext::instance().project()->description().folder +
                                  "/inspection.db");
    other.run("update station set x_min=x_min+1e6, x_max=x_max+1e6 where id=1");
    press(m_host);
    EXPECT_EQ(toldDifference(m_host), "0") << "the station has gone from there";
    other.run("update station set x_min=x_min-1e6, x_max=x_max-1e6 where id=1");
    press(m_host);
    EXPECT_EQ(toldDifference(m_host), measured);
}

TEST_F(OnAProject, APressAsksForTheRecordsOfTheShownStationsAndForNothingElse) {
    computeAllStations();
    flyToLastStation();
    m_host.click("查看\\编辑异常");
    m_host.settle();
    press(m_host);
    const StatementTrace trace;
    press(m_host);
    QStringList selects = trace.statements();
    selects.removeAll("pragma data_version");
    QStringList records;
    for (std::uint32_t id = 1; id <= stationCount(); ++id) {
        records << QStringLiteral("select * from station where id=%1").arg(id);
    }
    EXPECT_EQ(selects.mid(0, records.size()), records);
    for (const QString& select : selects) {
        EXPECT_TRUE(records.contains(select)) << select.toStdString();
    }
    flyToFirstStation();
}

} // namespace
