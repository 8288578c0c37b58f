#include "detect/output/PieceFrameText.h"

#include "detect/GdalErrors.h"
#include "detect/output/JsonText.h"
#include "detect/output/ParameterText.h"

#include <cpl_json.h>

namespace detect {

namespace {

constexpr int kFormatVersion = 2;

CPLJSONArray arrayOf(const CellWindow& window) {
    CPLJSONArray array;
    for (const int figure : {window.column, window.row, window.columns, window.rows}) {
        array.Add(figure);
    }
    return array;
}

std::optional<CellWindow> windowOf(const CPLJSONArray& array) {
    if (array.Size() != 4) {
        return std::nullopt;
    }
    return CellWindow{array[0].ToInteger(), array[1].ToInteger(), array[2].ToInteger(), array[3].ToInteger()};
}

CPLJSONObject describe(const Rejections& rejections) {
    CPLJSONObject object;
    object.Add("core", static_cast<GInt64>(rejections.core));
    object.Add("area", static_cast<GInt64>(rejections.area));
    object.Add("sliver", static_cast<GInt64>(rejections.sliver));
    object.Add("speckle", static_cast<GInt64>(rejections.speckle));
    return object;
}

Rejections parseRejections(const CPLJSONObject& object) {
    return {object.GetLong("core"), object.GetLong("area"), object.GetLong("sliver"),
            object.GetLong("speckle")};
}

} // namespace

std::string describePiece(const Piece& piece) {
    const PieceFrame& frame = piece.frame;
    CPLJSONObject object;
    object.Add("version", kFormatVersion);
    object.Add("window", arrayOf(piece.window));
    object.Add("cells", static_cast<GInt64>(piece.cells));
    object.Add("rejections", describe(piece.rejections));
    object.Add("seconds", piece.seconds);
    object.Add("threads", piece.threads);
    object.Add("old", frame.oldRaster);
    object.Add("new", frame.newRaster);
    object.Add("srs", frame.srsWkt);
    CPLJSONArray toMap;
    for (const double figure : frame.cellToMap.c) {
        toMap.Add(figure);
    }
    object.Add("cell_to_map", toMap);
    object.Add("columns", frame.columns);
    object.Add("rows", frame.rows);
    object.Add("overlap", arrayOf(frame.overlap));
    CPLJSONObject parameters;
    addParameters(frame.parameters, parameters);
    object.Add("parameters", parameters);
    object.Add("coregistration", describe(frame.coregistration));
    return jsonText(object, false);
}

bool parsePiece(const std::string& text, Piece& piece) {
    const GdalErrors quiet;
    CPLJSONDocument document;
    if (!document.LoadMemory(text)) {
        return false;
    }
    const CPLJSONObject object = document.GetRoot();
    const auto window = windowOf(object.GetArray("window"));
    const auto overlap = windowOf(object.GetArray("overlap"));
    const CPLJSONArray toMap = object.GetArray("cell_to_map");
    if (object.GetInteger("version") != kFormatVersion || !window || !overlap || toMap.Size() != 6) {
        return false;
    }
    piece.window = *window;
    piece.cells = object.GetLong("cells");
    piece.rejections = parseRejections(object.GetObj("rejections"));
    piece.seconds = object.GetDouble("seconds");
    piece.threads = object.GetInteger("threads");
    PieceFrame& frame = piece.frame;
    frame.oldRaster = object.GetString("old");
    frame.newRaster = object.GetString("new");
    frame.srsWkt = object.GetString("srs");
    for (int i = 0; i < 6; ++i) {
        frame.cellToMap.c[static_cast<std::size_t>(i)] = toMap[i].ToDouble();
    }
    frame.columns = object.GetInteger("columns");
    frame.rows = object.GetInteger("rows");
    frame.overlap = *overlap;
    return takeParameters(object.GetObj("parameters"), frame.parameters) &&
           parse(object.GetObj("coregistration"), frame.coregistration);
}

} // namespace detect
