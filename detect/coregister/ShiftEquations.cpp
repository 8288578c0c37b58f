#include "detect/coregister/ShiftEquations.h"

#include "detect/OrderedWork.h"
#include "detect/raster/CellFrame.h"

#include <cmath>

namespace detect {

namespace {

constexpr int kBlockSide = 16;
/// So many tell a shift to a few thousandths of a cell, except on ground that is nearly flat.
constexpr std::size_t kEnoughCells = 400'000;

std::size_t cellsOf(const std::vector<Patch>& patches) {
    std::size_t cells = 0;
    for (const Patch& patch : patches) {
        cells += patch.oldHeights.size();
    }
    return cells;
}

/// Every so many columns give a cell.
int columnStep(const std::vector<Patch>& patches) {
    return static_cast<int>(cellsOf(patches) / kEnoughCells) + 1;
}

/// Makes the equations of one patch after another. One for each thread.
class PatchReader {
public:
    PatchReader(PairReader reader, const PairLayout& layout, const std::vector<Patch>& patches,
                const Shift& shift, const HeightCorrection& correction)
        : m_reader(std::move(reader)), m_cellFrame(layout.oldRaster.grid),
          m_slopeFrame(layout.oldRaster.grid), m_patches(&patches), m_shift(shift), m_correction(correction),
          m_columnStep(columnStep(patches)) {}

    Result<EquationSet> operator()(int index) {
        const Patch& patch = (*m_patches)[static_cast<std::size_t>(index)];
        m_new.resize(patch.oldHeights.size());
        if (auto done = m_reader.readNew(patch.window, m_shift, m_new.data()); !done) {
            return failed(done);
        }
        m_correction.addTo(patch.window, m_new.data());
        EquationSet made;
        made.cells.reserve(patch.oldHeights.size() / static_cast<std::size_t>(m_columnStep));
        // The outermost cells lack a neighbour for the slope.
        for (int row = 1; row + 1 < patch.window.rows; row += kBlockSide) {
            for (int column = 1; column + 1 < patch.window.columns; column += kBlockSide) {
                appendBlock(patch, column, row, made);
            }
        }
        return made;
    }

private:
    void appendBlock(const Patch& patch, int firstColumn, int firstRow, EquationSet& made) const {
        const CellWindow& window = patch.window;
        const std::size_t before = made.cells.size();
        const int endRow = std::min(firstRow + kBlockSide, window.rows - 1);
        const int endColumn = std::min(firstColumn + kBlockSide, window.columns - 1);
        for (int row = firstRow; row < endRow; ++row) {
            for (int column = firstColumn + row % m_columnStep; column < endColumn; column += m_columnStep) {
                appendCell(patch, column, row, made.cells);
            }
        }
        if (made.cells.size() > before) {
            made.blockEnds.push_back(made.cells.size());
        }
    }

    void appendCell(const Patch& patch, int column, int row, std::vector<Equation>& cells) const {
        const auto stride = static_cast<std::size_t>(patch.window.columns);
        const std::size_t i = static_cast<std::size_t>(row) * stride + static_cast<std::size_t>(column);
        const float* const oldHeight = patch.oldHeights.data() + i;
        const float* const newHeight = m_new.data() + i;
        const Slope before = slopeAt(oldHeight, stride, m_slopeFrame);
        const Slope after = slopeAt(newHeight, stride, m_slopeFrame);
        const float dz = *newHeight - *oldHeight;
        if (std::isnan(before.east + before.north + after.east + after.north + dz)) {
            return;
        }
        const Shift place = m_cellFrame.fromMiddle(patch.window.column + column, patch.window.row + row);
        cells.push_back({{0.5F * (before.east + after.east), 0.5F * (before.north + after.north)},
                         {0.5F * (before.east - after.east), 0.5F * (before.north - after.north)},
                         dz,
                         static_cast<float>(place.eastMetres),
                         static_cast<float>(place.northMetres)});
    }

    PairReader m_reader;
    CellFrame m_cellFrame;
    SlopeFrame m_slopeFrame;
    const std::vector<Patch>* m_patches;
    Shift m_shift;
    HeightCorrection m_correction;
    int m_columnStep;
    std::vector<float> m_new;
};

} // namespace

Result<EquationSet> readEquations(const PairLayout& layout, const std::vector<Patch>& patches,
                                  const Shift& shift, const HeightCorrection& correction, int threads) {
    EquationSet all;
    all.cells.reserve(cellsOf(patches) / static_cast<std::size_t>(columnStep(patches)));
    const auto makeWorker = [&] {
        return PairReader::open(layout).map([&](PairReader&& reader) {
            return PatchReader(std::move(reader), layout, patches, shift, correction);
        });
    };
    const auto collect = [&](const EquationSet& part) -> Status {
        for (const std::size_t end : part.blockEnds) {
            all.blockEnds.push_back(all.cells.size() + end);
        }
        all.cells.insert(all.cells.end(), part.cells.begin(), part.cells.end());
        return {};
    };
    if (auto done = workInOrder<EquationSet>(static_cast<int>(patches.size()), threads, makeWorker, collect);
        !done) {
        return failed(done);
    }
    return all;
}

} // namespace detect
