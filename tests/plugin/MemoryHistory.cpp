#include "tests/plugin/MemoryHistory.h"

#include "host/Gbk.h"

#include <utility>

namespace {

MemoryHistory* theHistory = nullptr;

} // namespace

IORVAContext* IORVAContext::Instance() {
    return theHistory;
}

AVWindow::AVWindow(QWidget* parent) : QWidget(parent) {}
AVWindow::~AVWindow() = default;

void AVWindow::sent_msg_undo(QString text) {
    emit msg_undo(text);
}

void AVWindow::sent_msg_redo(QString text) {
    emit msg_redo(text);
}

EditCommand::~EditCommand() = default;
EditHistory::~EditHistory() = default;

void NotedEdit::Undo(bool refresh) {
    m_log << (refresh ? "undo " : "undo quietly ") + m_text;
}

void NotedEdit::Redo(bool refresh) {
    m_log << (refresh ? "redo " : "redo quietly ") + m_text;
}

void NotedEdit::GetText(std::string& text) {
    text = toGbk(m_text);
}

MemoryHistory::MemoryHistory() : AVWindow(nullptr) {
    theHistory = this;
}

MemoryHistory::~MemoryHistory() {
    theHistory = nullptr;
}

MemoryHistory::Away::Away() : m_history(std::exchange(theHistory, nullptr)) {}

MemoryHistory::Away::~Away() {
    theHistory = m_history;
}

void MemoryHistory::record(const QString& text, bool isListed) {
    m_edits.resize(m_edits.size() - m_undone);
    m_undone = 0;
    m_edits.push_back(std::make_unique<NotedEdit>(text, log));
    if (isListed) {
        sent_msg_undo(text);
    }
}

EditCommand* MemoryHistory::TakeUndo() {
    ++m_undone;
    return m_edits[m_edits.size() - m_undone].get();
}

EditCommand* MemoryHistory::TakeRedo() {
    --m_undone;
    return m_edits[m_edits.size() - m_undone - 1].get();
}

void MemoryHistory::UndoSteps(int count) {
    log << QStringLiteral("UndoSteps(%1)").arg(count);
    for (int step = 0; step < count && CanUndo(); ++step) {
        TakeUndo()->Undo(true);
    }
}
