// The tools over stations that were computed.
#include "tests/plugin/ProjectFixture.h"
#include "tests/support/StatementTrace.h"
#include "tests/support/WaitUntil.h"

#include "workbench/inspection/context/InspectionContext.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>

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

TEST_F(OnAProject, APressAsksForTheRecordsOfTheShownStationsAndForNothingElse) {
    computeAllStations();
    flyToLastStation();
    m_host.click("查看\\编辑异常");
    m_host.settle();
    const auto press = [this] {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(GUIEventAdapter::PUSH);
        event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
        event->setX(static_cast<float>(m_host.globe->width()) / 2.0F);
        event->setY(static_cast<float>(m_host.globe->height()) / 2.0F);
        m_host.handler("查看\\编辑异常")
            .handle(*event, *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
    };
    press();
    const StatementTrace trace;
    press();
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
