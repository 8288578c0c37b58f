#include "cloud/LasHeader.h"

#include "cloud/LittleEndian.h"
#include "cloud/OpenFile.h"
#include "detect/GdalErrors.h"

#include <algorithm>

namespace cloud {

namespace {

constexpr std::size_t kOldHeadBytes = 227; ///< versions 1.0 to 1.2
constexpr std::size_t kHeadBytes14 = 375;
constexpr std::size_t kRecordHeadBytes = 54;
constexpr std::size_t kExtendedRecordHeadBytes = 60;
constexpr std::uint32_t kMostRecords = 10000;       ///< of one file; more is damage
constexpr std::uint64_t kMostTextBytes = 16u << 20; ///< of a reference system; more is damage
constexpr int kCompressedMark = 0x80;
constexpr int kCalendarTimeMark = 1;
constexpr int kFormatBits = 0x3f;
constexpr std::array<int, 11> kRecordBytes{20, 28, 26, 34, 57, 63, 30, 36, 38, 59, 67};

constexpr std::uint16_t kWktRecord = 2112;
constexpr std::uint16_t kGeoKeyRecord = 34735;
constexpr std::uint16_t kGeoDoubleRecord = 34736;
constexpr std::uint16_t kGeoTextRecord = 34737;

using Bytes = std::vector<std::uint8_t>;

/// Fewer than asked for at the file's end.
Bytes readAt(VSILFILE* file, std::uint64_t offset, std::size_t count) {
    Bytes bytes(count);
    if (VSIFSeekL(file, offset, SEEK_SET) != 0) {
        return {};
    }
    bytes.resize(VSIFReadL(bytes.data(), 1, count, file));
    return bytes;
}

/// Where one of the file's records of free content lies.
struct Record {
    std::string owner;
    std::uint16_t id = 0;
    std::uint64_t content = 0; ///< offset, bytes
    std::uint64_t bytes = 0;
};

std::string textOf(const std::uint8_t* bytes, std::size_t most) {
    return {bytes, std::find(bytes, bytes + most, 0)};
}

/// The records that begin at `offset`, one after the other; those that are there where the file ends early.
std::vector<Record> recordsAt(VSILFILE* file, std::uint64_t offset, std::uint32_t count, bool isExtended) {
    const std::size_t headBytes = isExtended ? kExtendedRecordHeadBytes : kRecordHeadBytes;
    std::vector<Record> records;
    for (std::uint32_t i = 0; i < std::min(count, kMostRecords); ++i) {
        const Bytes head = readAt(file, offset, headBytes);
        if (head.size() < headBytes) {
            break;
        }
        Record record;
        record.owner = textOf(&head[2], 16);
        record.id = littleEndian<std::uint16_t>(&head[18]);
        record.bytes =
            isExtended ? littleEndian<std::uint64_t>(&head[20]) : littleEndian<std::uint16_t>(&head[20]);
        record.content = offset + headBytes;
        offset = record.content + record.bytes;
        records.push_back(record);
    }
    return records;
}

template<typename Number>
std::vector<Number> numbersOf(const Bytes& bytes) {
    std::vector<Number> numbers(bytes.size() / sizeof(Number));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = littleEndian<Number>(&bytes[i * sizeof(Number)]);
    }
    return numbers;
}

void takeReference(VSILFILE* file, const Record& record, LasHeader& header) {
    if (record.owner != "LASF_Projection" || record.bytes == 0 || record.bytes > kMostTextBytes) {
        return;
    }
    const Bytes content = readAt(file, record.content, static_cast<std::size_t>(record.bytes));
    switch (record.id) {
    case kWktRecord:
        header.wkt = textOf(content.data(), content.size());
        break;
    case kGeoKeyRecord:
        header.geoKeys = numbersOf<std::uint16_t>(content);
        break;
    case kGeoDoubleRecord:
        header.geoDoubles = numbersOf<double>(content);
        break;
    case kGeoTextRecord:
        header.geoTexts = textOf(content.data(), content.size());
        break;
    default:
        break;
    }
}

void takeReferences(VSILFILE* file, const Bytes& head, LasHeader& header) {
    const auto headBytes = littleEndian<std::uint16_t>(&head[94]);
    std::vector<Record> records = recordsAt(file, headBytes, littleEndian<std::uint32_t>(&head[100]), false);
    if (head.size() >= kHeadBytes14 && header.version[1] >= 4) {
        const auto extended = recordsAt(file, littleEndian<std::uint64_t>(&head[235]),
                                        littleEndian<std::uint32_t>(&head[243]), true);
        records.insert(records.end(), extended.begin(), extended.end());
    }
    for (const Record& record : records) {
        takeReference(file, record, header);
    }
}

void takeNumbers(const Bytes& head, LasHeader& header) {
    header.version = {head[24], head[25]};
    header.hasCalendarTime = (littleEndian<std::uint16_t>(&head[6]) & kCalendarTimeMark) != 0;
    header.creationDay = littleEndian<std::uint16_t>(&head[90]);
    header.creationYear = littleEndian<std::uint16_t>(&head[92]);
    header.firstPoint = littleEndian<std::uint32_t>(&head[96]);
    header.isCompressed = (head[104] & kCompressedMark) != 0;
    header.pointFormat = head[104] & kFormatBits;
    header.recordBytes = littleEndian<std::uint16_t>(&head[105]);
    header.points = littleEndian<std::uint32_t>(&head[107]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.scale[axis] = littleEndian<double>(&head[131 + 8 * axis]);
        header.offset[axis] = littleEndian<double>(&head[155 + 8 * axis]);
        header.most[axis] = littleEndian<double>(&head[179 + 16 * axis]);
        header.least[axis] = littleEndian<double>(&head[187 + 16 * axis]);
    }
    if (header.version[1] >= 4 && head.size() >= kHeadBytes14) {
        header.points = littleEndian<std::uint64_t>(&head[247]);
    }
}

/// Empty when the points can be read.
std::string problemOf(const LasHeader& header) {
    const auto format = static_cast<std::size_t>(header.pointFormat);
    if (header.version[0] != 1 || header.version[1] > 4) {
        return "不支持的 LAS 版本 " + std::to_string(header.version[0]) + "." +
               std::to_string(header.version[1]);
    }
    if (format >= kRecordBytes.size()) {
        return "不支持的点格式 " + std::to_string(header.pointFormat);
    }
    if (header.recordBytes < kRecordBytes[format]) {
        return "点记录长度 " + std::to_string(header.recordBytes) + " 小于其格式所需";
    }
    return {};
}

/// Empty when all points that the head claims lie in the file. What compressed ones take is known when they are read.
std::string whatIsMissing(VSILFILE* file, const LasHeader& header) {
    if (header.isCompressed || VSIFSeekL(file, 0, SEEK_END) != 0) {
        return {};
    }
    const std::uint64_t bytes = VSIFTellL(file);
    const std::uint64_t room = bytes > header.firstPoint ? bytes - header.firstPoint : 0;
    const std::uint64_t there = room / static_cast<std::uint64_t>(header.recordBytes);
    return there >= header.points ? std::string()
                                  : "点云文件不完整，文件头称有 " + std::to_string(header.points) +
                                        " 点，只有 " + std::to_string(there) + " 点";
}

} // namespace

Result<LasHeader> readLasHeader(const std::string& path) {
    const detect::GdalErrors errors;
    const OpenFile file = openFile(path, "rb");
    if (!file) {
        return detect::failureOf(path, "无法打开点云文件", errors.first());
    }
    const Bytes head = readAt(file.get(), 0, kHeadBytes14);
    if (head.size() < kOldHeadBytes || textOf(head.data(), 4) != "LASF") {
        return detect::failureOf(path, "不是 LAS 或 LAZ 文件");
    }
    LasHeader header;
    takeNumbers(head, header);
    if (const std::string problem = problemOf(header); !problem.empty()) {
        return detect::failureOf(path, problem);
    }
    if (const std::string missing = whatIsMissing(file.get(), header); !missing.empty()) {
        return detect::failureOf(path, missing);
    }
    takeReferences(file.get(), head, header);
    return header;
}

} // namespace cloud
