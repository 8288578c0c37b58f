#include "cloud/CompressedPoints.h"

#include "cloud/PointFormat.h"
#include "detect/GdalErrors.h"

#ifdef CORRIDOR_HAS_LASZIP
#include <laszip/laszip_api.h>
#endif

#include <algorithm>

namespace cloud {

#ifdef CORRIDOR_HAS_LASZIP

namespace {

constexpr std::size_t kPointsAtOnce = 65536;
const char* const kBroken = "LAZ 数据损坏或不完整";

class CompressedPoints : public PointReader {
public:
    CompressedPoints(std::string path, const LasHeader& header) : m_path(std::move(path)), m_header(header) {}
    ~CompressedPoints() override {
        if (m_reader) {
            laszip_close_reader(m_reader);
            laszip_destroy(m_reader);
        }
    }
    CompressedPoints(const CompressedPoints&) = delete;
    CompressedPoints& operator=(const CompressedPoints&) = delete;

    Status open() {
        // Wide formats keep what belongs together in layers of their own; those that nobody asks for stay packed.
        constexpr laszip_U32 kWanted =
            laszip_DECOMPRESS_SELECTIVE_CHANNEL_RETURNS_XY | laszip_DECOMPRESS_SELECTIVE_Z |
            laszip_DECOMPRESS_SELECTIVE_CLASSIFICATION | laszip_DECOMPRESS_SELECTIVE_FLAGS;
        laszip_BOOL isCompressed = 0;
        if (laszip_create(&m_reader) != 0 || laszip_decompress_selective(m_reader, kWanted) != 0 ||
            laszip_open_reader(m_reader, m_path.c_str(), &isCompressed) != 0 ||
            laszip_get_point_pointer(m_reader, &m_point) != 0) {
            return failure();
        }
        return {};
    }

    Status next(std::vector<CloudPoint>& points) override {
        points.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(m_header.points - m_read, kPointsAtOnce)));
        for (CloudPoint& point : points) {
            if (laszip_read_point(m_reader) != 0) {
                return failure();
            }
            point = currentPoint();
        }
        m_read += points.size();
        return {};
    }

private:
    CloudPoint currentPoint() const {
        CloudPoint point = pointAt(m_header, m_point->X, m_point->Y, m_point->Z);
        const bool wide = isWide(m_header);
        point.classification = wide ? m_point->extended_classification : m_point->classification;
        point.isWithheld = wide ? (m_point->extended_classification_flags & kWithheldOfWide) != 0
                                : m_point->withheld_flag != 0;
        return point;
    }

    detect::Unexpected failure() const {
        laszip_CHAR* words = nullptr;
        if (m_reader) {
            laszip_get_error(m_reader, &words);
        }
        return detect::failureOf(m_path, kBroken, words ? words : "");
    }

    std::string m_path;
    LasHeader m_header;
    laszip_POINTER m_reader = nullptr;
    laszip_point* m_point = nullptr;
    std::uint64_t m_read = 0;
};

} // namespace

bool canReadCompressed() {
    return true;
}

Result<std::unique_ptr<PointReader>> openCompressedPoints(const std::string& path, const LasHeader& header) {
    auto points = std::make_unique<CompressedPoints>(path, header);
    if (const auto done = points->open(); !done) {
        return detect::failed(done);
    }
    return points;
}

#else

bool canReadCompressed() {
    return false;
}

Result<std::unique_ptr<PointReader>> openCompressedPoints(const std::string& path, const LasHeader&) {
    return detect::failureOf(
        path, "这个程序编译时没有 LASzip 库（Debian 13 的 liblaszip-dev），不能读取 LAZ，请先转换为 LAS");
}

#endif

} // namespace cloud
