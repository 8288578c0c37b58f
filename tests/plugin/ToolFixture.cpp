#include "tests/plugin/ToolFixture.h"

#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/CopyFolder.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QCursor>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

using osgGA::GUIEventAdapter;

namespace {

constexpr unsigned kFramesOfAPick = 2; ///< from the frame that draws it to the one that answers

} // namespace

osg::Vec2d toLonLat(double xMetres, double yMetres) {
    const auto* srs = osgEarth::SpatialReference::get("EPSG:4547");
    osg::Vec3d lonLat;
    EXPECT_TRUE(srs->transform(osg::Vec3d(xMetres, yMetres, 0), srs->getGeographicSRS(), lonLat));
    return {lonLat.x(), lonLat.y()};
}

void PrintTo(const QStringList& texts, std::ostream* stream) {
    *stream << '[' << texts.join(" | ").left(200).toStdString() << ']';
}

void ToolTest::SetUpTestSuite() {
    static bool isDone = false;
    if (isDone) {
        return;
    }
    isDone = true;
    PluginHost::instance().window.resize(400, 300); // frames are drawn in software
    QCursor::setPos(1500, 900);                     // the display's own pointer must not move over the globe
    const auto problem = PluginHost::instance().globe->map().addElevation(
        "ground", original().file("new/dsm.tif").toStdString());
    ASSERT_FALSE(problem) << *problem;
}

SmallProject& ToolTest::original() {
    static SmallProject project;
    return project;
}

ToolTest::ToolTest(const char* tool) : m_tool(tool), m_folder(m_parent.filePath("project")) {
    copyFolder(original().folder(), m_folder);
    const auto refusal = InspectionContext::instance().openProject(m_folder);
    EXPECT_FALSE(refusal) << refusal->toStdString();
    const osg::Vec2d middle = toLonLat(SmallProject::kLeft + 100.0, SmallProject::kTop - 40.0);
    m_host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", middle.x(), middle.y(), 50.0, 0.0, -89.9, 350.0));
    m_host.settle();
}

ToolTest::~ToolTest() {
    for (const Qt::Key key : {Qt::Key_Control, Qt::Key_Shift, Qt::Key_Delete}) {
        keyUp(key);
    }
    m_engine.deactivateTool();
    m_host.deliver();
    InspectionContext::instance().closeProject();
}

QPoint ToolTest::pixelOf(const osg::Vec2d& lonLat) const {
    return pixelOnGlobe(*m_host.globe, lonLat);
}

QPoint ToolTest::pixelAt(double x, double y) const {
    return pixelOf(toLonLat(x, y));
}

void ToolTest::moveTo(const QPoint& place) {
    movePointer(*m_host.globe, place);
    draw();
    draw(kFramesOfAPick);
}

void ToolTest::draw(unsigned frames) {
    osgViewer::View* view = m_host.globe->getViewer();
    const unsigned first = view->getFrameStamp()->getFrameNumber() + frames;
    m_host.globe->requestRedraw();
    EXPECT_TRUE(waitUntil([&] {
        return view->getFrameStamp()->getFrameNumber() >= first && view->getEventQueue()->empty() &&
               !m_handlers.hasMessages();
    }));
}

void ToolTest::expectMenuAtCursor(const QPoint& place) {
    const QPoint before = QCursor::pos();
    const QPoint cursor(before.x() - 200, before.y() - 100); // so that all of the menu fits on the screen
    QCursor::setPos(cursor);
    ASSERT_TRUE(waitUntil([&] { return QCursor::pos() == cursor; }));
    std::vector<QPoint> places;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (QWidget* menu = QApplication::activePopupWidget()) {
            places.push_back(menu->pos());
            menu->close();
        }
    });
    poll.start(5);
    rightClick(place);
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0], cursor) << places[0].x() << ' ' << places[0].y();
    QCursor::setPos(before);
}

void ToolTest::press(const QPoint& place) {
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
    draw();
}

void ToolTest::release(const QPoint& place) {
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place);
    draw();
}

void ToolTest::leftClick(const QPoint& place) {
    moveTo(place);
    press(place);
    release(place);
}

void ToolTest::rightClick(const QPoint& place) {
    moveTo(place);
    QTest::mouseClick(m_host.globe, Qt::RightButton, {}, place);
    draw();
}

void ToolTest::doubleClick(const QPoint& place) {
    leftClick(place);
    QTest::mouseDClick(m_host.globe, Qt::LeftButton, {}, place);
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place); // which it leaves out
    draw();
}

void ToolTest::keyDown(Qt::Key key) {
    QTest::keyPress(m_host.globe, key);
    draw();
}

void ToolTest::keyUp(Qt::Key key) {
    QTest::keyRelease(m_host.globe, key);
    draw();
}

void ToolTest::keyClick(Qt::Key key) {
    keyDown(key);
    keyUp(key);
}

void ToolTest::ctrlClick(const QPoint& place) {
    keyDown(Qt::Key_Control);
    leftClick(place);
    keyUp(Qt::Key_Control);
}

bool ToolTest::send(GUIEventAdapter::EventType type, float x, float y, int button, int key) {
    const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
    event->setEventType(type);
    event->setX(x);
    event->setY(y);
    event->setButton(button);
    event->setKey(key);
    return m_host.handler(m_tool).handle(*event,
                                         *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer()));
}

QTreeWidget& ToolTest::tree() const {
    return *IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
}

QVariantList ToolTest::readStored(const QString& sql, const QVariantList& bound) const {
    return ForeignConnection(m_folder + "/inspection.db").read(sql, bound);
}

BoxAnswerer::BoxAnswerer(Answer answer) {
    QObject::connect(&m_poll, &QTimer::timeout, [this, answer] { look(answer); });
    m_poll.start(5);
}

void BoxAnswerer::look(Answer answer) {
    QWidget* box = QApplication::activeModalWidget();
    if (!box || box->objectName() != "myMessageBox") {
        return;
    }
    titles << box->windowTitle();
    texts << box->findChild<QLabel*>("labelText")->text();
    auto* button = box->findChild<QPushButton*>("pushButtonOK");
    if (!button) {
        const bool isYes = answer == Yes || (answer == YesThenNo && texts.size() == 1);
        button = box->findChild<QPushButton*>(isYes ? "pushButtonYes" : "pushButtonNo");
    }
    QTest::mouseClick(button, Qt::LeftButton);
}

MenuChooser::MenuChooser(const QStringList& path) : m_path(path) {
    QObject::connect(&m_poll, &QTimer::timeout, [this] { look(); });
    m_poll.start(5);
}

void MenuChooser::look() {
    // The menu that a submenu hangs on may still count as the active one.
    auto* menu = m_opening ? m_opening.data() : qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu || !menu->isVisible()) {
        return;
    }
    m_opening = nullptr;
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        entries << action->text();
    }
    menus.push_back(entries);
    for (QAction* action : menu->actions()) {
        if (!m_path.isEmpty() && action->text() == m_path.first()) {
            m_path.removeFirst();
            m_opening = action->menu();
            clickEntry(*menu, *action);
            return;
        }
    }
    QTest::keyClick(menu, Qt::Key_Escape);
}
