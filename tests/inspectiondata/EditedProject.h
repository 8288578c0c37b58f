#pragma once

#include "Opened.h"
#include "TestDatabase.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QCoreApplication>
#include <QStringList>

#include <utility>
#include <vector>

/// A project with a history: two points added, a third one added and taken back.
class EditedProject {
public:
    explicit EditedProject(DatabaseKind kind) : EditedProject(newProjectDatabase(kind)) {}
    explicit EditedProject(const QString& databaseUrl) : m_opened(databaseUrl) {
        QObject::connect(&m_history, &inspection::ProjectHistory::refused,
                         [this](const QString& message) { m_refusals << message; });
        m_history.setDatabase(&sql(), inspection::inspectorOf(description()));
        for (const char* name : {"甲", "乙", "丙"}) {
            EXPECT_TRUE(add(name));
        }
        undo();
        expectSides(2, 1);
    }

    mysqlhelper::KV_MySQL& sql() { return m_opened.sql(); }
    const inspection::ProjectDescription& description() const { return m_opened.project.description(); }
    inspection::ProjectHistory& history() { return m_history; }

    inspection::Status add(const char* name) {
        return m_history.perform(QString("添加 ") + name, [&](inspection::EditTransaction& edit) {
            edit.insert("special_point", point(name));
        });
    }
    static mysqlhelper::KV_Record point(const char* name) {
        return {{"name", toGbk(name)}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}};
    }
    void undo() { m_history.TakeUndo()->Undo(true); }
    void redo() { m_history.TakeRedo()->Redo(true); }

    /// What was refused since the last time that it was asked.
    QStringList takeRefusals() {
        QCoreApplication::processEvents();
        return std::exchange(m_refusals, {});
    }
    /// What is stored, rows and history.
    std::vector<mysqlhelper::KV_Rows> stored() {
        std::vector<mysqlhelper::KV_Rows> tables;
        for (const inspection::StoredTable& table : inspection::storedTables()) {
            tables.push_back(sql().queryRecord("select * from " + table.name + " order by " + table.key));
        }
        return tables;
    }
    /// How many edits the history has on each side.
    void expectSides(int undoable, int redoable) {
        int undone = 0;
        for (; m_history.CanUndo(); ++undone) {
            m_history.TakeUndo();
        }
        int all = 0;
        for (; m_history.CanRedo(); ++all) {
            m_history.TakeRedo();
        }
        for (int edit = all; edit > undone; --edit) {
            m_history.TakeUndo();
        }
        EXPECT_EQ(undone, undoable);
        EXPECT_EQ(all - undone, redoable);
    }
    void expectOneRefusal(const QString& start) {
        QCoreApplication::processEvents();
        ASSERT_EQ(m_refusals.size(), 1) << m_refusals.join('\n').toStdString();
        EXPECT_TRUE(m_refusals[0].startsWith(start)) << m_refusals[0].toStdString();
        EXPECT_FALSE(m_refusals[0].contains('\n')) << m_refusals[0].toStdString();
        m_refusals.clear();
    }
    static void expectRefused(const inspection::Status& outcome) {
        ASSERT_FALSE(outcome);
        EXPECT_TRUE(outcome.error().userMessage.startsWith("数据库拒绝了修改，未作任何更改："))
            << outcome.error().userMessage.toStdString();
        EXPECT_FALSE(outcome.error().userMessage.contains('\n')) << outcome.error().userMessage.toStdString();
    }
    static void expectLost(const inspection::Status& outcome) {
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().userMessage, "与数据库的连接已断开，未作任何更改");
    }
    /// That all goes on as if nothing had been.
    void expectWorking() {
        expectSides(2, 1);
        redo();
        undo();
        EXPECT_TRUE(add("丁"));
        m_history.UndoSteps(2);
        redo();
        redo();
        expectSides(3, 0);
        QCoreApplication::processEvents();
        EXPECT_TRUE(m_refusals.isEmpty()) << m_refusals.join('\n').toStdString();
        const inspection::Findings findings = inspection::checkProject(description(), sql());
        EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
    }

private:
    OpenedProject m_opened;
    inspection::ProjectHistory m_history;
    QStringList m_refusals;
};
