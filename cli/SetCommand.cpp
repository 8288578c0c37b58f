#include "cli/SetCommand.h"

#include "cli/Command.h"
#include "cli/LineOptions.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/amendment/MissingFiles.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"
#include "workbench/inspectiondata/creation/EpochText.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>

namespace cli {

using inspection::AmendedEpoch;
using inspection::Amendment;
using inspection::AmendmentWish;
using inspection::CenterlineSource;
using inspection::Project;
using inspection::ProjectDescription;

namespace {

constexpr auto kCommand = "project set";
constexpr auto kUsage =
    "用法：corridor project set DIR [选项]\n"
    "  更改已有项目的中心线、站段、名称和文件位置。异常、判定、撤销记录和各对期次的结果全部保留：\n"
    "  异常归入其中心所在的新站段，不在任何新站段内的留在名称以“站段外”开头的站段中。\n"
    "  --centerline      管道中心线，GDAL 能读取的任意矢量格式；CSV 为依次排列的点\n"
    "  --no-centerline   去掉中心线，站段均匀铺满各期的共同范围\n"
    "  --layer           中心线所在的图层\n"
    "  --turn            管道方向与文件中的方向相反；不给出 --centerline 时将现有中心线反向\n"
    "  --start           起点里程，如 K12+500 或 12.5（公里）；不给出 --centerline 时改现有中心线的里程\n"
    "  --posts           已知里程的点（name、km），用以推算里程\n"
    "  --station-length  站段长度，米，默认不变\n"
    "  --half-width      站段向中心线两侧的宽度，米，默认不变\n"
    "  --stations        站段由该文件中的面给出\n"
    "  --crs             没有坐标系的矢量文件的坐标系，默认为项目的坐标系\n"
    "  --name            项目名称\n"
    "  --epoch           期次现在的文件，DATE=DSM[,DOM]，可多次给出；\n"
    "                    也可写作 --epoch DATE --dsm FILE --dom FILE\n"
    "  --dsm             该期的表面模型\n"
    "  --dom             该期的正射影像，空（--dom=）表示没有\n"
    "  --heights         一期的高程系统，DATE=ellipsoid 或 DATE=EPSG:5773，DATE= 为按文件，可多次给出；\n"
    "                    与最早一期不同且有换算格网时换算到其系统\n"
    "  --locate          在该文件夹中寻找项目缺少的文件\n"
    "  --dry-run         只说明将有哪些更改\n"
    "  --quiet           不显示进度\n";

const OptionTable kTable{{"--centerline", "--layer", "--start", "--posts", "--station-length", "--half-width",
                          "--stations", "--crs", "--name", "--dsm", "--dom", "--locate"},
                         {"--no-centerline", "--turn", "--dry-run", "--quiet", "--help"},
                         1,
                         {"--epoch", "--heights"}};

bool hasAny(const Options& options, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* name) { return options.has(name); });
}

/// What is wrong with the options together, whatever the project is.
std::optional<std::string> contradiction(const Options& options) {
    if (options.has("--no-centerline") && hasAny(options, {"--centerline", "--layer", "--turn", "--start",
                                                           "--posts", "--station-length", "--half-width"})) {
        return "--no-centerline 不能与中心线和站段长度、宽度的选项一起给出";
    }
    if (options.has("--layer") && !options.has("--centerline")) {
        return "--layer 只能与 --centerline 一起给出";
    }
    if (options.has("--stations") && hasAny(options, {"--station-length", "--half-width"})) {
        return "--stations 不能与 --station-length、--half-width 一起给出";
    }
    if (hasAny(options, {"--dsm", "--dom"}) && options.all("--epoch").size() != 1) {
        return "--dsm 和 --dom 须与一个 --epoch DATE 一起给出";
    }
    return std::nullopt;
}

/// The project's epoch that the text begins with, and what follows its "="; epochs without a date are called by paths,
/// which may hold "=".
std::optional<std::pair<QString, QString>> keyAndRest(const ProjectDescription& project,
                                                      const QString& text) {
    for (qsizetype equals = text.lastIndexOf('='); equals > 0; equals = text.lastIndexOf('=', equals - 1)) {
        if (project.findEpoch(text.left(equals))) {
            return std::pair(text.left(equals), text.mid(equals + 1));
        }
    }
    return std::nullopt;
}

AmendedEpoch& epochOf(AmendmentWish& wish, const QString& key) {
    const auto found = std::find_if(wish.epochs.begin(), wish.epochs.end(),
                                    [&key](const AmendedEpoch& epoch) { return epoch.key == key; });
    return found != wish.epochs.end() ? *found : wish.epochs.emplace_back(AmendedEpoch{key});
}

std::optional<std::string> readEpochs(const ProjectDescription& project, const Options& options,
                                      AmendmentWish& wish) {
    const bool isDivided = hasAny(options, {"--dsm", "--dom"});
    for (const std::string& text : options.all("--epoch")) {
        const QString given = QString::fromStdString(text);
        const auto told = isDivided ? std::optional(std::pair(given, QString())) : keyAndRest(project, given);
        if (!told || !project.findEpoch(told->first)) {
            return "项目中没有这一期，--epoch 的值应为 DATE=DSM[,DOM]：" + text;
        }
        AmendedEpoch& epoch = epochOf(wish, told->first);
        const auto [surface, picture] = inspection::epochFiles(told->second);
        if (!surface.isEmpty()) {
            epoch.dsm = surface;
        }
        if (!picture.isEmpty()) {
            epoch.dom = picture;
        }
        if (options.has("--dsm")) {
            epoch.dsm = valueOf(options, "--dsm");
        }
        if (options.has("--dom")) {
            epoch.dom = valueOf(options, "--dom");
        }
    }
    for (const std::string& text : options.all("--heights")) {
        const auto told = keyAndRest(project, QString::fromStdString(text));
        if (!told) {
            return "--heights 的值应为 DATE=高程系统，DATE 是项目的一期：" + text;
        }
        epochOf(wish, told->first).heights = told->second;
    }
    return std::nullopt;
}

