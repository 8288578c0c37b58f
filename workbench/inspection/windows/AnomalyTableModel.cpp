#include "workbench/inspection/windows/AnomalyTableModel.h"

#include "host/Gbk.h"
#include "workbench/inspection/windows/AnomalyTexts.h"

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

QVariant sortValue(const SdiffData& anomaly, int column) {
    switch (column) {
    case AnomalyTableModel::Area:
        return anomaly.areaSquareMetres;
    case AnomalyTableModel::Volume:
        return anomaly.volumeCubicMetres();
    case AnomalyTableModel::MeanDifference:
        return anomaly.dzMeanMetres;
    case AnomalyTableModel::LargestDifference:
        return std::abs(largestDifferenceMetres(anomaly));
    case AnomalyTableModel::Position:
        return anomaly.lonDegrees;
    default:
        return cellText(anomaly, column);
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
    endResetModel();
}

int AnomalyTableModel::rowOf(const std::string& name) const {
    const auto found = std::find_if(m_anomalies.begin(), m_anomalies.end(),
                                    [&name](const SdiffData& anomaly) { return anomaly.name == name; });
    return found == m_anomalies.end() ? -1 : static_cast<int>(found - m_anomalies.begin());
}

void AnomalyTableModel::setAttribute(const std::string& name, const std::string& attribute) {
    const int row = rowOf(name);
    if (row < 0) {
        return;
    }
    m_anomalies[static_cast<std::size_t>(row)].attribute = attribute;
    emit dataChanged(index(row, Attribute), index(row, Attribute));
}

void AnomalyTableModel::remove(const std::string& name) {
    const int row = rowOf(name);
    if (row < 0) {
        return;
    }
    beginRemoveRows({}, row, row);
    m_anomalies.erase(m_anomalies.begin() + row);
    endRemoveRows();
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
    case kSortRole:
        return sortValue(anomaly, index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::AlignVCenter |
                                   (isFigure(index.column()) ? Qt::AlignRight : Qt::AlignLeft));
    default:
        return {};
    }
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
