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

void AnomalyTableModel::replace(const std::vector<SdiffData>& changed) {
    std::optional<LayoutChange> together;
    if (changed.size() > kMostAlone) {
        together.emplace(*this);
    }
    for (const SdiffData& each : changed) {
        const int row = rowOf(each.name);
        if (row < 0) {
            continue;
        }
        m_anomalies[static_cast<std::size_t>(row)].setAnomaly(each);
        if (!together) {
            emit dataChanged(index(row, 0), index(row, AnomalyColumn::Count - 1));
        }
    }
}

void AnomalyTableModel::add(const std::vector<AnomalyRow>& rows) {
    std::vector<AnomalyRow> added;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(added),
                 [this](const AnomalyRow& row) { return rowOf(row.anomaly().name) < 0; });
    if (added.empty()) {
        return;
    }
    const bool isAlone = added.size() <= kMostAlone;
    std::optional<LayoutChange> together;
    if (isAlone) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
    } else {
        together.emplace(*this);
    }
    m_anomalies.insert(m_anomalies.end(), added.begin(), added.end());
    indexRows();
    if (isAlone) {
        endInsertRows();
    }
}

void AnomalyTableModel::remove(const std::set<std::string>& names) {
    if (names.size() <= kMostAlone) {
        removeRuns(names);
    } else {
        removeTogether(names);
    }
}

void AnomalyTableModel::removeRuns(const std::set<std::string>& names) {
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

void AnomalyTableModel::removeTogether(const std::set<std::string>& names) {
    const LayoutChange change(*this);
    constexpr int kGone = -1;
    std::vector<int> places; // of each row from now on
    std::vector<AnomalyRow> kept;
    kept.reserve(m_anomalies.size());
    for (AnomalyRow& row : m_anomalies) {
        const bool goes = names.count(row.anomaly().name) != 0;
        places.push_back(goes ? kGone : static_cast<int>(kept.size()));
        if (!goes) {
            kept.push_back(std::move(row));
        }
    }
    m_anomalies = std::move(kept);
    indexRows();
    const QModelIndexList held = persistentIndexList();
    for (const QModelIndex& each : held) {
        const int place = places[static_cast<std::size_t>(each.row())];
        changePersistentIndex(each, place == kGone ? QModelIndex() : index(place, each.column()));
    }
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
