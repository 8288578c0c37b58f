#include "workbench/inspection/context/InspectionContext.h"

#include "workbench/inspection/account/AccountLine.h"
#include "workbench/inspection/context/GroundDifferences.h"
#include "workbench/inspection/context/ProgressWidget.h"
#include "workbench/inspection/images/ImageWindow.h"
#include "workbench/inspection/layers/LayerWindow.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/PipelineNodes.h"
#include "workbench/inspection/scene/SpecialObjectNodes.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/session/StationWork.h"
#include "workbench/inspection/settings/ParameterDialog.h"
#include "workbench/inspection/table/AnomalyTableWindow.h"
#include "workbench/inspection/tree/StationTree.h"
#include "workbench/inspection/tree/StationTreeWindow.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>
#include <utility>

using inspection::AccountLine;
using inspection::AnomalyOverlays;
using inspection::AnomalyTableWindow;
using inspection::ImageWindow;
using inspection::LayerWindow;
using inspection::ParameterDialog;
using inspection::PipelineNodes;
using inspection::ProgressWidget;
using inspection::Session;
using inspection::SpecialObjectNodes;
using inspection::StationTreeWindow;
using inspection::StationWork;

namespace {
constexpr double kFlightSeconds = 0.8;
constexpr double kStepSeconds = 0.6; ///< from one row of the table to the next
} // namespace

IORVAContext* IORVAContext::Instance() {
    return &InspectionContext::instance();
}

InspectionContext& InspectionContext::instance() {
    static InspectionContext context;
    return context;
}

InspectionContext::InspectionContext() = default;
InspectionContext::~InspectionContext() = default;

void InspectionContext::initialise(QWidget* mainWindow) {
    shutdown();
    m_session = std::make_unique<Session>(mainWindow);
    m_differences = std::make_unique<inspection::GroundDifferences>(*m_session);
    m_overlays = std::make_unique<AnomalyOverlays>();
    m_pipeline = std::make_unique<PipelineNodes>();
    m_objectNodes = std::make_unique<SpecialObjectNodes>(m_scene);
    m_stations = new StationTreeWindow(*m_session, *m_overlays, *m_objectNodes, mainWindow);
    m_anomalies = new AnomalyTableWindow(*m_session, *m_overlays, mainWindow);
    m_layers = new LayerWindow(*m_pipeline, *m_overlays, mainWindow);
    m_images = new ImageWindow(*m_session, mainWindow);
    m_parameters = new ParameterDialog(*m_session, mainWindow);
    m_progress = new ProgressWidget(m_session->jobs(), mainWindow);
    m_account = new AccountLine(*m_session, mainWindow);
    connectWindows();
}

void InspectionContext::connectWindows() {
    connectSession();
    connectSelection();
    connectHistory();
    connectWork();
    connect(m_overlays.get(), &AnomalyOverlays::paintingProgressed, m_progress,
            &ProgressWidget::showPainting);
}

void InspectionContext::connectSession() {
    const Session* session = m_session.get();
    connect(session, &Session::closing, this, &InspectionContext::projectClosing);
    connect(session, &Session::opened, this, &InspectionContext::showPipeline);
    connect(session, &Session::closing, this, [this] { m_pipeline->clear(); });
    connect(session, &Session::opened, m_stations, &StationTreeWindow::load);
    connect(session, &Session::closing, m_stations, &StationTreeWindow::clear);
    connect(session, &Session::closing, m_images, &ImageWindow::clear);
    connect(session, &Session::parametersChanged, m_stations, &StationTreeWindow::recolourOverlays);
    connect(session, &Session::comparedPairChanged, m_anomalies, &AnomalyTableWindow::clearSelection);
    connect(session, &Session::comparedPairChanged, m_images, &ImageWindow::clear);
    connect(session, &Session::comparedPairChanged, m_stations, &StationTreeWindow::reloadAnomalies);
    connect(session, &Session::objectsReplaced, m_stations, &StationTreeWindow::reload);
    connect(session, &Session::epochsChanged, this, &InspectionContext::epochsChanged);
    connect(session, &Session::connectionChanged, m_progress, &ProgressWidget::showMessage);
    connect(session, &Session::waiting, m_progress, &ProgressWidget::showWaiting);
    connect(session, &Session::noticed, m_progress, &ProgressWidget::showMessage);
    for (const auto change :
         {&Session::opened, &Session::closing, &Session::comparedPairChanged, &Session::epochsChanged}) {
        connect(session, change, this, &InspectionContext::forgetDifferences);
    }
}

