#pragma once

#include "detect/Result.h"
#include "detect/StagedOutput.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Change detection between two elevation rasters. Knows GDAL and nothing else of the product.
namespace detect {

/// A point or vertex in the old raster's reference system (x east or longitude, y north or latitude).
struct Point {
    double x = 0.0;
    double y = 0.0;
};

/// Axis-parallel box in the old raster's reference system.
struct Box {
    double xMin = 0.0;
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
};

/// A rectangle of cells, `column` and `row` being the first.
struct CellWindow {
    int column = 0;
    int row = 0;
    int columns = 0;
    int rows = 0;

    bool empty() const { return columns <= 0 || rows <= 0; }
    std::int64_t cells() const { return std::int64_t{columns} * rows; }
};

/// A cell of a raster. Row order: row by row, left to right.
struct Cell {
    std::int32_t row = 0;
    std::int32_t column = 0;

    bool operator<(const Cell& other) const {
        return row != other.row ? row < other.row : column < other.column;
    }
};

/// Local: Full with the tilt plane, and a smooth field of heights besides. Auto: whichever of the others the
/// evidence supports.
enum class CoregistrationMethod { None, Bias, Full, Local, Auto };

class CorrectionField;

/// A smooth field of heights that takes off what misfit of the epochs varies slowly. It takes any change of the
/// ground that is as wide for misfit, too.
struct LocalCorrection {
    std::shared_ptr<const CorrectionField> field; ///< null where none is taken off
    double shortestWavelengthMetres = 0.0;        ///< what varies over shorter ways is not followed
    double largestMetres = 0.0;
    double sigmaMetres = 0.0;    ///< standard error of the field
    double exceedingShare = 0.0; ///< of the ground where it is larger than twice its standard error (0 .. 1)
    double leftOutShare =
        0.0; ///< of the ground that counted as changed, which the field passes over (0 .. 1)
};

/// What must be added to the new epoch's coordinates so that it lies on the old one.
/// Lengths in metres, x east, y north; the cell figures are in cells of the old raster. What it does to the
/// heights is HeightCorrection.
struct Coregistration {
    /// What was done; never Auto.
    CoregistrationMethod method = CoregistrationMethod::None;
    double dxMetres = 0.0;
    double dyMetres = 0.0;
    double dzMetres = 0.0; ///< at the middle of the old raster's grid
    /// Tilt plane about that middle, metres per metre, added to the new heights like the bias.
    double tiltEast = 0.0;
    double tiltNorth = 0.0;
    double dxCells = 0.0;
    double dyCells = 0.0;
    int iterations = 0;
    /// Normalised median absolute deviation of dZ, before and after (Höhle & Höhle 2009).
    double nmadBeforeMetres = 0.0;
    double nmadAfterMetres = 0.0;
    /// Share of the sampled cells that the last fit counts as stable ground (0 .. 1): those within three NMAD
    /// of the level, the NMAD being that of the cells kept before (so that changes do not widen it).
    double stableShare = 0.0;
    /// Uncertainty of dZ as stable ground shows it after co-registration (with None: about its own level).
    /// One standard deviation at a cell with the slope angle a of the old surface is the root of
    ///     sigmaMetres^2 + (sigmaPerSlopeMetres tan a)^2.
    /// Both are zero for epochs that agree perfectly; the second is zero where slopes show no influence.
    double sigmaMetres = 0.0;
    double sigmaPerSlopeMetres = 0.0;
    /// Errors of dZ of so many neighbouring cells together are as good as one error; 1 when every cell has
    /// its own.
    double correlatedCells = 1.0;
    LocalCorrection local;
    /// With Auto: what was chosen and why (Chinese, UTF-8, one line).
    std::string reason;
    /// Why Full leaves the new epoch where it is horizontally (Chinese, UTF-8, one line): no shift that can
    /// be trusted. Empty when nothing was refused, also when no shift was needed.
    std::string refusal;
};

/// A change must be significant against the uncertainty of both surveys, not only large.
struct Significance {
    /// Standard deviation of the heights of each epoch on level ground, metres; both or neither. Without
    /// them the scatter of dZ on stable ground tells.
    std::optional<double> oldSigmaMetres;
    std::optional<double> newSigmaMetres;
    /// Two-sided: the chance that dZ of a stable cell stays below its level of detection.
    double confidence = 0.95;
};

/// What a component that reaches its level of detection must be besides; each rule can be switched off.
struct Rules {
    /// It holds a block of 3 x 3 cells.
    bool core = true;
    /// It is no narrow band along a steep edge (a wall, a bank) most of whose change a shift of the edge by
    /// one cell would explain.
    bool sliver = true;
    /// It is no narrow or ragged patch whose heights scatter from cell to cell, as leaves and grass do.
    bool speckle = true;
    /// It stands out of the scatter where both epochs show another surface each time: plants, water.
    bool restless = true;
};

/// How many components the rules have turned away. All reach their level of detection.
struct Rejections {
    std::int64_t core = 0;
    std::int64_t area = 0;
    std::int64_t sliver = 0;
    std::int64_t speckle = 0;

