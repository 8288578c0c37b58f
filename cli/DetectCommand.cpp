#include "cli/DetectCommand.h"

#include "cli/AnomalyTable.h"
#include "cli/DetectOptions.h"
#include "cli/OutputSet.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "detect/output/PieceFile.h"
#include "detect/output/ResultFile.h"
#include "detect/output/SummaryFile.h"

#include <gdal.h>

#include <cstdio>
#include <optional>

namespace cli {

namespace {

/// Little: decoded tiles are shared by all threads, and the rasters pass through once.
constexpr GIntBig kRasterCacheBytes = 4 << 20;

constexpr auto kCommand = "detect";
const char* const kUsage =
    "用法：corridor detect --old OLD.tif --new NEW.tif --out RESULT.(gpkg|geojson|shp)\n"
    "         [--threshold M] [--sigma M[,M]] [--confidence P] [--min-area M2]\n"
    "         [--coregister none|bias|full] [--tilt] [--dz DZ.tif] [--threads N]\n"
    "         [--rules none|core,sliver,speckle] [--no-split] [--cell-outlines]\n"
    "         [--window XOFF,YOFF,XSIZE,YSIZE] [--summary SUMMARY.json] [--quiet]\n"
    "  --sigma       两期高程的标准差（米），按显著性而不是固定阈值判定变化；同时给出 --threshold "
    "时须两者都达到\n"
    "  --confidence  显著性的置信度，默认 0.95；不给 --sigma 时标准差由稳定地面估计\n"
    "  --rules       剔除规则：core 含 3×3 像元，sliver 陡坎边的窄条，speckle 植被碎斑；默认全部使用\n"
    "  --window      只检测旧期栅格的一个窗口（像元），各窗口的结果用 corridor merge 合并\n";

using detect::Result;
using detect::Status;

/// The outputs of a task, staged.
struct Paths {
    std::string out;
    std::string dz;
    std::string summary;
};

Status stage(const DetectTask& task, OutputSet& outputs, Paths& paths) {
    if (auto done = outputs.stage(task.out, paths.out); !done) {
        return failed(done);
    }
    if (auto done = outputs.stage(task.dz, paths.dz); !done) {
        return failed(done);
    }
    return outputs.stage(task.summary, paths.summary);
}

template<class Found, class Detect>
Result<Found> withProgress(const DetectTask& task, const Detect& detect) {
    const StopOnSignal stopOnSignal;
    ProgressLine line("检测", task.quiet);
    return detect([&](double done) {
        line.show(done);
        return !stopOnSignal.asked();
    });
}

/// What a task gives besides its files. Nobody reads a table that stays unprinted: it would only fill memory.
struct Told {
    detect::RunReport report;
    AnomalyTable table;
};

Status detectWhole(const DetectTask& task, const detect::Request& request, const Paths& paths, Told& told) {
    detect::ResultFile file(paths.out);
    Tabulated receiver(file, task.quiet ? nullptr : &told.table);
    auto detected = withProgress<detect::RunReport>(task, [&](const detect::Progress& progress) {
        return detect::detectChanges(request, receiver, progress);
    });
    if (!detected) {
        return failed(detected);
    }
    told.report = std::move(*detected);
    return file.commit();
}

Status detectWindow(const DetectTask& task, const detect::Request& request, const Paths& paths, Told& told) {
    detect::PieceFile file(paths.out);
    Tabulated receiver(file, task.quiet ? nullptr : &told.table);
    auto detected = withProgress<detect::Piece>(task, [&](const detect::Progress& progress) {
        return detect::detectPiece(request, *task.window, receiver, progress);
    });
    if (!detected) {
        return failed(detected);
    }
    const detect::Piece& piece = *detected;
    told.report = detect::reportOf(piece);
    return file.commit(piece);
}

Status detectAndWrite(const DetectTask& task, OutputSet& outputs, Told& told) {
    Paths paths;
    if (auto done = stage(task, outputs, paths); !done) {
        return failed(done);
    }
    detect::Request request = task.request;
    request.dzRaster = paths.dz;
    const auto detect = task.window ? detectWindow : detectWhole;
    if (auto done = detect(task, request, paths, told); !done) {
        return failed(done);
    }
    if (!paths.summary.empty()) {
        if (auto done = detect::writeSummary(told.report, request.parameters, paths.summary); !done) {
            return failed(done);
        }
    }
    return outputs.commit();
}

} // namespace

int runDetect(const std::vector<std::string>& arguments) {
    const auto begun = beginCommand(kCommand, kUsage, arguments, detectOptionTable());
    if (const int* status = std::get_if<int>(&begun)) {
        return *status;
    }
    WrongUse wrong;
    const auto task = readDetectTask(std::get<Options>(begun), wrong);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, wrong.message);
    }

    GDALSetCacheMax64(kRasterCacheBytes);
    OutputSet outputs;
    Told told;
    if (const auto done = detectAndWrite(*task, outputs, told); !done) {
        return fail(kCommand, kStatusFailed, outputs.inUsersWords(done.error().message));
    }
    if (task->quiet) {
        return kStatusDone;
    }
    if (const std::string& refusal = told.report.coregistration.refusal; !refusal.empty()) {
        std::fprintf(stderr, "corridor detect: 未做水平配准：%s；只校正高差\n", refusal.c_str());
    }
    told.table.print();
    return kStatusDone;
}

} // namespace cli
