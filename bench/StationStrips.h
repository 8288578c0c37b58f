#pragma once

#include "tests/support/SmallProject.h"

/// Divides the small project into stations of equal width, from west to east, and computes them all.
bool computeInStrips(const SmallProject& files, int count);
/// The middle of the last of them, in the project's reference system.
double middleOfLastStrip(int count);
