#pragma once

#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/Station.h"
#include "workbench/inspection/scene/SceneDataSet.h"
#include "workbench/inspection/tree/StationTreeWindow.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class KVImageWindow;
class ParaSet;
class QWidget;

namespace inspection {
class MadeEpoch;
enum class Verdicts;
struct ComputationSummary;
class AccountLine;
class AnomalyOverlays;
class AnomalyTableWindow;
class GroundDifferences;
class ImageWindow;
class LayerWindow;
class ParameterDialog;
class PipelineNodes;
class ProgressWidget;
class Session;
class SpecialObjectNodes;
} // namespace inspection

/// The inspection data library as the host starts it, feeds it and ends it. GUI thread, which also runs the
/// frames.
class INSPECTION_API InspectionContext : public QObject, public IORVAContext, public DataSetManager {
    Q_OBJECT

public:
    static InspectionContext& instance();

    /// Makes the windows and data sets. Before plug-ins are loaded, and once until shutdown. The windows
    /// belong to `mainWindow`, which puts them where it wants.
    void initialise(QWidget* mainWindow);
    /// Closes the project: running work is cancelled and waited for; then takes the windows away. Before the
    /// globe goes.
    void shutdown();

    /// Opens a project in place of the open one. One Chinese line when it cannot be opened; the open one stays
    /// then.
    std::optional<QString> openProject(const QString& folder);
    void closeProject();
    /// The stations that are checked and looked at, by name; names that there are no more are passed over.
    inspection::StationChoice stationChoice() const;
    void setStationChoice(const inspection::StationChoice& choice);
    /// Checks all stations that have been computed for the compared pair, and shows the whole line in the table.
    void showComputedStations();
    /// What the settings of the open project begin with; fails when its stations cannot be read.
    inspection::Result<inspection::PresentProject> presentProject() const;
    /// Null while no project is open.
    const inspection::Project* project() const;
    /// Why the open project can only be looked at, one Chinese line; empty when it can be changed.
    QString readOnlyReason() const;
    /// The pairs of epochs that were computed.
    std::vector<inspection::EpochPair> computedPairs() const;
    /// Shows the results of another pair of epochs, which is also the one that is computed from now on. One
    /// Chinese line when that is refused, as while work is going on.
    std::optional<QString> setComparedPair(const inspection::EpochPair& pair);
    /// Stores the open project's base layers, bottom first.
    inspection::Status setBaseLayers(const std::vector<inspection::BaseLayer>& layers);
    /// Adds an epoch that was made for the open project; takes one away with its results. Refused while work is going on.
    inspection::Status addEpoch(inspection::MadeEpoch& epoch);
    inspection::Status removeEpoch(const QString& key, inspection::Verdicts verdicts);
    /// Special objects of the open project have been brought in beside its windows.
    void showImported();
    /// True while anomalies are being computed or an output is being written.
    bool isWorking() const;
    /// Figures of the last computation that succeeded since initialise.
    const inspection::ComputationSummary& lastComputation() const;

    /// Tells tools that were loaded after the project was opened what can be undone.
    void announceEdits();

    /// From then on report and shape output are written without asking, to `folder`/report.pdf and
    /// `folder`/shape. An empty folder asks again.
    void setOutputFolder(const QString& folder);
    /// Gives what the globe shows, for the report.
    void setMapPictureSource(std::function<QImage()> source);
    /// Whether a click on the globe means nothing to the tool in use, so that it may be one on a pin. Asked for each.
    void setClickFilter(std::function<bool()> isFree);
    /// Whether the tool in use shows on the globe what is selected in the table.
    bool isSelectionFollowed() const;
    /// New - old in metres at a place, for the compared pair; nothing where nothing was compared. Degrees, WGS 84.
    std::optional<double> differenceAt(double lonDegrees, double latDegrees);
    /// The pipeline on the globe, and the window that says what is shown there. From initialise to shutdown.
    inspection::PipelineNodes& pipelineNodes() { return *m_pipeline; }
    inspection::LayerWindow* layerWindow();
    /// Text, bar and cancel button of the running work; hidden while nothing runs. For the status bar.
    QWidget* progressWidget();
    /// What detection did to the compared pair, in one line that opens a window when it is clicked; hidden while there
    /// is nothing to tell. For the status bar.
    QWidget* accountLine();
    /// Opens that window, or says that there is nothing to tell.
    void showAccount();

    StationWindow* GetStationWindow() override;
    AVWindow* GetAVWindow() override;
    KVImageWindow* GetKVImageWindow() override;
    DataSetManager* GetDataSetManager() override { return this; }
    /// Null while no project is open.
    EditHistory* GetEditHistory() override;
    QWidget* GetMainWindow() override;

    /// The data sets come and go only in initialise and shutdown, while no frames are made.
    DataSet* GetDataSet(int index) override;

signals:
    /// The open project is about to go; everything of it is still there.
    void projectClosing();
    /// The open project has other epochs, or is compared by another pair of them.
    void epochsChanged();
    /// The user has made an edit; what it did, as a line that begins with a verb.
    void edited(const QString& description);
    /// An edit was undone or redone.
    void undoneOrRedone();
    /// Ends every computation that was started. `message` is one Chinese line.
    void computeFinished(bool ok, const QString& message);
    /// Ends every output that was started. `kind` is "report" or "shape".
    void outputFinished(const QString& kind, bool ok, const QString& path);

private:
    InspectionContext();
    ~InspectionContext() override;

    void connectWindows();
    void connectSession();
    void connectSelection();
    void connectHistory();
    void connectWork();
    void forgetDifferences();
    void showPipeline();
    /// Overlays show the verdicts of their anomalies.
    void updateOverlays(const inspection::RowChanges& changes);
    void showAnomaly(const SdiffData& anomaly, double flightSeconds);

    std::unique_ptr<inspection::Session> m_session;
    std::unique_ptr<inspection::GroundDifferences> m_differences;
    std::unique_ptr<inspection::AnomalyOverlays> m_overlays;
    inspection::SceneDataSet m_scene;
    std::unique_ptr<inspection::PipelineNodes> m_pipeline;
    std::unique_ptr<inspection::SpecialObjectNodes> m_objectNodes;
    QPointer<inspection::StationTreeWindow> m_stations;
    QPointer<inspection::AnomalyTableWindow> m_anomalies;
    QPointer<inspection::LayerWindow> m_layers;
    QPointer<inspection::ImageWindow> m_images;
    QPointer<inspection::ParameterDialog> m_parameters;
    QPointer<inspection::ProgressWidget> m_progress;
    QPointer<inspection::AccountLine> m_account;
};
