#include "OverviewCache.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace osgEarth {
namespace fs = std::filesystem;
namespace {

struct Entry {
    fs::path vrt;
    fs::file_time_type usedAt;
    std::uintmax_t bytes = 0;
};

fs::path picturesOf(const fs::path& entry) {
    return fs::path(entry.string() + ".ovr");
}

std::vector<Entry> latestUsedFirst(const fs::path& folder) {
    std::vector<Entry> entries;
    std::error_code ignored;
    for (const auto& file : fs::directory_iterator(folder, ignored)) {
        std::error_code error;
        const std::uintmax_t bytes = fs::file_size(picturesOf(file.path()), error);
        if (file.path().extension() == ".vrt" &&
            !error) { // those in the making have no pictures of this name
            entries.push_back({file.path(), file.last_write_time(ignored), bytes});
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.usedAt > b.usedAt; });
    return entries;
}

} // namespace

fs::path overviewCacheFolder() {
#ifdef _WIN32
    constexpr const char* kVariables[][2] = {{"LOCALAPPDATA", ""}};
#else
    constexpr const char* kVariables[][2] = {{"XDG_CACHE_HOME", ""}, {"HOME", ".cache"}};
#endif
    for (const auto& [variable, below] : kVariables) {
        const char* value = std::getenv(variable);
        if (value && *value != '\0') {
            return fs::path(value) / below / "corridor" / "overviews";
        }
    }
    return {};
}

// Of names, sizes and times of all the raster's files.
std::string overviewCacheName(const std::string& openName, GDALDataset& dataset) {
    std::string identity = openName.rfind("/vsimem/", 0) == 0 ? std::string() : openName;
    const CPLStringList files(dataset.GetFileList());
    for (int i = 0; i < files.Count(); ++i) {
        VSIStatBufL status;
        if (std::string(files[i]).rfind("/vsimem/", 0) != 0 && VSIStatL(files[i], &status) == 0) {
            identity.append("\n").append(files[i]);
            identity.append(" ").append(std::to_string(status.st_size));
            identity.append(" ").append(std::to_string(status.st_mtime));
        }
    }
    std::uint64_t hash = 14695981039346656037ULL; // FNV-1a
    for (const char c : identity) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    char name[32];
    std::snprintf(name, sizeof name, "%016llx.vrt", static_cast<unsigned long long>(hash));
    return name;
}

void noteUse(const fs::path& entry) {
    std::error_code ignored;
    fs::last_write_time(entry, fs::file_time_type::clock::now(), ignored);
}

// The entry counts by its virtual raster, so that goes first: a half removed one is none.
void trimOverviewCache(const fs::path& folder, std::uintmax_t mostBytes) {
    const std::vector<Entry> entries = latestUsedFirst(folder);
    std::uintmax_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        kept += entries[i].bytes;
        if (i > 0 && kept > mostBytes) {
            std::error_code ignored;
            fs::remove(entries[i].vrt, ignored);
            fs::remove(picturesOf(entries[i].vrt), ignored);
        }
    }
}

} // namespace osgEarth
