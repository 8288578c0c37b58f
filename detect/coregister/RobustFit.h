#pragma once

#include "detect/coregister/ShiftEquations.h"

namespace detect {

/// What the new epoch still lacks: metres, and metres per metre for the tilt.
struct Adjustment {
    double eastMetres = 0.0;
    double northMetres = 0.0;
    double heightMetres = 0.0; ///< at the middle of the old grid
    double tiltEast = 0.0;
    double tiltNorth = 0.0;
};

enum class FitTerms {
    Shift,        ///< shift and height
    ShiftAndTilt, ///< shift, height and tilt plane
    Tilt          ///< height and tilt plane
};

/// How well the ground tells the shift, in the direction in which it tells it worst.
struct ShiftEvidence {
    /// Slope that both epochs share, over its standard error between blocks of ground: noise of the survey is
    /// not shared, so that flat ground stays near zero however noisy it is. An even slope counts for nothing,
    /// as the height explains it, nor does what a fitted tilt explains.
    double strength = 0.0;
    /// Root mean square of that shared slope, metres per metre.
    double slope = 0.0;
    /// Standard error of the shift, metres; noise that hangs together within a block is allowed for.
    double standardErrorMetres = 0.0;
};

struct Fit {
    Adjustment adjustment;
    ShiftEvidence evidence; ///< zeros for FitTerms::Tilt
};

/// Solves
///     dZ = gx dx + gy dy - h - tx E - ty N
/// (gx, gy: slopes east and north; E, N: metres from the middle) by iteratively reweighted least squares (Tukey's biweight; Holland & Welsch 1977). `cellMetres` tells how
/// far steep places may stray before they count as changed.
///
/// Slopes come from noisy heights. Least squares on the slopes of one epoch would draw the shift towards
/// zero, on gentle ground to a small part of it. Hence each epoch's slopes are the other's instrumental
/// variable (Reiersøl 1945; Durbin 1954): the products of slopes are taken between the epochs, whose noise is
/// independent, as s s' - d d' from their mean s and half difference d.
///
/// Standard errors treat the blocks as clusters (Liang & Zeger 1986), after the heights' and tilt's part is
/// taken from the slopes. Nothing where the terms cannot be told apart at all.
std::optional<Fit> fitRobustly(const EquationSet& equations, FitTerms terms, double cellMetres);

/// dZ that each equation has left once the adjustment is made.
std::vector<float> residuals(const EquationSet& equations, const Adjustment& adjustment);

} // namespace detect
