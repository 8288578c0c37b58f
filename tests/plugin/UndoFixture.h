#pragma once

#include "tests/plugin/MemoryHistory.h"

#include "commands/CRedo.h"
#include "commands/CUndo.h"
#include "workbench/engine/EngineContext.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

/// The two commands with their buttons in a visible row, over a history in memory.
class UndoMenu : public ::testing::Test {
protected:
    UndoMenu() : m_layout(new QHBoxLayout(&m_row)), m_undo(new CUndo), m_redo(new CRedo) {
        m_undo->createselfUI(&m_row, m_layout);
        m_redo->createselfUI(&m_row, m_layout);
        m_undoButton = zeo::EngineContext::buttonOf(*m_undo);
        m_redoButton = zeo::EngineContext::buttonOf(*m_redo);
        m_menu = m_undoButton->menu();
        m_row.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_row));
    }
    ~UndoMenu() override { zeo::EngineContext::instance().shutdown(); }

    void recordABC() {
        for (const char* text : {"A", "B", "C"}) {
            m_history.record(text);
        }
    }
    /// The menu from top to bottom; "-" is a separator.
    QStringList entries() const {
        QStringList texts;
        for (const QAction* action : m_menu->actions()) {
            texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
        }
        return texts;
    }
    QAction* entry(const QString& text) const {
        for (QAction* action : m_menu->actions()) {
            if (action->text() == text) {
                return action;
            }
        }
        return nullptr;
    }
    /// Neither command takes a step; the menu is empty and both buttons are disabled.
    void expectNothingToStep() {
        m_undo->Execute();
        m_redo->Execute();
        EXPECT_TRUE(m_history.log.isEmpty());
        EXPECT_TRUE(entries().isEmpty());
        EXPECT_FALSE(m_undoButton->isEnabled());
        EXPECT_FALSE(m_redoButton->isEnabled());
    }
    void hover(const QString& text) { emit m_menu->hovered(entry(text)); }
    void choose(const QString& text) { entry(text)->trigger(); }

    MemoryHistory m_history;
    QWidget m_row;
    QHBoxLayout* m_layout;
    CUndo* m_undo;
    CRedo* m_redo;
    QToolButton* m_undoButton;
    QToolButton* m_redoButton;
    QMenu* m_menu;
};
