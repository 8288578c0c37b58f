#include "workbench/app/Panels.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/layers/LayerWindow.h"
#include "workbench/style/Settings.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

#include <algorithm>

namespace {

constexpr int kLayoutVersion = 1; ///< another one makes what was stored before unreadable
constexpr auto kGeometryKey = "window/geometry";
constexpr auto kLayoutKey = "window/layout";

} // namespace

Panels::Panels(QMainWindow& window, GlobeWidget& globe)
    : QObject(&window), m_window(window), m_globe(globe),
      m_stations(addDock(tr("站段与特殊对象"), "stationDock", IORVAContext::Instance()->GetStationWindow())),
      m_layers(addDock(tr("图层"), "layerDock", InspectionContext::instance().layerWindow())),
      m_table(addDock(tr("异常列表"), "anomalyDock", IORVAContext::Instance()->GetAVWindow())),
      m_images(addDock(tr("影像对比"), "imageDock", IORVAContext::Instance()->GetKVImageWindow())),
      m_docks{m_stations, m_layers, m_table, m_images} {
    window.setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowTabbedDocks);
    window.setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    window.setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    arrange();

    connect(InspectionContext::instance().layerWindow(), &inspection::LayerWindow::imageryOpacityChanged,
            this, &Panels::imageryOpacityChanged);
    connect(new QShortcut(Qt::Key_F6, &window), &QShortcut::activated, this, [this] { goToPane(1); });
    connect(new QShortcut(Qt::SHIFT | Qt::Key_F6, &window), &QShortcut::activated, this,
            [this] { goToPane(-1); });
    connect(new QShortcut(Qt::Key_F11, &window), &QShortcut::activated, this,
            [this] { setGlobeAlone(!m_isGlobeAlone); });
}

QDockWidget* Panels::addDock(const QString& title, const QString& name, QWidget* content) {
    auto* dock = new QDockWidget(title, &m_window);
    dock->setObjectName(name);
    dock->setWidget(content);
    return dock;
}

void Panels::arrange() {
    m_window.addDockWidget(Qt::LeftDockWidgetArea, m_stations);
    m_window.addDockWidget(Qt::LeftDockWidgetArea, m_layers);
    m_window.addDockWidget(Qt::BottomDockWidgetArea, m_table);
    m_window.addDockWidget(Qt::RightDockWidgetArea, m_images);
    m_window.tabifyDockWidget(m_stations, m_layers);
    m_window.resizeDocks({m_stations, m_images}, {270, 430}, Qt::Horizontal);
    m_window.resizeDocks({m_table}, {230}, Qt::Vertical);
    QTimer::singleShot(0, m_stations, &QDockWidget::raise); // the tabs come with the next layout
}

void Panels::reset() {
    setGlobeAlone(false);
    for (QDockWidget* dock : m_docks) {
        dock->setFloating(false);
        dock->show();
    }
    arrange();
}

void Panels::setTableTitle(const QString& title) {
    m_table->setWindowTitle(title);
}

void Panels::setUsable(bool areUsable) {
    m_areUsable = areUsable;
    if (areUsable && !m_isGlobeAlone) {
        expand();
    } else {
        collapse();
    }
}

void Panels::setGlobeAlone(bool isAlone) {
    if (isAlone == m_isGlobeAlone || !m_areUsable) {
        return;
    }
    m_isGlobeAlone = isAlone;
    if (isAlone) {
        collapse();
    } else {
        expand();
    }
    m_window.statusBar()->setVisible(!isAlone);
    for (QToolBar* bar : m_window.findChildren<QToolBar*>(QString(), Qt::FindDirectChildrenOnly)) {
        bar->setVisible(!isAlone);
    }
    m_globe.setFocus();
}

void Panels::collapse() {
    if (m_expanded.isEmpty()) {
        m_expanded = m_window.saveState(kLayoutVersion);
    }
    for (QDockWidget* dock : m_docks) {
        dock->hide();
    }
}

void Panels::expand() {
    if (!m_expanded.isEmpty()) {
        m_window.restoreState(m_expanded, kLayoutVersion);
        m_expanded.clear();
    }
}

void Panels::fillMenu(QMenu& menu) {
    menu.clear();
    for (QDockWidget* dock : m_docks) {
        QAction* action = menu.addAction(dock->windowTitle());
        action->setCheckable(true);
        action->setChecked(!dock->isHidden());
        action->setEnabled(m_areUsable && !m_isGlobeAlone);
        connect(action, &QAction::toggled, dock, [dock](bool isShown) {
            dock->setVisible(isShown);
            dock->raise();
        });
    }
    menu.addSeparator();
    QAction* alone = menu.addAction(tr("只看地球\tF11"), this, [this] { setGlobeAlone(!m_isGlobeAlone); });
    alone->setCheckable(true);
    alone->setChecked(m_isGlobeAlone);
    alone->setEnabled(m_areUsable);
    menu.addAction(tr("恢复默认布局"), this, &Panels::reset)->setEnabled(m_areUsable);
}

void Panels::keep() const {
    Settings settings;
    settings.setValue(kGeometryKey, m_window.saveGeometry());
    settings.setValue(kLayoutKey, m_expanded.isEmpty() ? m_window.saveState(kLayoutVersion) : m_expanded);
}

void Panels::restore() {
    const Settings settings;
    const QByteArray geometry = settings.value(kGeometryKey).toByteArray();
    const QByteArray layout = settings.value(kLayoutKey).toByteArray();
    if (geometry.isEmpty() || layout.isEmpty()) {
        return;
    }
    m_window.restoreGeometry(geometry); // Qt itself moves it to a screen that is there
    if (!m_expanded.isEmpty()) {
        m_expanded = layout;
    } else {
        m_window.restoreState(layout, kLayoutVersion);
    }
}

void Panels::goToPane(int step) {
    IORVAContext* windows = IORVAContext::Instance();
    const std::array<QWidget*, 4> panes = {windows->GetStationWindow(), &m_globe, windows->GetAVWindow(),
                                           windows->GetKVImageWindow()};
    const QWidget* focus = m_window.focusWidget();
    const auto present = std::find_if(panes.begin(), panes.end(), [focus](const QWidget* pane) {
        return pane == focus || pane->isAncestorOf(focus);
    });
    const auto count = static_cast<int>(panes.size());
    const int index =
        present == panes.end() ? (step > 0 ? -1 : 0) : static_cast<int>(present - panes.begin());
    panes[static_cast<std::size_t>((index + step + count) % count)]->setFocus(Qt::ShortcutFocusReason);
}
