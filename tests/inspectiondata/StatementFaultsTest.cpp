// Every statement of an edit, an undo and a computation fails once, and every connection is cut there once: what the
// user is told is what is stored, as a whole, and the next step works.

#include "EditedProject.h"

#include "tests/support/CuttingProxy.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/Driver.h"

#include <QDir>
#include <QDirIterator>

#include <functional>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Rows;

constexpr char kLost[] = "与数据库的连接已断开，未作任何更改";

/// How the n-th statement comes to nothing.
enum class How { RefusedInFile, RefusedByServer, CutBefore, CutAfter };

std::string howName(const testing::TestParamInfo<How>& info) {
    constexpr std::array kNames{"RefusedInFile", "RefusedByServer", "CutBefore", "CutAfter"};
    return kNames.at(static_cast<std::size_t>(info.param));
}

/// Makes one statement fail, on a connection or behind it.
class Fault {
public:
    explicit Fault(How how) : m_how(how) {
        if (isCut()) {
            m_proxy = std::make_unique<CuttingProxy>(newProjectDatabase(DatabaseKind::MariaDb));
        }
    }
    QString database() const {
        return m_proxy ? m_proxy->url()
                       : newProjectDatabase(m_how == How::RefusedInFile ? DatabaseKind::Sqlite
                                                                        : DatabaseKind::MariaDb);
    }
    bool isCut() const { return m_how == How::CutBefore || m_how == How::CutAfter; }

    /// Runs the work, in which the `number`th statement fails. False when there were fewer.
    bool strike(KV_MySQL& database, int number, const std::function<void()>& work) {
        if (m_proxy) {
            m_proxy->cutAt(number,
                           m_how == How::CutBefore ? CuttingProxy::Cut::Request : CuttingProxy::Cut::Answer);
            work();
            const bool hasCut = m_proxy->hasCut();
            m_proxy->cutAt(0);
            return hasCut;
        }
        int count = 0;
        database.driver().setBeforeStatement([&](const QString& /*sql*/) {
            if (++count == number) {
                throw KV_MySQL_Exception("refused on purpose");
            }
        });
        work();
        database.driver().setBeforeStatement({});
        return count >= number;
    }

private:
    const How m_how;
    std::unique_ptr<CuttingProxy> m_proxy;
};

class StatementFaultsTest : public testing::TestWithParam<How> {
protected:
    /// That nothing is said to be in doubt, or done that is not: the server can be asked.
    void expectRefusal(const QString& text, const QString& refused) const {
        EXPECT_TRUE(m_fault.isCut() ? text.endsWith(kLost) : text.startsWith(refused)) << text.toStdString();
    }

    Fault m_fault{GetParam()};
    EditedProject m_project{m_fault.database()};
};
INSTANTIATE_TEST_SUITE_P(With, StatementFaultsTest,
                         testing::Values(How::RefusedInFile, How::RefusedByServer, How::CutBefore,
                                         How::CutAfter),
                         howName);

TEST_P(StatementFaultsTest, AnEditIsStoredOrNotAsItIsTold) {
    bool hasFailed = true;
    int edits = 2;
    int stored = 0;
    for (int number = 1; hasFailed; ++number) {
        SCOPED_TRACE(number);
        const auto before = m_project.stored();
        const std::string name = "第" + std::to_string(number);
        Status outcome;
        hasFailed = m_fault.strike(m_project.sql(), number, [&] { outcome = m_project.add(name.c_str()); });
        edits += outcome ? 1 : 0;
        stored += outcome && hasFailed ? 1 : 0;
        const auto after = m_project.stored();
        EXPECT_EQ(after != before, outcome.has_value());
        if (!outcome) {
            expectRefusal(outcome.error().userMessage, "数据库拒绝了修改，未作任何更改：");
        }
        m_project.expectSides(edits, edits == 2 ? 1 : 0);
    }
    EXPECT_GT(edits, 2);
    // A cut is made good before the edit begins, and when only its completion was not heard of.
    EXPECT_EQ(stored > 0, m_fault.isCut());
    EXPECT_TRUE(checkProject(m_project.description(), m_project.sql()).empty());
}

TEST_P(StatementFaultsTest, AnUndoAndARedoAreStoredOrNotAsTheyAreTold) {
    bool hasFailed = true;
    for (int number = 1; hasFailed; ++number) {
        SCOPED_TRACE(number);
        for (const bool isUndo : {true, false}) {
            const auto before = m_project.stored();
            hasFailed = m_fault.strike(m_project.sql(), number,
                                       [&] { isUndo ? m_project.undo() : m_project.redo(); });
            const QStringList refusals = m_project.takeRefusals();
            const bool isDone = m_project.stored() != before;
            EXPECT_EQ(refusals.isEmpty(), isDone) << refusals.join('\n').toStdString();
            if (!isDone) {
                expectRefusal(refusals.value(0),
                              isUndo ? "无法撤销，未作任何更改：" : "无法重做，未作任何更改：");
                isUndo ? m_project.undo() : m_project.redo();
            }
            isUndo ? m_project.expectSides(1, 2) : m_project.expectSides(2, 1);
        }
    }
    m_project.expectWorking();
}

