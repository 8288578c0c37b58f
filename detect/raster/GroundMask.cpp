#include "detect/raster/GroundMask.h"

#include "detect/GdalErrors.h"
#include "detect/raster/HeightRange.h"
#include "detect/raster/Resampler.h"

#include <gdal_alg.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// The marked cells of a raster as areas, in a layer of their own.
GDALDatasetUniquePtr areasOf(GDALDataset& raster) {
    GDALDatasetUniquePtr memory(
        GetGDALDriverManager()->GetDriverByName("Memory")->Create("", 0, 0, 0, GDT_Unknown, nullptr));
    OGRSpatialReference srs;
    if (const OGRSpatialReference* own = raster.GetSpatialRef()) {
        srs = *own;
    }
    OGRLayer* layer = memory->CreateLayer("areas", srs.IsEmpty() ? nullptr : &srs, wkbPolygon, nullptr);
    OGRFieldDefn field("value", OFTInteger);
    GDALRasterBand* band = raster.GetRasterBand(1);
    const bool made =
        layer && layer->CreateField(&field) == OGRERR_NONE &&
        GDALPolygonize(band, band->GetMaskBand(), layer, 0, nullptr, nullptr, nullptr) == CE_None;
    return made ? std::move(memory) : GDALDatasetUniquePtr();
}

} // namespace

Result<std::shared_ptr<const GroundMask>> GroundMask::open(const std::string& path, const Grid& grid) {
    auto mask = std::make_shared<GroundMask>();
    if (auto done = mask->read(path, grid); !done) {
        return failed(done);
    }
    return std::shared_ptr<const GroundMask>(std::move(mask));
}

Status GroundMask::read(const std::string& path, const Grid& grid) {
    GDALAllRegister();
    const GdalErrors errors;
    GDALDatasetUniquePtr file(
        GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR));
    const bool isRaster = file && file->GetRasterCount() > 0;
    const GDALDatasetUniquePtr areas = isRaster ? areasOf(*file) : std::move(file);
    if (!areas || areas->GetLayerCount() == 0) {
        return failureOf(path, "掩膜无法读取，需要矢量或栅格文件", errors.first());
    }
    const Affine mapToCell = grid.cellToMap().inverse();
    for (OGRLayer* layer : areas->GetLayers()) {
        std::unique_ptr<OGRCoordinateTransformation> toGrid;
        if (const OGRSpatialReference* srs = layer->GetSpatialRef();
            srs && !sameReferenceSystem(*srs, grid.srs())) {
            OGRSpatialReference from(*srs);
            from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
            toGrid.reset(OGRCreateCoordinateTransformation(&from, &grid.srs()));
            if (!toGrid) {
                return failureOf(path, "掩膜的坐标参考系统无法转换到旧期栅格", errors.first());
            }
        }
        for (const auto& feature : *layer) {
            // Of a raster no-data makes no area, and zeros one that marks nothing.
            const bool unmarked = isRaster && feature->GetFieldAsInteger(0) == 0;
            if (const OGRGeometry* geometry = feature->GetGeometryRef(); geometry && !unmarked) {
                add(*geometry, toGrid.get(), mapToCell);
            }
        }
    }
    return {};
}

void GroundMask::add(const OGRGeometry& geometry, OGRCoordinateTransformation* toGrid,
                     const Affine& mapToCell) {
    class ToCells : public OGRDefaultGeometryVisitor {
    public:
        explicit ToCells(const Affine& toCell) : m_toCell(toCell) {}
        void visit(OGRPoint* point) override {
            const Point cell = m_toCell(point->getX(), point->getY());
            point->setX(cell.x);
            point->setY(cell.y);
        }
        using OGRDefaultGeometryVisitor::visit;

    private:
        const Affine& m_toCell;
    };
    Feature feature;
    feature.inCells.reset(geometry.clone());
    if (toGrid && feature.inCells->transform(toGrid) != OGRERR_NONE) {
        return; // lies where the old raster's system knows no places
    }
    ToCells toCells(mapToCell);
    feature.inCells->accept(&toCells);
    feature.inCells->getEnvelope(&feature.extent);
    m_features.push_back(std::move(feature));
}

void GroundMask::hide(const CellWindow& window, float* heights) const {
    std::vector<OGRGeometryH> near;
    for (const Feature& feature : m_features) {
        const OGREnvelope& extent = feature.extent;
        if (extent.MinX < window.column + window.columns && extent.MaxX > window.column &&
            extent.MinY < window.row + window.rows && extent.MaxY > window.row) {
            near.push_back(OGRGeometry::ToHandle(feature.inCells.get()));
        }
    }
    if (near.empty()) {
        return;
    }
    const GDALDatasetUniquePtr marks(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
        "", window.columns, window.rows, 1, GDT_Byte, nullptr));
    double toCells[] = {double(window.column), 1.0, 0.0, double(window.row), 0.0, 1.0};
    marks->SetGeoTransform(toCells);
    int band = 1;
    const std::vector<double> burn(near.size(), 1.0);
    GDALRasterizeGeometries(GDALDataset::ToHandle(marks.get()), 1, &band, static_cast<int>(near.size()),
                            near.data(), nullptr, nullptr, burn.data(), nullptr, nullptr, nullptr);
    std::vector<std::uint8_t> line(static_cast<std::size_t>(window.columns));
    for (int row = 0; row < window.rows; ++row) {
        if (marks->GetRasterBand(1)->RasterIO(GF_Read, 0, row, window.columns, 1, line.data(), window.columns,
                                              1, GDT_Byte, 0, 0, nullptr) != CE_None) {
            return;
        }
        float* to = heights + std::int64_t{row} * window.columns;
        for (std::size_t i = 0; i < line.size(); ++i) {
            to[i] = line[i] != 0 ? kNoHeight : to[i];
        }
    }
}

} // namespace detect
