#pragma once

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <vector>

/// A change that the small project holds: a box of cells raised or lowered by the same height.
struct KnownChange {
    int column = 0;
    int row = 0;
    int columns = 0;
    int rows = 0;
    double dzMetres = 0.0;

    double areaSquareMetres() const;
    double volumeCubicMetres() const;
    double xCentre() const;
    double yCentre() const;
};

/// A project of two stations side by side, 400 x 160 cells of 0.5 m on gentle relief, in a folder of its own:
/// CGCS2000 / 3-degree Gauss-Krueger CM 114E. The line between the stations is at x = 500100.
class SmallProject {
public:
    static constexpr int kColumns = 400;
    static constexpr int kRows = 160;
    static constexpr double kCellMetres = 0.5;
    static constexpr double kLeft = 500000.0;
    static constexpr double kTop = 3400080.0;
    static constexpr double kMiddle = 500100.0;

    SmallProject();

    QString folder() const { return m_folder.filePath(QStringLiteral("工程")); }
    QString file(const QString& name) const { return folder() + '/' + name; }
    /// A path beside the project.
    QString beside(const QString& name) const { return m_folder.filePath(name); }

    /// A fill in station 1, a cut in station 2, and a fill over the line whose centre lies in station 2.
    static const std::vector<KnownChange>& changes();

    /// Writes a raster of these heights (column, row) with the project's grid.
    static void writeHeights(const QString& file, const std::function<double(int, int)>& metres,
                             int epsg = 4547);
    static double oldHeight(int column, int row);
    static double newHeight(int column, int row);
    /// Other ground than the project's: a ridge of 40 m from north to south that falls to both edges.
    static double ridgeHeight(int column, int row);

private:
    QTemporaryDir m_folder;
};
