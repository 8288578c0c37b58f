#include "tests/plugin/ProjectFixture.h"

#include "host/inspection/Records.h"
#include "host/inspection/Station.h"
#include "host/inspection/StationWindow.h"
#include "samples/SampleCorridor.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

using namespace inspection;

QTemporaryDir* OnAProject::s_folder = nullptr;
bool OnAProject::s_isComputed = false;

QWidget* visibleWindow(const char* objectName) {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->objectName() == objectName) {
            return widget;
        }
    }
    return nullptr;
}

void OnAProject::SetUpTestSuite() {
    s_folder = new QTemporaryDir;
    samples::SampleOptions options;
    options.directory = s_folder->filePath("corridor").toStdString();
    options.cells = samples::SampleOptions::kSmallestCells;
    const auto problem = samples::makeSampleCorridor(options);
    ASSERT_FALSE(problem) << *problem;
    const auto refusal = InspectionContext::instance().openProject(s_folder->filePath("corridor"));
    ASSERT_FALSE(refusal) << refusal->toStdString();
    flyToFirstStation();
}

void OnAProject::TearDownTestSuite() {
    InspectionContext::instance().closeProject();
    delete s_folder;
}

OnAProject::OnAProject() {
    QFile::remove("record.txt");
}

OnAProject::~OnAProject() {
    for (const char* dialog : {"CDrawPointDlg", "CdrawPolygonDlg"}) {
        if (QWidget* open = visibleWindow(dialog)) {
            open->close();
        }
    }
    QFile::remove("record.txt");
}

PipelineDataSet& OnAProject::database() {
    return *dynamic_cast<PipelineDataSet*>(InspectionContext::instance().GetDataSet(PipelineDataSet::kIndex));
}

void OnAProject::checkAllStations() {
    auto* tree = InspectionContext::instance().GetStationWindow()->findChild<QTreeWidget*>();
    ASSERT_NE(tree, nullptr);
    for (int index = 0; index < tree->topLevelItem(0)->childCount(); ++index) {
        tree->topLevelItem(0)->child(index)->setCheckState(0, Qt::Checked);
    }
}

void OnAProject::computeAllStations() {
    checkAllStations();
    if (s_isComputed) {
        return;
    }
    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    PluginHost::instance().click("计算异常");
    ASSERT_TRUE(waitUntil([&] { return !finished.isEmpty(); }, 120000));
    ASSERT_TRUE(finished[0][0].toBool()) << finished[0][1].toString().toStdString();
    s_isComputed = true;
}

std::size_t OnAProject::stationCount() {
    return readStations(*database().GetMySQL()).size();
}

void OnAProject::flyToStation(std::size_t index) {
    const KV_Station station = readStations(*database().GetMySQL()).at(index);
    const auto* srs = osgEarth::SpatialReference::get(station.m_srs);
    ASSERT_NE(srs, nullptr) << station.m_srs;
    osg::Vec3d lonLat;
    ASSERT_TRUE(srs->transform(
        osg::Vec3d((station.m_xMin + station.m_xMax) / 2, (station.m_yMin + station.m_yMax) / 2, 0),
        srs->getGeographicSRS(), lonLat));
    PluginHost::instance().globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", lonLat.x(), lonLat.y(), 0.0, 0.0, -89.9, 800.0));
    PluginHost::instance().settle();
}

void OnAProject::clickOnGlobe(int dx, int dy, Qt::MouseButton button) {
    const QPoint place = m_host.globe->rect().center() + QPoint(dx, dy);
    movePointer(*m_host.globe, place);
    m_host.settle();
    QTest::mouseClick(m_host.globe, button, {}, place);
    m_host.settle();
}

osg::Group* OnAProject::pointGroup() {
    const auto groups = m_host.groupsNamed("ROIPoint");
    return groups.empty() ? nullptr : groups.back();
}

void OnAProject::addArea(const QString& name, const QPoint& middle) {
    m_host.click("添加特殊面");
    m_host.settle();
    clickOnGlobe(middle.x() - 60, middle.y() - 40);
    clickOnGlobe(middle.x() + 60, middle.y() - 40);
    clickOnGlobe(middle.x() + 60, middle.y() + 40);
    clickOnGlobe(middle.x() - 60, middle.y() + 40, Qt::RightButton);
    QWidget* dialog = visibleWindow("CdrawPolygonDlg");
    ASSERT_NE(dialog, nullptr);
    QTest::keyClicks(dialog->findChild<QLineEdit*>("lineEditTitle"), name);
    QTest::mouseClick(dialog->findChild<QPushButton*>("pushButtonOK"), Qt::LeftButton);
}
