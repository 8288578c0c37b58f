#include "detect/coregister/LocalMisfit.h"

#include "detect/coregister/RobustStatistics.h"
#include "detect/raster/CellFrame.h"

#include <cmath>
#include <limits>

namespace detect {

namespace {

/// Nodes for the shortest wave that a field follows to nine tenths: what a block of a quarter of it averages.
constexpr double kNodesOfShortestWave = 4.0;
constexpr std::size_t kLeastCells = 32;

/// The block that an equation's cell lies in.
class BlockOfCell {
public:
    BlockOfCell(const PairLayout& layout, const CorrectionField::Nodes& nodes)
        : m_frame(layout.oldRaster.grid),
          m_middle{(layout.oldRaster.grid.columns() - 1) / 2.0, (layout.oldRaster.grid.rows() - 1) / 2.0},
          m_nodes(nodes) {}

    std::size_t operator()(const Equation& e) const {
        const Point cells =
            m_frame.toCells({static_cast<double>(e.eastMetres), static_cast<double>(e.northMetres)});
        const int column =
            static_cast<int>(std::lround(cells.x + m_middle.x)) / m_nodes.spacing - m_nodes.firstColumn;
        const int row =
            static_cast<int>(std::lround(cells.y + m_middle.y)) / m_nodes.spacing - m_nodes.firstRow;
        return static_cast<std::size_t>(std::clamp(row, 0, m_nodes.rows - 1)) *
                   static_cast<std::size_t>(m_nodes.columns) +
               static_cast<std::size_t>(std::clamp(column, 0, m_nodes.columns - 1));
    }

private:
    CellFrame m_frame;
    Point m_middle;
    CorrectionField::Nodes m_nodes;
};

} // namespace

Foretelling foretellFromSample(const PairLayout& layout, const EquationSet& equations) {
    const CorrectionField::Nodes nodes = layBlocks(layout);
    const BlockOfCell blockOf(layout, nodes);
    std::vector<std::pair<std::size_t, float>> sorted; // block and dZ
    sorted.reserve(equations.cells.size());
    for (const Equation& e : equations.cells) {
        sorted.emplace_back(blockOf(e), e.dz);
    }
    std::sort(sorted.begin(), sorted.end());
    std::vector<float> levels(nodes.count(), std::numeric_limits<float>::quiet_NaN());
    for (std::size_t begin = 0; begin < sorted.size();) {
        std::size_t end = begin;
        while (end < sorted.size() && sorted[end].first == sorted[begin].first) {
            ++end;
        }
        if (end - begin >= kLeastCells) {
            levels[sorted[begin].first] = sorted[(begin + end) / 2].second;
        }
        begin = end;
    }
    return foretell(levels, nodes.columns, nodes.rows);
}

Result<bool> addLocalField(const PairLayout& layout, int threads, const Progress& progress, bool always,
                           Coregistration& found, Foretelling& foretelling) {
    const HeightCorrection correction(found, layout.oldRaster.grid);
    const auto read =
        readGroundBlocks(layout, {found.dxMetres, found.dyMetres}, correction, threads, progress);
    if (!read) {
        return failed(read);
    }
    auto fit = fitLocalField(*read, found.correlatedCells);
    if (!fit) {
        return false;
    }
    foretelling = fit->foretelling;
    if (!always && !foretelling.isSmoothMisfit(found.sigmaMetres)) {
        return false;
    }
    for (float& metres : fit->metres) {
        metres = -metres;
    }
    LocalCorrection& local = found.local;
    local.field = std::make_shared<const CorrectionField>(read->nodes, std::move(fit->metres));
    local.shortestWavelengthMetres =
        kNodesOfShortestWave * read->nodes.spacing * CellFrame(layout.oldRaster.grid).cellMetres();
    local.largestMetres = fit->largestMetres;
    local.sigmaMetres = fit->sigmaMetres;
    local.exceedingShare = fit->exceedingShare;
    local.leftOutShare = fit->leftOutShare;
    return true;
}

} // namespace detect
