#include "cli/RasterizeCommand.h"

#include "cli/Command.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "cloud/Rasterize.h"
#include "detect/FileEnding.h"

#include <gdal.h>

#include <cstdio>

namespace cli {

namespace {

constexpr auto kCommand = "rasterize";
constexpr GIntBig kRasterCacheBytes = 64 << 20; ///< tiles are written once, in their order
const char* const kUsage =
    "用法：corridor rasterize CLOUD… --out DSM.tif [--cell SIZE] [--ground] [--percentile P] [--gap CELLS] "
    "[--crs CRS] [--quiet]\n"
    "         CLOUD 是 LAS 或 LAZ 文件，或放有它们的文件夹；每格取最高的点，噪声点除外\n"
    "         --cell 格网间距，坐标系的单位；默认由点的密度得出，每格约 4 点\n"
    "         --ground 只用地面点（第 2 类），得到地面模型\n"
    "         --percentile 不取最高点，而取每格中有百分之 P 的点低于它的高程，0 到 100，例如 95\n"
    "         --gap 填补两侧都有高程、不超过这么多格的小空洞，默认 3，0 为不填\n"
    "         --crs 点云没有坐标系时使用，例如 EPSG:4547\n";

const OptionTable& optionTable() {
    static const OptionTable table{{"--out", "--cell", "--percentile", "--gap", "--crs"},
                                   {"--ground", "--quiet", "--help"},
                                   commandline::kAnyNumber};
    return table;
}

bool isTiff(const std::string& path) {
    const std::string ending = detect::fileEnding(path);
    return ending == ".tif" || ending == ".tiff";
}

commandline::Parsed<cloud::RasterizeRequest> readTask(const Options& options) {
    constexpr int kMostGapCells = 100;
    cloud::RasterizeRequest request;
    request.clouds = options.positional;
    request.out = options.value("--out");
    request.crs = options.value("--crs");
    request.returns = options.has("--ground") ? cloud::Returns::Ground : cloud::Returns::Surface;
    if (request.clouds.empty()) {
        return wrongUse("缺少点云文件 CLOUD");
    }
    if (request.out.empty()) {
        return wrongUse("缺少选项 --out");
    }
    if (!isTiff(request.out)) {
        return wrongUse("--out 的扩展名必须是 .tif");
    }
    if (options.has("--cell")) {
        request.cell = commandline::parseNumber(options.value("--cell"));
        if (!request.cell || *request.cell <= 0.0) {
            return wrongUse("--cell 需要大于 0 的数");
        }
    }
    if (options.has("--percentile")) {
        request.percentile = commandline::parseNumber(options.value("--percentile"));
        if (!request.percentile || !(*request.percentile >= 0.0 && *request.percentile <= 100.0)) {
            return wrongUse("--percentile 需要 0 到 100 的数");
        }
    }
    if (options.has("--gap")) {
        const auto gap = commandline::parseInteger(options.value("--gap"));
        if (!gap || *gap < 0 || *gap > kMostGapCells) {
            return wrongUse("--gap 需要 0 到 " + std::to_string(kMostGapCells) + " 的整数");
        }
        request.gapCells = *gap;
    }
    return request;
}

void print(const cloud::RasterizeRequest& request, const cloud::RasterizeReport& report) {
    std::printf("%s：%d × %d 格，间距 %g；%llu 点中用了 %llu 点\n", printable(request.out).c_str(),
                report.columns, report.rows, report.cell, static_cast<unsigned long long>(report.points),
                static_cast<unsigned long long>(report.used));
    std::printf("有点 %lld 格，填补 %lld 格，空 %lld 格\n", static_cast<long long>(report.measuredCells),
                static_cast<long long>(report.closedCells), static_cast<long long>(report.emptyCells));
    if (report.outside > 0) {
        std::printf("%llu 点在文件头所称的范围之外，没有使用\n",
                    static_cast<unsigned long long>(report.outside));
    }
}

} // namespace

int runRasterize(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, optionTable());
    if (!options) {
        return options.error();
    }
    const auto request = readTask(*options);
    if (!request) {
        return fail(kCommand, kStatusWrongUse, request.error().message);
    }
    GDALSetCacheMax64(kRasterCacheBytes);
    const StopOnSignal stop;
    const auto report = [&] {
        ProgressLine line("地表模型", options->has("--quiet"));
        return cloud::rasterize(*request, [&](double done) {
            line.show(done);
            return !stop.asked();
        });
    }();
    if (!report) {
        return fail(kCommand, kStatusFailed, report.error().message);
    }
    if (!options->has("--quiet")) {
        print(*request, *report);
    }
    return kStatusDone;
}

} // namespace cli
