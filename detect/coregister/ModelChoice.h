#pragma once

#include "detect/coregister/ShiftSearch.h"

namespace detect {

/// Chooses, for CoregistrationMethod::Auto, what the evidence supports, from the simplest on:
///
/// - shift: not refused (see Coregister.h), at least a twentieth of a cell, and more than four of its standard
///   errors. Less than that does not pay for the resampling.
/// - plane: it lowers the scatter (NMAD) of the means over blocks of 16 x 16 cells by a tenth or more.
/// - bias: more than three of its standard errors and a thirtieth of the noise of a cell; always with a shift or a
///   plane.
/// - local: the blocks around foretell a block's level (Foretelling::isSmoothMisfit) in the sample, and then in
///   the whole pair.
///
/// With `alwaysLocal` (CoregistrationMethod::Local) the field is taken off whatever the blocks foretell.
///
/// `measured` is the co-registration of method None, `biased` of method Bias. The choice and its reasons are in
/// Coregistration::reason.
Result<Coregistration> chooseModel(const PairLayout& layout, const StableSample& sample,
                                   const Coregistration& measured, const Coregistration& biased,
                                   bool alwaysLocal, int threads, const Progress& progress);

} // namespace detect
