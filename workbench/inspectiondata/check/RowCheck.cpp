#include "workbench/inspectiondata/check/RowCheck.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"

#include <QDateTime>

#include <cmath>
#include <limits>

namespace inspection {

namespace {

QString named(const char* column, const QString& problem) {
    return QString::fromLatin1(column) + ' ' + problem;
}

} // namespace

RowCheck::RowCheck(const char* table, const mysqlhelper::KV_Record& row, Findings& findings, const char* key)
    : m_table(table), m_row(row), m_findings(findings), m_key(key) {}

void RowCheck::add(const QString& problem) {
    QString object = QString::number(whole(m_key));
    if (const std::string name = text("name"); !name.empty()) {
        object += QStringLiteral(" “%1”").arg(fromGbk(name));
    }
    m_findings.push_back({QString::fromLatin1(m_table), object, problem});
}

void RowCheck::expectText(const char* column) {
    expect(!fromGbk(text(column)).trimmed().isEmpty(), [&] { return named(column, QStringLiteral("为空")); });
}

void RowCheck::expectFinite(std::initializer_list<const char*> columns) {
    for (const char* column : columns) {
        expect(std::isfinite(number(column)), [&] { return named(column, QStringLiteral("不是有限的数")); });
    }
}

void RowCheck::expectNotNegative(std::initializer_list<const char*> columns) {
    expectFinite(columns);
    for (const char* column : columns) {
        expect(!(number(column) < 0.0), [&] { return named(column, QStringLiteral("为负")); });
    }
}

void RowCheck::expectWithin(const char* column, double least, double most) {
    expectFinite({column});
    const double value = number(column);
    expect(!(value < least) && !(value > most), [&] {
        return named(column, QStringLiteral("%1 超出范围 %2 到 %3").arg(value).arg(least).arg(most));
    });
}

void RowCheck::expectPlace(double mostLongitudeDegrees) {
    constexpr double kMostLatitudeDegrees = 90.0;
    expectWithin("lon_deg", -mostLongitudeDegrees, mostLongitudeDegrees);
    expectWithin("lat_deg", -kMostLatitudeDegrees, kMostLatitudeDegrees);
}

void RowCheck::expectOrder(const char* lower, const char* upper) {
    expect(!(number(lower) > number(upper)),
           [&] { return named(lower, QStringLiteral("大于 %1").arg(upper)); });
}

void RowCheck::expectBetween(const char* lower, const char* middle, const char* upper) {
    constexpr double kRounding = 1e-9; // of a mean of equal numbers
    const double value = number(middle);
    expect(!(value < number(lower) - kRounding) && !(value > number(upper) + kRounding),
           [&] { return named(middle, QStringLiteral("不在 %1 和 %2 之间").arg(lower, upper)); });
}

void RowCheck::expectVersion(std::int64_t newestRevision) {
    const std::int64_t version = versionOf(m_row);
    expect(version >= 0 && version <= newestRevision, [&] {
        return QStringLiteral("version %1 不在 0 和项目的修订号 %2 之间").arg(version).arg(newestRevision);
    });
}

void RowCheck::expectTime(const char* column) {
    expect(QDateTime::fromString(fromGbk(text(column)), Qt::ISODate).isValid(),
           [&] { return named(column, QStringLiteral("不是日期和时间")); });
}

bool RowCheck::has(const char* column) const {
    const auto field = m_row.find(column);
    return field != m_row.end() && !std::holds_alternative<std::monostate>(field->second);
}

double RowCheck::number(const char* column) const {
    double value = std::numeric_limits<double>::quiet_NaN();
    takeField(m_row, column, value);
    return value;
}

std::int64_t RowCheck::whole(const char* column) const {
    std::int64_t value = 0;
    takeField(m_row, column, value);
    return value;
}

std::string RowCheck::text(const char* column) const {
    std::string value;
    takeField(m_row, column, value);
    return value;
}

} // namespace inspection
