// Scores a detection result against the known changes of a sample; see tests/detect/TruthScore.h for how they
// are matched. Exit status 0 when recall and precision are at least 0.95 and the volumes together are within
// 5 %.
//
//     bench_score_truth TRUTH.gpkg RESULT.(gpkg|geojson|shp)

#include "tests/detect/TruthScore.h"

#include <cstdio>

namespace {

constexpr double kLeastShare = 0.95;
constexpr double kMostVolumeError = 0.05;

void print(const detect::test::TruthScore& score) {
    for (const auto& change : score.changes) {
        if (change.match.empty()) {
            std::printf("  missed  %-28s %31s %9.1f m3\n", change.name.c_str(), "", change.volumeCubicMetres);
        } else {
            std::printf("  found   %-28s %s  overlap %4.2f  volume %9.1f m3  found %9.1f m3  %s -> %s\n",
                        change.name.c_str(), change.match.c_str(), change.overlap, change.volumeCubicMetres,
                        change.foundCubicMetres, change.knownClass.c_str(), change.suggestedClass.c_str());
        }
    }
    if (!score.falseAnomalies.empty()) {
        std::printf("  false   %zu, the first is %s\n", score.falseAnomalies.size(),
                    score.falseAnomalies[0].c_str());
    }
    std::printf("recall %.3f   precision %.3f   volume error %.2f %% together, %.2f %% at worst\n",
                score.recall, score.precision, 100.0 * score.volumeError, 100.0 * score.worstVolumeError);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_score_truth TRUTH.gpkg RESULT.(gpkg|geojson|shp)\n");
        return 2;
    }
    const auto score = detect::test::scoreAgainstTruth(argv[1], argv[2]);
    if (!score) {
        return 1;
    }
    print(*score);
    const bool good = score->recall >= kLeastShare && score->precision >= kLeastShare &&
                      score->volumeError <= kMostVolumeError;
    return good ? 0 : 1;
}
