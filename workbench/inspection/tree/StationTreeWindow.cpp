#include "workbench/inspection/tree/StationTreeWindow.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/StationProjection.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/session/StationWork.h"
#include "workbench/inspection/tree/SpecialObjects.h"
#include "workbench/inspection/tree/StationOverlays.h"
#include "workbench/inspection/tree/StationRecords.h"
#include "workbench/inspection/tree/StationSearch.h"
#include "workbench/inspection/tree/StationTree.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/style/SearchField.h"

#include <QHBoxLayout>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <map>
#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL_Exception;

namespace {

constexpr double kLeastRangeMetres = 80.0;
constexpr double kRangeOfExtent = 1.5;
constexpr std::size_t kMostAtFirst = 20000; ///< anomalies that nobody has asked for yet

void flyToStation(const KV_Station& station) {
    const double x = (station.m_xMin + station.m_xMax) / 2.0;
    const double y = (station.m_yMin + station.m_yMax) / 2.0;
    if (const auto at = StationProjection(station.m_srs).toLonLatDegrees(x, y)) {
        const double extent = std::max(station.m_xMax - station.m_xMin, station.m_yMax - station.m_yMin);
        flyTo(at->x(), at->y(), std::max(extent * kRangeOfExtent, kLeastRangeMetres));
    }
}

} // namespace

StationTreeWindow::StationTreeWindow(Session& session, AnomalyOverlays& overlays,
                                     SpecialObjectNodes& objectNodes, QWidget* parent)
    : StationWindow(parent), m_session(session), m_globe(overlays),
      m_records(std::make_unique<StationRecords>(session)),
      m_overlays(std::make_unique<StationOverlays>(session, *m_records, overlays)), m_tree(new StationTree),
      m_search(new SearchField), m_objects(new SpecialObjects(session, *m_tree, objectNodes, this)) {
    build();
    connect(m_tree, SIGNAL(itemChanged(QTreeWidgetItem*, int)), this,
            SLOT(ChangeStationStates(QTreeWidgetItem*, int)));
    connect(m_tree, &StationTree::checkedTogether, this,
            [this](const std::vector<QTreeWidgetItem*>& entries) {
                for (QTreeWidgetItem* entry : entries) {
                    ChangeStationStates(entry, StationTree::NameColumn);
                }
            });
    connect(m_tree, SIGNAL(currentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)), this,
            SLOT(changeCurrent(QTreeWidgetItem*)));
    connect(m_tree, &QTreeWidget::itemSelectionChanged, this, &StationTreeWindow::announceChosen);
    connect(m_tree, SIGNAL(itemDoubleClicked(QTreeWidgetItem*, int)), this,
            SLOT(flyToItem(QTreeWidgetItem*)));
    connect(m_tree, SIGNAL(flyRequested(QTreeWidgetItem*)), this, SLOT(flyToItem(QTreeWidgetItem*)));
    connect(m_search, &QLineEdit::textChanged, this, &StationTreeWindow::applySearch);
    connect(m_search, &SearchField::left, m_tree, [this] { m_tree->setFocus(); });
    connect(m_search, &SearchField::foundWanted, m_tree, [this] {
        m_tree->setFocus();
        m_tree->goToListed();
    });
    connect(new QShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_F, this), &QShortcut::activated, m_search,
            &SearchField::begin);
    connect(m_overlays.get(), &StationOverlays::shown, this, &StationTreeWindow::overlaysShown);
    connect(&session.work(), &StationWork::computed, this, &StationTreeWindow::takeResults);
}

StationTreeWindow::~StationTreeWindow() = default;

void StationTreeWindow::build() {
    setFocusProxy(m_tree);
    m_search->setObjectName("stationSearch");
    m_search->setPlaceholderText(tr("搜索 Ctrl+Shift+F"));
    m_search->setToolTip(tr("只列出名称中有这些词的站段和特殊对象；站段也可按里程查找，如 K12 或 K12+300"));
    const auto button = [this](const QString& text, const char* slot) {
        auto* made = new QToolButton;
        made->setText(text);
        made->setAutoRaise(true);
        connect(made, SIGNAL(clicked()), m_tree, slot);
        return made;
    };
    auto* row = new QHBoxLayout;
    row->setSpacing(4);
    row->addWidget(button(tr("全选"), SLOT(checkAll())));
    row->addWidget(button(tr("全不选"), SLOT(checkNone())));
    row->addWidget(m_search, 1);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    column->addLayout(row);
    column->addWidget(m_tree, 1);
}