void InspectionContext::connectSelection() {
    connect(m_stations, &StationTreeWindow::stationsChosen, m_anomalies, &AnomalyTableWindow::showStations);
    connect(m_anomalies, &AnomalyTableWindow::stationsNeeded, m_stations,
            &StationTreeWindow::chooseStationsOf);
    connect(m_anomalies, &AnomalyTableWindow::anomalyActivated, this, [this](const SdiffData& anomaly) {
        m_stations->check(m_anomalies->GetCurrentItem()->GetStationId());
        showAnomaly(anomaly, kFlightSeconds);
    });
    connect(m_anomalies, &AnomalyTableWindow::anomalyReached, this,
            [this](const SdiffData& anomaly) { showAnomaly(anomaly, kStepSeconds); });
    connect(m_stations, &StationTreeWindow::overlaysShown, m_anomalies,
            &AnomalyTableWindow::announceSelection);
}

// The tree has the rows first: the others look up stations there.
void InspectionContext::connectHistory() {
    using inspection::ProjectHistory;
    const ProjectHistory* history = &m_session->history();
    connect(history, &ProjectHistory::undoable, m_anomalies, &AVWindow::sent_msg_undo);
    connect(history, &ProjectHistory::redoable, m_anomalies, &AVWindow::sent_msg_redo);
    connect(history, &ProjectHistory::edited, this, &InspectionContext::edited);
    connect(history, &ProjectHistory::rowsChanged, m_stations, &StationTreeWindow::applyRows);
    connect(history, &ProjectHistory::rowsChanged, m_anomalies, &AnomalyTableWindow::applyRows);
    connect(history, &ProjectHistory::rowsChanged, this,
            [this](const inspection::RowChanges& /*changes*/, inspection::Showing showing) {
                if (showing == inspection::Showing::Followed) {
                    emit undoneOrRedone();
                }
            });
    connect(history, &ProjectHistory::rowsChanged, this, &InspectionContext::updateOverlays);
    connect(history, &ProjectHistory::rowsChanged, m_images, &ImageWindow::applyRows);
    connect(history, &ProjectHistory::replacedByOthers, m_stations, &StationTreeWindow::reload);
    connect(history, &ProjectHistory::replacedByOthers, m_images, &ImageWindow::dropWhatIsGone);
    connect(history, &ProjectHistory::replacedByOthers, this, &InspectionContext::showPipeline);
    connect(history, &ProjectHistory::replacedByOthers, m_account, &AccountLine::refresh);
    connect(history, &ProjectHistory::replacedByOthers, this, &InspectionContext::forgetDifferences);
}

void InspectionContext::connectWork() {
    const StationWork* work = &m_session->work();
    connect(work, &StationWork::computed, this, &InspectionContext::forgetDifferences);
    connect(work, &StationWork::computed, m_account, &AccountLine::refresh);
    connect(work, &StationWork::computeFinished, m_progress, &ProgressWidget::showResult);
    connect(work, &StationWork::computeFinished, this, &InspectionContext::computeFinished);
    connect(work, &StationWork::outputFinished, this, &InspectionContext::outputFinished);
}

void InspectionContext::forgetDifferences() {
    m_differences->forget();
}

void InspectionContext::showPipeline() {
    const auto pipeline = inspection::Pipeline::read(m_session->project()->description());
    m_images->setPipeline(pipeline);
    try {
        mysqlhelper::KV_MySQL& database = *m_session->connection();
        m_pipeline->show({pipeline, inspection::readStations(database), inspection::readPipeNodes(database)});
    } catch (const mysqlhelper::KV_MySQL_Exception& refusal) {
        qCWarning(inspection::windowLog) << "The pipeline cannot be shown on the globe:" << refusal.what();
    }
}

void InspectionContext::updateOverlays(const inspection::RowChanges& changes) {
    for (const inspection::AnomalyChange& change : anomalyChanges(changes, m_session->comparisonId())) {
        if (!change.isGone) {
            m_overlays->update(change.stationId, change.anomaly);
        }
    }
}

const inspection::ComputationSummary& InspectionContext::lastComputation() const {
    return m_session->work().lastComputation();
}

void InspectionContext::shutdown() {
    if (!m_session) {
        return;
    }
    closeProject();
    delete m_stations;
    delete m_anomalies;
    delete m_layers;
    delete m_images;
    delete m_parameters;
    delete m_progress;
    delete m_account;
    m_objectNodes.reset();
    m_pipeline.reset();
    m_overlays.reset();
    m_differences.reset();
    m_session.reset();
}

void InspectionContext::showAnomaly(const SdiffData& anomaly, double flightSeconds) {
    constexpr double kRangeOfExtent = 4.0;
    constexpr double kLeastRangeMetres = 40.0;
    const double extent = std::max(anomaly.xMax - anomaly.xMin, anomaly.yMax - anomaly.yMin);
    inspection::flyTo(anomaly.lonDegrees, anomaly.latDegrees,
                      std::max(extent * kRangeOfExtent, kLeastRangeMetres), flightSeconds);
    m_images->CreatZoomItem(m_anomalies->GetCurrentItem(), anomaly);
}

