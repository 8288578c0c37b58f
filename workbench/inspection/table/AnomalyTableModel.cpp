#include "workbench/inspection/table/AnomalyTableModel.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/style/ToolTip.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <iterator>
#include <utility>

namespace inspection {

AnomalyTableModel::AnomalyTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void AnomalyTableModel::setRows(std::vector<AnomalyRow> rows) {
    beginResetModel();
    m_anomalies = std::move(rows);
    indexRows();
    endResetModel();
}

void AnomalyTableModel::setStations(const std::vector<std::shared_ptr<const TableStation>>& stations) {
    for (AnomalyRow& row : m_anomalies) {
        const auto found = std::find_if(stations.begin(), stations.end(),
                                        [&](const auto& station) { return station->id == row.station().id; });
        if (found != stations.end()) {
            row.setStation(*found);
        }
    }
    if (!m_anomalies.empty()) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, AnomalyColumn::Count - 1));
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
    int first = rowCount();
    int last = -1;
    for (const SdiffData& each : changed) {
        const int row = rowOf(each.name);
        if (row >= 0) {
            m_anomalies[static_cast<std::size_t>(row)].setAnomaly(each);
            first = std::min(first, row);
            last = std::max(last, row);
        }
    }
    if (last >= 0) {
        emit dataChanged(index(first, 0), index(last, AnomalyColumn::Count - 1));
    }
}

void AnomalyTableModel::add(const std::vector<AnomalyRow>& rows) {
    std::vector<AnomalyRow> added;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(added),
                 [this](const AnomalyRow& row) { return rowOf(row.anomaly().name) < 0; });
    if (added.empty()) {
        return;
    }
    beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
    m_anomalies.insert(m_anomalies.end(), added.begin(), added.end());
    indexRows();
    endInsertRows();
}

void AnomalyTableModel::remove(const std::set<std::string>& names) {
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
        indexRows();
        endRemoveRows();
        last = first;
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