void StationTreeWindow::applySearch() {
    const StationSearch search(m_search->text());
    m_tree->showOnly([&](const QTreeWidgetItem& entry) {
        const QString name = entry.text(StationTree::NameColumn);
        const KV_StationItem* station =
            entry.type() == StationTree::Station
                ? m_records->item(entry.data(StationTree::NameColumn, StationTree::kIdRole).toUInt())
                : nullptr;
        return station ? search.finds(name, station->m_station) : search.finds(name);
    });
}

void StationTreeWindow::load() {
    clear();
    try {
        loadStations();
        m_objects->load();
        applySearch();
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The stations cannot be read:" << exception.what();
        m_session.warn(tr("无法读取项目数据库：%1").arg(QString::fromUtf8(exception.what())));
    }
}

void StationTreeWindow::clear() {
    m_overlays->hideAll();
    m_objects->clear();
    emit stationsChosen({});
    m_records->clear();
    m_tree->makeGroups();
}

void StationTreeWindow::loadStations() {
    m_records->load();
    for (const auto& item : m_records->all()) {
        m_tree->addStation(item->GetStationId(), fromGbk(item->m_station.m_name));
    }
    showCounts();
}

QString StationTreeWindow::countText(std::uint32_t stationId, std::size_t anomalies) const {
    return m_records->isComputed(stationId) ? QString::number(anomalies) : tr("未计算");
}

void StationTreeWindow::showCounts() {
    auto counts = countAnomalies(*m_session.connection(), m_session.project()->description().pair());
    m_records->readResults();
    std::map<std::uint32_t, QString> texts;
    for (const auto& station : m_records->all()) {
        const std::uint32_t id = station->GetStationId();
        texts[id] = countText(id, counts[id]);
    }
    m_tree->setCounts(texts);
}

void StationTreeWindow::ChangeStationStates(QTreeWidgetItem* entry, int column) {
    if (column != StationTree::NameColumn) {
        return;
    }
    if (entry->type() == StationTree::SpecialObject) {
        m_objects->takeChange(entry);
        return;
    }
    if (entry->type() != StationTree::Station) {
        return; // a group would ask all its children for its state, at each change of one of them
    }
    const bool checked = entry->checkState(StationTree::NameColumn) == Qt::Checked;
    const std::uint32_t id = entry->data(StationTree::NameColumn, StationTree::kIdRole).toUInt();
    if (checked == m_overlays->isShown(id)) {
        return;
    }
    if (checked) {
        m_overlays->show(id);
    } else {
        m_overlays->hide(id);
    }
}

void StationTreeWindow::changeCurrent(QTreeWidgetItem* entry) {
    m_objects->markCurrent(entry);
}

// While no station is selected, as when somebody looks at a special object, the ones before stay.
void StationTreeWindow::announceChosen() {
    const std::vector<KV_StationItem*> chosen = m_records->read(m_tree->selectedStations());
    if (!chosen.empty()) {
        emit stationsChosen(chosen);
    }
}

void StationTreeWindow::chooseStationsOf(const QStringList& anomalyNames) {
    std::set<std::string> names;
    for (const QString& name : anomalyNames) {
        names.insert(toGbk(name));
    }
    std::vector<std::uint32_t> ids;
    for (const auto& station : m_records->all()) {
        const std::vector<SdiffData>& anomalies = station->m_diffData.m_anomalies;
        const bool isMeant = std::any_of(anomalies.begin(), anomalies.end(), [&](const SdiffData& anomaly) {
            return names.count(anomaly.name) != 0;
        });
        if (isMeant && station->readclassfi()) {
            ids.push_back(station->GetStationId());
        }
    }
    if (!ids.empty() && ids != m_tree->selectedStations()) {
        m_tree->selectStations(ids);
    }
}

void StationTreeWindow::check(std::uint32_t stationId) {
    if (QTreeWidgetItem* entry = m_tree->station(stationId)) {
        entry->setCheckState(StationTree::NameColumn, Qt::Checked);
    }
}

