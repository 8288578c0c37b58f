#include "samples/VectorFiles.h"

#include "samples/Noise.h"

#include <cpl_conv.h>
#include <gdal_alg.h>
#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <cstdio>

namespace samples {

namespace {
constexpr int kStationCount = 8;
constexpr float kOutlineDzMetres = 0.25F;

/// One GeoPackage that is being written. Every call after a failure does nothing.
class GeoPackage {
public:
    explicit GeoPackage(std::string path);
    ~GeoPackage();
    GeoPackage(const GeoPackage&) = delete;
    GeoPackage& operator=(const GeoPackage&) = delete;

    struct FieldType {
        const char* name;
        OGRFieldType type;
    };
    void beginLayer(const char* name, OGRwkbGeometryType geometry, const std::vector<FieldType>& fields);
    /// Adds a feature to the layer, with the values of its fields in their order.
    template<class... Values>
    void add(const OGRGeometry& geometry, Values... values) {
        if (!m_layer) {
            return;
        }
        OGRFeature feature(m_layer->GetLayerDefn());
        feature.SetGeometry(&geometry);
        int field = 0;
        (feature.SetField(field++, values), ...);
        m_good = m_layer->CreateFeature(&feature) == OGRERR_NONE && m_good;
    }
    std::optional<std::string> close();

private:
    std::string m_path;
    GDALDataset* m_dataset = nullptr;
    OGRLayer* m_layer = nullptr;
    bool m_good = true;
};

GeoPackage::GeoPackage(std::string path) : m_path(std::move(path)) {
    CPLErrorReset();
    // The file must not depend on the day it was made.
    CPLSetThreadLocalConfigOption("OGR_CURRENT_DATE", "2025-05-20T00:00:00.000Z");
    if (GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG")) {
        m_dataset = driver->Create(m_path.c_str(), 0, 0, 0, GDT_Unknown, nullptr);
    }
    m_good = m_dataset != nullptr;
}

GeoPackage::~GeoPackage() {
    if (m_dataset) {
        GDALClose(m_dataset);
    }
    CPLSetThreadLocalConfigOption("OGR_CURRENT_DATE", nullptr);
}

void GeoPackage::beginLayer(const char* name, OGRwkbGeometryType geometry,
                            const std::vector<FieldType>& fields) {
    if (!m_good) {
        return;
    }
    OGRSpatialReference crs;
    crs.SetFromUserInput(Extent::kCrs);
    crs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    m_layer = m_dataset->CreateLayer(name, &crs, geometry, nullptr);
    m_good = m_layer != nullptr;
    for (const FieldType& field : fields) {
        OGRFieldDefn definition(field.name, field.type);
        m_good = m_good && m_layer->CreateField(&definition) == OGRERR_NONE;
    }
}

std::optional<std::string> GeoPackage::close() {
    if (m_dataset) {
        GDALClose(m_dataset);
    }
    m_dataset = nullptr;
    m_layer = nullptr;
    if (m_good && CPLGetLastErrorType() < CE_Failure) {
        return std::nullopt;
    }
    return m_path + "：无法写入：" + CPLGetLastErrorMsg();
}

double easting(double x) {
    return Extent::kWestEasting + x;
}
double northing(double y) {
    return Extent::kSouthNorthing + y;
}

OGRPolygon polygonOf(const std::vector<Point>& corners) {
    OGRLinearRing ring;
    for (const Point& corner : corners) {
        ring.addPoint(easting(corner.x), northing(corner.y));
    }
    ring.closeRings();
    OGRPolygon polygon;
    polygon.addRing(&ring);
    return polygon;
}

OGRPolygon rectangleIn(const TurnedFrame& frame, double uMin, double vMin, double uMax, double vMax) {
    return polygonOf({frame.toSite(uMin, vMin), frame.toSite(uMax, vMin), frame.toSite(uMax, vMax),
                      frame.toSite(uMin, vMax)});
}

/// "K1+256" for 1256 m.
std::string chainage(double metres) {
    const long whole = std::lround(metres);
    char text[32];
    std::snprintf(text, sizeof text, "K%ld+%03ld", whole / 1000, whole % 1000);
    return text;
}

/// Where the pipe comes nearest to other lines.
Point crossingPoint(const Curve& pipe, const LineField& other) {
    Point nearest = pipe.points.front();
    for (const double along : stepsFrom(0.0, pipe.length(), 1.0)) {
        const Point place = pipe.at(along);
        if (other.distance(place.x, place.y) < other.distance(nearest.x, nearest.y)) {
            nearest = place;
        }
    }
    return nearest;
}

OGRPoint groundPoint(const Scene& scene, Point place) {
    return {easting(place.x), northing(place.y),
            static_cast<double>(scene.ground.heightMetres(place.x, place.y))};
}

void addCentreLine(GeoPackage& file, const Scene& scene) {
    const Curve& pipe = scene.site.pipeline;
    file.beginLayer("centerline", wkbLineString25D, {{"name", OFTString}});
    OGRLineString line;
    constexpr double kSpacingMetres = 10.0;
    std::size_t bend = 0;
    for (const double along : stepsFrom(0.0, pipe.length(), kSpacingMetres)) {
        for (; bend < pipe.along.size() && pipe.along[bend] <= along; ++bend) {
            if (pipe.along[bend] > along - kSpacingMetres && pipe.along[bend] < along) {
                const OGRPoint corner = groundPoint(scene, pipe.points[bend]);
                line.addPoint(&corner);
            }
        }
        const OGRPoint point = groundPoint(scene, pipe.at(along));
        line.addPoint(&point);
    }
    const OGRPoint end = groundPoint(scene, pipe.points.back());
    line.addPoint(&end);
    file.add(line, "示例管道");
}

void addNodes(GeoPackage& file, const Scene& scene) {
    const Curve& pipe = scene.site.pipeline;
    file.beginLayer("nodes", wkbPoint25D,
                    {{"name", OFTString}, {"km", OFTReal}, {"x", OFTReal}, {"y", OFTReal}, {"z", OFTReal}});
    const auto addNode = [&](double along) {
        const OGRPoint point = groundPoint(scene, pipe.at(along));
        file.add(point, chainage(along).c_str(), along / 1000.0, point.getX(), point.getY(), point.getZ());
    };
    for (const double along : stepsFrom(0.0, pipe.length() - 10.0, 100.0)) {
        addNode(along);
    }
    addNode(pipe.length());
}

void addStations(GeoPackage& file, const Scene& scene) {
    file.beginLayer("stations", wkbPolygon,
                    {{"id", OFTInteger}, {"name", OFTString}, {"start_m", OFTReal}, {"end_m", OFTReal}});
    const Curve& pipe = scene.site.pipeline;
    constexpr double kWidth = Extent::kWidthMetres / kStationCount;
    for (int i = 0; i < kStationCount; ++i) {
        const double west = i * kWidth;
        const double start = i == 0 ? 0.0 : pipe.alongAtX(west);
        const double end = i + 1 == kStationCount ? pipe.length() : pipe.alongAtX(west + kWidth);
        const OGRPolygon box = polygonOf({{west, 0},
                                          {west + kWidth, 0},
                                          {west + kWidth, Extent::kHeightMetres},
                                          {west, Extent::kHeightMetres}});
        file.add(box, i + 1, (chainage(start) + "—" + chainage(end)).c_str(), start, end);
    }
}

struct TruthFigures {
    Grid<std::uint8_t> mask; ///< 1 inside the outline
    int cells = 0;
    double sumDz = 0.0;
};

/// The largest edge-connected group of cells with |dZ| at or above the limit.
TruthFigures largestGroup(const Grid<float>& dz) {
    Grid<std::uint8_t> seen(dz.columns(), dz.rows());
    std::vector<std::pair<int, int>> largest;
    for (int r = 0; r < dz.rows(); ++r) {
        for (int c = 0; c < dz.columns(); ++c) {
            std::vector<std::pair<int, int>> group;
            const auto visit = [&](int column, int row) {
                if (column < 0 || row < 0 || column >= dz.columns() || row >= dz.rows() ||
                    seen.at(column, row) != 0 || std::fabs(dz.at(column, row)) < kOutlineDzMetres) {
                    return;
                }
                seen.at(column, row) = 1;
                group.emplace_back(column, row);
            };
            visit(c, r);
            for (std::size_t i = 0; i < group.size(); ++i) {
                const auto [column, row] = group[i];
                visit(column + 1, row);
                visit(column - 1, row);
                visit(column, row + 1);
                visit(column, row - 1);
            }
            if (group.size() > largest.size()) {
                largest = std::move(group);
            }
        }
    }
    TruthFigures figures{Grid<std::uint8_t>(dz.columns(), dz.rows()), static_cast<int>(largest.size()), 0.0};
    for (const auto& [column, row] : largest) {
        figures.mask.at(column, row) = 1;
        figures.sumDz += static_cast<double>(dz.at(column, row));
    }
    return figures;
}

/// The outline of the mask along the cell edges.
std::unique_ptr<OGRGeometry> outlineOf(const ChangeWindow& window, const RasterFrame& frame,
                                       Grid<std::uint8_t>& mask) {
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    GDALDriver* features = GetGDALDriverManager()->GetDriverByName("Memory");
    if (!memory || !features) {
        return nullptr;
    }
    const std::unique_ptr<GDALDataset> raster(
        memory->Create("", mask.columns(), mask.rows(), 1, GDT_Byte, nullptr));
    const std::unique_ptr<GDALDataset> vectors(features->Create("", 0, 0, 0, GDT_Unknown, nullptr));
    double transform[6] = {easting(window.firstColumn * frame.cellMetres),
                           frame.cellMetres,
                           0.0,
                           northing(Extent::kHeightMetres - window.firstRow * frame.cellMetres),
                           0.0,
                           -frame.cellMetres};
    raster->SetGeoTransform(transform);
    GDALRasterBand* band = raster->GetRasterBand(1);
    if (band->RasterIO(GF_Write, 0, 0, mask.columns(), mask.rows(), mask.row(0), mask.columns(), mask.rows(),
                       GDT_Byte, 0, 0, nullptr) != CE_None) {
        return nullptr;
    }
    OGRLayer* layer = vectors->CreateLayer("outline", nullptr, wkbPolygon, nullptr);
    if (!layer || GDALPolygonize(band, band, layer, -1, nullptr, nullptr, nullptr) != CE_None) {
        return nullptr;
    }
    const std::unique_ptr<OGRFeature> feature(layer->GetNextFeature());
    return feature ? std::unique_ptr<OGRGeometry>(feature->StealGeometry()) : nullptr;
}
} // namespace

std::optional<std::string> writeCentreLine(const std::string& path, const Scene& scene) {
    GeoPackage file(path);
    addCentreLine(file, scene);
    addNodes(file, scene);
    addStations(file, scene);
    return file.close();
}

std::optional<std::string> writeSpecialAreas(const std::string& path, const Scene& scene) {
    const Site& site = scene.site;
    GeoPackage file(path);
    file.beginLayer("high_consequence", wkbPolygon,
                    {{"name", OFTString}, {"level", OFTInteger}, {"attribute", OFTString}});
    const auto crossing = [&](const LineField& other) {
        const Point middle = crossingPoint(site.pipeline, other);
        return rectangleIn(TurnedFrame::at(middle, 0.0), -40.0, -40.0, 40.0, 40.0);
    };
    const Village& village = site.village;
    const BuildingGround& school = site.school();
    file.add(rectangleIn(village.frame, -12, -12, village.widthMetres + 12, village.depthMetres + 12),
             "柳河村", 2, "村庄");
    file.add(rectangleIn(school.frame, -8, -8, school.widthMetres + 8, school.depthMetres + 8), "柳河小学", 3,
             "学校");
    file.add(crossing(site.riverField), "柳河穿越段", 2, "河流");
    file.add(crossing(site.roadField), "县道穿越段", 1, "公路");
    return file.close();
}

std::optional<std::string> writeTruth(const std::string& path, const Scene& scene, const RasterFrame& frame,
                                      const std::vector<ChangeWindow>& windows) {
    GeoPackage file(path);
    file.beginLayer("changes", wkbPolygon,
                    {{"name", OFTString},
                     {"kind", OFTString},
                     {"class", OFTString},
                     {"volume_m3", OFTReal},
                     {"dz_m", OFTReal},
                     {"area_m2", OFTReal}});
    const double cellArea = frame.cellMetres * frame.cellMetres;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        TruthFigures figures = largestGroup(windows[i].dz);
        const auto outline = outlineOf(windows[i], frame, figures.mask);
        if (figures.cells == 0 || !outline) {
            return path + "：变化 " + scene.changes[i].name + " 没有轮廓";
        }
        const Change& change = scene.changes[i];
        file.add(*outline, change.name.c_str(), change.isFill() ? "fill" : "cut", change.className(),
                 std::fabs(figures.sumDz) * cellArea, figures.sumDz / figures.cells,
                 figures.cells * cellArea);
    }
    return file.close();
}

} // namespace samples
