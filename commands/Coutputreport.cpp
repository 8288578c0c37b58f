#include "commands/Coutputreport.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

Coutputreport::Coutputreport() : zeo::CommandPlugin("311 output report") {
    m_name = toGbk("输出报告");
    m_toolTip = toGbk("输出巡检报告");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/report.png");
}

void Coutputreport::Execute() {
    if (StationWindow* window = stationWindow()) {
        window->OutPutReport();
    }
    setButtonChecked(m_pButton, false);
}
