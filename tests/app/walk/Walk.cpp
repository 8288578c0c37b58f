#include "tests/app/walk/Walk.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/ToolArea.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/images/ImageWindow.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QStyleOptionViewItem>
#include <QTest>
#include <QTimer>
#include <QToolButton>

using osgEarth::Annotation::ImageOverlay;

namespace {

constexpr int kLongMilliseconds = 120000;

/// Where the user guide's pictures go; empty when they are not wanted.
QString pictureFolder() {
    return qEnvironmentVariable("CORRIDOR_GUIDE_PICTURES");
}

/// Large for the guide; else as small as the work allows, because every frame is painted by the processor.
QSize windowSize() {
    return pictureFolder().isEmpty() ? QSize(1000, 680) : QSize(1440, 900);
}

} // namespace

WalkTest::WalkTest() = default;
WalkTest::~WalkTest() = default;

void WalkTest::openStartPage() {
    m_window = std::make_unique<MainWindow>();
    m_window->resize(windowSize());
    m_window->showStartPage();
    m_window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->loadPlugin(TOOL_PLUGIN);
    const QWidget& tools = m_window->toolArea(); // they have their places when everything has
    ASSERT_TRUE(waitUntil([&tools] {
        const auto* caption = tools.findChild<QLabel*>("toolGroupCaption");
        return caption && caption->isVisible() && tools.height() >= tools.sizeHint().height();
    }));
}

void WalkTest::open(const QString& folder) {
    m_folder = folder;
    m_window = std::make_unique<MainWindow>();
    m_window->resize(windowSize());
    m_window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    const auto problem = m_window->openProject(folder);
    ASSERT_FALSE(problem) << problem->toStdString();
    m_window->loadPlugin(TOOL_PLUGIN);
    waitForGlobe();
}

bool WalkTest::waitUntil(const std::function<bool()>& done) {
    return ::waitUntil(done, kLongMilliseconds);
}

void WalkTest::waitForGlobe() {
    m_window->globe().requestRedraw();
    EXPECT_TRUE(waitUntil([this] { return m_window->globe().isPictureComplete(); }));
}

void WalkTest::waitForPictures() {
    const auto* images = m_window->findChild<inspection::ImageWindow*>();
    EXPECT_TRUE(waitUntil([images] { return !images->isReading(); }));
}

void WalkTest::clickTool(const char* utf8Name) {
    auto* tool = m_window->findChild<QToolButton*>(QString::fromUtf8(utf8Name));
    ASSERT_NE(tool, nullptr) << utf8Name;
    QTest::mouseClick(tool, Qt::LeftButton);
    waitForGlobe();
}

QTreeWidgetItem* WalkTest::station(int index) const {
    return m_window->findChild<QTreeWidget*>("stationTree")->topLevelItem(0)->child(index);
}

int WalkTest::stationCount() const {
    return m_window->findChild<QTreeWidget*>("stationTree")->topLevelItem(0)->childCount();
}

void WalkTest::tickAllStations() {
    auto* tree = m_window->findChild<QTreeWidget*>("stationTree");
    QStyleOptionViewItem option;
    option.initFrom(tree);
    option.rect = tree->visualItemRect(tree->topLevelItem(0));
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    const QRect box = tree->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, tree);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, box.center());
    EXPECT_EQ(station(0)->checkState(0), Qt::Checked);
}

void WalkTest::computeAnomalies() {
    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    clickTool("计算异常");
    ASSERT_TRUE(waitUntil([&] { return !finished.isEmpty(); }));
    EXPECT_TRUE(finished[0][0].toBool()) << finished[0][1].toString().toStdString();
    waitForGlobe();
}

void WalkTest::clickStation(int index) {
    auto* tree = m_window->findChild<QTreeWidget*>("stationTree");
    tree->scrollToItem(station(index));
    const QRect row = tree->visualItemRect(station(index));
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 60, row.center().y()));
}

