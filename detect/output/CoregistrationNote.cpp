#include "detect/output/CoregistrationNote.h"

#include <cstdio>

namespace detect {

namespace {

std::string fieldNote(const LocalCorrection& local) {
    char line[512];
    std::snprintf(
        line, sizeof line,
        "局部改正：最大 %.2f m，标准误差 %.3f m，%.0f%% 的地面上超过其两倍；宽于 %.0f m "
        "的真实升降会被一并改掉（另有 %.0f%% 的地面视为变化，未参与改正），可用 --correction 输出查看",
        local.largestMetres, local.sigmaMetres, 100.0 * local.exceedingShare, local.shortestWavelengthMetres,
        100.0 * local.leftOutShare);
    return line;
}

} // namespace

std::string doubtAbout(const RunReport& report, const Parameters& parameters) {
    if (!report.scatterExceedsThreshold) {
        return {};
    }
    char line[512];
    std::snprintf(line, sizeof line,
                  "结果不可信：未变化地面的高差散布 %.2f m，超过阈值 %.2f "
                  "m；请确认两期是同一地区、同一高程基准和单位的高程栅格"
                  "（不是影像），再试 --coregister local、更大的 --threshold，或用 --confidence 按显著性判定",
                  report.coregistration.nmadAfterMetres, parameters.thresholdMetres);
    return line;
}

std::vector<std::string> notesOn(const RunReport& report, const Parameters& parameters) {
    const Coregistration& coregistration = report.coregistration;
    std::vector<std::string> notes;
    if (std::string doubt = doubtAbout(report, parameters); !doubt.empty()) {
        notes.push_back(std::move(doubt));
    }
    if (!coregistration.reason.empty()) {
        notes.push_back("配准：" + coregistration.reason);
    }
    if (!coregistration.refusal.empty()) {
        notes.push_back("未做水平配准：" + coregistration.refusal + "；只校正高差");
    }
    if (coregistration.method == CoregistrationMethod::Local) {
        notes.push_back(fieldNote(coregistration.local));
    }
    return notes;
}

} // namespace detect
