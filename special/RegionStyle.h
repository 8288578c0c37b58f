#pragma once

#include "special/CdrawPolygonDlg.h"

#include <osg/Vec3>
#include <osg/Vec4>
#include <osgEarthSymbology/Style>

/// How a region looks by the dialog's present values: fill by colour and opacity, a border of fixed
/// transparency, clamped to the terrain on the graphics card.
osgEarth::Symbology::Style makeRegionStyle(const CdrawPolygonDlg& dialog);

/// The same with fill and line lifted off the terrain by a depth offset, as the digitising tool draws it.
osgEarth::Symbology::Style makeDigitisedStyle(const CdrawPolygonDlg& dialog);

/// Writes the dialog's values, without the name, into a record.
void copyStyle(const CdrawPolygonDlg& dialog, Special_Region& record);
