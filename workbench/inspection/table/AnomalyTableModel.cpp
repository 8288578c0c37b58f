#include "workbench/inspection/table/AnomalyTableModel.h"

#include "host/Gbk.h"

#include <algorithm>
#include <utility>

namespace inspection {

namespace {

const AnomalyColumn& columnAt(int column) {
    return anomalyColumns().at(static_cast<std::size_t>(column));
}

} // namespace

AnomalyTableModel::AnomalyTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void AnomalyTableModel::setAnomalies(std::vector<SdiffData> anomalies,
                                     std::shared_ptr<const StationSurroundings> surroundings) {
    beginResetModel();
    m_anomalies = std::move(anomalies);
    m_measure = std::move(surroundings);
    m_surroundings.assign(m_anomalies.size(), std::nullopt);
    indexRows();
    endResetModel();
}

void AnomalyTableModel::setSurroundings(std::shared_ptr<const StationSurroundings> surroundings) {
    m_measure = std::move(surroundings);
    m_surroundings.assign(m_anomalies.size(), std::nullopt);
    if (!m_anomalies.empty()) {
        emit dataChanged(index(0, AnomalyColumn::PipeDistance),
                         index(rowCount() - 1, AnomalyColumn::HighConsequenceAreas));
    }
}

const Surroundings& AnomalyTableModel::surroundings(int row) const {
    std::optional<Surroundings>& known = m_surroundings[static_cast<std::size_t>(row)];
    if (!known) {
        known = m_measure ? m_measure->of(anomaly(row)) : Surroundings();
    }
    return *known;
}

void AnomalyTableModel::indexRows() {
    m_rows.clear();
    m_rows.reserve(m_anomalies.size());
    for (std::size_t row = 0; row < m_anomalies.size(); ++row) {
        m_rows.emplace(m_anomalies[row].name, static_cast<int>(row));
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
            SdiffData& shown = m_anomalies[static_cast<std::size_t>(row)];
            if (shown.outlineWkt != each.outlineWkt) {
                m_surroundings[static_cast<std::size_t>(row)].reset();
            }
            shown = each;
            first = std::min(first, row);
            last = std::max(last, row);
        }
    }
    if (last >= 0) {
        emit dataChanged(index(first, 0), index(last, AnomalyColumn::Count - 1));
    }
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
        m_surroundings.erase(m_surroundings.begin() + first, m_surroundings.begin() + last + 1);
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

QString AnomalyTableModel::cellText(int row, int column) const {
    switch (column) {
    case AnomalyColumn::PipeDistance: {
        const auto& metres = surroundings(row).pipeMetres;
        return metres ? pipeDistanceText(*metres) : QString();
    }
    case AnomalyColumn::HighConsequenceAreas:
        return areaNamesText(surroundings(row).highConsequenceAreas);
    default:
        return columnAt(column).text(anomaly(row));
    }
}

QString AnomalyTableModel::fullText(int row, int column) const {
    return column == AnomalyColumn::Attribute ? fromGbk(anomaly(row).attribute) : cellText(row, column);
}

QVariant AnomalyTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return cellText(index.row(), index.column());
    case Qt::ToolTipRole:
    case Qt::EditRole:
        return fullText(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::AlignVCenter |
                                   (columnAt(index.column()).isFigure ? Qt::AlignRight : Qt::AlignLeft));
    default:
        return {};
    }
}

Qt::ItemFlags AnomalyTableModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return index.column() == AnomalyColumn::Attribute ? flags | Qt::ItemIsEditable : flags;
}

QVariant AnomalyTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Vertical) {
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    }
    if (section < 0 || section >= AnomalyColumn::Count) {
        return {};
    }
    const AnomalyColumn& column = columnAt(section);
    if (role == Qt::DisplayRole) {
        return column.title;
    }
    if (role == Qt::ToolTipRole) {
        return column.toolTip;
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant::fromValue(Qt::AlignVCenter | (column.isFigure ? Qt::AlignRight : Qt::AlignLeft));
    }
    return {};
}

} // namespace inspection
