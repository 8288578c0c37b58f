#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/CopyFolder.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"
#include "workbench/inspection/compute/ComputeAnomalies.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/database/AnomalyTable.h"
#include "workbench/inspection/database/PipelineDatabase.h"
#include "workbench/inspection/database/StationTable.h"
#include "workbench/inspection/project/Project.h"

#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTreeWidget>

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <algorithm>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::ImageOverlay;
using osgEarth::Annotation::PlaceNode;
using osgGA::GUIEventAdapter;
using namespace inspection;

namespace {

constexpr char kSrs[] = "EPSG:4547";
constexpr unsigned kFramesOfAPick = 2; ///< from the frame that draws it to the one that answers
constexpr char kTool[] = "查看\\编辑异常";

osg::Vec2d toLonLat(double x, double y) {
    const auto* srs = osgEarth::SpatialReference::get(kSrs);
    osg::Vec3d lonLat;
    EXPECT_TRUE(srs->transform(osg::Vec3d(x, y, 0), srs->getGeographicSRS(), lonLat));
    return {lonLat.x(), lonLat.y()};
}

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
    insertAnomalies(database, 1, first);
    std::vector<SdiffData> third{rectangle(known::overlapping, 4, 22, 8, 8)};
    insertAnomalies(database, 3, third);
}

} // namespace

const QString& known::longName() {
    static const QString name = QStringLiteral("长名").repeated(500);
    return name;
}

SmallProject* AnomalyTest::s_project = nullptr;

void AnomalyTest::SetUpTestSuite() {
    if (s_project)
        return;
    static SmallProject project;
    s_project = &project;
    PluginHost::instance().window.resize(400, 300); // frames are drawn in software
    QCursor::setPos(1500, 900);                     // the display's own pointer must not move over the globe
    const auto opened = Project::open(project.folder());
    ASSERT_TRUE(std::holds_alternative<Project>(opened));
    const auto database =
        PipelineDatabase::open(std::get<Project>(opened).description(), Project::Access::Exclusive);
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<PipelineDatabase>>(database));
    mysqlhelper::KV_MySQL& sql = *std::get<std::unique_ptr<PipelineDatabase>>(database)->GetMySQL();
    addThirdStation(sql);
    ComputationRequest request;
    request.project = std::get<Project>(opened).description();
    request.stationIds = {1, 2};
    ASSERT_TRUE(std::holds_alternative<ComputationSummary>(computeAnomalies(request)));
    addAnomalies(sql);
    const auto problem =
        PluginHost::instance().globe->map().addElevation("ground", project.file("new/dsm.tif").toStdString());
    ASSERT_FALSE(problem) << *problem;
}

AnomalyTest::AnomalyTest() : m_folder(m_parent.filePath("project")) {
    copyFolder(s_project->folder(), m_folder);
    const auto refusal = InspectionContext::instance().openProject(m_folder);
    EXPECT_FALSE(refusal) << refusal->toStdString();
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    for (int index = 0; index < tree->topLevelItem(0)->childCount(); ++index)
        tree->topLevelItem(0)->child(index)->setCheckState(0, Qt::Checked);
    const osg::Vec2d middle = toLonLat(SmallProject::kLeft + 100.0, SmallProject::kTop - 40.0);
    m_host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", middle.x(), middle.y(), 50.0, 0.0, -89.9, 350.0));
    EXPECT_TRUE(waitUntil([this] { return overlay(known::cut) && overlay(known::cut)->getImage(); }, 30000));
    m_host.settle();
}

AnomalyTest::~AnomalyTest() {
    for (const Qt::Key key : {Qt::Key_Control, Qt::Key_Shift, Qt::Key_Delete})
        keyUp(key);
    m_engine.deactivateTool();
    m_host.deliver();
    InspectionContext::instance().closeProject();
}

void AnomalyTest::startTool() {
    m_host.click(kTool);
    draw();
    ASSERT_EQ(m_host.pickerCount(), 1);
}

void AnomalyTest::stopTool() {
    m_host.click(kTool);
    draw();
}

void AnomalyTest::pickByBounds(bool byBounds) {
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog)
            return;
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

QPoint AnomalyTest::pixelOf(const osg::Vec2d& lonLat) const {
    return pixelOnGlobe(*m_host.globe, lonLat);
}

QPoint AnomalyTest::pixelAt(double x, double y) const {
    return pixelOf(toLonLat(x, y));
}

QPoint AnomalyTest::pixelOf(const QString& anomaly) const {
    const auto found = overlay(anomaly);
    if (!found) {
        ADD_FAILURE() << "no overlay " << anomaly.toStdString();
        return {};
    }
    return pixelOf(found->getCenter());
}

void AnomalyTest::moveTo(const QPoint& place) {
    movePointer(*m_host.globe, place);
    draw();
    draw(kFramesOfAPick);
}

void AnomalyTest::draw(unsigned frames) {
    osgViewer::View* view = m_host.globe->getViewer();
    const unsigned first = view->getFrameStamp()->getFrameNumber() + frames;
    m_host.globe->requestRedraw();
    EXPECT_TRUE(waitUntil([&] {
        return view->getFrameStamp()->getFrameNumber() >= first && view->getEventQueue()->empty() &&
               !m_handlers.hasMessages();
    }));
}

void AnomalyTest::press(const QPoint& place) {
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
    draw();
}

