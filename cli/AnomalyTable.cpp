#include "cli/AnomalyTable.h"

#include <cstdio>

namespace cli {

AnomalyTable::AnomalyTable() : m_text("name\tkind\tarea_m2\tvolume_m3\tdz_mean_m\tx\ty\tsuggested\n") {}

void AnomalyTable::add(const detect::Anomaly& a) {
    char figures[160];
    std::snprintf(figures, sizeof figures, "%.2f\t%.2f\t%.3f\t%.9g\t%.9g", a.areaSquareMetres,
                  a.volumeCubicMetres(), a.dzMeanMetres, a.centroid.x, a.centroid.y);
    const char* kind = a.kind == detect::Kind::Fill ? "fill" : "cut";
    m_text += a.name + '\t' + kind + '\t' + figures + '\t' + a.suggested + '\n';
}

void AnomalyTable::print() const {
    std::fputs(m_text.c_str(), stdout);
}

detect::Status Tabulated::take(detect::Anomaly anomaly) {
    if (m_table) {
        m_table->add(anomaly);
    }
    return m_file.take(std::move(anomaly));
}

} // namespace cli
