#include "Footprint.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace {

const SpatialReference* wgs84() {
    return SpatialReference::get("wgs84");
}

// The full turn that brings a longitude within half a turn of another one.
double turnTowards(double target, double longitude) {
    constexpr double kSlack = 1e-6; // 180 and -180 both stay where they are
    return std::abs(target - longitude) > 180.0 + kSlack ? 360.0 * std::round((target - longitude) / 360.0)
                                                         : 0.0;
}

} // namespace

Footprint::Footprint(const GeoExtent& extent) {
    if (!extent.isValid()) {
        return;
    }
    if (extent.getSRS()->isHorizEquivalentTo(wgs84())) {
        m_bounds = extent.bounds();
        return;
    }
    // Edges may bend: points along the outline and inside, taken one by one because some may not convert.
    constexpr int kSteps = 16;
    for (int row = 0; row <= kSteps; ++row) {
        for (int column = 0; column <= kSteps; ++column) {
            const osg::Vec3d point(extent.west() + extent.width() * column / kSteps,
                                   extent.south() + extent.height() * row / kSteps, 0.0);
            osg::Vec3d degrees;
            if (extent.getSRS()->transform(point, wgs84(), degrees)) {
                const double middle = m_bounds.isValid() ? m_bounds.center2d().x() : degrees.x();
                m_bounds.expandBy(degrees.x() + turnTowards(middle, degrees.x()), degrees.y());
            }
        }
    }
    holdPole(extent, 90.0);
    holdPole(extent, -90.0);
}

void Footprint::holdPole(const GeoExtent& extent, double latitude) {
    osg::Vec3d pole;
    if (isValid() && !extent.getSRS()->isGeographic() &&
        wgs84()->transform(osg::Vec3d(m_bounds.center2d().x(), latitude, 0.0), extent.getSRS(), pole) &&
        extent.contains(pole.x(), pole.y())) {
        m_bounds =
            Bounds(-180.0, std::min(m_bounds.yMin(), latitude), 180.0, std::max(m_bounds.yMax(), latitude));
    }
}

std::vector<GeoExtent> Footprint::boxes(double margin) const {
    if (!isValid()) {
        return {};
    }
    const double shrinking = std::max(0.05, std::cos(osg::DegreesToRadians(m_bounds.center2d().y())));
    const double south = m_bounds.yMin() - margin;
    const double north = m_bounds.yMax() + margin;
    const double turns = 360.0 * std::floor((m_bounds.xMin() - margin / shrinking + 180.0) / 360.0);
    const double west = m_bounds.xMin() - margin / shrinking - turns;
    const double east = m_bounds.xMax() + margin / shrinking - turns;
    if (east - west >= 360.0) {
        return {GeoExtent(wgs84(), -180.0, south, 180.0, north)};
    }
    if (east <= 180.0) {
        return {GeoExtent(wgs84(), west, south, east, north)};
    }
    return {GeoExtent(wgs84(), west, south, 180.0, north),
            GeoExtent(wgs84(), -180.0, south, east - 360.0, north)};
}

bool Footprint::touches(const GeoExtent& extent, double margin) const {
    const GeoExtent here = extent.transform(wgs84());
    const std::vector<GeoExtent> there = boxes(margin);
    return here.isValid() && std::any_of(there.begin(), there.end(), [&](const GeoExtent& box) {
               return here.bounds().intersectionWith(box.bounds()).isValid();
           });
}

double Footprint::turn(double longitude) const {
    return turnTowards(m_bounds.center2d().x(), longitude);
}

} // namespace osgEarth
