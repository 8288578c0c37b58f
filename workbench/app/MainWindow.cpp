#include "workbench/app/MainWindow.h"

#include "host/engine/ITool.h"
#include "host/style/myMessageBox.h"
#include "workbench/app/BaseLayerDialog.h"
#include "workbench/app/DroppedFiles.h"
#include "workbench/app/EpochComparison.h"
#include "workbench/app/GuideWindow.h"
#include "workbench/app/PairBox.h"
#include "workbench/app/Panels.h"
#include "workbench/app/PluginLoader.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/ScenePicture.h"
#include "workbench/app/StartPage.h"
#include "workbench/app/StatusLine.h"
#include "workbench/app/ToolArea.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/EpochTitles.h"
#include "workbench/style/ToolTip.h"
#include "workbench/viewer/GlobeWidget.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <QCloseEvent>
#include <QComboBox>
#include <QDropEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLoggingCategory>
#include <QMenu>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

Q_LOGGING_CATEGORY(logApp, "corridor.app")

// Natural Earth, as the distribution's package lays it down.
constexpr const char* kWorldPicture =
    "/usr/share/cartopy/data/raster/natural_earth/50-natural-earth-1-downsampled.png";

} // namespace

MainWindow::MainWindow()
    : m_globe(new GlobeWidget(this)), m_layers(m_globe->map()),
      m_baseLayers(*m_globe, BaseLayers::usualCacheFolder()), m_epochWatch(m_layers), m_overview(*m_globe) {
    setWindowTitle(tr("管道巡检"));
    constexpr QSize kFrame(4, 32); // what a window manager puts around it
    resize(QSize(1600, 1000).boundedTo(screen()->availableSize() - kFrame));
    setAcceptDrops(true);
    buildCentre();

    InspectionContext& context = InspectionContext::instance();
    context.initialise(this);
    context.setMapPictureSource([this] { return withoutEmptyMargins(m_comparison->pictureWithout()); });
    zeo::EngineContext::instance().setMapSRS(m_globe->getMapNode()->getMapSRS());

    buildTop();
    m_panels = new Panels(*this, *m_globe);
    connect(m_panels, &Panels::imageryOpacityChanged, this, [this](double opacity) {
        m_layers.setImageryOpacity(opacity);
        m_globe->requestRedraw();
    });
    m_comparison = new EpochComparison(*m_globe, m_layers, this);
    m_status = new StatusLine(*this, *m_globe);
    connect(m_status, &StatusLine::undoAsked, m_toolArea, &ToolArea::undo);
    connect(&m_baseLayers, &BaseLayers::troubled, this, &MainWindow::tellTrouble);
    connect(&m_epochWatch, &EpochWatch::troubled, this, &MainWindow::tellTrouble);
    connectGlobe();
    addWorldBackdrop();
}

MainWindow::~MainWindow() {
    // What the active tool asks for when it is left is still done, then tools, windows and globe go, in this
    // order.
    zeo::EngineContext::instance().deactivateTool();
    HandlerRegistry& handlers = HandlerRegistry::instance();
    handlers.deliverMessages();
    handlers.setWakeUp({});
    handlers.clear();
    zeo::EngineContext::instance().shutdown();
    zeo::EngineContext::instance().setMapSRS(nullptr);
    m_desk.reset();
    InspectionContext::instance().shutdown();
    delete m_globe;
}

void MainWindow::loadPlugin(const QString& file) {
    const std::optional<QString> problem = loadToolPlugin(file);
    m_toolArea->addCommands(zeo::EngineContext::instance().commands());
    InspectionContext::instance().announceEdits();
    if (problem) {
        qCWarning(logApp).noquote() << "plug-in not loaded:" << *problem;
        myMessageBox::showMyMessageBox(this, tr("提示"), *problem, myMessageBox::Warning, myMessageBox::Ok);
    }
}

