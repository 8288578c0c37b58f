#include "detect/output/SummaryFile.h"

#include "detect/GdalErrors.h"
#include "detect/output/CoregistrationNote.h"
#include "detect/output/JsonText.h"
#include "detect/output/ParameterText.h"

#include <cpl_json.h>

#include <filesystem>
#include <fstream>

namespace detect {

namespace {

CPLJSONObject ruleObject(bool isOn, std::int64_t rejected) {
    CPLJSONObject rule;
    rule.Add("on", isOn);
    rule.Add("rejected", static_cast<GInt64>(rejected));
    return rule;
}

CPLJSONObject rulesObject(const Parameters& parameters, const Rejections& rejections) {
    CPLJSONObject rules;
    CPLJSONObject area = ruleObject(parameters.minAreaSquareMetres > 0.0, rejections.area);
    area.Add("least_m2", parameters.minAreaSquareMetres);
    rules.Add("area", area);
    rules.Add("core", ruleObject(parameters.rules.core, rejections.core));
    rules.Add("sliver", ruleObject(parameters.rules.sliver, rejections.sliver));
    rules.Add("speckle", ruleObject(parameters.rules.speckle, rejections.speckle));
    CPLJSONObject restless;
    restless.Add("on", parameters.rules.restless);
    rules.Add("restless", restless);
    return rules;
}

std::int64_t rejectedBy(const CPLJSONObject& rules, const char* rule) {
    return rules.GetObj(rule).GetLong("rejected");
}

} // namespace

std::string summaryText(const RunReport& report, const Parameters& parameters) {
    CPLJSONObject summary;
    summary.Add("anomalies", static_cast<GInt64>(report.found));
    summary.Add("cells", static_cast<GInt64>(report.cells));
    summary.Add("trusted", !report.scatterExceedsThreshold);
    if (const std::string doubt = doubtAbout(report, parameters); !doubt.empty()) {
        summary.Add("doubt", doubt);
    }
    summary.Add("seconds", report.seconds);
    summary.Add("threads", report.threads);
    addParameters(parameters, summary);
    summary.Add("rules", rulesObject(parameters, report.rejections));
    summary.Add("coregistration", describe(report.coregistration));
    return jsonText(summary, true) + "\n";
}

std::optional<Summary> readSummary(const std::string& text) {
    const GdalErrors quiet;
    CPLJSONDocument document;
    if (!document.LoadMemory(text)) {
        return std::nullopt;
    }
    const CPLJSONObject object = document.GetRoot();
    Summary summary;
    if (!takeParameters(object, summary.parameters) ||
        !parse(object.GetObj("coregistration"), summary.report.coregistration)) {
        return std::nullopt;
    }
    summary.report.found = object.GetLong("anomalies");
    summary.report.cells = object.GetLong("cells");
    summary.report.seconds = object.GetDouble("seconds");
    summary.report.threads = object.GetInteger("threads");
    summary.report.scatterExceedsThreshold = !object.GetBool("trusted", true);
    const CPLJSONObject rules = object.GetObj("rules");
    summary.report.rejections = {rejectedBy(rules, "core"), rejectedBy(rules, "area"),
                                 rejectedBy(rules, "sliver"), rejectedBy(rules, "speckle")};
    return summary;
}

Status writeSummary(const RunReport& report, const Parameters& parameters, const StagedOutput& output) {
    std::ofstream file(std::filesystem::u8path(output.path()), std::ios::binary);
    file << summaryText(report, parameters);
    file.close();
    if (!file) {
        return failureOf(output.target(), "写入失败，磁盘可能已满");
    }
    return {};
}

} // namespace detect