std::optional<std::string> readLine(const ProjectDescription& project, const Options& options,
                                    AmendmentWish& wish) {
    wish.dropsCenterline = options.has("--no-centerline");
    if (!hasAny(options, {"--centerline", "--turn", "--start", "--posts"})) {
        return std::nullopt;
    }
    CenterlineSource source{valueOf(options, "--centerline"), valueOf(options, "--layer"),
                            valueOf(options, "--crs")};
    if (!options.has("--centerline")) {
        source = {project.centerline, QStringLiteral("centerline")};
    }
    auto whole = withChainage(options, source);
    if (!whole) {
        return whole.error().message;
    }
    wish.centerline = *std::move(whole);
    return std::nullopt;
}

std::optional<std::string> readStationOptions(const ProjectDescription& project,
                                              const std::vector<KV_Station>& stations, const Options& options,
                                              AmendmentWish& wish) {
    if (!hasAny(options, {"--stations", "--station-length", "--half-width"})) {
        return std::nullopt;
    }
    const auto line = inspection::projectLine(project);
    const auto layout = inspection::layoutOf(stations, line.value_or(std::nullopt));
    const auto length = metres(options, "--station-length", layout.lengthMetres);
    const auto halfWidth = metres(options, "--half-width", layout.halfWidthMetres);
    for (const auto* number : {&length, &halfWidth}) {
        if (!*number) {
            return number->error().message;
        }
    }
    if (!options.has("--stations") && !wish.centerline && line && !line->has_value()) {
        return "项目没有中心线，--station-length 和 --half-width 须与 --centerline 一起给出";
    }
    wish.stations = inspection::StationLayout{*length, *halfWidth, valueOf(options, "--stations")};
    return std::nullopt;
}

Parsed<AmendmentWish> readWish(const ProjectDescription& project, const std::vector<KV_Station>& stations,
                               const Options& options) {
    AmendmentWish wish;
    if (options.has("--locate")) {
        wish = inspection::locatedIn(valueOf(options, "--locate"), inspection::missingFiles(project));
    }
    wish.crs = valueOf(options, "--crs");
    if (options.has("--name")) {
        wish.name = valueOf(options, "--name");
    }
    for (auto wrong : {readEpochs(project, options, wish), readLine(project, options, wish),
                       readStationOptions(project, stations, options, wish)}) {
        if (wrong) {
            return wrongUse(*wrong);
        }
    }
    return wish;
}

int print(const QStringList& changes, const Options& options) {
    for (const QString& line : changes) {
        std::printf("%s\n", printable(line).c_str());
    }
    std::puts(changes.isEmpty() ? "没有更改" : options.has("--dry-run") ? "以上更改尚未进行" : "项目已更改");
    return kStatusDone;
}

/// Files that are still missing after "--locate" are not passed over in silence.
int tellNotFound(const ProjectDescription& project) {
    const auto missing = inspection::missingFiles(project);
    for (const inspection::MissingFile& file : missing) {
        fail(kCommand, kStatusFailed,
             (file.path + QStringLiteral("：未找到（%1）").arg(file.title())).toStdString());
    }
    return missing.empty() ? kStatusDone : kStatusFailed;
}

int amend(OpenedProject& opened, Amendment amendment, const Options& options) {
    auto& [project, database] = opened;
    const ProjectDescription before = project.description();
    for (const QString& line : amendment.notes) {
        note(kCommand, line);
    }
    inspection::Result<inspection::AmendmentEffect> effect = inspection::cancelled();
    if (options.has("--dry-run")) {
        effect = inspection::effectOf(amendment, *database->GetMySQL());
    } else {
        const StopOnSignal stopOnSignal;
        ProgressLine line("更改项目", options.has("--quiet"));
        effect = inspection::amendProject(project, *database->GetMySQL(), amendment, [&](double fraction) {
            line.show(fraction);
            return !stopOnSignal.asked();
        });
    }
    if (!effect) {
        return fail(kCommand, effect.error());
    }
    print(inspection::changeTexts(before, amendment, *effect), options);
    return options.has("--locate") ? tellNotFound(amendment.project) : kStatusDone;
}

int setProject(const Options& options) {
    auto opened = openProject(options.positional.front(), Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    const ProjectDescription& project = opened->project.description();
    try {
        const auto stations = inspection::readStations(*opened->database->GetMySQL());
        const auto wish = readWish(project, stations, options);
        if (!wish) {
            return fail(kCommand, kStatusWrongUse, wish.error().message);
        }
        auto amendment = inspection::planAmendment(project, stations, *wish);
        return amendment ? amend(*opened, *std::move(amendment), options) : fail(kCommand, amendment.error());
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        return fail(kCommand, kStatusFailed, exception.what());
    }
}

} // namespace

int runSetProject(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, kTable);
    if (!options) {
        return options.error();
    }
    if (options->positional.empty()) {
        return fail(kCommand, kStatusWrongUse, "缺少项目文件夹");
    }
    if (const auto wrong = contradiction(*options)) {
        return fail(kCommand, kStatusWrongUse, *wrong);
    }
    const bool asksNothing = options->values.empty() && options->lists.empty() &&
                             !options->has("--no-centerline") && !options->has("--turn");
    if (asksNothing) {
        return fail(kCommand, kStatusWrongUse, "没有给出要更改的内容，见 --help");
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return setProject(*options);
}

} // namespace cli
