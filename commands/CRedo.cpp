#include "commands/CRedo.h"

#include "commands/HistoryButton.h"
#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

#include <QToolButton>

CRedo::CRedo() : zeo::CommandPlugin("319 redo command") {
    m_name = m_toolTip = toGbk("重做");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/rework.png");

    if (AVWindow* table = anomalyTable()) {
        connect(table, SIGNAL(msg_redo(QString)), this, SLOT(OnSetCom(QString)));
    }
}

void CRedo::createselfUI(QWidget* parent, QHBoxLayout* layout) {
    makeHistoryButton(*this, m_pButton, parent, layout);
}

void CRedo::Execute() {
    EditHistory* history = editHistory();
    if (history && history->CanRedo()) {
        EditCommand* edit = history->TakeRedo();
        edit->Redo(true);
        std::string text;
        edit->GetText(text);
        // Brings the edit back into the undo menu.
        if (AVWindow* table = anomalyTable()) {
            table->sent_msg_undo(fromGbk(text));
        }
    }
    refreshButton();
    setButtonChecked(m_pButton, false);
}

void CRedo::OnSetCom(QString /*text*/) { // NOLINT(performance-unnecessary-value-param): a slot by name
    refreshButton();
}

void CRedo::refreshButton() {
    EditHistory* history = editHistory();
    if (m_pButton) {
        m_pButton->setEnabled(history && history->CanRedo());
    }
}
