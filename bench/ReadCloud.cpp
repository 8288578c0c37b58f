// The peer that bench/rasterize.sh compares with: reads all points of a cloud once, in one thread, and does nothing
// else. LAS and LAZ through LASzip; without it, LAS alone, by plain reads of its bytes.
//
//     bench_read_cloud CLOUD

#ifdef CORRIDOR_HAS_LASZIP
#include <laszip/laszip_api.h>
#endif

#include <cstdio>
#include <vector>

namespace {

#ifdef CORRIDOR_HAS_LASZIP

bool readAll(const char* path) {
    laszip_POINTER reader = nullptr;
    laszip_BOOL isCompressed = 0;
    laszip_header* header = nullptr;
    bool isGood = laszip_create(&reader) == 0 && laszip_open_reader(reader, path, &isCompressed) == 0 &&
                  laszip_get_header_pointer(reader, &header) == 0;
    const laszip_U64 count =
        isGood ? header->extended_number_of_point_records : 0; // as bench_make_cloud writes
    for (laszip_U64 i = 0; i < count && isGood; ++i) {
        isGood = laszip_read_point(reader) == 0;
    }
    isGood = isGood && laszip_close_reader(reader) == 0;
    return laszip_destroy(reader) == 0 && isGood;
}

#else

bool readAll(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) {
        return false;
    }
    std::vector<char> bytes(1 << 20);
    while (std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size()) {
    }
    const bool isGood = std::ferror(file) == 0;
    std::fclose(file);
    return isGood;
}

#endif

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_read_cloud CLOUD\n");
        return 2;
    }
    if (!readAll(argv[1])) {
        std::fprintf(stderr, "bench_read_cloud: cannot read %s\n", argv[1]);
        return 1;
    }
    return 0;
}
