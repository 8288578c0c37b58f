#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/LayerText.h"

#include <QString>

#include <array>
#include <optional>

class OGRFeature;
class OGRFeatureDefn;

namespace inspection {

/// The columns of a vector layer that special objects take their attributes from. They are found by name,
/// English or Chinese, in capitals or not, also when a Shapefile has cut the name to ten bytes; of several
/// names for one attribute the first in the table of the source file counts.
class SpecialObjectColumns {
public:
    SpecialObjectColumns(const OGRFeatureDefn& definition, const LayerText& text);

    /// Without blanks around it; empty when the row has none.
    QString name(const OGRFeature& row) const;
    QString attribute(const OGRFeature& row) const;
    /// Puts level (0..5), opacity (0..1), border width (0..99 pixels) and colours ("#rrggbb", "r,g,b", or
    /// channels 0..1 in columns of their own) into the region. What the row does not say stays as it is.
    /// Gives the cause, in Chinese, when a value is none or out of its range.
    std::optional<QString> takeLook(const OGRFeature& row, Special_Region& region) const;

    /// What a row can say. Colour channels follow one another in the order red, green, blue.
    enum Column {
        Name,
        Attribute,
        Level,
        Opacity,
        BorderWidth,
        Fill,
        FillRed,
        FillGreen,
        FillBlue,
        Border,
        BorderRed,
        BorderGreen,
        BorderBlue,
        ColumnCount
    };

private:
    /// Without blanks around it; empty when the layer has no such column or the row no value in it.
    QString text(const OGRFeature& row, Column column) const;
    std::optional<QString> takeNumber(const OGRFeature& row, Column column, double highest,
                                      float& target) const;
    std::optional<QString> takeWhole(const OGRFeature& row, Column column, int highest,
                                     std::int32_t& target) const;
    std::optional<QString> takeColour(const OGRFeature& row, Column whole, osg::Vec3& target) const;

    LayerText m_text;
    std::array<int, ColumnCount> m_fields{}; ///< index in the layer, -1 where there is none
};

} // namespace inspection
