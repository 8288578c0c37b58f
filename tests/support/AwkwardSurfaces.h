#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

/// One ground, written in all the forms in which surface models come: whoever reads heights must find the same in
/// each. 200 x 160 cells of 0.5 m, CGCS2000 / 3-degree Gauss-Krueger CM 114E, hills about 50 m high, a hole where
/// nothing was measured, and in the new epoch a heap.
namespace awkward {

constexpr int kColumns = 200;
constexpr int kRows = 160;
constexpr double kCellMetres = 0.5;
constexpr double kLeft = 500000.0;
constexpr double kTop = 3400080.0;

/// A box of cells.
struct Box {
    int column = 0;
    int row = 0;
    int columns = 0;
    int rows = 0;
    bool holds(int atColumn, int atRow) const {
        return atColumn >= column && atColumn < column + columns && atRow >= row && atRow < row + rows;
    }
};
constexpr Box kHole{20, 31, 41, 37}; ///< not even, so that reduced pictures mix its rim
constexpr Box kHeap{100, 60, 30, 24};
constexpr double kHeapMetres = 3.0;

/// Metres, of the old epoch, as if there were no hole.
double ground(int column, int row);
/// Metres; NaN in the hole.
double oldHeight(int column, int row);
double newHeight(int column, int row);

struct Form {
    std::string name;
    GDALDataType type = GDT_Float32;
    std::string unit;          ///< of the band
    const char* vertical = ""; ///< of the reference system: "+6360"
    bool referenceBeside =
        false; ///< in a file of its own, so that GDAL does not derive the band's unit from it
    double metresPerUnit = 1.0; ///< of unit or vertical
    double scale = 1.0;
    double offset = 0.0;
    std::optional<double> noData; ///< declared
    double fill = -9999.0;        ///< what the cells of the hole hold
    bool mask = false;            ///< tells the hole
    bool alpha = false;           ///< tells the hole
};
/// The first is plain: metres, the fill declared.
const std::vector<Form>& forms();
std::ostream& operator<<(std::ostream& out, const Form& form);

void write(const std::string& path, const Form& form, const std::function<double(int, int)>& metres);

} // namespace awkward
