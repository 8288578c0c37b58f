#include "cli/DetectOptions.h"

#include "cli/OutputSet.h"
#include "detect/FileEnding.h"
#include "detect/output/ParameterText.h"
#include "detect/output/ResultFile.h"

#include <algorithm>
#include <filesystem>

namespace cli {

namespace {

/// Read, or what is wrong.
using Read = Parsed<void>;

std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> parts{""};
    for (const char c : text) {
        if (c == ',') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

Read readLimits(const Options& options, detect::Parameters& parameters) {
    if (options.has("--threshold")) {
        const auto number = commandline::parseNumber(options.value("--threshold"));
        if (!number || *number <= 0.0) {
            return wrongUse("--threshold 需要大于 0 的米数");
        }
        parameters.thresholdMetres = *number;
    }
    if (options.has("--min-area")) {
        const auto number = commandline::parseNumber(options.value("--min-area"));
        if (!number || *number < 0.0) {
            return wrongUse("--min-area 需要不小于 0 的平方米数");
        }
        parameters.minAreaSquareMetres = *number;
    }
    if (options.has("--threads")) {
        const auto number = commandline::parseInteger(options.value("--threads"));
        if (!number || *number < 1 || *number > 1024) {
            return wrongUse("--threads 需要 1 到 1024 的整数");
        }
        parameters.threads = *number;
    }
    return {};
}

Read readCoregistration(const Options& options, detect::Parameters& parameters) {
    if (options.has("--coregister")) {
        const auto method = detect::methodNamed(options.value("--coregister"));
        if (!method) {
            return wrongUse("--coregister 只能是 auto、none、bias、full 或 local");
        }
        parameters.coregistration = *method;
    }
    parameters.tilt = options.has("--tilt");
    if (parameters.tilt && parameters.coregistration != detect::CoregistrationMethod::Full) {
        return wrongUse("--tilt 只能与 --coregister full 一起使用");
    }
    return {};
}

/// Significance replaces the threshold, unless one is given too.
Read readSignificance(const Options& options, detect::Parameters& parameters) {
    if (!options.has("--sigma") && !options.has("--confidence")) {
        return {};
    }
    detect::Significance significance;
    if (options.has("--sigma")) {
        const auto parts = splitAtCommas(options.value("--sigma"));
        const auto first = commandline::parseNumber(parts.front());
        const auto last = commandline::parseNumber(parts.back());
        if (parts.size() > 2 || !first || !last || *first <= 0.0 || *last <= 0.0) {
            return wrongUse("--sigma 需要一个大于 0 的米数，或以逗号分隔的旧期、新期两个米数");
        }
        significance.oldSigmaMetres = first;
        significance.newSigmaMetres = last;
    }
    if (options.has("--confidence")) {
        const auto number = commandline::parseNumber(options.value("--confidence"));
        if (!number || *number <= 0.0 || *number >= 1.0) {
            return wrongUse("--confidence 需要 0 与 1 之间的小数，如 0.95");
        }
        significance.confidence = *number;
    }
    parameters.significance = significance;
    if (!options.has("--threshold")) {
        parameters.thresholdMetres = 0.0;
    }
    return {};
}

Read readRules(const Options& options, detect::Parameters& parameters) {
    parameters.splitBodies = !options.has("--no-split");
    parameters.simplifyOutlines = !options.has("--cell-outlines");
    if (!options.has("--rules")) {
        return {};
    }
    detect::Rules& rules = parameters.rules;
    rules = {false, false, false, false};
    const std::pair<const char*, bool*> known[] = {{"core", &rules.core},
                                                   {"sliver", &rules.sliver},
                                                   {"speckle", &rules.speckle},
                                                   {"restless", &rules.restless}};
    if (options.value("--rules") == "none") {
        return {};
    }
    const auto names = splitAtCommas(options.value("--rules"));
    for (const std::string& name : names) {
        const auto* rule = std::find_if(std::begin(known), std::end(known),
                                        [&name](const auto& candidate) { return name == candidate.first; });
        if (rule == std::end(known)) {
            return wrongUse("--rules 只能是 none，或以逗号分隔的 core、sliver、speckle、restless");
        }
        *rule->second = true;
    }
    return {};
}

Read readWindow(const Options& options, DetectTask& task) {
    if (!options.has("--window")) {
        return {};
    }
    std::vector<int> figures;
    for (const std::string& part : splitAtCommas(options.value("--window"))) {
        figures.push_back(commandline::parseInteger(part).value_or(-1));
    }
    if (figures.size() != 4 || figures[0] < 0 || figures[1] < 0 || figures[2] < 1 || figures[3] < 1) {
        return wrongUse("--window 需要 XOFF,YOFF,XSIZE,YSIZE 四个整数（旧期栅格的像元）");
    }
    task.window = detect::CellWindow{figures[0], figures[1], figures[2], figures[3]};
    if (detect::fileEnding(task.out) != ".gpkg") {
        return wrongUse("--window 的结果必须是 .gpkg，以便 corridor merge 合并");
    }
    return {};
}

Read checkFiles(const DetectTask& task) {
    if (!detect::isResultPath(task.out)) {
        return wrongUse("--out 的扩展名必须是 .gpkg、.geojson 或 .shp");
    }
    const std::string outputs[] = {task.out, task.dz, task.correction, task.summary};
    for (const std::string& output : outputs) {
        if (output.empty()) {
            continue;
        }
        for (const std::string& other :
             {task.request.oldRaster, task.request.newRaster, task.request.parameters.unstableMask,
              task.request.parameters.ignoreMask}) {
            if (!other.empty() && sameFile(output, other)) {
                return wrongUse("输出 " + output + " 就是输入文件");
            }
        }
        for (const std::string& other : outputs) {
            if (&other != &output && !other.empty() && sameFile(output, other)) {
                return wrongUse("两个输出都是 " + output);
            }
        }
    }
    return {};
}

Read checkNeeded(const Options& options) {
    for (const char* needed : {"--old", "--new", "--out"}) {
        if (options.value(needed).empty()) {
            return wrongUse(std::string("缺少选项 ") + needed);
        }
    }
    for (const char* file : {"--dz", "--correction", "--summary", "--unstable", "--ignore"}) {
        if (options.has(file) && options.value(file).empty()) {
            return wrongUse(std::string("选项 ") + file + " 缺少值");
        }
    }
    return {};
}

Read readAll(const Options& options, DetectTask& task) {
    if (auto done = checkNeeded(options); !done) {
        return done;
    }
    task.request.oldRaster = options.value("--old");
    task.request.newRaster = options.value("--new");
    task.out = options.value("--out");
    task.dz = options.value("--dz");
    task.correction = options.value("--correction");
    task.summary = options.value("--summary");
    task.quiet = options.has("--quiet");
    detect::Parameters& parameters = task.request.parameters;
    parameters.unstableMask = options.value("--unstable");
    parameters.ignoreMask = options.value("--ignore");
    for (const auto read : {readLimits, readCoregistration, readSignificance, readRules}) {
        if (auto done = read(options, parameters); !done) {
            return done;
        }
    }
    if (auto done = readWindow(options, task); !done) {
        return done;
    }
    return checkFiles(task);
}

} // namespace

const OptionTable& detectOptionTable() {
    static const OptionTable table{{"--old", "--new", "--out", "--threshold", "--min-area", "--coregister",
                                    "--sigma", "--confidence", "--rules", "--dz", "--correction",
                                    "--unstable", "--ignore", "--threads", "--summary", "--window"},
                                   {"--tilt", "--no-split", "--cell-outlines", "--quiet", "--help"},
                                   0};
    return table;
}

Parsed<DetectTask> readDetectTask(const Options& options) {
    DetectTask task;
    return readAll(options, task).map([&task] { return std::move(task); });
}

} // namespace cli
