#include "workbench/inspectiondata/text/ComputationStep.h"

namespace inspection {

QString stepText(const ComputationStep& step) {
    switch (step.sort) {
    case ComputationStep::Sort::Search:
        return step.stations == 1
                   ? QStringLiteral("计算站段 %1").arg(step.station)
                   : QStringLiteral("计算站段 %1 等 %2 个").arg(step.station).arg(step.stations);
    case ComputationStep::Sort::Storing:
        return QStringLiteral("保存结果");
    case ComputationStep::Sort::Coregistration:
        break;
    }
    return QStringLiteral("两期数据配准");
}

} // namespace inspection
