#include "tests/cli/ImportFixture.h"

#include <sqlite3.h>

#include <memory>

namespace {

QVariant valueOf(sqlite3_stmt& statement, int column) {
    switch (sqlite3_column_type(&statement, column)) {
    case SQLITE_INTEGER:
        return QVariant::fromValue<qlonglong>(sqlite3_column_int64(&statement, column));
    case SQLITE_FLOAT:
        return sqlite3_column_double(&statement, column);
    case SQLITE_TEXT:
        return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(&statement, column)));
    default:
        return {};
    }
}

QVariantMap rowOf(sqlite3_stmt& statement) {
    QVariantMap row;
    for (int column = 0; column < sqlite3_column_count(&statement); ++column) {
        row[QString::fromUtf8(sqlite3_column_name(&statement, column))] = valueOf(statement, column);
    }
    return row;
}

} // namespace

CorridorRun ImportFixture::importAreas(const QString& path, const QStringList& more) const {
    return corridor(QStringList{"import", folder(), "--polygons", path, "--type", "17"} + more);
}

CorridorRun ImportFixture::importConsequenceAreas(const QString& path) const {
    return corridor({"import", folder(), "--polygons", path, "--type", "4"});
}

CorridorRun ImportFixture::importPoints(const QString& path, const QStringList& more) const {
    return corridor(QStringList{"import", folder(), "--points", path} + more);
}

VectorLayer ImportFixture::areas(const std::vector<QStringList>& rows, int epsg) {
    VectorLayer layer;
    layer.epsg = epsg;
    layer.columns = QStringList{"name"};
    layer.rows = rows;
    return layer;
}

std::vector<QStringList> ImportFixture::manyRows(int count) {
    std::vector<QStringList> rows;
    for (int i = 0; i < count; ++i) {
        rows.push_back(
            {triangleAt(114.0 + i % 100 * 0.002, 30.0 + i / 100 * 0.002), QStringLiteral("面 %1").arg(i)});
    }
    return rows;
}

QString ImportFixture::geoPackage(const VectorLayer& layer) const {
    const QString path = file(QStringLiteral("areas.gpkg"));
    writeVectorFile(path, "GPKG", {layer});
    return path;
}

std::vector<QVariantMap> ImportFixture::stored(const QString& sql) const {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open_v2(database().toUtf8().constData(), &opened, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection(opened, sqlite3_close);
    sqlite3_stmt* prepared = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(opened, sql.toUtf8().constData(), -1, &prepared, nullptr), SQLITE_OK)
        << sqlite3_errmsg(opened);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(prepared, sqlite3_finalize);
    std::vector<QVariantMap> rows;
    while (prepared && sqlite3_step(prepared) == SQLITE_ROW) {
        rows.push_back(rowOf(*prepared));
    }
    return rows;
}

std::vector<QVariantMap> ImportFixture::table(const QString& name) const {
    return stored(QStringLiteral("select * from %1 order by id").arg(name));
}

QStringList ImportFixture::storedNames(const QString& name) const {
    QStringList names;
    for (const QVariantMap& row : table(name)) {
        names << row["name"].toString();
    }
    return names;
}

int ImportFixture::storedObjects() const {
    return static_cast<int>(table("special_point").size() + table("special_area").size() +
                            table("high_consequence_area").size());
}

QString triangleAt(double lonDegrees, double latDegrees) {
    const auto vertex = [&](double east, double north) {
        return QStringLiteral("%1 %2").arg(lonDegrees + east, 0, 'f', 6).arg(latDegrees + north, 0, 'f', 6);
    };
    return QStringLiteral("POLYGON ((%1,%2,%3,%1))")
        .arg(vertex(0.0, 0.0), vertex(0.001, 0.0), vertex(0.0, 0.001));
}

void expectSuccess(const CorridorRun& run, const QString& summary) {
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, QStringList()) << run.errors.join('\n').toStdString();
    EXPECT_EQ(run.output, summary + '\n') << run.output.toStdString();
}

void expectRefusals(const CorridorRun& run, const QString& summary, const QStringList& parts) {
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, summary + '\n') << run.output.toStdString();
    ASSERT_EQ(run.errors.size(), parts.size()) << run.errors.join('\n').toStdString();
    for (qsizetype i = 0; i < parts.size(); ++i) {
        EXPECT_TRUE(run.errors[i].startsWith("corridor import: ")) << run.errors[i].toStdString();
        EXPECT_TRUE(run.errors[i].contains(parts[i]))
            << run.errors[i].toStdString() << "\nlacks " << parts[i].toStdString();
    }
}
