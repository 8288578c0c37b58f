#include "detect/output/SummaryFile.h"

#include "detect/GdalErrors.h"
#include "detect/output/CoregistrationNote.h"
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
    summary.Add("threshold_m", parameters.thresholdMetres);
    summary.Add("grow_ratio", parameters.growRatio);
    summary.Add("split_bodies", parameters.splitBodies);
    addSignificance(parameters.significance, summary);
    addMasks(parameters, summary);
    summary.Add("coregister", methodName(parameters.coregistration));
    summary.Add("rules", rulesObject(parameters, report.rejections));
    summary.Add("coregistration", describe(report.coregistration));
    return summary.Format(CPLJSONObject::PrettyFormat::Pretty) + "\n";
}

} // namespace

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
