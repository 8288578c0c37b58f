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

/// Adds the fields of ParameterTable.h that have a value, and the files `unstable` and `ignore`, as far as they are
/// given.
void addParameters(const Parameters& parameters, CPLJSONObject& object);

/// Takes what addParameters wrote; what lacks is not given or off. False when the method is none of ours.
bool takeParameters(const CPLJSONObject& object, Parameters& parameters);

} // namespace detect
