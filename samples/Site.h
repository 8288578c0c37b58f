#pragma once

#include "samples/Curve.h"

#include <cstdint>
#include <string>

namespace samples {

/// Extent of the sample on the ground and its place in the world.
struct Extent {
    static constexpr double kWidthMetres = 2048.0;
    static constexpr double kHeightMetres = 512.0;
    /// South-west corner in EPSG:4545 (CGCS2000 / 3-degree Gauss-Krueger, central meridian 108° E): 34.3° N
    /// 108.9° E.
    static constexpr double kWestEasting = 582400.0;
    static constexpr double kSouthNorthing = 3796800.0;
    static constexpr const char* kCrs = "EPSG:4545";

    /// Nodes every `stepMetres` over the site and a margin around it.
    static Lattice lattice(double marginMetres, double stepMetres);
};

/// A right-angled frame turned against the site: u along `angleDegrees` (counter-clockwise from east), v to
/// its left.
struct TurnedFrame {
    Point origin;
    double cosine = 1.0;
    double sine = 0.0;

    static TurnedFrame at(Point origin, double angleDegrees);
    Point toFrame(double x, double y) const {
        return {(x - origin.x) * cosine + (y - origin.y) * sine,
                (y - origin.y) * cosine - (x - origin.x) * sine};
    }
    Point toSite(double u, double v) const {
        return {origin.x + u * cosine - v * sine, origin.y + u * sine + v * cosine};
    }
};

/// The village: plots along parallel lanes in a turned frame, u and v from its south-west corner.
struct Village {
    TurnedFrame frame;
    double widthMetres = 0.0;
    double depthMetres = 0.0;
    double laneSpacingMetres = 0.0;

    /// Inside, grown by `marginMetres`.
    bool contains(double x, double y, double marginMetres) const;
};

enum class BuildingUse : std::uint8_t { School, Greenhouses, Farmstead };

/// A level ground for buildings; the origin of its frame is its south-west corner.
struct BuildingGround {
    BuildingUse use;
    TurnedFrame frame;
    double widthMetres = 0.0;
    double depthMetres = 0.0;
};

/// What people and water drew on the map; everything else follows from it. Site coordinates, metres.
struct Site {
    explicit Site(std::uint64_t seed);

    /// A noise seed of its own for each use, which callers number as they like.
    std::uint32_t noiseSeed(std::uint32_t use) const { return m_noiseBase + use * 7919u; }
    /// Height of the water surface above sea level; it falls from north to south, by 2.6 m in a kilometre.
    static float waterLevelMetres(double y);
    /// Half the width of the water, that far along the river.
    float riverHalfWidthMetres(float riverAlong) const;
    /// How far a forest reaches over (x, y): 0 open, 1 closed.
    float forestDensity(double x, double y) const { return forest.sample(x, y); }

    std::uint64_t seed;
    /// From north to south, and well beyond the site; the road and the pipeline run from west to east.
    Curve river;
    Curve road;
    Curve lane; ///< dirt road to the hamlet and the quarry
    Curve pipeline;
    Village village;
    /// The school first.
    std::vector<BuildingGround> buildingGrounds;
    const BuildingGround& school() const { return buildingGrounds.front(); }

    /// Where places lie along these lines: within 150 m of the river, 40 m of the road and the pipeline, 24 m
    /// of the lane. Beyond that they are far.
    LineField riverField;
    LineField roadField;
    LineField laneField;
    LineField pipelineField;
    Field forest;

private:
    void drawRiverAndRoads(class Random& random);
    void drawPipeline(class Random& random);
    void placeGrounds(class Random& random);
    void markLinesAndForest();
    float forestAt(double x, double y) const;

    std::uint32_t m_noiseBase;
};

} // namespace samples
