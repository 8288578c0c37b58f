#include "cli/CreateCommand.h"

#include "cli/Command.h"
#include "cli/LineOptions.h"
#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/creation/CreateProject.h"
#include "workbench/inspectiondata/creation/EpochText.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>

namespace cli {

using inspection::CenterlineSource;
using inspection::NewProject;
using inspection::ProjectPlan;

namespace {

constexpr auto kCommand = "project create";
constexpr auto kUsage =
    "用法：corridor project create DIR --epoch [DATE=]DSM[,DOM] --epoch [DATE=]DSM[,DOM] … [选项]\n"
    "  由航测数据建立项目。DIR 须不存在或为空；栅格留在原处，除非给出 --copy。\n"
    "  --epoch           一期数据：日期（如 2024-05-18，不给出时由文件推断）、表面模型、正射影像；\n"
    "                    文件夹表示其中的全部栅格（分幅）；点云（LAS、LAZ）先生成表面模型\n"
    "  --cell            由点云生成的表面模型的格网间距，默认由点的密度推断\n"
    "  --ground          只用点云的地面点（第 2 类）\n"
    "  --centerline      管道中心线，GDAL 能读取的任意矢量格式；CSV 为依次排列的点\n"
    "  --layer           中心线所在的图层\n"
    "  --turn            管道方向与文件中的方向相反\n"
    "  --start           起点里程，如 K12+500 或 12.5（公里），默认为 0\n"
    "  --posts           已知里程的点（name、km），用以推算里程\n"
    "  --station-length  站段长度，米，默认 250\n"
    "  --half-width      站段向中心线两侧的宽度，米，默认 100\n"
    "  --stations        站段由该文件中的面给出\n"
    "  --points          特殊点文件，可多次给出\n"
    "  --areas           特殊面文件，可多次给出\n"
    "  --high-consequence  高后果区文件，可多次给出\n"
    "  --heights         一期的高程系统，DATE=ellipsoid 或 DATE=EPSG:5773，可多次给出；\n"
    "                    不同的高程系统在有换算格网时换算到最早一期的系统\n"
    "  --crs             项目坐标系（以米为单位的投影坐标系），也用于没有坐标系的矢量文件\n"
    "  --name            项目名称\n"
    "  --copy            将栅格复制到项目文件夹\n"
    "  --quiet           不显示进度\n";

const OptionTable kTable{{"--centerline", "--layer", "--start", "--posts", "--station-length", "--half-width",
                          "--stations", "--crs", "--name", "--cell"},
                         {"--turn", "--copy", "--ground", "--quiet", "--help"},
                         1,
                         {"--epoch", "--heights", "--points", "--areas", "--high-consequence"}};

struct Task {
    QString folder;
    NewProject wish;
    bool quiet = false;
};

Parsed<std::optional<CenterlineSource>> readCenterlineOptions(const Options& options) {
    if (!options.has("--centerline")) {
        for (const char* name :
             {"--layer", "--turn", "--start", "--posts", "--station-length", "--half-width"}) {
            if (options.has(name)) {
                return wrongUse(std::string(name) + " 只能与 --centerline 一起给出");
            }
        }
        return std::nullopt;
    }
    const auto source = withChainage(
        options, {valueOf(options, "--centerline"), valueOf(options, "--layer"), valueOf(options, "--crs")});
    return source ? Parsed<std::optional<CenterlineSource>>(*source) : wrongUse(source.error().message);
}

void addObjects(const Options& options, const char* name, KV_ObjectType type, NewProject& wish) {
    for (const std::string& file : options.all(name)) {
        wish.objects.push_back({QString::fromStdString(file), type, valueOf(options, "--crs"), {}});
    }
}

/// Puts the systems with the epochs; what is wrong, when it is.
std::optional<std::string> readHeights(const Options& options, NewProject& wish) {
    for (const std::string& text : options.all("--heights")) {
        const QString given = QString::fromStdString(text);
        const QString date = given.section('=', 0, 0);
        const auto epoch =
            std::find_if(wish.epochs.begin(), wish.epochs.end(),
                         [&date](const inspection::NewEpoch& one) { return one.date == date; });
        if (epoch == wish.epochs.end() || !given.contains('=')) {
            return "--heights 的值应为 DATE=高程系统，DATE 是 --epoch 中给出的日期：" + text;
        }
        epoch->heights = given.section('=', 1);
    }
    return std::nullopt;
}

Parsed<Task> readTask(const Options& options) {
    if (options.positional.empty()) {
        return wrongUse("缺少项目文件夹");
    }
    Task task{QString::fromStdString(options.positional.front()), {}, options.has("--quiet")};
    NewProject& wish = task.wish;
    for (const std::string& text : options.all("--epoch")) {
        wish.epochs.push_back(inspection::epochOf(QString::fromStdString(text)));
    }
    if (wish.epochs.size() < 2) {
        return wrongUse("至少需要两个 --epoch");
    }
    if (auto wrong = readHeights(options, wish)) {
        return wrongUse(*wrong);
    }
    auto centerline = readCenterlineOptions(options);
    const auto length = metres(options, "--station-length", wish.stations.lengthMetres);
    const auto halfWidth = metres(options, "--half-width", wish.stations.halfWidthMetres);
    const auto cell = metres(options, "--cell", 0.0);
    for (const auto* number : {&length, &halfWidth, &cell}) {
        if (!*number) {
            return wrongUse(number->error().message);
        }
    }
    if (!centerline) {
        return wrongUse(centerline.error().message);
    }
    wish.centerline = *std::move(centerline);
    wish.stations = {*length, *halfWidth, valueOf(options, "--stations")};
    wish.clouds.cell = options.has("--cell") ? std::optional(*cell) : std::nullopt;
    wish.clouds.isGroundOnly = options.has("--ground");
    addObjects(options, "--points", KV_SPECIAL_POINT, wish);
    addObjects(options, "--areas", KV_SPECIAL_AREA, wish);
    addObjects(options, "--high-consequence", KV_HIGH_CONSEQUENCE_AREA, wish);
    wish.crs = valueOf(options, "--crs");
    wish.name = valueOf(options, "--name");
    wish.copiesFiles = options.has("--copy");
    return task;
}

void printImports(const ProjectPlan& plan, const std::vector<inspection::SpecialObjectImport>& imports) {
    for (std::size_t i = 0; i < imports.size(); ++i) {
        for (const QStringList& lines : {imports[i].notes, imports[i].refusals}) {
            for (const QString& line : lines) {
                note(kCommand, line);
            }
        }
        std::printf("导入 %d 个%s，拒绝 %lld 行\n", imports[i].stored,
                    qUtf8Printable(inspection::specialObjectTitle(plan.objects[i].type)),
                    static_cast<long long>(imports[i].refusals.size()));
    }
}

void printSummary(const ProjectPlan& plan, const QString& folder) {
    for (const inspection::PlannedEpoch& epoch : plan.surveys.epochs) {
        std::printf("%s  %s\n", epoch.date.isEmpty() ? "日期未知" : printable(epoch.date).c_str(),
                    printable(epoch.surface.files.join(QStringLiteral("、"))).c_str());
    }
    for (const QString& line : plan.surveys.notes) {
        note(kCommand, line);
    }
    if (plan.centerline) {
        std::printf("中心线 %.3f 公里\n", plan.centerline->lengthMetres() / 1000.0);
    }
    std::printf("建立项目 %s：%s，%zu 个站段\n", printable(folder).c_str(), printable(plan.name).c_str(),
                plan.stations.size());
}

int create(const Task& task) {
    const auto plan = inspection::planProject(task.wish);
    if (!plan) {
        return fail(kCommand, plan.error());
    }
    inspection::Result<inspection::CreatedProject> created = inspection::cancelled();
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("建立项目", task.quiet);
        created = inspection::createProject(task.folder, *plan, [&](double fraction) {
            line.show(fraction);
            return !stopOnSignal.asked();
        });
    }
    if (!created) {
        return fail(kCommand, created.error());
    }
    for (const QString& note : created->notes) {
        std::printf("%s\n", printable(note).c_str());
    }
    printSummary(*plan, task.folder);
    printImports(*plan, created->imports);
    return kStatusDone;
}

} // namespace

int runCreateProject(const std::vector<std::string>& arguments) {
    const auto options = beginCommand(kCommand, kUsage, arguments, kTable);
    if (!options) {
        return options.error();
    }
    const auto task = readTask(*options);
    if (!task) {
        return fail(kCommand, kStatusWrongUse, task.error().message);
    }
    int count = 0;
    const QCoreApplication application(count, nullptr);
    return create(*task);
}

} // namespace cli
