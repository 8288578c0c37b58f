#include "commands/CcomputDiff.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

CcomputDiff::CcomputDiff() : zeo::CommandPlugin("303 comput diff ") {
    m_name = toGbk("计算异常");
    m_toolTip = toGbk("计算当前显示区域的异常信息");
    m_commandType = toGbk("巡检工具");
    m_icon = QIcon(":/ToolPluginorva/images/calculate.png");
}

void CcomputDiff::Execute() {
    if (StationWindow* window = stationWindow()) {
        window->PickCurrentShowItemsDiff();
    }
    setButtonChecked(m_pButton, false);
}
