#pragma once

#include "workbench/app/BaseLayers.h"
#include "workbench/app/EpochWatch.h"
#include "workbench/app/Overview.h"
#include "workbench/app/ProjectLayers.h"

#include <QMainWindow>

#include <memory>
#include <optional>

class EpochComparison;
class GlobeWidget;
class GuideWindow;
class PairBox;
class Panels;
class ProjectDesk;
class QComboBox;
class QStackedWidget;
class QToolButton;
class StartPage;
class StatusLine;
class ToolArea;

/// The workbench's window: tool groups on top, the globe in the middle, the inspection library's windows
/// around it. Brings the platform libraries together; it does no inspection work of its own.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /// Loads a tool plug-in and shows its buttons. A plug-in that cannot be used is told in a message box.
    void loadPlugin(const QString& file);
    /// Opens a project and shows it. Returns one Chinese line when it cannot be opened; what was open stays then.
    std::optional<QString> openProject(const QString& folder);
    /// Shows the ways to a project in place of the globe, until one is opened.
    void showStartPage();

    /// Takes size and layout from the user's settings, and stores them when it is closed.
    void rememberLayout();
    /// The title of the epoch that the globe shows; showing one that there is not changes nothing.
    QString shownEpoch() const;
    void showEpoch(const QString& title);
    /// Puts the view over the whole corridor at once; the view that Home goes back to.
    void goToOverview();

    GlobeWidget& globe() { return *m_globe; }
    ToolArea& toolArea() { return *m_toolArea; }
    ProjectDesk& desk() { return *m_desk; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void buildCentre();
    void buildTop();
    QToolButton* buildProjectButton(QWidget* parent);
    QToolButton* buildBaseLayersButton(QWidget* parent);
    void connectGlobe();
    QToolButton* buildViewButton(QWidget* parent);
    void showEpoch(int index);
    /// The open project has other epochs than before.
    void takeEpochs();
    void showEpochs();
    void comparePair(const inspection::EpochPair& pair);
    /// The table's caption says which epochs its anomalies are between.
    void showComparedPair();
    void editBaseLayers();
    void tellTrouble(const QString& line);
    void showStart(bool isStart);
    void showGuide();
    void addWorldBackdrop();

    GlobeWidget* m_globe;
    QStackedWidget* m_centre = nullptr;
    StartPage* m_start = nullptr;
    std::unique_ptr<ProjectDesk> m_desk;
    ToolArea* m_toolArea = nullptr;
    QComboBox* m_epochs = nullptr;
    PairBox* m_pairs = nullptr;
    Panels* m_panels = nullptr;
    StatusLine* m_status = nullptr;
    GuideWindow* m_guide = nullptr; ///< once it was asked for
    bool m_remembersLayout = false;
    QToolButton* m_baseLayersButton = nullptr;
    ProjectLayers m_layers;
    EpochComparison* m_comparison = nullptr;
    BaseLayers m_baseLayers;
    EpochWatch m_epochWatch;
    Overview m_overview;
};
