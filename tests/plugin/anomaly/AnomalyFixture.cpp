#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/SamplePair.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QTest>

#include <osgEarthAnnotation/FeatureNode>

#include <algorithm>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::ImageOverlay;
using osgEarth::Annotation::PlaceNode;
using namespace inspection;

namespace {

constexpr char kSrs[] = "EPSG:4547";

/// A rectangle of ground, in metres from the project's lower left corner, as an anomaly.
SdiffData rectangle(const QString& name, double left, double bottom, double width, double height) {
    SdiffData anomaly;
    anomaly.name = toGbk(name);
    anomaly.xMin = SmallProject::kLeft + left;
    anomaly.yMin = SmallProject::kTop - 80.0 + bottom;
    anomaly.xMax = anomaly.xMin + width;
    anomaly.yMax = anomaly.yMin + height;
    anomaly.x = (anomaly.xMin + anomaly.xMax) / 2.0;
    anomaly.y = (anomaly.yMin + anomaly.yMax) / 2.0;
    const osg::Vec2d lonLat = toLonLat(anomaly.x, anomaly.y);
    anomaly.lonDegrees = lonLat.x();
    anomaly.latDegrees = lonLat.y();
    anomaly.areaSquareMetres = width * height;
    anomaly.fillCubicMetres = width * height;
    anomaly.dzMeanMetres = anomaly.dzMinMetres = anomaly.dzMaxMetres = 1.0;
    anomaly.outlineWkt = QString("POLYGON ((%1 %2, %3 %2, %3 %4, %1 %4, %1 %2))")
                             .arg(anomaly.xMin, 0, 'f', 3)
                             .arg(anomaly.yMin, 0, 'f', 3)
                             .arg(anomaly.xMax, 0, 'f', 3)
                             .arg(anomaly.yMax, 0, 'f', 3)
                             .toStdString();
    return anomaly;
}

void addThirdStation(mysqlhelper::KV_MySQL& database) {
    KV_Station station;
    station.m_name = toGbk("三号站");
    station.m_srs = kSrs;
    station.m_xMin = SmallProject::kLeft;
    station.m_xMax = SmallProject::kLeft + 18.0;
    station.m_yMin = SmallProject::kTop - 80.0;
    station.m_yMax = SmallProject::kTop;
    mysqlhelper::KV_Record fields = stationRecord(station);
    fields["id"] = std::int64_t{3};
    database.insertRecord("station", fields);
}

void addAnomalies(mysqlhelper::KV_MySQL& database) {
    std::vector<SdiffData> first{
        rectangle(known::left, 44, 58, 20, 12), rectangle(known::right, 56, 58, 20, 12),
        rectangle(known::quoted, 80, 40, 12, 12), rectangle(known::longName(), 60, 10, 12, 12),
        rectangle(known::below, 2, 20, 12, 12)};
    insertAnomalies(database, 1, kSamplePair, first);
    std::vector<SdiffData> third{rectangle(known::overlapping, 4, 22, 8, 8)};
    insertAnomalies(database, 3, kSamplePair, third);
}

} // namespace

const QString& known::longName() {
    static const QString name = QStringLiteral("长名").repeated(500);
    return name;
}

void AnomalyTest::SetUpTestSuite() {
    ToolTest::SetUpTestSuite();
    static bool isComputed = false;
    if (isComputed) {
        return;
    }
    isComputed = true;
    const auto opened = Project::open(original().folder());
    ASSERT_TRUE(opened);
    const auto database = PipelineDatabase::open(opened->description(), Project::Access::Exclusive);
    ASSERT_TRUE(database);
    mysqlhelper::KV_MySQL& sql = *(*database)->GetMySQL();
    addThirdStation(sql);
    ComputationRequest request;
    request.project = opened->description();
    request.stationIds = {1, 2};
    ASSERT_TRUE(computeAnomalies(request));
    addAnomalies(sql);
}

AnomalyTest::AnomalyTest() : ToolTest("查看\\编辑异常") {
    for (int index = 0; index < tree().topLevelItem(0)->childCount(); ++index) {
        tree().topLevelItem(0)->child(index)->setCheckState(0, Qt::Checked);
    }
    EXPECT_TRUE(waitUntil([this] { return overlay(known::cut) && overlay(known::cut)->getImage(); }, 30000));
    m_host.settle();
}

void AnomalyTest::startTool() {
    m_host.click(m_tool);
    draw();
    ASSERT_EQ(m_host.pickerCount(), 1);
}

void AnomalyTest::stopTool() {
    m_host.click(m_tool);
    draw();
}

void AnomalyTest::pickByBounds(bool byBounds) {
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog) {
            return;
        }
        QTest::keyClick(dialog->findChild<QComboBox*>("overlayMode"), byBounds ? Qt::Key_End : Qt::Key_Home);
        QTest::mouseClick(dialog->findChild<QPushButton*>("confirm"), Qt::LeftButton);
    });
    driver.start(5);
    m_host.click("参数设置");
    driver.stop();
    EXPECT_EQ(static_cast<int>(InspectionContext::instance().project()->description().parameters.overlayMode),
              byBounds ? 1 : 0);
    m_host.settle();
}

