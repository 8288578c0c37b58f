#pragma once

#include <osg/Vec2d>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/ImageOverlay>

#include <QPoint>
#include <QString>

class GlobeWidget;

/// What a test sees of the anomalies on the globe. Between frames.

/// The overlay of that name under a group of the map node; null when there is none.
osg::ref_ptr<osgEarth::Annotation::ImageOverlay> overlayOnGlobe(GlobeWidget& globe, const QString& anomaly);

/// True while the node is tinted yellow, by the anomaly tool or, while that is not active, by the window.
bool isHighlighted(const osg::Node& node);

/// Where a place on the loaded terrain is in the widget, pixels. Longitude and latitude, degrees.
QPoint pixelOnGlobe(GlobeWidget& globe, const osg::Vec2d& lonLat);
