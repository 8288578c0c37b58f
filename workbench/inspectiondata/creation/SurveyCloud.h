#pragma once

#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <functional>

namespace inspection {

/// True for a point cloud, and for a folder with point clouds in it.
bool holdsClouds(const QString& fileOrFolder);

/// What the clouds of a survey say of the surface model that would be made of them. `crs` counts for clouds that name
/// no reference system. Reads their heads and a million points. Fails as surveyRaster() does.
Result<SurveyRaster> surveyCloud(const QString& fileOrFolder, const QString& crs);

/// Makes the surface model, a tiled GeoTIFF; gives a line of what came out of it, in Chinese. Fails when the clouds cannot
/// be read or the file cannot be written, or on the user's stop; then there is no file.
Result<QString> writeSurfaceModel(const SurveyRaster& survey, const QString& file,
                                  const std::function<bool(double fraction)>& progress);

} // namespace inspection
