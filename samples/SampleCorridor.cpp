#include "samples/SampleCorridor.h"

#include "files/UnfinishedFolder.h"
#include "samples/Orthophoto.h"
#include "samples/RasterFiles.h"
#include "samples/VectorFiles.h"

#include <gdal.h>

#include <filesystem>
#include <fstream>

namespace samples {

namespace {
namespace fs = std::filesystem;
using Error = std::optional<std::string>;

constexpr const char* kEpochDates[] = {"2024-05-18", "2025-05-20"};

std::string text(const fs::path& path) {
    return path.u8string();
}

/// The folder beside the wanted one in which the work is done; removed again unless it was moved into place.
std::optional<files::UnfinishedFolder> makeWorkFolder(const fs::path& target, Error& problem) {
    const fs::path parent = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::error_code error;
    fs::create_directories(parent, error);
    auto folder = files::UnfinishedFolder::in(parent, "corridor", error);
    for (const char* date : kEpochDates) {
        if (folder && !error) {
            fs::create_directories(folder->path() / "epochs" / date, error);
        }
    }
    if (!folder || error) {
        problem = text(target) + "：无法创建：" + error.message();
        return std::nullopt;
    }
    return folder;
}

/// In the place of an empty folder; of one that was filled meanwhile it cannot take it.
Error moveIntoPlace(files::UnfinishedFolder& folder, const fs::path& target) {
    const std::error_code error = folder.become(target);
    return error ? Error(text(target) + "：无法移到位：" + error.message()) : std::nullopt;
}

Error checkOptions(const SampleOptions& options) {
    if (options.directory.empty()) {
        return "没有给出示例工程的文件夹";
    }
    if (options.cells < SampleOptions::kSmallestCells || options.cells > SampleOptions::kLargestCells ||
        options.cells % SampleOptions::kCellsStep != 0) {
        return "尺寸 " + std::to_string(options.cells) + "：必须是 16 的倍数，从 " +
               std::to_string(SampleOptions::kSmallestCells) + " 到 " +
               std::to_string(SampleOptions::kLargestCells);
    }
    return std::nullopt;
}

Error checkTarget(const fs::path& target) {
    std::error_code error;
    if (!fs::exists(target, error)) {
        return std::nullopt;
    }
    if (!fs::is_directory(target, error)) {
        return text(target) + "：已存在，不是文件夹";
    }
    if (!fs::is_empty(target, error) || error) {
        return text(target) + "：已存在，不是空文件夹";
    }
    return std::nullopt;
}

Error writeProjectFile(const fs::path& folder) {
    const fs::path path = folder / "project.json";
    std::ofstream file(path, std::ios::binary);
    file << "{\n  \"format\": \"corridor-project\",\n  \"version\": 1,\n  \"name\": \"示例管道\",\n  "
            "\"crs\": \""
         << Extent::kCrs << "\",\n  \"epochs\": [\n";
    for (const char* date : kEpochDates) {
        file << "    {\"date\": \"" << date << "\", \"dsm\": \"epochs/" << date
             << "/dsm.tif\", \"dom\": \"epochs/" << date << "/dom.tif\"}"
             << (date == kEpochDates[0] ? ",\n" : "\n");
    }
    file << "  ],\n  \"centerline\": \"centerline.gpkg\",\n  \"parameters\": {\"coregistration\": "
            "\"auto\"}\n}\n";
    file.close();
    if (!file) {
        return text(path) + "：无法写入";
    }
    return std::nullopt;
}

/// The steps of the work, each with the share of the whole that is done after it.
class Maker {
public:
    Maker(const SampleOptions& options, const fs::path& folder, const SampleProgress& progress)
        : m_folder(folder), m_progress(progress), m_scene(options.seed),
          m_frame{options.cells, options.cells / 4, Extent::kWidthMetres / options.cells} {}

    Error make();

private:
    Error writeEpoch(const Surface& surface, int epoch, double done, double doneAfter);
    Error report(double share) const {
        if (m_progress && !m_progress(share)) {
            return "已取消";
        }
        return std::nullopt;
    }

    fs::path m_folder;
    const SampleProgress& m_progress;
    Scene m_scene;
    RasterFrame m_frame;
};

Error Maker::writeEpoch(const Surface& surface, int epoch, double done, double doneAfter) {
    const fs::path folder = m_folder / "epochs" / kEpochDates[epoch];
    const std::uint32_t survey = m_scene.site.noiseSeed(900 + static_cast<std::uint32_t>(epoch) * 10);
    if (Error error = writeHeights(text(folder / "dsm.tif"), surface, survey)) {
        return error;
    }
    if (Error error = report(0.5 * (done + doneAfter))) {
        return error;
    }
    std::vector<std::uint8_t> pixels = renderOrthophoto(m_scene, surface, epoch);
    if (Error error = writePhoto(text(folder / "dom.tif"), m_frame, pixels)) {
        return error;
    }
    return report(doneAfter);
}

Error Maker::make() {
    if (Error error = report(0.05)) {
        return error;
    }
    Surface surface = composeSurface(m_scene, m_frame);
    if (Error error = report(0.2)) {
        return error;
    }
    if (Error error = writeEpoch(surface, 0, 0.2, 0.55)) {
        return error;
    }
    const std::vector<ChangeWindow> changes = applyChanges(m_scene, surface);
    if (Error error = writeEpoch(surface, 1, 0.55, 0.95)) {
        return error;
    }
    if (Error error = writeTruth(text(m_folder / "truth.gpkg"), m_scene, m_frame, changes)) {
        return error;
    }
    if (Error error = writeCentreLine(text(m_folder / "centerline.gpkg"), m_scene)) {
        return error;
    }
    if (Error error = writeSpecialAreas(text(m_folder / "special.gpkg"), m_scene)) {
        return error;
    }
    return writeProjectFile(m_folder);
}
} // namespace

std::optional<std::string> makeSampleCorridor(const SampleOptions& options, const SampleProgress& progress) {
    if (Error error = checkOptions(options)) {
        return error;
    }
    std::error_code ignored;
    fs::path target = fs::absolute(fs::u8path(options.directory), ignored).lexically_normal();
    if (!target.has_filename()) {
        target = target.parent_path();
    }
    if (Error error = checkTarget(target)) {
        return error;
    }
    GDALAllRegister();
    Error problem;
    auto folder = makeWorkFolder(target, problem);
    if (!folder) {
        return problem;
    }
    if (Error error = Maker(options, folder->path(), progress).make()) {
        return error;
    }
    if (Error error = moveIntoPlace(*folder, target)) {
        return error;
    }
    if (progress) {
        progress(1.0);
    }
    return std::nullopt;
}

} // namespace samples
