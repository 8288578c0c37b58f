#include "workbench/inspection/table/AnomalyTableModel.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/style/ToolTip.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace inspection {

namespace {
/// More rows than that are told of together: a view and a filter take as long for each single one as for all.
constexpr std::size_t kMostAlone = 20;
constexpr int kGone = -1; ///< the place of a row that is there no more
} // namespace

/// Rows change their places, or go, for as long as it lives.
class AnomalyTableModel::LayoutChange {
public:
    explicit LayoutChange(AnomalyTableModel& model) : m_model(model) {
        emit m_model.layoutAboutToBeChanged();
    }
    ~LayoutChange() { emit m_model.layoutChanged(); }
    LayoutChange(const LayoutChange&) = delete;
    LayoutChange& operator=(const LayoutChange&) = delete;

private:
    AnomalyTableModel& m_model;
};

AnomalyTableModel::AnomalyTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void AnomalyTableModel::setRows(std::vector<AnomalyRow> rows) {
    beginResetModel();
    m_anomalies = std::move(rows);
    indexRows();
    endResetModel();
}

void AnomalyTableModel::setStations(const std::vector<std::shared_ptr<const TableStation>>& stations) {
    std::unordered_map<std::uint32_t, std::shared_ptr<const TableStation>> byId;
    for (const auto& station : stations) {
        byId.emplace(station->id, station);
    }
    const LayoutChange change(*this);
    for (AnomalyRow& row : m_anomalies) {
        if (const auto found = byId.find(row.station().id); found != byId.end()) {
            row.setStation(found->second);
        }
    }
}

void AnomalyTableModel::indexRows() {
    m_rows.clear();
    m_rows.reserve(m_anomalies.size());
    for (std::size_t row = 0; row < m_anomalies.size(); ++row) {
        m_rows.emplace(m_anomalies[row].anomaly().name, static_cast<int>(row));
    }
}

int AnomalyTableModel::rowOf(const std::string& name) const {
    const auto found = m_rows.find(name);
    return found == m_rows.end() ? -1 : found->second;
}

void AnomalyTableModel::apply(const std::set<std::string>& gone, const std::vector<AnomalyRow>& added,
                              const std::vector<SdiffData>& changed) {
    if (gone.size() + added.size() + changed.size() > kMostAlone) {
        applyTogether(gone, added, changed);
        return;
    }
    remove(gone);
    add(added);
    replace(changed);
}

void AnomalyTableModel::remove(const std::set<std::string>& names) {
    if (names.empty()) {
        return;
    }
    const auto goes = [&](int row) { return names.count(anomaly(row).name) != 0; };
    for (int last = rowCount() - 1; last >= 0; --last) {
        if (!goes(last)) {
            continue;
        }
        int first = last;
        while (first > 0 && goes(first - 1)) {
            --first;
        }
        beginRemoveRows({}, first, last);
        m_anomalies.erase(m_anomalies.begin() + first, m_anomalies.begin() + last + 1);
        endRemoveRows();
        last = first;
    }
    indexRows();
}

void AnomalyTableModel::add(const std::vector<AnomalyRow>& rows) {
    for (const AnomalyRow& row : rows) {
        if (rowOf(row.anomaly().name) < 0) {
            beginInsertRows({}, rowCount(), rowCount());
            m_rows.emplace(row.anomaly().name, rowCount());
            m_anomalies.push_back(row);
            endInsertRows();
        }
    }
}

void AnomalyTableModel::replace(const std::vector<SdiffData>& changed) {
    for (const SdiffData& each : changed) {
        if (const int row = rowOf(each.name); row >= 0) {
            m_anomalies[static_cast<std::size_t>(row)].setAnomaly(each);
            emit dataChanged(index(row, 0), index(row, AnomalyColumn::Count - 1));
        }
    }
}

void AnomalyTableModel::applyTogether(const std::set<std::string>& gone, const std::vector<AnomalyRow>& added,
                                      const std::vector<SdiffData>& changed) {
    const LayoutChange change(*this);
    const std::vector<int> places = takeAway(gone);
    std::copy_if(added.begin(), added.end(), std::back_inserter(m_anomalies), [&](const AnomalyRow& row) {
        return rowOf(row.anomaly().name) < 0 || gone.count(row.anomaly().name) != 0;
    });
    if (!gone.empty() || !added.empty()) {
        indexRows();
    }
    for (const SdiffData& each : changed) {
        if (const int row = rowOf(each.name); row >= 0) {
            m_anomalies[static_cast<std::size_t>(row)].setAnomaly(each);
        }
    }
    const QModelIndexList held = persistentIndexList();
    for (const QModelIndex& each : held) {
        const int place = places[static_cast<std::size_t>(each.row())];
        changePersistentIndex(each, place == kGone ? QModelIndex() : index(place, each.column()));
    }
}

// Where each row is from now on, or kGone.
std::vector<int> AnomalyTableModel::takeAway(const std::set<std::string>& names) {
    std::vector<int> places(m_anomalies.size(), kGone);
    std::size_t kept = 0;
    for (std::size_t row = 0; row < m_anomalies.size(); ++row) {
        if (names.count(m_anomalies[row].anomaly().name) != 0) {
            continue;
        }
        if (kept != row) {
            m_anomalies[kept] = std::move(m_anomalies[row]);
        }
        places[row] = static_cast<int>(kept++);
    }
    m_anomalies.erase(m_anomalies.begin() + static_cast<std::ptrdiff_t>(kept), m_anomalies.end());
    return places;
}

int AnomalyTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_anomalies.size());
}

int AnomalyTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(AnomalyColumn::Count);
}

QString AnomalyTableModel::fullText(int row, int column) const {
    return column == AnomalyColumn::Attribute ? fromGbk(anomaly(row).attribute)
                                              : anomalyColumn(column).text(this->row(row));
}

QVariant AnomalyTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return anomalyColumn(index.column()).text(row(index.row()));
    case Qt::ToolTipRole:
        return plainToolTip(fullText(index.row(), index.column()));
    case Qt::EditRole:
        return fullText(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(
            Qt::AlignVCenter | (anomalyColumn(index.column()).isFigure() ? Qt::AlignRight : Qt::AlignLeft));
    case Qt::ForegroundRole:
        return row(index.row()).isDeleted()
                   ? QVariant(QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text))
                   : QVariant();
    default:
        return {};
    }
}

Qt::ItemFlags AnomalyTableModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    const bool isEditable = index.column() == AnomalyColumn::Attribute && !row(index.row()).isDeleted();
    return isEditable ? flags | Qt::ItemIsEditable : flags;
}

QVariant AnomalyTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Vertical) {
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    }
    if (section < 0 || section >= AnomalyColumn::Count) {
        return {};
    }
    const AnomalyColumn& column = anomalyColumn(section);
    if (role == Qt::DisplayRole) {
        return column.title;
    }
    if (role == Qt::ToolTipRole) {
        return column.toolTip;
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant::fromValue(Qt::AlignVCenter | (column.isFigure() ? Qt::AlignRight : Qt::AlignLeft));
    }
    return {};
}

} // namespace inspection