std::optional<QString> MainWindow::openProject(const QString& folder) {
    InspectionContext& context = InspectionContext::instance();
    if (std::optional<QString> problem = context.openProject(folder)) {
        return problem;
    }

    const inspection::ProjectDescription& project = context.project()->description();
    for (const QString& line : m_layers.show(project)) {
        qCWarning(logApp).noquote() << line;
    }
    m_epochWatch.start();
    m_baseLayers.show(project.baseLayers);
    m_baseLayersButton->setEnabled(true);
    showEpochs();
    setWindowTitle(project.name + (context.readOnlyReason().isEmpty() ? QString() : tr("（只读）")) +
                   tr(" — 管道巡检"));
    showStart(false);
    goToOverview();
    return std::nullopt;
}

void MainWindow::tellTrouble(const QString& line) {
    qCWarning(logApp).noquote() << line;
    m_status->tell(line);
}

void MainWindow::takeEpochs() {
    for (const QString& line : m_layers.update(InspectionContext::instance().project()->description())) {
        qCWarning(logApp).noquote() << line;
    }
    showEpochs();
    m_globe->requestRedraw();
}

void MainWindow::showEpochs() {
    const QStringList titles =
        inspection::epochTitles(InspectionContext::instance().project()->description());
    m_epochs->clear();
    m_epochs->addItems(titles);
    for (int index = 0; index < titles.size(); ++index) {
        m_epochs->setItemData(index, plainToolTip(titles[index]), Qt::ToolTipRole); // long names are cut
    }
    m_epochs->setCurrentIndex(m_layers.shownEpoch());
    m_epochs->setEnabled(m_epochs->count() > 1);
    m_pairs->showProject();
    showComparedPair();
    m_comparison->update();
}

void MainWindow::showStartPage() {
    m_start->showRecent();
    showStart(true);
    m_start->setFocus();
}

// Without a project the windows around the globe have nothing to show, and the tools nothing to work on.
void MainWindow::showStart(bool isStart) {
    m_centre->setCurrentWidget(isStart ? static_cast<QWidget*>(m_start) : m_globe);
    m_toolArea->setEnabled(!isStart);
    m_panels->setUsable(!isStart);
}

void MainWindow::rememberLayout() {
    m_remembersLayout = true;
    m_panels->restore();
}

void MainWindow::goToOverview() {
    layout()->activate(); // panels may just have come
    m_centre->layout()->activate();
    m_overview.show(InspectionContext::instance().project()->description());
}

void MainWindow::closeEvent(QCloseEvent* event) {
    zeo::EngineContext::instance().deactivateTool();
    if (m_remembersLayout) {
        m_panels->keep();
    }
    QMainWindow::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!localFiles(*event->mimeData()).isEmpty()) {
        event->acceptProposedAction();
    }
}

// What follows may ask the user; the program that the files come from does not wait for that.
void MainWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    QTimer::singleShot(0, m_desk.get(),
                       [this, files = localFiles(*event->mimeData())] { m_desk->takeDropped(files); });
}

void MainWindow::buildCentre() {
    m_centre = new QStackedWidget(this);
    m_start = new StartPage;
    m_centre->addWidget(m_globe);
    m_centre->addWidget(m_start);
    setCentralWidget(m_centre);
    m_desk = std::make_unique<ProjectDesk>(*this, *m_start);
    connect(new QShortcut(QKeySequence::New, this), &QShortcut::activated, m_desk.get(),
            [this] { m_desk->makeNew(); });
    connect(new QShortcut(QKeySequence::HelpContents, this), &QShortcut::activated, this,
            &MainWindow::showGuide);
    connect(new QShortcut(Qt::CTRL | Qt::Key_E, this), &QShortcut::activated, m_desk.get(),
            [this] { m_desk->epochs().add(); });
    connect(new QShortcut(Qt::CTRL | Qt::Key_I, this), &QShortcut::activated, m_desk.get(),
            [this] { m_desk->epochs().import(); });
}

