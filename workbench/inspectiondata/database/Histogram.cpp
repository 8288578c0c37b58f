#include "workbench/inspectiondata/database/Histogram.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {
/// More cells than any survey has, and few enough to add up histograms of thousands of stations.
constexpr qint64 kMostCells = 1'000'000'000'000'000;
} // namespace

Histogram emptyHistogram(double halfWidthMetres, int bins) {
    return {-halfWidthMetres, 2.0 * halfWidthMetres / bins, std::vector<std::int64_t>(std::size_t(bins), 0)};
}

void count(Histogram& histogram, double metres) {
    const double bin = std::floor((metres - histogram.fromMetres) / histogram.stepMetres);
    const double last = static_cast<double>(histogram.counts.size()) - 1.0;
    ++histogram.counts[static_cast<std::size_t>(std::clamp(bin, 0.0, last))];
}

void add(Histogram& histogram, const Histogram& other) {
    if (histogram.fromMetres == other.fromMetres && histogram.stepMetres == other.stepMetres &&
        histogram.counts.size() == other.counts.size()) {
        std::transform(histogram.counts.begin(), histogram.counts.end(), other.counts.begin(),
                       histogram.counts.begin(), std::plus<>());
    }
}

std::string histogramText(const Histogram& histogram) {
    QJsonArray counts;
    for (const std::int64_t number : histogram.counts) {
        counts.append(static_cast<qint64>(number));
    }
    const QJsonObject json{
        {"from_m", histogram.fromMetres}, {"step_m", histogram.stepMetres}, {"counts", counts}};
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

std::optional<Histogram> readHistogram(const std::string& text) {
    const QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    Histogram histogram{json["from_m"].toDouble(), json["step_m"].toDouble(), {}};
    const QJsonArray counts = json["counts"].toArray();
    for (const auto number : counts) {
        const qint64 cells = number.toInteger(-1);
        if (cells < 0 || cells > kMostCells) {
            return std::nullopt;
        }
        histogram.counts.push_back(cells);
    }
    return histogram.stepMetres > 0.0 && !histogram.counts.empty() ? std::optional(std::move(histogram))
                                                                   : std::nullopt;
}

} // namespace inspection