    Rejections& operator+=(const Rejections& other) {
        core += other.core;
        area += other.area;
        sliver += other.sliver;
        speckle += other.speckle;
        return *this;
    }
};

struct Parameters {
    /// A component needs at least one cell with |dZ| at or above its level of detection: this (metres), or
    /// what is significant there where that is more ...
    double thresholdMetres = 0.5;
    /// ... and grows over neighbours of the same sign with |dZ| at or above growRatio times theirs
    /// (hysteresis).
    double growRatio = 0.5;
    std::optional<Significance> significance;
    /// Components smaller than this (square metres on the ground) are dropped.
    double minAreaSquareMetres = 4.0;
    Rules rules;
    /// Components whose surface clearly has several bodies become an anomaly for each.
    bool splitBodies = true;
    /// Outlines without the stair steps of the cells; false for outlines that follow the cells.
    bool simplifyOutlines = true;
    CoregistrationMethod coregistration = CoregistrationMethod::Auto;
    /// With CoregistrationMethod::Full, level a tilt plane between the epochs too; also where the shift is
    /// refused. Without Full it has no effect: Local always does, Auto when it sees one.
    bool tilt = false;
    /// Files of ground (vector or raster, see GroundMask) that tells nothing about the co-registration, and of
    /// ground that is not looked at at all; empty for none.
    std::string unstableMask;
    std::string ignoreMask;
    /// Worker threads; 0 means one for each processor.
    int threads = 0;
    /// Rows and columns of one block; 0 chooses by the raster's tiles. Results never depend on them.
    int blockRows = 0;
    int blockColumns = 0;
};

enum class Kind { Fill, Cut };

/// A closed ring without a repeated last vertex.
using Ring = std::vector<Point>;

/// One ground change. Lengths in metres, areas in square metres, volumes in cubic metres.
struct Anomaly {
    std::string name; ///< "A0001" and on, in the order of the first cells
    Cell first;       ///< in row order, of the old raster; no two anomalies share it
    Kind kind = Kind::Fill;
    Ring outline; ///< outer ring, counter-clockwise
    std::vector<Ring> holes;
    Box bounds;
    Point centroid;
    std::int64_t cells = 0;
    double areaSquareMetres = 0.0;
    double fillCubicMetres = 0.0; ///< volume above the old surface, not negative
    double cutCubicMetres = 0.0;  ///< volume below the old surface, not negative
    double dzMeanMetres = 0.0;
    double dzMinMetres = 0.0;
    double dzMaxMetres = 0.0;
    /// Standard deviation of dZ of one cell (root mean square over the cells).
    double sigmaMetres = 0.0;
    /// What dZ of one cell must reach to count as a change, with that standard deviation.
    double levelOfDetectionMetres = 0.0;
    /// The largest |dZ| of a cell over its level of detection; at least 1.
    double significance = 0.0;
    /// Standard deviation of the volume.
    double volumeSigmaCubicMetres = 0.0;
    std::string suggested; ///< suggested class in Chinese, UTF-8
    /// How sure the suggestion is, 0 .. 1.
    double suggestionConfidence = 0.0;

    double volumeCubicMetres() const { return kind == Kind::Fill ? fillCubicMetres : cutCubicMetres; }
};

struct Request {
    std::string oldRaster; ///< anything GDAL opens
    std::string newRaster;
    Parameters parameters;
    /// Only this part of the old raster; empty means the whole overlap.
    std::optional<Box> window;
    /// A co-registration found earlier, used as it is instead of estimating one.
    std::optional<Coregistration> coregistration;
    /// When given, dZ (new - old, metres, Float32, no-data NaN) is written into it as a tiled, compressed
    /// GeoTIFF; the caller commits it. It stays empty where the window has no cell in common.
    const StagedOutput* dzRaster = nullptr;
    /// When given, what the local field adds to the new heights is written into it (see writeCorrection); the
    /// caller commits it.
    const StagedOutput* correctionRaster = nullptr;
};

/// What a run tells besides its anomalies.
struct RunReport {
    std::int64_t found = 0; ///< anomalies
    Coregistration coregistration;
    std::string srsWkt;     ///< the old raster's reference system
    std::int64_t cells = 0; ///< cells compared
    /// Stable ground scatters by more than a change must reach, so that scatter makes changes everywhere: the epochs
    /// do not fit, or are no heights.
    bool scatterExceedsThreshold = false;
    Rejections rejections;
    double seconds = 0.0;
    int threads = 1;
};

/// What a run tells, and all its anomalies.
struct Changes : RunReport {
    std::vector<Anomaly> anomalies;
};

/// Called from the calling thread with 0..1; returning false stops the work with a cancelled Failure.
using Progress = std::function<bool(double)>;

/// Takes the anomalies of a run while it goes on, in the calling thread. A Failure ends the run.
class AnomalyReceiver {
public:
    virtual ~AnomalyReceiver() = default;
    /// Once, before the first anomaly. `srsWkt`: the reference system of all outlines.
    virtual Status begin(const std::string& srsWkt) = 0;
    /// In the order of the names.
    virtual Status take(Anomaly anomaly) = 0;
};

/// Finds the changes. Runs in the calling thread and in `parameters.threads` workers; memory grows with the
/// width of a block row and with what is still connected to the row just read.
Result<RunReport> detectChanges(const Request& request, AnomalyReceiver& receiver,
                                const Progress& progress = {});

/// The same, all anomalies kept in memory.
Result<Changes> detectChanges(const Request& request, const Progress& progress = {});

/// The same, with dZ in a file that appears complete or not at all; an earlier one is replaced only then.
Result<Changes> detectChangesAndDz(Request request, const std::string& dzRaster,
                                   const Progress& progress = {});

/// Estimates the co-registration over the whole overlap, without looking for changes.
Result<Coregistration> estimateCoregistration(const Request& request, const Progress& progress = {});

} // namespace detect
