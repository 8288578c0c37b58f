#pragma once

#include "samples/Site.h"

namespace samples {

/// The natural relief around the river: ridges and dendritic valleys that drain into it, as they grow from
/// uplift, river incision (stream-power law) and hill-slope creep. Heights in metres on a lattice that
/// overlaps the site. Method: implicit incision along the drainage tree (Braun & Willett 2013), drainage
/// directions by priority flood (Barnes, Lehman, Mulla 2014).
Field growRelief(const Site& site);

} // namespace samples
