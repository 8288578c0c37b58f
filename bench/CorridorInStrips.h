#pragma once

#include <QString>

/// Computes the project's stations, with all the files that belong to that. False, and a line on stderr, when it fails.
bool computeStations(const QString& folder);

/// Cuts the computed stations of a project into `count` strips with results and without anomalies.
bool splitStations(const QString& folder, int count);

/// Squares all over the stations, as many in each, `sideMetres` wide.
bool addAnomalies(const QString& folder, int count, double sideMetres);
