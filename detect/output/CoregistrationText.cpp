#include "detect/output/CoregistrationText.h"

#include "detect/GdalErrors.h"
#include "detect/output/JsonText.h"
#include "detect/output/ParameterText.h"
#include "detect/raster/CorrectionField.h"

#include <cpl_conv.h>
#include <cpl_string.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace detect {

namespace {

std::string base64(std::vector<float> metres) {
    for (float& height : metres) {
        CPL_LSBPTR32(&height);
    }
    char* text = CPLBase64Encode(static_cast<int>(metres.size() * sizeof(float)),
                                 reinterpret_cast<const GByte*>(metres.data()));
    std::string copy = text;
    CPLFree(text);
    return copy;
}

/// Nothing unless there are so many, each of them finite.
std::optional<std::vector<float>> heightsOf(std::string text, std::size_t count) {
    const int bytes = text.empty() ? 0 : CPLBase64DecodeInPlace(reinterpret_cast<GByte*>(text.data()));
    if (bytes <= 0 || static_cast<std::size_t>(bytes) != count * sizeof(float)) {
        return std::nullopt;
    }
    std::vector<float> metres(count);
    std::memcpy(metres.data(), text.data(), static_cast<std::size_t>(bytes));
    for (float& height : metres) {
        CPL_LSBPTR32(&height);
    }
    const bool isGood =
        std::all_of(metres.begin(), metres.end(), [](float height) { return std::isfinite(height); });
    return isGood ? std::optional(std::move(metres)) : std::nullopt;
}

CPLJSONObject describe(const CorrectionField& field) {
    const CorrectionField::Nodes& nodes = field.nodes();
    CPLJSONObject object;
    object.Add("spacing", nodes.spacing);
    object.Add("first_column", nodes.firstColumn);
    object.Add("first_row", nodes.firstRow);
    object.Add("columns", nodes.columns);
    object.Add("rows", nodes.rows);
    object.Add("metres", base64(field.metres()));
    return object;
}

std::shared_ptr<const CorrectionField> fieldOf(const CPLJSONObject& object) {
    const CorrectionField::Nodes nodes{object.GetInteger("spacing"), object.GetInteger("first_column"),
                                       object.GetInteger("first_row"), object.GetInteger("columns"),
                                       object.GetInteger("rows")};
    if (nodes.spacing < 1 || nodes.columns < 1 || nodes.rows < 1) {
        return nullptr;
    }
    auto metres = heightsOf(object.GetString("metres"), nodes.count());
    return !metres ? nullptr : std::make_shared<const CorrectionField>(nodes, std::move(*metres));
}

} // namespace

std::string coregistrationText(const Coregistration& coregistration) {
    CPLJSONObject object = describe(coregistration);
    if (coregistration.local.field) {
        object.Add("field", describe(*coregistration.local.field));
    }
    return jsonText(object, false);
}

std::optional<Coregistration> readCoregistration(const std::string& text) {
    const GdalErrors quiet;
    CPLJSONDocument document;
    Coregistration coregistration;
    if (!document.LoadMemory(text) || !parse(document.GetRoot(), coregistration) ||
        coregistration.method == CoregistrationMethod::Auto) {
        return std::nullopt;
    }
    const CPLJSONObject field = document.GetRoot().GetObj("field");
    if (field.IsValid()) {
        coregistration.local.field = fieldOf(field);
        if (!coregistration.local.field) {
            return std::nullopt;
        }
    }
    return coregistration;
}

} // namespace detect
