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

    /// Wide formats keep what belongs together in layers of their own; those that are not wanted stay packed.
    Status open(laszip_U32 wanted) {
        laszip_BOOL isCompressed = 0;
        if (laszip_create(&m_reader) != 0 || laszip_decompress_selective(m_reader, wanted) != 0 ||
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

    Result<double> firstTime() {
        if (laszip_read_point(m_reader) != 0) {
            return failure();
        }
        return m_point->gps_time;
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
    constexpr laszip_U32 kWanted =
        laszip_DECOMPRESS_SELECTIVE_CHANNEL_RETURNS_XY | laszip_DECOMPRESS_SELECTIVE_Z |
        laszip_DECOMPRESS_SELECTIVE_CLASSIFICATION | laszip_DECOMPRESS_SELECTIVE_FLAGS;
    auto points = std::make_unique<CompressedPoints>(path, header);
    if (const auto done = points->open(kWanted); !done) {
        return detect::failed(done);
    }
    return points;
}

Result<double> firstCompressedTime(const std::string& path, const LasHeader& header) {
    CompressedPoints points(path, header);
    if (const auto done = points.open(laszip_DECOMPRESS_SELECTIVE_GPS_TIME); !done) {
        return detect::failed(done);
    }
    return points.firstTime();
}

#else

bool canReadCompressed() {
    return false;
}

namespace {

detect::Unexpected cannotRead(const std::string& path) {
    return detect::failureOf(path,
                             "读取 LAZ 需要 LASzip，而这个程序编译时没有它：请安装 liblaszip-dev 后重新编译"
                             "（见 README），或先转换为 LAS");
}

} // namespace

Result<std::unique_ptr<PointReader>> openCompressedPoints(const std::string& path, const LasHeader&) {
    return cannotRead(path);
}

Result<double> firstCompressedTime(const std::string& path, const LasHeader&) {
    return cannotRead(path);
}

#endif

} // namespace cloud
