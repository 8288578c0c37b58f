#pragma once

#include "samples/Grid.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace samples {

/// Calls work(firstRow, endRow) for bands of rows, from as many threads as there are processors, the caller's
/// among them, and returns when all is done. Bands are disjoint and cover 0 .. rows - 1, in no certain order,
/// so the result never depends on the number of threads as long as a band writes only its own rows. `work`
/// must not throw.
template<class Work>
void forEachBand(int rows, const Work& work) {
    constexpr int kBandRows = 32;
    std::atomic<int> next{0};
    const auto run = [&] {
        for (int first = next.fetch_add(kBandRows); first < rows; first = next.fetch_add(kBandRows)) {
            work(first, std::min(rows, first + kBandRows));
        }
    };
    std::vector<std::thread> helpers;
    for (unsigned i = 1; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
        try {
            helpers.emplace_back(run);
        } catch (
            const std::
                system_error&) { // the system gives no more threads; those that there are do all the work
            break;
        }
    }
    run();
    for (std::thread& helper : helpers) {
        helper.join();
    }
}

/// Calls work(column, row, x, y) for every node of a lattice in the same way; x and y are site coordinates.
template<class Work>
void forEachNode(const Lattice& lattice, const Work& work) {
    forEachBand(lattice.rows, [&](int first, int end) {
        for (int r = first; r < end; ++r) {
            for (int c = 0; c < lattice.columns; ++c) {
                work(c, r, lattice.x(c), lattice.y(r));
            }
        }
    });
}

} // namespace samples
