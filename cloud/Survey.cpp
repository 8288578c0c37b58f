#include "cloud/Survey.h"

#include "cloud/CloudReference.h"
#include "detect/FileEnding.h"
#include "detect/GdalErrors.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace cloud {

namespace {

namespace fs = std::filesystem;

bool isCloud(const fs::path& path) {
    const std::string ending = detect::fileEnding(path.u8string());
    return ending == ".las" || ending == ".laz";
}

Result<std::vector<std::string>> filesOf(const std::vector<std::string>& paths) {
    std::vector<std::string> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(fs::u8path(path), error)) {
            files.push_back(path);
            continue;
        }
        std::vector<std::string> found;
        for (auto entry = fs::directory_iterator(fs::u8path(path), error);
             !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (isCloud(entry->path())) {
                found.push_back(entry->path().u8string());
            }
        }
        if (error || found.empty()) {
            return detect::failureOf(path, "文件夹中没有点云（.las、.laz）", error ? error.message() : "");
        }
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

/// Empty when the bounds and the scale can be true.
std::string problemOf(const LasHeader& header) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const bool isFinite = std::isfinite(header.least[axis]) && std::isfinite(header.most[axis]) &&
                              std::isfinite(header.offset[axis]) && std::isfinite(header.scale[axis]);
        if (!isFinite || header.least[axis] > header.most[axis] || header.scale[axis] == 0.0) {
            return "文件头中的范围或比例无效";
        }
    }
    return {};
}

Result<OGRSpatialReference> referenceFor(const CloudFile& file, const std::string& crs,
                                         WithoutReference without) {
    if (auto named = referenceOf(file.header)) {
        return *named;
    }
    OGRSpatialReference given;
    const detect::GdalErrors errors;
    if (crs.empty() && without == WithoutReference::Allowed) {
        return given;
    }
    if (crs.empty()) {
        return detect::failureOf(file.path, "没有可用的坐标系，请用 --crs 指定");
    }
    if (given.SetFromUserInput(crs.c_str()) != OGRERR_NONE) {
        return detect::failureOf(crs, "不是坐标系", errors.first());
    }
    given.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return given;
}

bool isSame(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    return a.IsEmpty() == b.IsEmpty() && (a.IsEmpty() || a.IsSame(&b) != 0);
}

void enclose(Survey& survey, const LasHeader& header) {
    const bool isFirst = survey.points == 0;
    survey.xMin = isFirst ? header.least[0] : std::min(survey.xMin, header.least[0]);
    survey.yMin = isFirst ? header.least[1] : std::min(survey.yMin, header.least[1]);
    survey.xMax = isFirst ? header.most[0] : std::max(survey.xMax, header.most[0]);
    survey.yMax = isFirst ? header.most[1] : std::max(survey.yMax, header.most[1]);
    survey.points += header.points;
}

Status add(Survey& survey, const std::string& path, const std::string& crs, WithoutReference without) {
    auto header = readLasHeader(path);
    if (!header) {
        return detect::failed(header);
    }
    if (header->points == 0) {
        return {}; // a tile at the edge of a survey may be empty
    }
    if (const std::string problem = problemOf(*header); !problem.empty()) {
        return detect::failureOf(path, problem);
    }
    const CloudFile file{path, *std::move(header)};
    const auto reference = referenceFor(file, crs, without);
    if (!reference) {
        return detect::failed(reference);
    }
    const std::string heightUnit = heightUnitOf(file.header, *reference);
    if (survey.files.empty()) {
        survey.reference = *reference;
        survey.heightUnit = heightUnit;
    } else if (heightUnit != survey.heightUnit) {
        return detect::failureOf(path, "高程单位与 " + survey.files.front().path + " 不同");
    } else if (!isSame(survey.reference, *reference)) {
        return detect::failureOf(path, "坐标系与 " + survey.files.front().path + " 不同");
    }
    enclose(survey, file.header);
    survey.files.push_back(file);
    return {};
}

} // namespace

Result<Survey> openSurvey(const std::vector<std::string>& paths, const std::string& crs,
                          WithoutReference without) {
    const auto files = filesOf(paths);
    if (!files) {
        return detect::failed(files);
    }
    Survey survey;
    for (const std::string& path : *files) {
        if (const auto done = add(survey, path, crs, without); !done) {
            return detect::failed(done);
        }
    }
    if (survey.files.empty()) {
        return detect::failureOf(paths.empty() ? "" : paths.front(), "点云中没有点");
    }
    return survey;
}

} // namespace cloud
