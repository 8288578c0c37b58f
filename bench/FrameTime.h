#pragma once

#include "bench/Figures.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgViewer/View>

#include <QTest>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

constexpr int kPatienceMilliseconds = 60000;

/// Of the whole process.
inline double processorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

inline unsigned frameNumber() {
    return g_pCXviewer->getViewer()->getFrameStamp()->getFrameNumber();
}

/// Processor time of a frame in the present view, milliseconds.
inline double frameMilliseconds(GlobeWidget& globe) {
    std::vector<double> times;
    for (int round = 0; round < 15; ++round) {
        const unsigned before = frameNumber();
        const double processor = processorSeconds();
        globe.requestRedraw();
        if (!QTest::qWaitFor([&] { return frameNumber() >= before + 4; }, kPatienceMilliseconds)) {
            std::fprintf(stderr, "no frames\n");
            std::_Exit(1);
        }
        times.push_back((processorSeconds() - processor) * 1000.0 / 4.0);
    }
    return median(times);
}

/// With the empty frame of the same run as the measure.
inline void printFrame(const char* what, double milliseconds, double empty) {
    const double ratio = milliseconds / empty;
    std::printf("%-46s %7.1f %7.2f %7.2f   %s\n", what, milliseconds, ratio, 3.0, ratio <= 3.0 ? "" : "OVER");
}
