#pragma once

#include "tests/cli/CorridorRun.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"

#include <gtest/gtest.h>

#include <QVariantMap>

/// `corridor import` on a small project of its own. What it stores is read back by SQLite itself, not by the
/// program's classes.
class ImportFixture : public testing::Test {
protected:
    /// A file beside the project.
    QString file(const QString& name) const { return m_project.beside(name); }
    QString folder() const { return m_project.folder(); }
    QString database() const { return m_project.file(QStringLiteral("inspection.db")); }

    CorridorRun importAreas(const QString& path, const QStringList& more = {}) const;
    CorridorRun importConsequenceAreas(const QString& path) const;
    CorridorRun importPoints(const QString& path, const QStringList& more = {}) const;

    /// Layer "layer" of polygons with a name, in longitude and latitude.
    static VectorLayer areas(const std::vector<QStringList>& rows, int epsg = 4326);
    /// Triangles "面 0", "面 1", … side by side.
    static std::vector<QStringList> manyRows(int count);
    /// A GeoPackage of one layer beside the project; gives its path.
    QString geoPackage(const VectorLayer& layer) const;

    /// The rows of a select.
    std::vector<QVariantMap> stored(const QString& sql) const;
    /// The rows of a table by id.
    std::vector<QVariantMap> table(const QString& name) const;
    QStringList storedNames(const QString& table) const;
    /// How many special objects of any type there are.
    int storedObjects() const;

    SmallProject m_project;
};

/// A triangle of 0.001 degrees, with its first corner there.
QString triangleAt(double lonDegrees, double latDegrees);

/// That everything was stored, with this one line on standard output and nothing on standard error.
void expectSuccess(const CorridorRun& run, const QString& summary);

/// That the run ended with status 1, this line on standard output, and these on standard error, of which each
/// line must hold its part.
void expectRefusals(const CorridorRun& run, const QString& summary, const QStringList& parts);
