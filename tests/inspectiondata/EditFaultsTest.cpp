// Edits, undos and redos that the database cannot store, and values that look dangerous.

#include "EditedProject.h"

#include "tests/support/ForeignConnection.h"
#include "tests/support/FullDisk.h"
#include "workbench/inspectiondata/database/Revision.h"

#include <functional>
#include <future>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

/// Something that keeps the database from storing for as long as what it gives is kept.
struct Fault {
    std::string name;
    DatabaseKind kind;
    std::function<std::shared_ptr<void>(EditedProject&)> begin;
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

/// Calls `end` when the last copy is gone.
std::shared_ptr<void> until(const std::function<void()>& end) {
    return {nullptr, [end](void*) { end(); }};
}

std::shared_ptr<void> diskIsFull(EditedProject& /*project*/) {
    return std::make_shared<FullDisk>();
}

std::shared_ptr<void> fileIsReadOnly(EditedProject& project) {
    project.sql().execute("pragma query_only=on");
    return until([&project] { project.sql().execute("pragma query_only=off"); });
}

std::shared_ptr<void> fileIsLocked(EditedProject& project) {
    project.sql().queryRecord("pragma busy_timeout=50"); // of five seconds
    auto other = std::make_shared<ForeignConnection>(project.description().databaseFile());
    other->run("begin immediate");
    return other;
}

std::shared_ptr<void> serverIsReadOnly(EditedProject& project) {
    project.sql().execute("set session transaction read only");
    return until([&project] { project.sql().execute("set session transaction read write"); });
}

std::shared_ptr<void> rowIsLocked(EditedProject& project) {
    project.sql().execute("set session innodb_lock_wait_timeout=1");
    auto other = std::make_shared<KV_MySQL>(project.description().databaseUrl().toStdString());
    auto transaction = std::make_shared<KV_MySQL::Transaction>(*other);
    other->execute("update project_revision set revision=revision+1");
    return until([other, transaction]() mutable {
        transaction.reset();
        other.reset();
    });
}

std::shared_ptr<void> tableIsMissing(EditedProject& project) {
    project.sql().execute("alter table special_point rename to elsewhere");
    return until([&project] { project.sql().execute("alter table elsewhere rename to special_point"); });
}

std::shared_ptr<void> historyIsMissing(EditedProject& project) {
    project.sql().execute("alter table edit_history rename to elsewhere");
    return until([&project] { project.sql().execute("alter table elsewhere rename to edit_history"); });
}

class EditFaultsTest : public testing::TestWithParam<Fault> {};
INSTANTIATE_TEST_SUITE_P(With, EditFaultsTest,
                         testing::Values(Fault{"FullDisk", DatabaseKind::Sqlite, diskIsFull},
                                         Fault{"ReadOnlyFile", DatabaseKind::Sqlite, fileIsReadOnly},
                                         Fault{"LockedFile", DatabaseKind::Sqlite, fileIsLocked},
                                         Fault{"MissingTable", DatabaseKind::Sqlite, tableIsMissing},
                                         Fault{"MissingHistory", DatabaseKind::Sqlite, historyIsMissing},
                                         Fault{"ReadOnlyServer", DatabaseKind::MariaDb, serverIsReadOnly},
                                         Fault{"LockedRow", DatabaseKind::MariaDb, rowIsLocked},
                                         Fault{"MissingTableOnServer", DatabaseKind::MariaDb, tableIsMissing},
                                         Fault{"MissingHistoryOnServer", DatabaseKind::MariaDb,
                                               historyIsMissing}),
                         [](const auto& info) { return info.param.name; });

TEST_P(EditFaultsTest, NothingIsChangedOrRecordedAndEverythingWorksAgainAfterwards) {
    EditedProject project(GetParam().kind);
    const auto before = project.stored();
    auto fault = GetParam().begin(project);
    EditedProject::expectRefused(project.add("丁"));
    project.expectSides(2, 1);
    project.undo();
    project.expectOneRefusal("无法撤销，未作任何更改：");
    project.expectSides(2, 1);
    project.redo();
    project.expectOneRefusal("无法重做，未作任何更改：");
    project.expectSides(2, 1);
    project.history().UndoSteps(2);
    project.expectOneRefusal("无法撤销，未作任何更改：");
    fault.reset();
    EXPECT_TRUE(project.stored() == before);
    project.expectWorking();
}

/// A server that fails in the middle.
class CutEditTest : public testing::Test {
protected:
    /// Runs the step and cuts its connection while it deletes a point.
    template<typename Step>
    void cutWhileDeleting(const Step& step) {
        m_project.sql().execute("create trigger pause before delete on special_point for each row "
                                "begin declare none int; set none = sleep(600); end");
        const auto before = m_project.stored();
        auto cut = std::async(std::launch::async, [this] { m_server.killConnectionInside("special_point"); });
        step();
        cut.get();
        EXPECT_TRUE(m_project.stored() == before);
        m_project.expectSides(2, 1);
        m_project.sql().execute("drop trigger pause");
    }

