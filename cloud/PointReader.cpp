#include "cloud/PointReader.h"

#include "cloud/CompressedPoints.h"
#include "cloud/LittleEndian.h"
#include "cloud/OpenFile.h"
#include "cloud/PointFormat.h"
#include "detect/GdalErrors.h"

#include <algorithm>

namespace cloud {

namespace {

constexpr std::size_t kPointsAtOnce = 65536;

/// The points of a LAS file, straight from its records.
class PlainPoints : public PointReader {
public:
    PlainPoints(std::string path, const LasHeader& header, OpenFile file)
        : m_path(std::move(path)), m_header(header), m_file(std::move(file)), m_left(header.points) {}

    Status next(std::vector<CloudPoint>& points) override {
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(m_left, kPointsAtOnce));
        const auto recordBytes = static_cast<std::size_t>(m_header.recordBytes);
        m_bytes.resize(count * recordBytes);
        if (count > 0 && VSIFReadL(m_bytes.data(), recordBytes, count, m_file.get()) != count) {
            return detect::failureOf(m_path, "点云文件不完整，最后 " + std::to_string(m_left) + " 点读不到");
        }
        points.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            points[i] = pointOf(m_header, &m_bytes[i * recordBytes]);
        }
        m_left -= count;
        return {};
    }

private:
    static CloudPoint pointOf(const LasHeader& header, const std::uint8_t* record) {
        constexpr int kClassOfNarrow = 0x1f;
        constexpr int kWithheldOfNarrow = 0x80;
        CloudPoint point =
            pointAt(header, littleEndian<std::int32_t>(record), littleEndian<std::int32_t>(record + 4),
                    littleEndian<std::int32_t>(record + 8));
        const bool wide = isWide(header);
        point.classification = wide ? record[16] : record[15] & kClassOfNarrow;
        point.isWithheld = (record[15] & (wide ? kWithheldOfWide : kWithheldOfNarrow)) != 0;
        return point;
    }

    std::string m_path;
    LasHeader m_header;
    OpenFile m_file;
    std::uint64_t m_left;
    std::vector<std::uint8_t> m_bytes;
};

/// Open at the first point.
Result<OpenFile> openPlain(const std::string& path, const LasHeader& header) {
    const detect::GdalErrors errors;
    OpenFile file = openFile(path, "rb");
    if (!file) {
        return detect::failureOf(path, "无法打开点云文件", errors.first());
    }
    if (VSIFSeekL(file.get(), header.firstPoint, SEEK_SET) != 0) {
        return detect::failureOf(path, "点云文件不完整");
    }
    return file;
}

/// Where a record keeps its GPS time; nothing where its format has none.
std::optional<std::size_t> placeOfTime(const LasHeader& header) {
    if (isWide(header)) {
        return 22;
    }
    const int format = header.pointFormat;
    return format == 0 || format == 2 ? std::nullopt : std::optional<std::size_t>(20);
}

} // namespace

Result<std::unique_ptr<PointReader>> openPoints(const std::string& path, const LasHeader& header) {
    if (header.isCompressed) {
        return openCompressedPoints(path, header);
    }
    auto file = openPlain(path, header);
    if (!file) {
        return detect::failed(file);
    }
    return std::make_unique<PlainPoints>(path, header, *std::move(file));
}

Result<std::optional<double>> firstTime(const std::string& path, const LasHeader& header) {
    const auto place = placeOfTime(header);
    if (!place) {
        return std::nullopt;
    }
    if (header.isCompressed) {
        return firstCompressedTime(path, header);
    }
    const auto file = openPlain(path, header);
    if (!file) {
        return detect::failed(file);
    }
    std::vector<std::uint8_t> record(static_cast<std::size_t>(header.recordBytes));
    if (VSIFReadL(record.data(), record.size(), 1, file->get()) != 1) {
        return detect::failureOf(path, "点云文件不完整");
    }
    return littleEndian<double>(&record[*place]);
}

} // namespace cloud