QTableView& WalkTest::table() const {
    return *m_window->findChild<QTableView*>("anomalyTable");
}

QStringList WalkTest::rows() const {
    QStringList names;
    for (int row = 0; row < table().model()->rowCount(); ++row) {
        names << table().model()->index(row, 0).data().toString();
    }
    return names;
}

QString WalkTest::currentRow() const {
    return table().currentIndex().siblingAtColumn(0).data().toString();
}

QStringList WalkTest::selectedRows() const {
    QStringList names;
    for (const QModelIndex& index : table().selectionModel()->selectedRows()) {
        names << index.data().toString();
    }
    return names;
}

void WalkTest::clickRow(const QString& anomaly) {
    const QModelIndex index = table().model()->index(static_cast<int>(rows().indexOf(anomaly)), 0);
    ASSERT_TRUE(index.isValid()) << anomaly.toStdString();
    table().scrollTo(index);
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(index).center());
}

void WalkTest::doubleClickRow(const QString& anomaly) {
    clickRow(anomaly);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {},
                       table().visualRect(table().currentIndex()).center());
    waitForGlobe();
    waitForPictures();
}

osg::ref_ptr<ImageOverlay> WalkTest::overlay(const QString& anomaly) const {
    return overlayOnGlobe(m_window->globe(), anomaly);
}

bool WalkTest::isHighlighted(const QString& anomaly) const {
    const auto found = overlay(anomaly);
    return found && ::isHighlighted(*found);
}

QPoint WalkTest::placeOf(const QString& anomaly, double share) const {
    const auto found = overlay(anomaly);
    if (!found) {
        ADD_FAILURE() << "no overlay " << anomaly.toStdString();
        return {};
    }
    const osg::Vec2d west = (found->getLowerLeft() + found->getUpperLeft()) / 2.0;
    const osg::Vec2d east = (found->getLowerRight() + found->getUpperRight()) / 2.0;
    return pixelOnGlobe(m_window->globe(), west + (east - west) * share);
}

void WalkTest::clickOnGlobe(const QString& anomaly) {
    clickAt(placeOf(anomaly), Qt::LeftButton);
}

void WalkTest::moveTo(const QPoint& place) {
    movePointer(m_window->globe(), place);
    waitForGlobe(); // the answer of the hover picker included
}

void WalkTest::clickAt(const QPoint& place, Qt::MouseButton button) {
    moveTo(place);
    QCursor::setPos(m_window->globe().mapToGlobal(place)); // menus open where the display's pointer is
    QTest::mouseClick(&m_window->globe(), button, {}, place);
    waitForGlobe();
}

void WalkTest::dragRectangle(const QPoint& from, const QPoint& to) {
    GlobeWidget& globe = m_window->globe();
    movePointer(globe, from);
    QTest::keyPress(&globe, Qt::Key_Shift);
    waitForGlobe();
    QTest::mousePress(&globe, Qt::LeftButton, {}, from);
    for (int step = 1; step <= 4; ++step) {
        movePointer(globe, from + (to - from) * step / 4, Qt::LeftButton);
        waitForGlobe();
    }
    keepPicture("rectangle");
    QTest::mouseRelease(&globe, Qt::LeftButton, {}, to);
    QTest::keyRelease(&globe, Qt::Key_Shift);
    waitForGlobe();
}

void WalkTest::chooseOnGlobe(const QString& anomaly, const QStringList& path) {
    // Half of an anomaly on the line between two stations may lie in the one that does not hold it.
    for (const double share : {0.5, 0.25, 0.75}) {
        if (chooseAt(placeOf(anomaly, share), path)) {
            return;
        }
    }
    ADD_FAILURE() << anomaly.toStdString() << ": no " << path.join(" ").toStdString();
}

