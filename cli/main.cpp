#include "cli/CheckCommand.h"
#include "cli/Command.h"
#include "cli/ComputeCommand.h"
#include "cli/DetectCommand.h"
#include "cli/ImportCommand.h"
#include "cli/InfoCommand.h"
#include "cli/MergeCommand.h"
#include "cli/Printable.h"
#include "cli/ProjectCommand.h"
#include "cli/RasterizeCommand.h"
#include "cli/ReportCommand.h"
#include "cli/RunSafely.h"
#include "cli/SampleCommand.h"

#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/project/Utf8Locale.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Command {
    const char* name;
    int (*run)(const std::vector<std::string>& arguments);
    const char* synopsis;
};

constexpr Command kCommands[] = {
    {"detect", cli::runDetect,
     "--old OLD.tif --new NEW.tif --out RESULT.(gpkg|geojson|shp)   比较两期地表，输出变化"},
    {"merge", cli::runMerge, "A.gpkg B.gpkg … --out ALL.gpkg   合并 detect --window 的各窗口结果"},
    {"compute", cli::runCompute,
     "PROJECT [--stations 1,2,5-9] [--pair OLD,NEW]   计算项目的异常并存入项目；--plan、"
     "--piece、--collect 在多台机器上分站段计算"},
    {"import", cli::runImport,
     "PROJECT --polygons FILE --type 4|17 | --points FILE [--strict]   导入高后果区、特殊面或特殊点"},
    {"rasterize", cli::runRasterize, "CLOUD… --out DSM.tif [--cell SIZE]   点云（LAS、LAZ）生成地表模型"},
    {"report", cli::runReport, "PROJECT --out FILE.(pdf|odt|html) [--pair OLD,NEW]   输出巡检报告"},
    {"shape", cli::runShape, "PROJECT --out DIR [--pair OLD,NEW]   输出 Shapefile 和 GeoPackage"},
    {"info", cli::runInfo, "PROJECT|RASTER [--json]   显示项目或栅格的内容"},
    {"check", cli::runCheck, "PROJECT [--json]   检查项目的文件和数据是否完好"},
    {"project", cli::runProject,
     "set-database PROJECT URL   将项目的数据表迁移到 SQLite 文件或 MariaDB 服务器；create "
     "由航测数据建立项目，"
     "set 更改中心线、站段和文件位置，add-epoch、remove-epoch 增删期次，trust 信任他人的项目"},
    {"sample", cli::runSample, "DIR [--seed N] [--size CELLS]   生成两期示例项目"},
};

void printUsage(std::FILE* stream) {
    std::fputs("用法：corridor 命令 …\n", stream);
    for (const Command& command : kCommands) {
        std::fprintf(stream, "  corridor %s %s\n", command.name, command.synopsis);
    }
}

} // namespace

int main(int argc, char** argv) {
    inspection::useUtf8Locale();
    inspection::limitPatienceWithServers();
    const std::vector<std::string> arguments(argv + (argc > 1 ? 2 : argc), argv + argc);
    const std::string name = argc > 1 ? argv[1] : "";
    for (const Command& command : kCommands) {
        if (name == command.name) {
            return cli::runSafely(command.name, command.run, arguments);
        }
    }
    if (name == "--help" || name == "help") {
        printUsage(stdout);
        return cli::kStatusDone;
    }
    if (name.empty()) {
        printUsage(stderr);
    } else {
        std::fprintf(stderr, "corridor: 未知命令 %s\n", cli::printable(name).c_str());
    }
    return cli::kStatusWrongUse;
}
