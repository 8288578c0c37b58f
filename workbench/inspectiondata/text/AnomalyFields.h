#pragma once

#include "host/Export.h"
#include "host/inspection/Station.h"

#include <QString>

#include <array>
#include <optional>
#include <variant>

/// What an anomaly's record says, field by field: the one list that the database's reader and writer, the
/// check and the vector files walk over. The columns themselves are made by the steps of the schema, which
/// stay as they were.
namespace inspection {

struct AnomalyField {
    enum class Sort {
        Text,
        Kind,       ///< "fill" or "cut"
        Position,   ///< metres in the station's reference system
        Place,      ///< degrees, WGS 84
        Size,       ///< m, m², m³ or a ratio, not negative
        Share,      ///< 0 .. 1
        Difference, ///< metres, new - old
        Outline     ///< polygon as WKT, in the station's reference system
    };
    using Member = std::variant<std::string SdiffData::*, bool SdiffData::*, double SdiffData::*,
                                std::optional<double> SdiffData::*>;

    const char* name; ///< column of table "anomaly"; in vector files, too, where these have the field
    Sort sort;
    Member member;

    /// Whether the record may have no value, NULL where it is stored.
    constexpr bool mayLack() const {
        return std::holds_alternative<std::optional<double> SdiffData::*>(member);
    }
    constexpr bool isNumber() const {
        return mayLack() || std::holds_alternative<double SdiffData::*>(member);
    }
};

/// Without the row's id and version. In the order of the columns.
constexpr std::array<AnomalyField, 24> kAnomalyFields{{
    {"name", AnomalyField::Sort::Text, &SdiffData::name},
    {"kind", AnomalyField::Sort::Kind, &SdiffData::isFill},
    {"attribute", AnomalyField::Sort::Text, &SdiffData::attribute},
    {"suggested", AnomalyField::Sort::Text, &SdiffData::suggested},
    {"x", AnomalyField::Sort::Position, &SdiffData::x},
    {"y", AnomalyField::Sort::Position, &SdiffData::y},
    {"lon_deg", AnomalyField::Sort::Place, &SdiffData::lonDegrees},
    {"lat_deg", AnomalyField::Sort::Place, &SdiffData::latDegrees},
    {"x_min", AnomalyField::Sort::Position, &SdiffData::xMin},
    {"y_min", AnomalyField::Sort::Position, &SdiffData::yMin},
    {"x_max", AnomalyField::Sort::Position, &SdiffData::xMax},
    {"y_max", AnomalyField::Sort::Position, &SdiffData::yMax},
    {"area_m2", AnomalyField::Sort::Size, &SdiffData::areaSquareMetres},
    {"fill_m3", AnomalyField::Sort::Size, &SdiffData::fillCubicMetres},
    {"cut_m3", AnomalyField::Sort::Size, &SdiffData::cutCubicMetres},
    {"dz_mean_m", AnomalyField::Sort::Difference, &SdiffData::dzMeanMetres},
    {"dz_min_m", AnomalyField::Sort::Difference, &SdiffData::dzMinMetres},
    {"dz_max_m", AnomalyField::Sort::Difference, &SdiffData::dzMaxMetres},
    {"outline_wkt", AnomalyField::Sort::Outline, &SdiffData::outlineWkt},
    {"vol_sd_m3", AnomalyField::Sort::Size, &SdiffData::volumeSigmaCubicMetres},
    {"sigma_m", AnomalyField::Sort::Size, &SdiffData::sigmaMetres},
    {"lod_m", AnomalyField::Sort::Size, &SdiffData::levelOfDetectionMetres},
    {"signif", AnomalyField::Sort::Size, &SdiffData::significance},
    {"sugg_conf", AnomalyField::Sort::Share, &SdiffData::suggestionConfidence},
}};

/// The field of that name, which must be one.
INSPECTIONDATA_API const AnomalyField& anomalyField(const char* name);

/// "fill" or "cut", as it is stored and exported.
INSPECTIONDATA_API const char* kindCode(bool isFill);

/// What the windows and the report call a figure, and its unit (UTF-8); each puts the two together in its own
/// way.
struct FigureTitle {
    const char* words;
    const char* unit;

    /// "面积(m²)"
    QString inBrackets() const { return QStringLiteral("%1(%2)").arg(words, unit); }
    /// "面积 m²"
    QString inLine() const { return QStringLiteral("%1 %2").arg(words, unit); }
};
constexpr FigureTitle kAreaTitle{"面积", "m²"};
constexpr FigureTitle kVolumeTitle{"体积", "m³"};
constexpr FigureTitle kMeanDifferenceTitle{"平均dZ", "m"};
constexpr FigureTitle kPipeDistanceTitle{"距管线", "m"};
constexpr FigureTitle kVolumeSigmaTitle{"体积标准差", "m³"};
constexpr FigureTitle kSigmaTitle{"dZ标准差", "m"};
constexpr FigureTitle kLevelOfDetectionTitle{"检出限", "m"};
constexpr char kSignificanceTitle[] = "显著性";
constexpr char kSuggestionConfidenceTitle[] = "类别置信度";
constexpr char kSuggestedTitle[] = "建议类别";
constexpr char kHighConsequenceAreasTitle[] = "高后果区";

} // namespace inspection
