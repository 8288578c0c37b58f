#include "cloud/CloudReference.h"

#include "detect/GdalErrors.h"

#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <cmath>
#include <map>

namespace cloud {

namespace {

/// A TIFF file of one cell that has nothing but the GeoTIFF tags, so that GDAL reads the keys, all of them, as
/// it reads those of rasters. Laid out by hand (TIFF 6.0, Adobe 1992), as no writer takes keys as they are.
class KeysAsTiff {
public:
    explicit KeysAsTiff(const LasHeader& header) {
        addShort(256, 1); // one column
        addShort(257, 1); // one row
        addShort(258, 8); // bits
        addShort(259, 1); // not compressed
        addShort(262, 1); // black is zero
        addLong(273, 0);  // the cell is the file's first byte, whatever that says
        addShort(277, 1); // one band
        addLong(279, 1);  // of one byte
        addValues(34735, kShort, header.geoKeys.size(), header.geoKeys.data(), sizeof(std::uint16_t));
        addValues(34736, kDouble, header.geoDoubles.size(), header.geoDoubles.data(), sizeof(double));
        if (!header.geoTexts.empty()) {
            addValues(34737, kAscii, header.geoTexts.size() + 1, header.geoTexts.c_str(), 1);
        }
    }

    std::vector<std::uint8_t> bytes() const {
        constexpr std::uint32_t kDirectory = 8;
        constexpr std::uint32_t kEntryBytes = 12;
        std::vector<std::uint8_t> file;
        const auto entries = static_cast<std::uint16_t>(m_entries.size());
        const std::uint32_t values = kDirectory + 2 + entries * kEntryBytes + 4;
        put<std::uint16_t>(file, isLittleEndian() ? 0x4949 : 0x4d4d);
        put<std::uint16_t>(file, 42);
        put(file, kDirectory);
        put(file, entries);
        for (const Entry& entry : m_entries) {
            put(file, entry.tag);
            put(file, entry.type);
            put(file, entry.count);
            put(file, entry.isOutside ? entry.value + values : entry.value);
        }
        put<std::uint32_t>(file, 0); // no further directory
        file.insert(file.end(), m_values.begin(), m_values.end());
        return file;
    }

private:
    static constexpr std::uint16_t kAscii = 2;
    static constexpr std::uint16_t kShort = 3;
    static constexpr std::uint16_t kLong = 4;
    static constexpr std::uint16_t kDouble = 12;

    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint32_t count = 0;
        std::uint32_t value = 0;
        bool isOutside = false; ///< `value` counts from the first value behind the directory
    };

    static bool isLittleEndian() {
        const std::uint16_t one = 1;
        return *reinterpret_cast<const std::uint8_t*>(&one) == 1;
    }

    template<typename Number>
    static void put(std::vector<std::uint8_t>& file, Number number) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&number);
        file.insert(file.end(), bytes, bytes + sizeof number);
    }

    void addLong(std::uint16_t tag, std::uint32_t value) {
        m_entries.push_back({tag, kLong, 1, value, false});
    }

    void addShort(std::uint16_t tag, std::uint16_t value) {
        // A short stands in the first two bytes of its place, whatever the order of the bytes.
        const std::uint32_t place = isLittleEndian() ? value : std::uint32_t{value} << 16;
        m_entries.push_back({tag, kShort, 1, place, false});
    }

    void addValues(std::uint16_t tag, std::uint16_t type, std::size_t count, const void* values,
                   std::size_t valueBytes) {
        if (count == 0) {
            return;
        }
        m_entries.push_back({tag, type, static_cast<std::uint32_t>(count),
                             static_cast<std::uint32_t>(m_values.size()), true});
        const auto* bytes = static_cast<const std::uint8_t*>(values);
        m_values.insert(m_values.end(), bytes, bytes + count * valueBytes);
        m_values.resize((m_values.size() + 7) / 8 * 8);
    }

    std::vector<Entry> m_entries;
    std::vector<std::uint8_t> m_values;
};

/// A file in memory that goes with the object.
class MemoryFile {
public:
    explicit MemoryFile(std::vector<std::uint8_t> bytes)
        : m_bytes(std::move(bytes)),
          m_name("/vsimem/cloud-keys-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))) {
        VSIFCloseL(VSIFileFromMemBuffer(m_name.c_str(), m_bytes.data(), m_bytes.size(), FALSE));
    }
    ~MemoryFile() { VSIUnlink(m_name.c_str()); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    const std::string& name() const { return m_name; }

private:
    std::vector<std::uint8_t> m_bytes;
    std::string m_name;
};

std::optional<OGRSpatialReference> usable(OGRSpatialReference reference) {
    if (reference.IsProjected() == 0 && reference.IsGeographic() == 0) {
        return std::nullopt;
    }
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

std::optional<OGRSpatialReference> fromText(const std::string& wkt) {
    OGRSpatialReference reference;
    if (wkt.empty() || reference.importFromWkt(wkt.c_str()) != OGRERR_NONE) {
        return std::nullopt;
    }
    return usable(std::move(reference));
}

std::optional<OGRSpatialReference> fromKeys(const LasHeader& header) {
    if (header.geoKeys.size() < 4) {
        return std::nullopt;
    }
    const MemoryFile file(KeysAsTiff(header).bytes());
    // Otherwise GDAL leaves the vertical system of older keys out, and with it the unit of heights.
    const CPLConfigOptionSetter withHeights("GTIFF_REPORT_COMPD_CS", "YES", false);
    const char* const drivers[] = {"GTiff", nullptr};
    const GDALDatasetUniquePtr raster(
        GDALDataset::Open(file.name().c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers));
    const OGRSpatialReference* reference = raster ? raster->GetSpatialRef() : nullptr;
    return reference ? usable(*reference) : std::nullopt;
}

std::string unitName(double metres) {
    constexpr double kSame = 1e-9;
    if (std::abs(metres - 0.3048) < kSame) {
        return "ft";
    }
    return std::abs(metres - 1200.0 / 3937.0) < kSame ? "US survey foot" : "m";
}

/// Metres of the unit that the keys name for heights; nothing where they name none that is known.
std::optional<double> verticalUnitKey(const LasHeader& header) {
    constexpr std::uint16_t kVerticalUnits = 4099;
    const std::map<std::uint16_t, double> metres{{9001, 1.0}, {9002, 0.3048}, {9003, 1200.0 / 3937.0}};
    for (std::size_t key = 4; key + 3 < header.geoKeys.size(); key += 4) {
        if (header.geoKeys[key] == kVerticalUnits) {
            const auto unit = metres.find(header.geoKeys[key + 3]);
            return unit == metres.end() ? std::nullopt : std::make_optional(unit->second);
        }
    }
    return std::nullopt;
}

} // namespace

std::string heightUnitOf(const LasHeader& header, const OGRSpatialReference& reference) {
    if (reference.IsVertical() != 0) {
        return unitName(reference.GetTargetLinearUnits("VERT_CS"));
    }
    if (const auto metres = verticalUnitKey(header)) {
        return unitName(*metres);
    }
    return unitName(reference.IsProjected() != 0 ? reference.GetLinearUnits() : 1.0);
}

std::optional<OGRSpatialReference> referenceOf(const LasHeader& header) {
    const detect::GdalErrors quiet;
    if (auto reference = fromText(header.wkt)) {
        return reference;
    }
    return fromKeys(header);
}

} // namespace cloud
