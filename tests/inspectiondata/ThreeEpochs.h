#pragma once

#include "Opened.h"

#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QDir>

/// The pairs of the small project and a third flight.
inline const inspection::EpochPair kThirdPair{QStringLiteral("2025-05-20"), QStringLiteral("2026-05-25")};
inline const inspection::EpochPair kWidePair{QStringLiteral("2024-05-18"), QStringLiteral("2026-05-25")};

/// The ground of the third flight: of the changes before only the cut is left, there is a new fill in station 1,
/// and the ground of station 2 has another fill of 12 x 12 cells.
inline double thirdHeight(int column, int row) {
    const auto within = [&](int left, int top, int columns, int rows) {
        return column >= left && column < left + columns && row >= top && row < top + rows;
    };
    double height = SmallProject::oldHeight(column, row);
    height += within(300, 90, 30, 16) ? -2.0 : 0.0;
    height += within(100, 20, 20, 20) ? 2.0 : 0.0;
    height += within(240, 20, 12, 12) ? 2.5 : 0.0;
    return height;
}

/// The epoch of that flight, as files in the project's folder.
inline inspection::Epoch thirdEpoch(const SmallProject& files) {
    EXPECT_TRUE(QDir().mkpath(files.file("third")));
    SmallProject::writeHeights(files.file("third/dsm.tif"), thirdHeight);
    return {kThirdPair.newer, files.file("third/dsm.tif"), {}};
}

/// The request for a pair, whichever is chosen.
inline inspection::ComputationRequest requestFor(const OpenedProject& opened,
                                                 const inspection::EpochPair& pair) {
    inspection::ComputationRequest request = opened.request();
    request.project = valueOf(request.project.comparing(pair));
    return request;
}
