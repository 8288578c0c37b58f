#include "workbench/inspectiondata/database/SpecialObjectColumns.h"

#include <ogrsf_frmts.h>

#include <QByteArrayList>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>

namespace inspection {

namespace {

using Column = SpecialObjectColumns::Column;

constexpr int kHighestLevel = 5;
constexpr int kWidestBorderPixels = 99; // what the form takes
constexpr int kChannels = 3;

/// Names of a column, and what messages call it. The names with a unit are those of the project's own tables.
struct ColumnNames {
    Column column;
    const char* title;
    QByteArrayList names;
};

const std::array<ColumnNames, SpecialObjectColumns::ColumnCount>& columnNames() {
    static const std::array<ColumnNames, SpecialObjectColumns::ColumnCount> all{
        {{Column::Name, "名称", {"name", "名称"}},
         {Column::Attribute, "属性", {"attribute", "属性"}},
         {Column::Level, "等级", {"level", "等级"}},
         {Column::Opacity, "透明度", {"opacity", "透明度"}},
         {Column::BorderWidth, "边界线宽度", {"border_width", "border_width_px", "边界线宽度"}},
         {Column::Fill, "填充色", {"fill", "fill_colour", "fill_color", "填充色"}},
         {Column::FillRed, "fill_red", {"fill_red"}},
         {Column::FillGreen, "fill_green", {"fill_green"}},
         {Column::FillBlue, "fill_blue", {"fill_blue"}},
         {Column::Border, "边界色", {"border", "border_colour", "border_color", "边界色"}},
         {Column::BorderRed, "border_red", {"border_red"}},
         {Column::BorderGreen, "border_green", {"border_green"}},
         {Column::BorderBlue, "border_blue", {"border_blue"}}}};
    return all;
}

QString titleOf(Column column) {
    return QString::fromUtf8(columnNames()[column].title);
}

bool isNamed(const QByteArray& field, const QByteArray& name) {
    constexpr qsizetype kShapefileBytes = 10;
    return field.compare(name, Qt::CaseInsensitive) == 0 ||
           (field.size() == kShapefileBytes &&
            field.compare(name.left(kShapefileBytes), Qt::CaseInsensitive) == 0);
}

/// The column's index, -1 when there is none of these names.
int findField(const QByteArrayList& fields, const QByteArrayList& names) {
    for (const QByteArray& name : names) {
        for (qsizetype field = 0; field < fields.size(); ++field) {
            if (isNamed(fields[field], name)) {
                return static_cast<int>(field);
            }
        }
    }
    return -1;
}

QString refusal(Column column, const QString& value, const QString& demand) {
    return QStringLiteral("%1“%2”应为%3").arg(titleOf(column), value, demand);
}

std::optional<osg::Vec3> colourOf(const QString& text) {
    static const QRegularExpression hexadecimal(
        QStringLiteral("^#([0-9a-fA-F]{2})([0-9a-fA-F]{2})([0-9a-fA-F]{2})$"));
    static const QRegularExpression decimal(
        QStringLiteral("^\\s*([0-9]{1,3})\\s*,\\s*([0-9]{1,3})\\s*,\\s*([0-9]{1,3})\\s*$"));
    constexpr int kHighestChannel = 255;
    const QRegularExpressionMatch hex = hexadecimal.match(text);
    const QRegularExpressionMatch match = hex.hasMatch() ? hex : decimal.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    osg::Vec3 colour;
    for (int channel = 0; channel < kChannels; ++channel) {
        const int value = match.captured(channel + 1).toInt(nullptr, hex.hasMatch() ? 16 : 10);
        if (value > kHighestChannel) {
            return std::nullopt;
        }
        colour[channel] = static_cast<float>(value / double{kHighestChannel});
    }
    return colour;
}

} // namespace

SpecialObjectColumns::SpecialObjectColumns(const OGRFeatureDefn& definition, const LayerText& text)
    : m_text(text) {
    QByteArrayList fields;
    for (int field = 0; field < definition.GetFieldCount(); ++field) {
        // A cut name may end amid a character, so that only bytes are compared where they are UTF-8.
        const char* bytes = definition.GetFieldDefn(field)->GetNameRef();
        fields << (m_text.isGbk() ? m_text(bytes).toUtf8() : QByteArray(bytes));
    }
    for (const ColumnNames& column : columnNames()) {
        m_fields[column.column] = findField(fields, column.names);
    }
}

QString SpecialObjectColumns::text(const OGRFeature& row, Column column) const {
    const int field = m_fields[column];
    return field < 0 || row.IsFieldSetAndNotNull(field) == 0 ? QString()
                                                             : m_text(row.GetFieldAsString(field)).trimmed();
}

QString SpecialObjectColumns::name(const OGRFeature& row) const {
    return text(row, Name);
}

QString SpecialObjectColumns::attribute(const OGRFeature& row) const {
    return text(row, Attribute);
}

std::optional<QString> SpecialObjectColumns::takeLook(const OGRFeature& row, Special_Region& region) const {
    if (auto cause = takeWhole(row, Level, kHighestLevel, region.m_level)) {
        return cause;
    }
    if (auto cause = takeNumber(row, Opacity, 1.0, region.m_opacity)) {
        return cause;
    }
    if (auto cause = takeWhole(row, BorderWidth, kWidestBorderPixels, region.m_borderWidth)) {
        return cause;
    }
    if (auto cause = takeColour(row, Fill, region.m_fillColor)) {
        return cause;
    }
    return takeColour(row, Border, region.m_borderColor);
}

std::optional<QString> SpecialObjectColumns::takeNumber(const OGRFeature& row, Column column, double highest,
                                                        float& target) const {
    const QString given = text(row, column);
    if (given.isEmpty()) {
        return std::nullopt;
    }
    bool isNumber = false;
    const double value = given.toDouble(&isNumber);
    const bool inRange = value >= 0.0 && value <= highest; // NaN is not
    if (!isNumber || !inRange) {
        return refusal(column, given, QStringLiteral(" 0 到 %1 的数").arg(highest));
    }
    target = static_cast<float>(value);
    return std::nullopt;
}

std::optional<QString> SpecialObjectColumns::takeWhole(const OGRFeature& row, Column column, int highest,
                                                       std::int32_t& target) const {
    auto value = static_cast<float>(target);
    if (takeNumber(row, column, highest, value) || value != std::floor(value)) {
        return refusal(column, text(row, column), QStringLiteral(" 0 到 %1 的整数").arg(highest));
    }
    target = static_cast<std::int32_t>(value);
    return std::nullopt;
}

std::optional<QString> SpecialObjectColumns::takeColour(const OGRFeature& row, Column whole,
                                                        osg::Vec3& target) const {
    const QString given = text(row, whole);
    if (!given.isEmpty()) {
        const auto colour = colourOf(given);
        if (!colour) {
            return refusal(whole, given, QStringLiteral(" #rrggbb 或 r,g,b（0 到 255）"));
        }
        target = *colour;
        return std::nullopt;
    }
    for (int channel = 0; channel < kChannels; ++channel) {
        if (auto cause = takeNumber(row, static_cast<Column>(whole + 1 + channel), 1.0, target[channel])) {
            return cause;
        }
    }
    return std::nullopt;
}

} // namespace inspection