void MainWindow::buildTop() {
    auto* top = new QToolBar(tr("工具"), this);
    top->setObjectName("tools");
    top->setMovable(false);
    top->setContextMenuPolicy(Qt::PreventContextMenu);
    m_toolArea = new ToolArea(top);
    top->addWidget(m_toolArea);

    auto* spring = new QWidget(top);
    spring->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    top->addWidget(spring);

    // One above the other, like the choices beside them, so that the tools have room for their names on a small screen.
    auto* buttons = new QWidget(top);
    auto* column = new QVBoxLayout(buttons);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addStretch();
    column->addWidget(buildProjectButton(buttons));
    column->addWidget(buildBaseLayersButton(buttons));
    column->addWidget(buildViewButton(buttons));
    column->addStretch();
    top->addWidget(buttons);

    m_epochs = new QComboBox(top);
    m_epochs->setObjectName("epochs");
    m_epochs->setToolTip(tr("地形与影像显示哪一期"));
    m_epochs->setMinimumContentsLength(10);
    m_epochs->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_epochs->setEnabled(false);
    connect(m_epochs, QOverload<int>::of(&QComboBox::activated), this,
            qOverload<int>(&MainWindow::showEpoch));
    m_pairs = new PairBox(top);
    connect(m_pairs, &PairBox::pairChosen, this, &MainWindow::comparePair);
    connect(&InspectionContext::instance(), &InspectionContext::computeFinished, m_pairs,
            &PairBox::markComputed);
    connect(&InspectionContext::instance(), &InspectionContext::epochsChanged, this, &MainWindow::takeEpochs);

    auto* choices = new QWidget(top);
    auto* rows = new QFormLayout(choices);
    rows->setContentsMargins(2, 0, 0, 0);
    rows->setHorizontalSpacing(4);
    rows->setVerticalSpacing(4);
    rows->setFormAlignment(Qt::AlignVCenter);
    rows->addRow(tr("显示期次"), m_epochs);
    rows->addRow(tr("对比期次"), m_pairs);
    top->addWidget(choices);
    addToolBar(Qt::TopToolBarArea, top);
}

QToolButton* MainWindow::buildProjectButton(QWidget* parent) {
    auto* open = new QToolButton(parent);
    open->setObjectName("openProject");
    open->setAutoRaise(true);
    open->setText(tr("打开项目…"));
    open->setToolTip(tr("打开项目文件夹（Ctrl+O）；箭头：新建，期次，最近的项目"));
    open->setShortcut(QKeySequence::Open);
    open->setPopupMode(QToolButton::MenuButtonPopup);
    auto* menu = new QMenu(open);
    open->setMenu(menu);
    connect(menu, &QMenu::aboutToShow, m_desk.get(), [this, menu] {
        m_desk->fillMenu(*menu);
        menu->addSection(tr("当前项目"));
        QAction* account =
            menu->addAction(tr("配准与筛选…"), this, [] { InspectionContext::instance().showAccount(); });
        account->setEnabled(InspectionContext::instance().project() != nullptr);
    });
    connect(open, &QToolButton::clicked, m_desk.get(), &ProjectDesk::choose);
    return open;
}

QToolButton* MainWindow::buildBaseLayersButton(QWidget* parent) {
    m_baseLayersButton = new QToolButton(parent);
    m_baseLayersButton->setObjectName("baseLayers");
    m_baseLayersButton->setAutoRaise(true);
    m_baseLayersButton->setText(tr("底图…"));
    m_baseLayersButton->setToolTip(tr("项目影像后面的底图（Ctrl+B）"));
    m_baseLayersButton->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_B));
    m_baseLayersButton->setEnabled(false);
    connect(m_baseLayersButton, &QToolButton::clicked, this, &MainWindow::editBaseLayers);
    return m_baseLayersButton;
}

