#include "workbench/inspection/table/AnomalyTableModel.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace inspection {

namespace {

/// What the anomaly's record says by itself.
QString ownText(const SdiffData& anomaly, int column) {
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

bool isFigure(int column) {
    return (column >= AnomalyTableModel::Area && column <= AnomalyTableModel::LargestDifference) ||
           column == AnomalyTableModel::PipeDistance;
}

QString headerToolTip(int column) {
    switch (column) {
    case AnomalyTableModel::PipeDistance:
        return AnomalyTableModel::tr("异常轮廓到管道中心线的最短水平距离，相交时为 0；没有中心线时为空");
    case AnomalyTableModel::HighConsequenceAreas:
        return AnomalyTableModel::tr("异常轮廓接触或重叠的高后果区；没有时为空");
    default:
        return {};
    }
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
        emit dataChanged(index(0, PipeDistance), index(rowCount() - 1, HighConsequenceAreas));
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
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QString AnomalyTableModel::cellText(int row, int column) const {
    switch (column) {
    case PipeDistance: {
        const auto& metres = surroundings(row).pipeMetres;
        return metres ? pipeDistanceText(*metres) : QString();
    }
    case HighConsequenceAreas:
        return areaNamesText(surroundings(row).highConsequenceAreas);
    default:
        return ownText(anomaly(row), column);
    }
}

QString AnomalyTableModel::fullText(int row, int column) const {
    return column == Attribute ? fromGbk(anomaly(row).attribute) : cellText(row, column);
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
    static const QStringList titles = {tr("名称"),      tr("类型"),        tr("面积(m²)"), tr("体积(m³)"),
                                       tr("平均dZ(m)"), tr("最大|dZ|(m)"), tr("属性"),     tr("建议类别"),
                                       tr("距管线(m)"), tr("高后果区"),    tr("位置")};
    if (role == Qt::DisplayRole) {
        return titles.value(section);
    }
    if (role == Qt::ToolTipRole) {
        return headerToolTip(section);
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant::fromValue(Qt::AlignVCenter | (isFigure(section) ? Qt::AlignRight : Qt::AlignLeft));
    }
    return {};
}

} // namespace inspection