std::optional<QString> InspectionContext::openProject(const QString& folder) {
    if (!m_session) {
        return tr("巡检数据库尚未初始化");
    }
    if (const inspection::Status opened = m_session->open(folder); !opened) {
        return opened.error().userMessage;
    }
    return std::nullopt;
}

void InspectionContext::closeProject() {
    if (m_session) {
        m_session->close();
    }
}

inspection::StationChoice InspectionContext::stationChoice() const {
    return m_stations ? m_stations->choice() : inspection::StationChoice();
}

void InspectionContext::setStationChoice(const inspection::StationChoice& choice) {
    if (m_stations) {
        m_stations->setChoice(choice);
    }
}

void InspectionContext::showComputedStations() {
    if (m_stations) {
        m_stations->checkComputed();
    }
}

inspection::Result<inspection::PresentProject> InspectionContext::presentProject() const {
    using namespace inspection;
    if (!project()) {
        return Unexpected(Failure{QStringLiteral("no project is open"), tr("没有打开的项目")});
    }
    try {
        return inspection::presentProject(project()->description(), readStations(*m_session->connection()));
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, tr("无法读取项目数据库：%1").arg(cause)});
    }
}

const inspection::Project* InspectionContext::project() const {
    return m_session ? m_session->project() : nullptr;
}

std::vector<inspection::EpochPair> InspectionContext::computedPairs() const {
    std::vector<inspection::EpochPair> pairs;
    if (m_session) {
        for (const inspection::Comparison& comparison : m_session->comparisons()) {
            if (comparison.stations > 0) {
                pairs.push_back(comparison.pair);
            }
        }
    }
    return pairs;
}

std::optional<QString> InspectionContext::setComparedPair(const inspection::EpochPair& pair) {
    if (!m_session) {
        return tr("巡检数据库尚未初始化");
    }
    if (const inspection::Status done = m_session->setComparedPair(pair); !done) {
        return done.error().userMessage;
    }
    return std::nullopt;
}

inspection::Status InspectionContext::addEpoch(inspection::MadeEpoch& epoch) {
    return m_session->addEpoch(epoch);
}

inspection::Status InspectionContext::removeEpoch(const QString& key, inspection::Verdicts verdicts) {
    return m_session->removeEpoch(key, verdicts);
}

void InspectionContext::showImported() {
    m_session->showImported();
}

bool InspectionContext::isWorking() const {
    return m_session && m_session->jobs().isRunning();
}

QString InspectionContext::readOnlyReason() const {
    return m_session ? m_session->readOnlyReason() : QString();
}

inspection::Status InspectionContext::setBaseLayers(const std::vector<inspection::BaseLayer>& layers) {
    return m_session->setBaseLayers(layers);
}

void InspectionContext::setOutputFolder(const QString& folder) {
    if (m_session) {
        m_session->setOutputFolder(folder);
    }
}

void InspectionContext::setMapPictureSource(std::function<QImage()> source) {
    if (m_session) {
        m_session->setMapPictureSource(std::move(source));
    }
}

std::optional<double> InspectionContext::differenceAt(double lonDegrees, double latDegrees) {
    return m_differences ? m_differences->at(lonDegrees, latDegrees) : std::nullopt;
}

void InspectionContext::setClickFilter(std::function<bool()> isFree) {
    if (m_overlays) {
        m_overlays->pins().setClickFilter(std::move(isFree));
    }
}

bool InspectionContext::isSelectionFollowed() const {
    return m_anomalies && m_anomalies->isFollowed();
}

QWidget* InspectionContext::progressWidget() {
    return m_progress;
}

LayerWindow* InspectionContext::layerWindow() {
    return m_layers;
}

QWidget* InspectionContext::accountLine() {
    return m_account;
}

void InspectionContext::showAccount() {
    if (m_account) {
        m_account->showAccount();
    }
}

StationWindow* InspectionContext::GetStationWindow() {
    return m_stations;
}

AVWindow* InspectionContext::GetAVWindow() {
    return m_anomalies;
}

KVImageWindow* InspectionContext::GetKVImageWindow() {
    return m_images;
}

EditHistory* InspectionContext::GetEditHistory() {
    return m_session && m_session->project() ? &m_session->history() : nullptr;
}

void InspectionContext::announceEdits() {
    if (m_session) {
        m_session->history().announce();
    }
}

QWidget* InspectionContext::GetMainWindow() {
    return m_session ? m_session->mainWindow() : nullptr;
}

DataSet* InspectionContext::GetDataSet(int index) {
    switch (index) {
    case PipelineDataSet::kIndex:
        return m_session ? m_session->database() : nullptr;
    case ParaSet::kIndex:
        return m_parameters;
    case OsgDataSet::kIndex:
        return &m_scene;
    default:
        return nullptr;
    }
}
