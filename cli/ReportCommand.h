#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor report`: writes the inspection report of a project. `arguments` come after the command's name.
/// Returns the exit status: 0 done, 1 failed, 2 wrong use. An earlier report is replaced only by a complete
/// one.
int runReport(const std::vector<std::string>& arguments);

/// `corridor shape`: writes anomalies, stations and centre line as ESRI Shapefiles and a GeoPackage. Same
/// terms.
int runShape(const std::vector<std::string>& arguments);

} // namespace cli
