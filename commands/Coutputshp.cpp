#include "commands/Coutputshp.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

Coutputshp::Coutputshp() : zeo::CommandPlugin("312 output shape") {
    m_name = m_toolTip = toGbk("输出shape");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/report.png");
}

void Coutputshp::Execute() {
    if (StationWindow* window = stationWindow()) {
        window->OutPutShap();
    }
    setButtonChecked(m_pButton, false);
}
