#include "detect/heights/HeightBand.h"

#include "detect/GdalErrors.h"

#include <gdal_priv.h>

namespace detect {

Status HeightBand::read(const CellWindow& window, float* heights, std::size_t stride) {
    GdalErrors errors;
    const auto lineSpace = static_cast<GSpacing>(stride) * GSpacing{sizeof(float)};
    const CPLErr status =
        m_band->RasterIO(GF_Read, window.column, window.row, window.columns, window.rows, heights,
                         window.columns, window.rows, GDT_Float32, sizeof(float), lineSpace, nullptr);
    if (status != CE_None || errors.any()) {
        return failureOf(m_file, "读取失败，文件可能被截断或损坏", errors.first());
    }
    for (int row = 0; row < window.rows; ++row) {
        m_coding.toMetres(heights + static_cast<std::size_t>(row) * stride, window.columns);
    }
    return m_maskBand ? hideMasked(window, heights, stride) : Status();
}

Status HeightBand::hideMasked(const CellWindow& window, float* heights, std::size_t stride) {
    GdalErrors errors;
    m_mask.resize(static_cast<std::size_t>(window.cells()));
    const CPLErr status =
        m_maskBand->RasterIO(GF_Read, window.column, window.row, window.columns, window.rows, m_mask.data(),
                             window.columns, window.rows, GDT_Byte, 0, 0, nullptr);
    if (status != CE_None || errors.any()) {
        return failureOf(m_file, "读取掩膜失败", errors.first());
    }
    const std::uint8_t* mask = m_mask.data();
    for (int row = 0; row < window.rows; ++row) {
        float* line = heights + static_cast<std::size_t>(row) * stride;
        for (int column = 0; column < window.columns; ++column, ++mask) {
            line[column] = *mask != 0 ? line[column] : kNoHeight;
        }
    }
    return {};
}

} // namespace detect
