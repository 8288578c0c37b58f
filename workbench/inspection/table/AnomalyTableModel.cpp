#include "workbench/inspection/table/AnomalyTableModel.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyTexts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace inspection {

namespace {

QString cellText(const SdiffData& anomaly, int column) {
    switch (column) {
    case AnomalyTableModel::Name:
        return fromGbk(anomaly.name);
    case AnomalyTableModel::Kind:
        return kindText(anomaly);
    case AnomalyTableModel::Area:
        return figureText(anomaly.areaSquareMetres);
    case AnomalyTableModel::Volume:
        return figureText(anomaly.volumeCubicMetres());
    case AnomalyTableModel::MeanDifference:
        return differenceText(anomaly.dzMeanMetres);
    case AnomalyTableModel::LargestDifference:
        return QString::number(std::abs(largestDifferenceMetres(anomaly)), 'f', 2);
    case AnomalyTableModel::Attribute:
        return fromGbk(anomaly.attribute).simplified();
    case AnomalyTableModel::Suggested:
        return fromGbk(anomaly.suggested);
    case AnomalyTableModel::Position:
        return positionText(anomaly.lonDegrees, anomaly.latDegrees);
    default:
        return {};
    }
}

QString fullText(const SdiffData& anomaly, int column) {
    return column == AnomalyTableModel::Attribute ? fromGbk(anomaly.attribute) : cellText(anomaly, column);
}

bool isFigure(int column) {
    return column >= AnomalyTableModel::Area && column <= AnomalyTableModel::LargestDifference;
}

} // namespace

AnomalyTableModel::AnomalyTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void AnomalyTableModel::setAnomalies(std::vector<SdiffData> anomalies) {
    beginResetModel();
    m_anomalies = std::move(anomalies);
    indexRows();
    endResetModel();
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
            m_anomalies[static_cast<std::size_t>(row)] = each;
            first = std::min(first, row);
            last = std::max(last, row);
        }
    }
    if (last >= 0) {
        emit dataChanged(index(first, 0), index(last, ColumnCount - 1));
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
        indexRows();
        endRemoveRows();
        last = first;
    }
}

int AnomalyTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_anomalies.size());
}

int AnomalyTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant AnomalyTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const SdiffData& anomaly = m_anomalies[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return cellText(anomaly, index.column());
    case Qt::ToolTipRole:
        return fullText(anomaly, index.column());
    case Qt::EditRole:
        return fullText(anomaly, index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::AlignVCenter |
                                   (isFigure(index.column()) ? Qt::AlignRight : Qt::AlignLeft));
    default:
        return {};
    }
}

Qt::ItemFlags AnomalyTableModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return index.column() == Attribute ? flags | Qt::ItemIsEditable : flags;
}

QVariant AnomalyTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Vertical) {
        return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
    }
    static const QStringList titles = {tr("名称"),     tr("类型"),      tr("面积(m²)"),
                                       tr("体积(m³)"), tr("平均dZ(m)"), tr("最大|dZ|(m)"),
                                       tr("属性"),     tr("建议类别"),  tr("位置")};
    if (role == Qt::DisplayRole) {
        return titles.value(section);
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant::fromValue(Qt::AlignVCenter | (isFigure(section) ? Qt::AlignRight : Qt::AlignLeft));
    }
    return {};
}

} // namespace inspection
