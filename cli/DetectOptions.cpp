#include "cli/DetectOptions.h"

#include "detect/FileEnding.h"
#include "detect/TouchedFiles.h"
#include "detect/output/ParameterTable.h"
#include "detect/output/ParameterText.h"
#include "detect/output/ResultFile.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>

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

using detect::NumberParameter;
using detect::ParameterField;
using detect::SwitchParameter;

std::string rangeText(const ParameterField& field, const NumberParameter& number) {
    const auto figure = [](double value) {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%g", value);
        return std::string(text.data());
    };
    return figure(number.least) + " 到 " + figure(number.most) + " 的数" +
           (*field.unit ? "（" + std::string(field.unit) + "）" : std::string());
}

/// Sets the field to the number that `text` says.
Read setNumber(const ParameterField& field, const std::string& text, detect::Parameters& parameters) {
    const auto& number = std::get<NumberParameter>(field.kind);
    const auto value = commandline::parseNumber(text);
    if (!value || !number.isWithin(*value)) {
        return wrongUse(std::string(field.option) + " 需要 " + rangeText(field, number));
    }
    number.set(parameters, value);
    return {};
}

bool isSigma(const ParameterField& field) {
    return std::string(field.option) == "--sigma";
}

Read readNumbers(const Options& options, detect::Parameters& parameters) {
    for (const ParameterField& field : detect::parameterFields()) {
        if (std::holds_alternative<NumberParameter>(field.kind) && !isSigma(field) &&
            options.has(field.option)) {
            if (auto done = setNumber(field, options.value(field.option), parameters); !done) {
                return done;
            }
        }
    }
    return {};
}

/// One for both epochs, or one for each.
Read readSigmas(const Options& options, detect::Parameters& parameters) {
    if (!options.has("--sigma")) {
        return {};
    }
    const auto parts = splitAtCommas(options.value("--sigma"));
    if (parts.size() > 2) {
        return wrongUse("--sigma 需要一个米数，或以逗号分隔的旧期、新期两个米数");
    }
    if (auto done = setNumber(detect::parameterField("sigma_old_m"), parts.front(), parameters); !done) {
        return done;
    }
    return setNumber(detect::parameterField("sigma_new_m"), parts.back(), parameters);
}

/// Significance replaces the threshold, unless one is given too.
Read readUncertainty(const Options& options, detect::Parameters& parameters) {
    if (auto done = readSigmas(options, parameters); !done) {
        return done;
    }
    if (parameters.significance && !options.has("--threshold")) {
        parameters.thresholdMetres = 0.0;
    }
    return {};
}

std::string methodNames() {
    std::string names;
    for (const detect::MethodTitle& method : detect::methodTitles()) {
        names += (names.empty() ? "" : "、") + std::string(method.name);
    }
    return names;
}

Read takeThreads(const Options& options, detect::Parameters& parameters) {
    return readThreads(options).map([&parameters](int threads) { parameters.threads = threads; });
}

Read readCoregistration(const Options& options, detect::Parameters& parameters) {
    if (options.has("--coregister")) {
        const auto method = detect::methodNamed(options.value("--coregister"));
        if (!method) {
            return wrongUse("--coregister 只能是 " + methodNames());
        }
        parameters.coregistration = *method;
    }
    if (parameters.tilt && parameters.coregistration != detect::CoregistrationMethod::Full) {
        return wrongUse("--tilt 只能与 --coregister full 一起使用");
    }
    return {};
}

/// A switch with an option of its own; those of the rules share one.
bool isFlag(const ParameterField& field) {
    return std::holds_alternative<SwitchParameter>(field.kind) && std::string(field.option) != "--rules";
}

Read readFlags(const Options& options, detect::Parameters& parameters) {
    for (const ParameterField& field : detect::parameterFields()) {
        if (isFlag(field) && options.has(field.option)) {
            bool& value = std::get<SwitchParameter>(field.kind).of(parameters);
            value = !value;
        }
    }
    return {};
}

std::map<std::string, bool*> rulesOf(detect::Parameters& parameters) {
    std::map<std::string, bool*> rules;
    for (const ParameterField& field : detect::parameterFields()) {
        if (const auto* rule = std::get_if<SwitchParameter>(&field.kind); rule && !isFlag(field)) {
            rules[field.name] = &rule->of(parameters);
        }
    }
    return rules;
}

Read readRules(const Options& options, detect::Parameters& parameters) {
    if (!options.has("--rules")) {
        return {};
    }
    const auto rules = rulesOf(parameters);
    for (const auto& [name, rule] : rules) {
        *rule = false;
    }
    if (options.value("--rules") == "none") {
        return {};
    }
    for (const std::string& name : splitAtCommas(options.value("--rules"))) {
        const auto rule = rules.find(name);
        if (rule == rules.end()) {
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
    for (const auto read :
         {readNumbers, readUncertainty, takeThreads, readFlags, readCoregistration, readRules}) {
        if (auto done = read(options, parameters); !done) {
            return done;
        }
    }
    if (auto done = readWindow(options, task); !done) {
        return done;
    }
    return detect::isResultPath(task.out) ? Read() : wrongUse("--out 的扩展名必须是 .gpkg、.geojson 或 .shp");
}

} // namespace

const OptionTable& detectOptionTable() {
    static const OptionTable table = [] {
        OptionTable all{{"--old", "--new", "--out", "--dz", "--correction", "--unstable", "--ignore",
                         "--threads", "--summary", "--window"},
                        {"--quiet", "--help"},
                        0};
        for (const ParameterField& field : detect::parameterFields()) {
            (isFlag(field) ? all.flags : all.withValue).insert(field.option);
        }
        return all;
    }();
    return table;
}

Parsed<int> readThreads(const Options& options) {
    if (!options.has("--threads")) {
        return 0;
    }
    const auto number = commandline::parseInteger(options.value("--threads"));
    if (!number || *number < 1 || *number > 1024) {
        return wrongUse("--threads 需要 1 到 1024 的整数");
    }
    return *number;
}

Parsed<DetectTask> readDetectTask(const Options& options) {
    DetectTask task;
    return readAll(options, task).map([&task] { return std::move(task); });
}

Parsed<void> checkFiles(const DetectTask& task) {
    const detect::Parameters& parameters = task.request.parameters;
    const auto distinct = detect::checkOutputs(
        {task.out, task.dz, task.correction, task.summary},
        {task.request.oldRaster, task.request.newRaster, parameters.unstableMask, parameters.ignoreMask});
    return distinct ? Read() : wrongUse(distinct.error().message);
}

} // namespace cli