void StationTreeWindow::flyToItem(QTreeWidgetItem* entry) {
    const std::uint32_t id = entry->data(StationTree::NameColumn, StationTree::kIdRole).toUInt();
    if (entry->type() == StationTree::Station) {
        if (const KV_StationItem* station = m_records->item(id)) {
            flyToStation(station->m_station);
        }
    } else if (entry->type() == StationTree::SpecialObject) {
        if (const auto place = m_objects->position(*entry)) {
            flyTo(place->x(), place->y(), 4.0 * kLeastRangeMetres);
        }
    }
}

void StationTreeWindow::PickCurrentShowItemsDiff() {
    m_session.work().compute(m_tree->checkedStations());
}

void StationTreeWindow::OutPutReport() {
    m_session.work().writeReport();
}

void StationTreeWindow::OutPutShap() {
    m_session.work().writeShapes();
}

StationChoice StationTreeWindow::choice() const {
    return m_tree->choice();
}

void StationTreeWindow::setChoice(const StationChoice& choice) {
    m_tree->setChoice(choice);
}

void StationTreeWindow::checkComputed() {
    const std::vector<std::uint32_t> computed = m_records->computed();
    const std::vector<std::uint32_t> first = firstOf(computed);
    m_tree->check(first);
    if (!first.empty() && first.size() == computed.size()) {
        m_tree->setCurrentItem(m_tree->stationRoot());
    } else {
        m_tree->selectStations(first);
    }
}

std::vector<std::uint32_t> StationTreeWindow::firstOf(const std::vector<std::uint32_t>& stationIds) const {
    std::vector<std::uint32_t> first;
    try {
        auto counts = countAnomalies(*m_session.connection(), m_session.project()->description().pair());
        std::size_t anomalies = 0;
        for (const std::uint32_t id : stationIds) {
            anomalies += counts[id];
            if (!first.empty() && anomalies > kMostAtFirst) {
                break;
            }
            first.push_back(id);
        }
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The anomalies cannot be counted:" << exception.what();
    }
    return first;
}

std::vector<KV_StationItem*> StationTreeWindow::GetSelectedStationItem() {
    return m_records->read(m_tree->checkedStations());
}

bool StationTreeWindow::IsDiffChecked(const KV_StationItem* station) const {
    if (!station) {
        return false;
    }
    const std::uint32_t id = station->GetStationId();
    const QTreeWidgetItem* entry = m_tree->station(id);
    const bool hasNothingToShow = m_records->isComputed(id) && station->m_diffData.m_anomalies.empty();
    return entry && entry->checkState(StationTree::NameColumn) == Qt::Checked &&
           (hasNothingToShow || m_overlays->isShown(id));
}

bool StationTreeWindow::SetcurrentdiffSelected(KV_StationItem* station) {
    if (!station || !station->readclassfi()) {
        return false;
    }
    // The caller fills the table itself; where the station is one of several there, they all stay.
    const QSignalBlocker quiet(m_tree);
    const std::vector<std::uint32_t> selected = m_tree->selectedStations();
    const bool isSelected =
        std::find(selected.begin(), selected.end(), station->GetStationId()) != selected.end();
    m_tree->setCurrentItem(m_tree->station(station->GetStationId()), StationTree::NameColumn,
                           isSelected ? QItemSelectionModel::NoUpdate
                                      : QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    return true;
}

bool StationTreeWindow::isReiterated_node(const QString& name) const {
    return m_objects->tellIfTaken(name);
}

void StationTreeWindow::SelectNode(const QString& name) {
    m_objects->select(name);
}

bool StationTreeWindow::AddPointNode(const Special_Point& point) {
    return m_objects->add(point);
}

bool StationTreeWindow::AddAreaNode(const Special_Polygon& area) {
    return m_objects->add(area);
}

bool StationTreeWindow::DeleteNode(const QString& name, int type) {
    return m_objects->remove(name, type);
}

bool StationTreeWindow::UpdataNode(const Special_Polygon& polygon, const std::string& oldName) {
    return m_objects->update(polygon, oldName);
}

bool StationTreeWindow::UpdataNode(const Special_Area& area, const std::string& oldName) {
    return m_objects->update(area, oldName);
}

bool StationTreeWindow::UpdataNode(const Special_Point& point, const std::string& oldName) {
    return m_objects->update(point, oldName);
}

} // namespace inspection
