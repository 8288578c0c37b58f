#include "cli/DetectCommand.h"

#include "cli/AnomalyTable.h"
#include "cli/DetectOptions.h"
#include "cli/OutputSet.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "detect/output/CoregistrationNote.h"
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
    "         [--coregister auto|none|bias|full|local] [--tilt] [--unstable FILE] [--ignore FILE]\n"
    "         [--dz DZ.tif] [--correction FIELD.tif] [--threads N]\n"
    "         [--rules none|core,sliver,speckle,restless] [--grow-ratio R] [--no-split] [--cell-outlines]\n"
    "         [--window XOFF,YOFF,XSIZE,YSIZE] [--summary SUMMARY.json] [--quiet]\n"
    "  --sigma       两期高程的标准差（米），按显著性而不是固定阈值判定变化；同时给出 --threshold "
    "时须两者都达到\n"
    "  --confidence  显著性的置信度，默认 0.95；不给 --sigma 时标准差由稳定地面估计\n"
    "  --coregister  默认 auto：有依据时才校正高差、平移、倾斜和局部起伏（local），并说明理由\n"
    "  --unstable    不用于配准的地面（矢量或栅格掩膜）；--ignore 完全不检测的地面\n"
    "  --correction  输出局部改正场，其中可能含有大范围的真实升降\n"
    "  --rules       剔除规则：core 含 3×3 像元，sliver 陡坎边的窄条，speckle 植被碎斑，restless "
    "植被、水面上\n"
    "                不明显高于散布的起伏；默认全部使用\n"
    "  --window      只检测旧期栅格的一个窗口（像元），各窗口的结果用 corridor merge 合并\n";

using detect::Result;
using detect::Status;

/// The outputs of a task; null for those that nobody asked for.
struct Outputs {
    const detect::StagedOutput* out = nullptr;
    const detect::StagedOutput* dz = nullptr;
    const detect::StagedOutput* correction = nullptr;
    const detect::StagedOutput* summary = nullptr;
};

Result<Outputs> stage(const DetectTask& task, OutputSet& all) {
    Outputs outputs;
    for (const auto& [target, output] :
         {std::pair(&task.out, &outputs.out), std::pair(&task.dz, &outputs.dz),
          std::pair(&task.correction, &outputs.correction), std::pair(&task.summary, &outputs.summary)}) {
        const auto staged = all.stage(*target);
        if (!staged) {
            return failed(staged);
        }
        *output = *staged;
    }
    return outputs;
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

Status detectWhole(const DetectTask& task, const detect::Request& request, const Outputs& outputs,
                   Told& told) {
    detect::ResultFile file(*outputs.out);
    Tabulated receiver(file, task.quiet ? nullptr : &told.table);
    auto detected = withProgress<detect::RunReport>(task, [&](const detect::Progress& progress) {
        return detect::detectChanges(request, receiver, progress);
    });
    if (!detected) {
        return failed(detected);
    }
    told.report = std::move(*detected);
    return file.close();
}

Status detectWindow(const DetectTask& task, const detect::Request& request, const Outputs& outputs,
                    Told& told) {
    detect::PieceFile file(*outputs.out);
    Tabulated receiver(file, task.quiet ? nullptr : &told.table);
    auto detected = withProgress<detect::Piece>(task, [&](const detect::Progress& progress) {
        return detect::detectPiece(request, *task.window, receiver, progress);
    });
    if (!detected) {
        return failed(detected);
    }
    const detect::Piece& piece = *detected;
    told.report = detect::reportOf(piece);
    return file.close(piece);
}

Status detectAndWrite(const DetectTask& task, Told& told) {
    OutputSet all;
    const auto outputs = stage(task, all);
    if (!outputs) {
        return failed(outputs);
    }
    detect::Request request = task.request;
    request.dzRaster = outputs->dz;
    request.correctionRaster = outputs->correction;
    const auto detect = task.window ? detectWindow : detectWhole;
    if (auto done = detect(task, request, *outputs, told); !done) {
        return failed(done);
    }
    if (outputs->summary) {
        if (auto done = detect::writeSummary(told.report, request.parameters, *outputs->summary); !done) {
            return failed(done);
        }
    }
    return all.commit();
}

} // namespace

int runDetect(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, detectOptionTable());
    if (!options) {
        return options.error();
    }
    const auto task = readDetectTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }
    if (const auto files = checkFiles(*task); !files) {
        return fail(kCommand, kStatusWrongUse, files.error().message);
    }

    GDALSetCacheMax64(kRasterCacheBytes);
    Told told;
    if (const auto done = detectAndWrite(*task, told); !done) {
        return fail(kCommand, kStatusFailed, done.error().message);
    }
    if (task->quiet) {
        return kStatusDone;
    }
    for (const std::string& line : detect::notesOn(told.report, task->request.parameters)) {
        note(kCommand, line);
    }
    told.table.print();
    return kStatusDone;
}

} // namespace cli