QToolButton* MainWindow::buildViewButton(QWidget* parent) {
    auto* view = new QToolButton(parent);
    view->setObjectName("view");
    view->setAutoRaise(true);
    view->setText(tr("视图"));
    view->setToolTip(tr("显示或隐藏各窗口，只看地球（F11），恢复默认布局"));
    view->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(view);
    view->setMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        m_panels->fillMenu(*menu);
        menu->addSeparator();
        menu->addAction(tr("使用手册"), QKeySequence(QKeySequence::HelpContents), this,
                        &MainWindow::showGuide);
    });
    return view;
}

void MainWindow::connectGlobe() {
    HandlerRegistry& handlers = HandlerRegistry::instance();
    m_globe->getViewer()->addEventHandler(handlers.activeHandlerForwarder());
    m_globe->setWorkBetweenFrames([&handlers] { handlers.deliverMessages(); });
    handlers.setWakeUp([this] { m_globe->requestRedraw(); });

    // A tool that draws takes every click for itself; the one that follows the table judges what is under the pointer.
    InspectionContext::instance().setClickFilter([] {
        const zeo::ITool* tool = zeo::EngineContext::instance().GetActiveTool();
        const QToolButton* button = tool ? zeo::EngineContext::buttonOf(*tool) : nullptr;
        return !button || !button->isChecked() || InspectionContext::instance().isSelectionFollowed();
    });
    connect(&zeo::EngineContext::instance(), &zeo::EngineContext::commandFailed, this,
            [this](const QString& name, const QString& reason) {
                myMessageBox::showMyMessageBox(this, tr("提示"), name + tr("：") + reason,
                                               myMessageBox::Warning, myMessageBox::Ok);
            });
}

void MainWindow::addWorldBackdrop() {
    if (const std::optional<std::string> problem = m_globe->map().addWorldBackdrop(kWorldPicture)) {
        qCWarning(logApp) << "no world backdrop:" << problem->c_str();
    }
}

QString MainWindow::shownEpoch() const {
    return m_epochs->currentText();
}

void MainWindow::showEpoch(const QString& title) {
    const int index = m_epochs->findText(title);
    if (index >= 0 && index != m_epochs->currentIndex()) {
        m_epochs->setCurrentIndex(index);
        showEpoch(index);
    }
}

void MainWindow::showEpoch(int index) {
    for (const QString& line : m_layers.showEpoch(index)) {
        qCWarning(logApp).noquote() << line;
    }
    m_comparison->update();
    m_globe->requestRedraw();
}

void MainWindow::comparePair(const inspection::EpochPair& pair) {
    if (const std::optional<QString> problem = InspectionContext::instance().setComparedPair(pair)) {
        myMessageBox::showMyMessageBox(this, tr("提示"), *problem, myMessageBox::Warning, myMessageBox::Ok);
    }
    m_pairs->showCurrent();
    showComparedPair();
    m_comparison->update();
}

void MainWindow::showComparedPair() {
    const inspection::Project* project = InspectionContext::instance().project();
    m_panels->setTableTitle(
        project ? tr("异常列表：%1")
                      .arg(inspection::pairTitle(project->description(), project->description().pair()))
                : tr("异常列表"));
}

void MainWindow::showGuide() {
    if (!m_guide) {
        m_guide = new GuideWindow(this);
    }
    m_guide->show();
    m_guide->raise();
    m_guide->activateWindow();
}

void MainWindow::editBaseLayers() {
    InspectionContext& context = InspectionContext::instance();
    if (!context.project()) {
        return;
    }
    BaseLayerDialog dialog(context.project()->description().baseLayers, context.readOnlyReason(), this);
    connect(&dialog, &BaseLayerDialog::changed, this, [&] {
        m_baseLayers.show(dialog.layers());
        if (const inspection::Status stored = context.setBaseLayers(dialog.layers()); !stored) {
            dialog.tell(stored.error().userMessage);
        }
    });
    connect(&m_baseLayers, &BaseLayers::troubled, &dialog, &BaseLayerDialog::tell);
    dialog.exec();
}