    MariaDbServer& m_server = MariaDbServer::instance();
    EditedProject m_project{DatabaseKind::MariaDb};
};

TEST_F(CutEditTest, AConnectionThatIsCutInTheMiddleOfAnEdit) {
    const auto before = m_project.stored();
    EditedProject::expectLost(m_project.history().perform("两个", [this](EditTransaction& edit) {
        edit.insert("special_point", EditedProject::point("丁"));
        m_server.killConnections();
        edit.insert("special_point", EditedProject::point("戊"));
    }));
    EXPECT_TRUE(m_project.stored() == before);
    m_project.expectWorking();
}

TEST_F(CutEditTest, AConnectionThatIsCutBeforeTheEditIsRecorded) {
    const auto before = m_project.stored();
    EditedProject::expectLost(m_project.history().perform("一个", [this](EditTransaction& edit) {
        edit.insert("special_point", EditedProject::point("丁"));
        m_server.killConnections();
    }));
    EXPECT_TRUE(m_project.stored() == before);
    m_project.expectWorking();
}

TEST_F(CutEditTest, AConnectionThatIsCutInTheMiddleOfUndos) {
    cutWhileDeleting([this] {
        m_project.undo();
        m_project.expectOneRefusal("无法撤销：与数据库的连接已断开，未作任何更改");
    });
    cutWhileDeleting([this] {
        m_project.history().UndoSteps(2);
        m_project.expectOneRefusal("无法撤销：与数据库的连接已断开，未作任何更改");
    });
    m_project.expectWorking();
}

TEST_F(CutEditTest, AServerThatIsRestartedBetweenEditsIsNotNoticed) {
    const auto restart = [this] {
        m_server.stop();
        m_server.start();
    };
    restart();
    m_project.redo();
    restart();
    m_project.undo();
    restart();
    EXPECT_TRUE(m_project.add("丁"));
    restart();
    m_project.history().UndoSteps(1);
    m_project.expectSides(2, 1);
    const Findings findings = checkProject(m_project.description(), m_project.sql());
    EXPECT_TRUE(findings.empty()) << findings.front().line().toStdString();
}

class EditedValuesTest : public testing::TestWithParam<DatabaseKind> {
protected:
    EditedProject m_project{GetParam()};

    std::string attribute() {
        return std::get<std::string>(readRow(m_project.sql(), "special_point", 1).value().at("attribute"));
    }
    void expectStoredUndoneAndMadeAgain(const QString& text) {
        const std::string before = attribute();
        const std::string value = toGbk(text);
        const std::int64_t version = versionOf(readRow(m_project.sql(), "special_point", 1).value());
        const Status outcome =
            m_project.history().perform("编辑 " + text.left(40), [&](EditTransaction& edit) {
                edit.update("special_point", 1, {{"attribute", value}}, version);
            });
        ASSERT_TRUE(outcome) << outcome.error().message.left(300).toStdString();
        EXPECT_TRUE(attribute() == value);
        m_project.undo();
        EXPECT_TRUE(attribute() == before);
        m_project.redo();
        EXPECT_TRUE(attribute() == value);
    }
};
INSTANTIATE_TEST_SUITE_P(On, EditedValuesTest, kEachKind, kindName);

TEST_P(EditedValuesTest, WhateverTheUserWritesIsStoredAndReadBackExactly) {
    for (const QString& text :
         {QString("'"), QString("\""), QString("`"), QString("\\"), QString("\\'; --"), QString("?"),
          QString("'); drop table special_point; --"), QString("\" or 1=1; delete from anomaly; /*"),
          QString("null"), QString("[{\"table\":\"special_point\"}]"), QString("{\"base64\":\"AAAA\"}"),
          QString("a\nb\r\n\tc"), QString("  两边的空白  "), QString::fromUtf8("a\0b", 3), QString(QChar(0)),
          QString("😀👨‍👩‍👧 𠮷野家 Ω é e\u0301"), QString("%1 %s %n"), QString("")}) {
        SCOPED_TRACE(text.toStdString());
        expectStoredUndoneAndMadeAgain(text);
    }
    EXPECT_TRUE(checkProject(m_project.description(), m_project.sql()).empty());
}

TEST_P(EditedValuesTest, TenMegabytesAreAValueToo) {
    expectStoredUndoneAndMadeAgain(QString("管道'巡\"检").repeated(760000));
    EXPECT_GT(gbkToUtf8(attribute()).size(), 10U << 20U);
    EXPECT_TRUE(checkProject(m_project.description(), m_project.sql()).empty());
    expectStoredUndoneAndMadeAgain("短");
}

TEST(EditedValueTest, WhatTheServerDoesNotTakeIsRefusedAsAWhole) {
    EditedProject project(DatabaseKind::MariaDb);
    const auto before = project.stored();
    EditedProject::expectRefused(project.history().perform("太长", [](EditTransaction& edit) {
        edit.update("special_point", 1, {{"height_m", 1.0}}, 1);
        KV_Record point = EditedProject::point("丁");
        point["attribute"] = std::string(40U << 20U, 'x');
        edit.insert("special_point", point);
    }));
    EXPECT_TRUE(project.stored() == before);
    project.expectWorking();
}

} // namespace
