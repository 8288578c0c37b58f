#include "commands/CUndo.h"

#include "commands/HistoryButton.h"
#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "plugin/Button.h"
#include "plugin/Inspection.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>

CUndo::CUndo() : zeo::CommandPlugin("318 undo command") {
    m_name = m_toolTip = toGbk("撤销");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/can.png");

    if (AVWindow* table = anomalyTable()) {
        connect(table, SIGNAL(msg_undo(QString)), this, SLOT(OnSetCom(QString)));
    }
    m_historyMenu = std::make_unique<QMenu>();
    connect(m_historyMenu.get(), SIGNAL(triggered(QAction*)), this, SLOT(OnUndoto(QAction*)));
    connect(m_historyMenu.get(), SIGNAL(hovered(QAction*)), this, SLOT(OnLighted(QAction*)));
}

CUndo::~CUndo() = default;

void CUndo::createselfUI(QWidget* parent, QHBoxLayout* layout) {
    makeHistoryButton(*this, m_pButton, parent, layout);
    // The main part undoes one step, the arrow opens the menu.
    m_pButton->setMenu(m_historyMenu.get());
    m_pButton->setPopupMode(QToolButton::MenuButtonPopup);
}

void CUndo::Execute() {
    EditHistory* history = editHistory();
    if (history && history->CanUndo()) {
        EditCommand* edit = history->TakeUndo();
        edit->Undo(true);
        removeNewestEntry();
        std::string text;
        edit->GetText(text);
        // This is how the redo button learns that there is something to redo.
        if (AVWindow* table = anomalyTable()) {
            table->sent_msg_redo(fromGbk(text));
        }
    }
    refreshButton();
    setButtonChecked(m_pButton, false);
}

void CUndo::OnSetCom(QString text) { // NOLINT(performance-unnecessary-value-param): a slot by name
    if (!text.isEmpty()) {
        addEntry(text);
    }
    refreshButton();
}

void CUndo::OnUndoto(QAction* action) {
    const int steps = stepsOf(action);
    if (steps <= 0) {
        return;
    }
    EditHistory* history = editHistory();
    if (history && history->CanUndo()) {
        history->UndoSteps(steps);
        for (int step = 0; step < steps; ++step) {
            removeNewestEntry();
        }
        if (AVWindow* table = anomalyTable()) {
            table->sent_msg_redo(QString());
        }
    }
    refreshButton();
}

void CUndo::OnLighted(QAction* action) {
    if (!m_cancelEntry) {
        return;
    }
    const int steps = stepsOf(action);
    if (steps <= 0) {
        m_cancelEntry->setText(tr("取消"));
        return;
    }
    m_cancelEntry->setText(QStringLiteral("撤销%1步").arg(steps));
    // The entries are not checkable: this marks nothing that shows, and is not meant to.
    QList<QAction*> entries = m_entries;
    for (int step = 0; step < steps && !entries.isEmpty(); ++step) {
        entries.takeLast()->setChecked(true);
    }
}

int CUndo::stepsOf(const QAction* action) const {
    // Entries bear a number; separators and cancel entries do not.
    if (!action || !action->data().isValid()) {
        return 0;
    }
    return m_entryCount - action->data().toInt() + 1;
}

void CUndo::addEntry(const QString& text) {
    auto* entry = new QAction(text, m_historyMenu.get());
    ++m_entryCount;
    entry->setData(m_entryCount);
    if (m_entryCount < 2) {
        m_historyMenu->addAction(entry);
        m_historyMenu->addSeparator();
        m_cancelEntry = new QAction(tr("取消"), m_historyMenu.get());
        m_historyMenu->addAction(m_cancelEntry);
    } else {
        m_historyMenu->insertAction(m_entries.last(), entry);
    }
    m_entries.append(entry);
}

// Edits that the library held before it reported any have no entry.
void CUndo::removeNewestEntry() {
    if (m_entries.isEmpty()) {
        return;
    }
    QAction* newest = m_entries.takeLast();
    m_historyMenu->removeAction(newest);
    // Not deleted at once: it may be the very entry whose signal is being handled.
    newest->deleteLater();
    --m_entryCount;
}

void CUndo::clearMenu() {
    for (QAction* entry : std::as_const(m_entries)) {
        m_historyMenu->removeAction(entry);
        entry->deleteLater();
    }
    m_entries.clear();
    m_historyMenu->clear();
    m_cancelEntry = nullptr;
    m_entryCount = 0;
}

void CUndo::refreshButton() {
    EditHistory* history = editHistory();
    const bool canUndo = history && history->CanUndo();
    if (m_pButton) {
        m_pButton->setEnabled(canUndo);
    }
    if (!canUndo) {
        clearMenu();
    }
}
