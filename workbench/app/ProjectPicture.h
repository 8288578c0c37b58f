#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QImage>

/// The middle of a project's newest orthophoto, or of its relief when there is none, in that size; no picture when
/// neither can be read. Reads a bounded part of the raster. Any thread.
QImage projectPicture(const inspection::ProjectDescription& project, const QSize& pixels);
