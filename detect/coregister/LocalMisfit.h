#pragma once

#include "detect/coregister/LocalField.h"
#include "detect/coregister/ShiftEquations.h"

namespace detect {

/// Levels of the blocks that a sample shows, as far as it shows any: a look at whether a local field is worth
/// reading the whole pair for.
Foretelling foretellFromSample(const PairLayout& layout, const EquationSet& equations);

/// Reads the whole overlap as the co-registration leaves it, and adds the field that takes the rest off, with its
/// figures, to the co-registration; its other figures stay. False when the ground tells no field, or, unless
/// `always`, when it tells no smooth misfit (Foretelling::isSmoothMisfit).
Result<bool> addLocalField(const PairLayout& layout, int threads, const Progress& progress, bool always,
                           Coregistration& found, Foretelling& foretelling);

} // namespace detect
