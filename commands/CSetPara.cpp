#include "commands/CSetPara.h"

#include "host/Gbk.h"
#include "host/inspection/ParaSet.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

CSetPara::CSetPara() : zeo::CommandPlugin("315 set para") {
    m_name = m_toolTip = toGbk("参数设置");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/param.png");
}

void CSetPara::Execute() {
    if (auto* parameters = dataSet<ParaSet>()) {
        parameters->OnSetPara();
    }
    setButtonChecked(m_pButton, false);
}
