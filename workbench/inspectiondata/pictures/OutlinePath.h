#pragma once

#include <QPainterPath>

#include <string>

namespace inspection {

/// An anomaly's outline from its stored polygon (WKT, also with holes or of several parts), in the
/// coordinates of the text. Empty when the text is not a polygon, or none that could lie on a map. Any
/// thread.
QPainterPath outlinePath(const std::string& wkt);

} // namespace inspection