TEST_P(StatementFaultsTest, SeveralUndosAreOneAlsoThen) {
    bool hasFailed = true;
    for (int number = 1; hasFailed; ++number) {
        SCOPED_TRACE(number);
        const auto before = m_project.stored();
        hasFailed = m_fault.strike(m_project.sql(), number, [&] { m_project.history().UndoSteps(2); });
        const bool isDone = m_project.takeRefusals().isEmpty();
        EXPECT_EQ(m_project.stored() != before, isDone);
        isDone ? m_project.expectSides(0, 3) : m_project.expectSides(2, 1);
        if (isDone) {
            m_project.redo();
            m_project.redo();
        }
    }
    m_project.expectWorking();
}

TEST_P(StatementFaultsTest, AComputationReplacesEverythingOrNothing) {
    ComputationRequest request;
    request.project = m_project.description();
    request.threads = 2;
    ASSERT_TRUE(computeAnomalies(request, m_project.sql()));
    const auto rasters = [&] {
        QStringList files;
        QDirIterator walk(request.project.outputFolder(), QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            files << walk.next();
        }
        files.sort();
        return files;
    };
    bool hasFailed = true;
    for (int number = 1; hasFailed; ++number) {
        SCOPED_TRACE(number);
        const auto before = m_project.stored();
        const QStringList filesBefore = rasters();
        Result<ComputationSummary> outcome;
        hasFailed = m_fault.strike(m_project.sql(), number,
                                   [&] { outcome = computeAnomalies(request, m_project.sql()); });
        EXPECT_EQ(m_project.stored() != before, outcome.has_value());
        EXPECT_EQ(rasters() != filesBefore, outcome.has_value());
        EXPECT_EQ(rasters().size(), filesBefore.size());
        if (!outcome) {
            expectRefusal(outcome.error().userMessage, "数据库操作失败：");
        }
        EXPECT_TRUE(checkProject(request.project, m_project.sql()).empty());
    }
}

/// A server that goes while an edit is completed, and does not come back at once.
class DoubtTest : public testing::Test {
protected:
    DoubtTest() {
        m_project.sql().driver().setPatience({60000, 0, {}});
        QObject::connect(&m_project.history(), &ProjectHistory::settled,
                         [this](const QString& message) { m_settled << message; });
    }
    void loseDuring(CuttingProxy::Cut cut, const std::function<void()>& work) {
        m_proxy.cutAtCommit(cut);
        m_proxy.refuseConnections(true);
        work();
        EXPECT_TRUE(m_proxy.hasCut());
    }
    void comeBack() {
        m_proxy.refuseConnections(false);
        m_project.history().settle();
    }
    void expectDoubtAboutAnEdit(const char* name) {
        const Status outcome = m_project.add(name);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().userMessage,
                  "与数据库的连接在保存时中断，尚不能确定是否已保存；恢复连接后将自动核对");
    }

    CuttingProxy m_proxy{newProjectDatabase(DatabaseKind::MariaDb)};
    EditedProject m_project{m_proxy.url()};
    QStringList m_settled;
};

TEST_F(DoubtTest, AnEditThatWasStoredUnheardIsFoundWhenTheServerIsBack) {
    loseDuring(CuttingProxy::Cut::Answer, [&] { expectDoubtAboutAnEdit("丁"); });
    EXPECT_FALSE(m_project.add("戊")) << "there is no server";
    comeBack();
    EXPECT_EQ(m_settled, QStringList{"连接中断时的操作“添加 丁”已保存"});
    m_project.expectSides(3, 0);
    EXPECT_TRUE(m_project.add("戊"));
    m_project.expectSides(4, 0);
}

TEST_F(DoubtTest, AnEditThatWasNotStoredIsSaidToBeSo) {
    const auto before = m_project.stored();
    loseDuring(CuttingProxy::Cut::Request, [&] { expectDoubtAboutAnEdit("丁"); });
    comeBack();
    EXPECT_EQ(m_settled, QStringList{"连接中断时的操作“添加 丁”未保存"});
    EXPECT_EQ(m_project.stored(), before);
    m_project.expectWorking();
}

TEST_F(DoubtTest, AnUndoIsSettledByTheNextEditToo) {
    loseDuring(CuttingProxy::Cut::Answer, [&] { m_project.undo(); });
    const QStringList refusals = m_project.takeRefusals();
    EXPECT_EQ(
        refusals,
        QStringList{"无法撤销：与数据库的连接在保存时中断，尚不能确定是否已保存；恢复连接后将自动核对"});
    m_proxy.refuseConnections(false);
    EXPECT_TRUE(m_project.add("丁"));
    EXPECT_EQ(m_settled, QStringList{"连接中断时的操作“撤销：添加 乙”已保存"});
    m_project.expectSides(2, 0);
}

} // namespace
