#include "tests/cloud/CompressCloud.h"

#ifdef CORRIDOR_HAS_LASZIP
#include <laszip/laszip_api.h>
#endif

namespace cloud::test {

#ifdef CORRIDOR_HAS_LASZIP

namespace {

/// One of LASzip's readers or writers.
class Zipper {
public:
    Zipper() { laszip_create(&m_zipper); }
    ~Zipper() { laszip_destroy(m_zipper); }
    Zipper(const Zipper&) = delete;
    Zipper& operator=(const Zipper&) = delete;
    operator laszip_POINTER() const { return m_zipper; } // as the C functions take it

private:
    laszip_POINTER m_zipper = nullptr;
};

laszip_U64 countOf(const laszip_header& header) {
    const bool isNew = header.version_minor >= 4;
    return isNew ? header.extended_number_of_point_records : header.number_of_point_records;
}

bool copyPoints(laszip_POINTER reader, laszip_POINTER writer, laszip_U64 count) {
    laszip_point* point = nullptr;
    bool isGood = laszip_get_point_pointer(reader, &point) == 0;
    for (laszip_U64 i = 0; i < count && isGood; ++i) {
        isGood = laszip_read_point(reader) == 0 && laszip_set_point(writer, point) == 0 &&
                 laszip_write_point(writer) == 0;
    }
    return isGood;
}

} // namespace

bool compressCloud(const std::string& las, const std::string& laz) {
    const Zipper reader;
    const Zipper writer;
    laszip_BOOL wasCompressed = 0;
    laszip_header* header = nullptr;
    return laszip_open_reader(reader, las.c_str(), &wasCompressed) == 0 &&
           laszip_get_header_pointer(reader, &header) == 0 && laszip_set_header(writer, header) == 0 &&
           laszip_request_native_extension(writer, 1) == 0 &&
           laszip_open_writer(writer, laz.c_str(), 1) == 0 && copyPoints(reader, writer, countOf(*header)) &&
           laszip_close_writer(writer) == 0 && laszip_close_reader(reader) == 0;
}

#else

bool compressCloud(const std::string&, const std::string&) {
    return false;
}

#endif

} // namespace cloud::test