bool WalkTest::chooseAt(const QPoint& place, QStringList path) {
    const qsizetype all = path.size();
    QPointer<QMenu> opening;
    QTimer chooser;
    QObject::connect(&chooser, &QTimer::timeout, [&] {
        // The menu that a submenu hangs on may still count as the active one.
        auto* menu = opening ? opening.data() : qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible()) {
            return;
        }
        opening = nullptr;
        for (QAction* action : menu->actions()) {
            if (!path.isEmpty() && action->text() == path.first()) {
                path.removeFirst();
                opening = action->menu();
                moveOver(*menu, *action);
                if (path.isEmpty()) {
                    keepPicture("menu");
                }
                clickEntry(*menu, *action);
                return;
            }
        }
        QTest::keyClick(menu, Qt::Key_Escape);
    });
    chooser.start(10);
    clickAt(place, Qt::RightButton);
    EXPECT_TRUE(path.isEmpty() || path.size() == all) << "the menu has no " << path.join(" ").toStdString();
    return path.isEmpty();
}

void WalkTest::doubleClickObject(const QString& name) {
    auto* tree = m_window->findChild<QTreeWidget*>("stationTree");
    const auto found = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
    ASSERT_EQ(found.size(), 1) << name.toStdString();
    found[0]->parent()->setExpanded(true);
    tree->scrollToItem(found[0]);
    const QPoint row = tree->visualItemRect(found[0]).center();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, row);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, row);
    QTest::mouseRelease(tree->viewport(), Qt::LeftButton, {}, row);
    waitForGlobe();
}

QPoint WalkTest::placeOnGlobe(const QString& object) const {
    const auto* scene =
        dynamic_cast<OsgDataSet*>(InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    for (const auto& [group, record] : scene->getPipePolygons()) {
        if (record.GetName() == toGbk(object)) {
            return pixelOnGlobe(m_window->globe(), osg::Vec2d(record.GetCoor().x(), record.GetCoor().y()));
        }
    }
    ADD_FAILURE() << "not on the globe: " << object.toStdString();
    return {};
}

void WalkTest::key(int key, Qt::KeyboardModifiers modifiers) {
    if (!QApplication::focusWidget()) {
        m_window->activateWindow(); // after a dialog; there is no window manager to do it
    }
    ASSERT_TRUE(waitUntil([] { return QApplication::focusWidget() != nullptr; }));
    QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key), modifiers);
    QApplication::processEvents();
}

void WalkTest::answerNextBox(bool byKey) {
    auto* watch = new QTimer(m_window.get());
    QObject::connect(watch, &QTimer::timeout, [this, watch, byKey] {
        QWidget* box = QApplication::activeModalWidget();
        if (!box || box->objectName() != "myMessageBox") {
            return;
        }
        watch->deleteLater();
        watch->stop();
        keepPicture("question");
        auto* yes = box->findChild<QPushButton*>("pushButtonYes");
        if (byKey) {
            QTest::keyClick(box->focusWidget() ? box->focusWidget() : box, Qt::Key_Return);
        } else {
            QTest::mouseClick(yes, Qt::LeftButton);
        }
    });
    watch->start(10);
}

QMap<QString, QString> WalkTest::stored() const {
    const ForeignConnection database(m_folder + "/inspection.db");
    const QVariantList names = database.read("select name from anomaly where is_deleted=0 order by id");
    const QVariantList attributes =
        database.read("select attribute from anomaly where is_deleted=0 order by id");
    QMap<QString, QString> anomalies;
    for (qsizetype index = 0; index < names.size(); ++index) {
        anomalies[names[index].toString()] = attributes[index].toString();
    }
    return anomalies;
}

// Of the screen, so that menus and dialogs are on it.
void WalkTest::keepPicture(const QString& name) {
    if (pictureFolder().isEmpty()) {
        return;
    }
    QApplication::processEvents();
    const QRect area(m_window->mapToGlobal(QPoint()), m_window->size());
    const QPixmap screen = m_window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    constexpr int kQuality = 88;
    EXPECT_TRUE(screen.save(QDir(pictureFolder()).filePath("walk-" + name + ".jpg"), "JPG", kQuality));
}
