#include "KilledEditor.h"

#include "tests/inspectiondata/Opened.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

namespace {

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

constexpr char kBegins = 'b';
constexpr char kConfirms = 'c';
constexpr char kFails = 'f';

/// The inspector in his own process, who tells by a pipe what he does.
class Editor {
public:
    Editor(const QString& folder, int pipe)
        : m_pipe(pipe), m_project(valueOf(Project::open(folder))),
          m_database(valueOf(PipelineDatabase::open(m_project.description(), m_project.access()))) {
        m_history.setDatabase(&sql(), inspectorOf(m_project.description()));
        QObject::connect(&m_history, &ProjectHistory::rowsChanged, [this] { m_isTaken = true; });
    }

    void take(const PointsStep& step) {
        tell(kBegins);
        m_isTaken = false;
        carryOut(step);
        tell(m_isTaken ? kConfirms : kFails);
    }

private:
    KV_MySQL& sql() { return *m_database->GetMySQL(); }
    void tell(char what) const {
        if (write(m_pipe, &what, 1) != 1) {
            _exit(1);
        }
    }
    void carryOut(const PointsStep& step) {
        switch (step.kind) {
        case PointsStep::Kind::Undo:
            return m_history.TakeUndo()->Undo(true);
        case PointsStep::Kind::Redo:
            return m_history.TakeRedo()->Redo(true);
        case PointsStep::Kind::UndoSteps:
            return m_history.UndoSteps(step.count);
        default:
            m_isTaken = m_history.perform("编辑特殊点", [&](EditTransaction& edit) { change(edit, step); })
                            .has_value();
        }
    }
    void change(EditTransaction& edit, const PointsStep& step) {
        if (step.kind == PointsStep::Kind::Describe) {
            for (const KV_Record& row : sql().queryRecord("select * from special_point")) {
                edit.update("special_point", idOf(row), {{"attribute", toGbk(step.text.c_str())}},
                            versionOf(row));
            }
        }
        for (const std::string& name : step.points) {
            if (step.kind == PointsStep::Kind::Add) {
                edit.insert("special_point",
                            {{"name", name}, {"lon_deg", 114.0}, {"lat_deg", 30.7}, {"height_m", 50.0}});
            } else {
                const KV_Record row = pointOf(name);
                edit.remove("special_point", idOf(row), versionOf(row));
            }
        }
    }
    KV_Record pointOf(const std::string& name) {
        return sql().queryRecord("select * from special_point where name=?", {name}).at(0);
    }
    static std::int64_t idOf(const KV_Record& row) { return std::get<std::int64_t>(row.at("id")); }

    const int m_pipe;
    Project m_project;
    std::unique_ptr<PipelineDatabase> m_database;
    ProjectHistory m_history;
    bool m_isTaken = false;
};

/// Never returns, also not into the test by an exception.
[[noreturn]] void edit(const QString& folder, const std::vector<PointsStep>& steps, int pipe) noexcept {
    Editor editor(folder, pipe);
    for (const PointsStep& step : steps) {
        editor.take(step);
    }
    for (;;) {
        pause();
    }
}

/// Reads what the editor tells.
class Reports {
public:
    explicit Reports(int pipe) : m_pipe(pipe) {}
    /// False at the end.
    bool readOne() {
        char what = 0;
        if (read(m_pipe, &what, 1) != 1) {
            return false;
        }
        EXPECT_NE(what, kFails) << "a step was refused";
        m_killed.wasInside = what == kBegins;
        m_killed.confirmed += what == kConfirms ? 1 : 0;
        return true;
    }
    const KilledEditor& killed() const { return m_killed; }

private:
    const int m_pipe;
    KilledEditor m_killed;
};

using Clock = std::chrono::steady_clock;

/// Somewhere within the time that a step takes.
Clock::duration anyPart(Clock::duration step, std::mt19937& random) {
    constexpr int kParts = 1000;
    return step / kParts * static_cast<int>(random() % kParts);
}

} // namespace

KilledEditor killedEditor(const QString& folder, const std::vector<PointsStep>& steps, std::size_t awaited,
                          std::mt19937& random) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        edit(folder, steps, ends[1]);
    }
    EXPECT_GT(process, 0);
    close(ends[1]);
    Reports reports(ends[0]);
    Clock::time_point begin = Clock::now();
    Clock::duration lastStep{};
    while (reports.killed().confirmed < awaited && reports.readOne()) {
        const auto now = Clock::now();
        lastStep = now - std::exchange(begin, now);
    }
    std::this_thread::sleep_for(anyPart(lastStep, random));
    EXPECT_EQ(kill(process, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended by itself: " << status;
    while (reports.readOne()) {
    }
    close(ends[0]);
    return reports.killed();
}
