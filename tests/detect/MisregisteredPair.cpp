#include "tests/detect/MisregisteredPair.h"

#include "detect/coregister/Coregister.h"

#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <memory>

namespace detect::test {

namespace {

OGRSpatialReference systemOf(const RasterPlan& plan) {
    OGRSpatialReference srs;
    EXPECT_EQ(srs.importFromEPSG(plan.epsg), OGRERR_NONE);
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return srs;
}

} // namespace

Request MisregisteredPair::write() const {
    Request request;
    request.oldRaster = "/vsimem/misregistered-old.tif";
    request.newRaster = "/vsimem/misregistered-new.tif";
    request.parameters.coregistration = CoregistrationMethod::Full;
    request.parameters.tilt = truth.tiltEast != 0.0 || truth.tiltNorth != 0.0;
    Random random(truth.seed);
    const auto noise = [&] { return truth.noiseMetres > 0.0 ? truth.noiseMetres * normal(random) : 0.0; };
    writeRaster(request.oldRaster, oldPlan, [&](const Point& p) { return ground(p) + noise(); });

    OGRSpatialReference newSystem = systemOf(newPlan);
    OGRSpatialReference oldSystem = systemOf(oldPlan);
    const std::unique_ptr<OGRCoordinateTransformation> newToOld(
        OGRCreateCoordinateTransformation(&newSystem, &oldSystem));
    const Grid oldGrid(oldPlan.columns, oldPlan.rows, Affine{oldPlan.toMap}, systemOf(oldPlan));
    const Point metres = oldGrid.metresPerMapUnit();
    const Point middle = Affine{oldPlan.toMap}(oldPlan.columns / 2.0, oldPlan.rows / 2.0);
    writeRaster(request.newRaster, newPlan, [&](const Point& p) {
        Point place = p;
        if (newPlan.epsg != oldPlan.epsg) {
            EXPECT_TRUE(newToOld->Transform(1, &place.x, &place.y));
        }
        place = {place.x + truth.dxMetres / metres.x, place.y + truth.dyMetres / metres.y};
        const double plane = truth.tiltEast * (place.x - middle.x) * metres.x +
                             truth.tiltNorth * (place.y - middle.y) * metres.y;
        return ground(place) + (change ? change(place) : 0.0) - truth.dzMetres - plane + noise();
    });
    return request;
}

double hills(const Point& map) {
    const double x = map.x - 500000.0;
    const double y = map.y - 3400000.0;
    return 300.0 + 12.0 * std::sin(x / 31.0) * std::cos(y / 27.0) + 5.0 * std::sin((x - 2.0 * y) / 19.0) +
           1.5 * std::cos((2.0 * x + y) / 6.0);
}

double normal(Random& random) {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) {
        sum += random();
    }
    return sum;
}

Coregistration estimateOrFail(const Request& request, int threads) {
    auto layout = layOutPair(request);
    if (!layout) {
        ADD_FAILURE() << layout.error().message;
        return {};
    }
    const Parameters& parameters = request.parameters;
    auto outcome = coregister(*layout, parameters.coregistration, threads, {}, parameters.tilt);
    if (!outcome) {
        ADD_FAILURE() << outcome.error().message;
        return {};
    }
    return *outcome;
}

} // namespace detect::test