QPoint AnomalyTest::pixelOf(const QString& anomaly) const {
    const auto found = overlay(anomaly);
    if (!found) {
        ADD_FAILURE() << "no overlay " << anomaly.toStdString();
        return {};
    }
    return pixelOf(found->getCenter());
}

bool AnomalyTest::sendAt(osgGA::GUIEventAdapter::EventType type, const QPoint& place, int button, int key) {
    return send(type, static_cast<float>(place.x()),
                static_cast<float>(m_host.globe->height() - 1 - place.y()), button, key);
}

void AnomalyTest::selectOverlapping() {
    const QPoint both = onOverlapping();
    keyDown(Qt::Key_Shift);
    moveTo(both - QPoint(15, 15));
    press(both - QPoint(15, 15));
    moveTo(both + QPoint(5, 5));
    moveTo(both + QPoint(15, 15));
    release(both + QPoint(15, 15));
    keyUp(Qt::Key_Shift);
    ASSERT_EQ(highlighted(), (QStringList{known::below, known::overlapping}));
}

osg::ref_ptr<ImageOverlay> AnomalyTest::overlay(const QString& anomaly) const {
    return overlayOnGlobe(*m_host.globe, anomaly);
}

bool AnomalyTest::isHighlighted(const QString& anomaly) const {
    const auto found = overlay(anomaly);
    return found && ::isHighlighted(*found);
}

QStringList AnomalyTest::highlighted() const {
    QStringList names;
    for (osg::Group* group : m_host.groupsNamed("diffImageOverlay")) {
        for (unsigned index = 0; index < group->getNumChildren(); ++index) {
            if (::isHighlighted(*group->getChild(index))) {
                names << fromGbk(group->getChild(index)->getName());
            }
        }
    }
    names.sort();
    return names;
}

QColor AnomalyTest::colourOf(const QString& anomaly) {
    m_host.settle();
    return m_host.globe->grabFramebuffer().pixelColor(pixelOf(anomaly));
}

PlaceNode* AnomalyTest::valueLabel() const {
    osgEarth::MapNode* mapNode = m_host.globe->getMapNode();
    for (unsigned index = 0; index < mapNode->getNumChildren(); ++index) {
        if (auto* label = dynamic_cast<PlaceNode*>(mapNode->getChild(index))) {
            return label;
        }
    }
    return nullptr;
}

int AnomalyTest::valueLabelCount() const {
    int count = 0;
    osgEarth::MapNode* mapNode = m_host.globe->getMapNode();
    for (unsigned index = 0; index < mapNode->getNumChildren(); ++index) {
        count += dynamic_cast<PlaceNode*>(mapNode->getChild(index)) ? 1 : 0;
    }
    return count;
}

FeatureNode* AnomalyTest::frameNode() const {
    const auto groups = m_host.groupsNamed("FrameSelect");
    return groups.empty() || groups.front()->getNumChildren() == 0
               ? nullptr
               : dynamic_cast<FeatureNode*>(groups.front()->getChild(0));
}

QTableView& AnomalyTest::table() const {
    return *IORVAContext::Instance()->GetAVWindow()->findChild<QTableView*>("anomalyTable");
}

QStringList AnomalyTest::tableNames() const {
    QStringList names;
    for (int row = 0; row < table().model()->rowCount(); ++row) {
        names << table().model()->index(row, 0).data().toString();
    }
    names.sort();
    return names;
}

QStringList AnomalyTest::selectedRows() const {
    QApplication::processEvents(); // the rows follow in one step
    QStringList names;
    for (const QModelIndex& index : table().selectionModel()->selectedRows()) {
        names << index.data().toString();
    }
    names.sort();
    return names;
}

void AnomalyTest::showStation(int index) const {
    tree().setCurrentItem(tree().topLevelItem(0)->child(index));
}

void PrintTo(const QColor& colour, std::ostream* stream) {
    *stream << colour.name().toStdString();
}

QVariant AnomalyTest::stored(const QString& anomaly, const QString& column) const {
    return readStored("select " + column + " from anomaly where name=? and is_deleted=0", {anomaly}).value(0);
}

int AnomalyTest::storedCount() const {
    return readStored("select count(*) from anomaly where is_deleted=0").value(0).toInt();
}

void AnomalyTest::change(const QString& sql) const {
    ForeignConnection(m_folder + "/inspection.db").run(sql);
}

void AnomalyTest::setDifference(int station, double metres) {
    const QString file = QString("differences%1.tif").arg(++m_rasters);
    SmallProject::writeHeights(m_folder + '/' + file, [metres](int, int) { return metres; });
    change(QString("update comparison_result set dz_raster='%1' where station_id=%2")
               .arg(file, QString::number(station)));
}

void AnomalyTest::removeDifference(int station) const {
    change(QString("update comparison_result set dz_raster='' where station_id=%1").arg(station));
}

void AnomalyTest::addThirdResult() const {
    change(
        "insert into comparison_result select null, 3, comparison_id, computed_at, dz_raster, threshold_m, "
        "min_area_m2, coregistration, dx_m, dy_m, dz_m, nmad_before_m, nmad_after_m, cells, summary, "
        "stable_dz, correction_raster from comparison_result where station_id=1");
}