void AnomalyTest::release(const QPoint& place) {
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place);
    draw();
}

void AnomalyTest::leftClick(const QPoint& place) {
    moveTo(place);
    press(place);
    release(place);
}

void AnomalyTest::rightClick(const QPoint& place) {
    moveTo(place);
    QTest::mouseClick(m_host.globe, Qt::RightButton, {}, place);
    draw();
}

void AnomalyTest::doubleClick(const QPoint& place) {
    leftClick(place);
    QTest::mouseDClick(m_host.globe, Qt::LeftButton, {}, place);
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place); // which it leaves out
    draw();
}

void AnomalyTest::keyDown(Qt::Key key) {
    QTest::keyPress(m_host.globe, key);
    draw();
}

void AnomalyTest::keyUp(Qt::Key key) {
    QTest::keyRelease(m_host.globe, key);
    draw();
}

void AnomalyTest::keyClick(Qt::Key key) {
    keyDown(key);
    keyUp(key);
}

void AnomalyTest::ctrlClick(const QPoint& place) {
    keyDown(Qt::Key_Control);
    leftClick(place);
    keyUp(Qt::Key_Control);
}

bool AnomalyTest::send(GUIEventAdapter::EventType type, float x, float y, int button, int key) {
    const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
    event->setEventType(type);
    event->setX(x);
    event->setY(y);
    event->setButton(button);
    event->setKey(key);
    return m_host.handler(kTool).handle(*event,
                                        *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
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
            if (::isHighlighted(*group->getChild(index)))
                names << fromGbk(group->getChild(index)->getName());
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
        if (auto* label = dynamic_cast<PlaceNode*>(mapNode->getChild(index)))
            return label;
    }
    return nullptr;
}

int AnomalyTest::valueLabelCount() const {
    int count = 0;
    osgEarth::MapNode* mapNode = m_host.globe->getMapNode();
    for (unsigned index = 0; index < mapNode->getNumChildren(); ++index)
        count += dynamic_cast<PlaceNode*>(mapNode->getChild(index)) ? 1 : 0;
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
    for (int row = 0; row < table().model()->rowCount(); ++row)
        names << table().model()->index(row, 0).data().toString();
    names.sort();
    return names;
}

QStringList AnomalyTest::selectedRows() const {
    QApplication::processEvents(); // the rows follow in one step
    QStringList names;
    for (const QModelIndex& index : table().selectionModel()->selectedRows())
        names << index.data().toString();
    names.sort();
    return names;
}

void AnomalyTest::showStation(int index) const {
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    tree->setCurrentItem(tree->topLevelItem(0)->child(index));
}

void PrintTo(const QStringList& texts, std::ostream* stream) {
    *stream << '[' << texts.join(" | ").left(200).toStdString() << ']';
}

void PrintTo(const QColor& colour, std::ostream* stream) {
    *stream << colour.name().toStdString();
}

namespace {

/// A connection that has nothing to do with the program's own.
QVariantList independently(const QString& file, const QString& sql, const QVariantList& bound) {
    QVariantList values;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "independent");
        database.setDatabaseName(file);
        database.setConnectOptions("QSQLITE_OPEN_READONLY");
        EXPECT_TRUE(database.open());
        QSqlQuery query(database);
        EXPECT_TRUE(query.prepare(sql));
        for (const QVariant& value : bound)
            query.addBindValue(value);
        EXPECT_TRUE(query.exec());
        while (query.next())
            values << query.value(0);
    }
    QSqlDatabase::removeDatabase("independent");
    return values;
}

} // namespace

QVariant AnomalyTest::stored(const QString& anomaly, const QString& column) const {
    return independently(m_folder + "/inspection.db", "select " + column + " from anomaly where name=?",
                         {anomaly})
        .value(0);
}

int AnomalyTest::storedCount() const {
    return independently(m_folder + "/inspection.db", "select count(*) from anomaly", {}).value(0).toInt();
}

BoxAnswerer::BoxAnswerer(Answer answer) {
    QObject::connect(&m_poll, &QTimer::timeout, [this, answer] { look(answer); });
    m_poll.start(5);
}

void BoxAnswerer::look(Answer answer) {
    QWidget* box = QApplication::activeModalWidget();
    if (!box || box->objectName() != "myMessageBox")
        return;
    titles << box->windowTitle();
    texts << box->findChild<QLabel*>("labelText")->text();
    auto* button = box->findChild<QPushButton*>("pushButtonOK");
    if (!button)
        button = box->findChild<QPushButton*>(answer == Yes ? "pushButtonYes" : "pushButtonNo");
    QTest::mouseClick(button, Qt::LeftButton);
}

MenuChooser::MenuChooser(const QStringList& path) : m_path(path) {
    QObject::connect(&m_poll, &QTimer::timeout, [this] { look(); });
    m_poll.start(5);
}

void MenuChooser::look() {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu || (m_opening && !m_opening->isVisible()))
        return;
    m_opening = nullptr;
    QStringList entries;
    for (const QAction* action : menu->actions())
        entries << action->text();
    menus.push_back(entries);
    for (QAction* action : menu->actions()) {
        if (!m_path.isEmpty() && action->text() == m_path.first()) {
            m_path.removeFirst();
            m_opening = action->menu();
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            return;
        }
    }
    QTest::keyClick(menu, Qt::Key_Escape);
}
