#pragma once

#include "special/CdrawPolygonDlg.h"

#include <osg/Group>
#include <osgEarthAnnotation/FeatureNode>

#include <string>

/// Brings a polygon or area on the globe in line with an edited record: the same outline in the dialog's
/// style, and the new name (GBK) on the label, which is child 1 of the region's group.
void restyleRegion(osg::Group& region, osgEarth::Annotation::FeatureNode& outline,
                   const CdrawPolygonDlg& dialog, const std::string& gbkName);
