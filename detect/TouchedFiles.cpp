#include "detect/TouchedFiles.h"

#include "detect/FileEnding.h"
#include "detect/GdalErrors.h"

#include <gdal_priv.h>

#include <filesystem>
#include <set>

namespace detect {

namespace {

namespace fs = std::filesystem;

using Files = std::set<fs::path>;

constexpr const char* kBeside[] = {".aux.xml", ".ovr", ".msk", "-wal", "-shm", "-journal"};
constexpr const char* kShapefile[] = {".shp", ".shx", ".dbf", ".prj", ".cpg", ".sbn", ".sbx", ".qix"};

/// The one name of a file, whichever it is called by.
fs::path trueName(const fs::path& file) {
    std::error_code error;
    const fs::path absolute = fs::absolute(behindLinks(file), error);
    const fs::path name = fs::weakly_canonical(absolute, error);
    return error ? absolute.lexically_normal() : name;
}

void addFamily(const fs::path& file, Files& all) {
    const fs::path name = trueName(file);
    all.insert(name);
    for (const char* ending : kBeside) {
        all.insert(fs::path(name.native() + ending));
    }
    if (fileEnding(name.u8string()) == ".shp") {
        for (const char* ending : kShapefile) {
            all.insert(fs::path(name).replace_extension(ending));
        }
    }
}

/// Two names of one file that no link tells.
bool meet(const Files& a, const Files& b) {
    for (const fs::path& one : a) {
        if (b.count(one) != 0) {
            return true;
        }
        std::error_code error;
        if (!fs::is_regular_file(one, error) || fs::hard_link_count(one, error) < 2) {
            continue;
        }
        for (const fs::path& other : b) {
            if (fs::equivalent(one, other, error)) {
                return true;
            }
        }
    }
    return false;
}

/// What GDAL names as the files of a raster or of vector data, and theirs. No server is asked: outputs are files of this
/// machine, and a virtual raster may name thousands of served ones.
void addFilesOf(const std::string& input, Files& all) {
    if (!VSIIsLocal(input.c_str())) {
        return;
    }
    if (!all.insert(trueName(fs::u8path(input))).second) {
        return;
    }
    addFamily(fs::u8path(input), all);
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(input.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    const CPLStringList names(dataset ? dataset->GetFileList() : nullptr);
    const bool isVirtual = dataset && EQUAL(dataset->GetDriver()->GetDescription(), "VRT");
    for (int i = 0; i < names.size(); ++i) {
        if (isVirtual) {
            addFilesOf(names[i], all);
        } else {
            addFamily(fs::u8path(names[i]), all);
        }
    }
}

} // namespace

fs::path behindLinks(const fs::path& file) {
    constexpr int kMostLinks = 40; // of a path, for Linux
    fs::path place = file;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(place, error)); ++i) {
        place = place.parent_path() / fs::read_symlink(place, error);
    }
    return place;
}

Status checkOutputs(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs) {
    GDALAllRegister();
    const GdalErrors quiet; // whoever reads the inputs says what is wrong with them
    Files read;
    for (const std::string& input : inputs) {
        if (!input.empty()) {
            addFilesOf(input, read);
        }
    }
    Files written;
    for (const std::string& output : outputs) {
        if (output.empty()) {
            continue;
        }
        Files own;
        addFamily(fs::u8path(output), own);
        if (meet(own, read)) {
            return failureOf("输出 " + output, "就是输入文件");
        }
        if (meet(own, written)) {
            return failureOf("输出 " + output, "与另一个输出是同一个文件");
        }
        written.merge(own);
    }
    return {};
}

} // namespace detect
