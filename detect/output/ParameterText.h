#pragma once

#include "detect/Detection.h"

#include <cpl_json.h>

#include <optional>
#include <string>

namespace detect {

/// "none", "bias", "full", "local" or "auto".
const char* methodName(CoregistrationMethod method);
std::optional<CoregistrationMethod> methodNamed(const std::string& name);

/// Method, figures and, when a shift was refused, the reason; as a summary and a piece tell it.
CPLJSONObject describe(const Coregistration& coregistration);

/// False when the method is none of ours.
bool parse(const CPLJSONObject& object, Coregistration& coregistration);

/// Adds confidence, sigma_old_m and sigma_new_m, as far as they are given.
void addSignificance(const std::optional<Significance>& significance, CPLJSONObject& object);

/// Adds the files `unstable` and `ignore`, as far as they are given.
void addMasks(const Parameters& parameters, CPLJSONObject& object);

} // namespace detect
