#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "samples/SampleCorridor.h"
#include "tests/support/CopyFolder.h"
#include "tests/support/WaitUntil.h"

#include <osgEarth/MapNode>

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QStatusBar>
#include <QStyleOptionViewItem>
#include <QTest>

namespace {

constexpr int kComputedStations = 4;

/// The sample corridor that tests copy; made on first use.
QString sampleFolder() {
    static const QTemporaryDir parent;
    static const QString folder = [] {
        samples::SampleOptions options;
        const QString made = parent.filePath("corridor");
        options.directory = made.toStdString();
        options.cells = 2048;
        const auto problem = samples::makeSampleCorridor(options);
        EXPECT_FALSE(problem.has_value()) << *problem;
        return made;
    }();
    return folder;
}

} // namespace

MessageWatch::MessageWatch(bool isConfirming) : m_answer(isConfirming ? "pushButtonYes" : "pushButtonNo") {
    QObject::connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
    m_timer.start(10);
}

void MessageWatch::look() {
    QWidget* box = QApplication::activeModalWidget();
    if (!box || box->objectName() != "myMessageBox") {
        return;
    }
    m_titles << box->windowTitle();
    m_texts << box->findChild<QLabel*>("labelText")->text();
    auto* button = box->findChild<QPushButton*>("pushButtonOK");
    if (!button) {
        button = box->findChild<QPushButton*>(m_answer);
    }
    QTest::mouseClick(button, Qt::LeftButton);
}

void InspectionWindowTest::SetUp() {
    m_window = std::make_unique<QMainWindow>();
    m_globe = new GlobeWidget(m_window.get());
    m_window->setCentralWidget(m_globe);
    context().initialise(m_window.get());
    const auto dock = [this](const QString& title, QWidget* content, Qt::DockWidgetArea area) {
        auto* made = new QDockWidget(title, m_window.get());
        made->setWidget(content);
        m_window->addDockWidget(area, made);
        return made;
    };
    dock("stations", context().GetStationWindow(), Qt::LeftDockWidgetArea);
    dock("anomalies", context().GetAVWindow(), Qt::BottomDockWidgetArea);
    dock("pictures", context().GetKVImageWindow(), Qt::RightDockWidgetArea);
    m_window->statusBar()->addPermanentWidget(context().accountLine());
    m_window->statusBar()->addPermanentWidget(context().progressWidget());
    m_window->resize(1200, 760);
    m_window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    QObject::connect(&context(), &InspectionContext::computeFinished, m_window.get(),
                     [this](bool ok, const QString& message) {
                         m_finished = true;
                         m_succeeded = ok;
                         m_message = message;
                     });
}

void InspectionWindowTest::TearDown() {
    context().shutdown();
    m_window.reset();
    EXPECT_EQ(g_pCXviewer, nullptr);
}

QString InspectionWindowTest::copySample(const QTemporaryDir& parent) {
    const QString copy = parent.filePath("project");
    copyFolder(sampleFolder(), copy);
    return copy;
}

bool InspectionWindowTest::waitUntil(const std::function<bool()>& done) {
    constexpr int kMostMilliseconds = 120000;
    return ::waitUntil(done, kMostMilliseconds);
}

void InspectionWindowTest::keepPicture(QWidget& widget, const QString& name) {
    const QString folder = qEnvironmentVariable("CORRIDOR_TEST_PICTURES");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(widget.grab().save(QDir(folder).filePath(name + ".png")));
    }
}

void InspectionWindowTest::openSample() {
    m_project = copySample(m_folder);
    const auto problem = context().openProject(m_project);
    ASSERT_FALSE(problem.has_value()) << problem->toStdString();
}

void InspectionWindowTest::computeStations(int count) {
    for (int i = 0; i < count; ++i) {
        clickCheckBox(station(i));
    }
    m_finished = false;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    ASSERT_TRUE(waitUntil([this] { return m_finished; }));
    ASSERT_TRUE(m_succeeded) << m_message.toStdString();
}

void InspectionWindowTest::openComputed() {
    static const QTemporaryDir parent;
    const QString computed = parent.filePath("computed");
    if (!QDir(computed).exists()) {
        openSample();
        computeStations(kComputedStations);
        context().closeProject();
        copyFolder(m_project, computed);
        ASSERT_TRUE(QDir(m_project).removeRecursively());
    }
    m_project = m_folder.filePath("project");
    copyFolder(computed, m_project);
    const auto problem = context().openProject(m_project);
    ASSERT_FALSE(problem.has_value()) << problem->toStdString();
    for (int i = 0; i < kComputedStations; ++i) {
        clickCheckBox(station(i));
    }
}

KV_StationItem* InspectionWindowTest::checkedStationWithMostAnomalies() {
    KV_StationItem* most = nullptr;
    for (KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
        if (!most || item->m_diffData.m_anomalies.size() > most->m_diffData.m_anomalies.size()) {
            most = item;
        }
    }
    return most;
}

QTreeWidget& InspectionWindowTest::tree() const {
    return *m_window->findChild<QTreeWidget*>("stationTree");
}

QTableView& InspectionWindowTest::table() const {
    return *m_window->findChild<QTableView*>("anomalyTable");
}

void InspectionWindowTest::clickCheckBox(QTreeWidgetItem* item, Qt::KeyboardModifiers modifiers) const {
    tree().scrollToItem(item);
    const QRect row = tree().visualItemRect(item);
    QStyleOptionViewItem option;
    option.initFrom(&tree());
    option.rect = row;
    option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    const QRect box = tree().style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &tree());
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, modifiers, box.center());
}

std::vector<osg::Group*> InspectionWindowTest::overlayGroups() const {
    std::vector<osg::Group*> groups;
    osgEarth::MapNode* map = m_globe->getMapNode();
    for (unsigned i = 0; i < map->getNumChildren(); ++i) {
        if (map->getChild(i)->getName() == "diffImageOverlay") {
            groups.push_back(map->getChild(i)->asGroup());
        }
    }
    return groups;
}
