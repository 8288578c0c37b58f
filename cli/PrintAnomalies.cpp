#include "cli/PrintAnomalies.h"

#include <cstdio>

namespace cli {

void printAnomalies(const detect::Result& result) {
    std::printf("name\tkind\tarea_m2\tvolume_m3\tdz_mean_m\tx\ty\tsuggested\n");
    for (const detect::Anomaly& a : result.anomalies)
        std::printf("%s\t%s\t%.2f\t%.2f\t%.3f\t%.9g\t%.9g\t%s\n", a.name.c_str(),
                    a.kind == detect::Kind::Fill ? "fill" : "cut", a.areaSquareMetres, a.volumeCubicMetres(),
                    a.dzMeanMetres, a.centroid.x, a.centroid.y, a.suggested.c_str());
}

} // namespace cli
