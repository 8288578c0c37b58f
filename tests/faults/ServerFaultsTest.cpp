// The same for a project whose database is on a server: one of the calls by which the client library talks to it fails,
// before the server has heard a request (send) or before its answer is heard (recv), or the server is gone from then on.
// Of these calls an even choice of kMostPlaces is tried; of a command that stores something also the last kLastPlaces, among
// which is the end of its transaction. With CORRIDOR_FAULT_PLACES set, the choice is of that many.

#include "tests/faults/CommandRun.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cerrno>
#include <mutex>

namespace faults {
namespace {

constexpr long kMostPlaces = 3;
constexpr long kLastPlaces = 4;

struct ServerCommand {
    Command command; ///< "@" stands for the address of an empty database
    /// What the project's database tells: 0 when it holds what there was, 1 what the command makes of it, and else when it
    /// holds neither as a whole. Empty where nothing is stored in it.
    const char* state = "";
    bool stores = false; ///< has transactions in some database
};

const std::vector<ServerCommand>& commands() {
    static const std::vector<ServerCommand> all{
        {{"compute", {"compute", "%/p", "--pair", "2024-05-18,2025-05-20"}, {}},
         "select case sum(fill_m3=12345) when count(*) then 0 when 0 then 1 else 2 end from anomaly",
         true},
        {{"import", {"import", "%/p", "--points", "%/points.csv"}, {}, true},
         "select case count(*) when 0 then 0 when 2 then 1 else 2 end from special_point",
         true},
        {{"report", {"report", "%/p", "--out", "%/r.pdf"}, {"r.pdf"}}},
        {{"shape", {"shape", "%/p", "--out", "%"}, {"corridor.gpkg", "anomalies.dbf"}}},
        {{"info", {"info", "%/p"}, {}}},
        {{"check", {"check", "%/p"}, {}}},
        {{"set", {"project", "set", "%/p", "--name", "new"}, {}}},
        {{"remove-epoch", {"project", "remove-epoch", "%/p", "2026-05-20"}, {}, true},
         "select case count(*) when 2 then 0 when 1 then 1 else 2 end from comparison",
         true},
        {{"move there", {"project", "set-database", "%/q", "@"}, {}, true}, "", true},
        {{"move back", {"project", "set-database", "%/p", "inspection.db"}, {}, true}, "", true}};
    return all;
}

/// A computed project p in a file, which is moved to a database of the server's for each run, and its like q, which stays.
class ServerFaults : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_base = new QTemporaryDir;
        const SmallProject project;
        copyFolder(project.folder(), s_base->filePath("p"));
        for (const QStringList& words : {QStringList{"compute", "%/p"},
                                         {"project", "add-epoch", "%/p", "2026-05-20=%/p/new/dsm.tif"},
                                         {"compute", "%/p", "--pair", "2025-05-20,2026-05-20"},
                                         {"compute", "%/p", "--pair", "2024-05-18,2025-05-20"}}) {
            const Outcome outcome = run(words, s_base->path());
            ASSERT_EQ(outcome.status, 0) << outcome.told().toStdString();
        }
        copyFolder(s_base->filePath("p"), s_base->filePath("q"));
        write(s_base->filePath("points.csv"), "name,lon,lat\nP1,114.0005,30.71\nP2,114.001,30.71\n");
        for (const ServerCommand& each : commands()) {
            for (const QString& output : each.command.outputs) {
                write(s_base->filePath(output), kEarlier);
            }
        }
    }
    static void TearDownTestSuite() { delete s_base; }

    /// Where one run takes place.
    class Place {
    public:
        explicit Place(const ServerCommand& what)
            : m_command(what.command), m_state(what.state), m_url(newDatabase()) {
            copyFolder(s_base->path(), folder());
            const Outcome moved = run({"project", "set-database", "%/p", m_url}, folder());
            EXPECT_EQ(moved.status, 0) << moved.told().toStdString();
            onServer("update anomaly set fill_m3=12345");
            for (QString& argument : m_command.arguments) {
                argument = argument == "@" ? newDatabase() : argument;
            }
        }
        QString folder() const { return m_folder.filePath("r"); }
        const Command& command() const { return m_command; }

        QString wrongAfter(const Fault& fault) const {
            const Outcome outcome = run(m_command.arguments, folder(), fault);
            if (isFinding(outcome)) {
                return {};
            }
            for (const QString& words : {wrongEnd(outcome), wrongStored(outcome), wrongLater(outcome)}) {
                if (!words.isEmpty()) {
                    return QStringLiteral("%1, %2 %3: ").arg(m_command.name, fault.call).arg(fault.at) +
                           words;
                }
            }
            return {};
        }

    private:
        static QString newDatabase() {
            static std::mutex mutex;
            const std::lock_guard lock(mutex);
            return MariaDbServer::instance().newDatabase();
        }
        QString onServer(const QString& sql) const {
            return MariaDbServer::instance().run(sql, m_url.section('/', 3).section('?', 0, 0)).value(0);
        }
        /// What cannot be read is something that `check` finds, and prints.
        bool isFinding(const Outcome& outcome) const {
            return QString(m_command.name) == "check" && outcome.status == 1 && outcome.lines.isEmpty();
        }
        /// Whether the database holds what the command says.
        QString wrongStored(const Outcome& outcome) const {
            if (m_state.isEmpty() || outcome.told().contains(QStringLiteral("尚不能确定"))) {
                return {};
            }
            const QString state = onServer(m_state);
            return state == (outcome.status == 0 ? "1" : "0")
                       ? QString()
                       : "the database is in state " + state + " after " + outcome.told();
        }
        /// Whether the folder is in order, and what failed can be done now.
        QString wrongLater(const Outcome& outcome) const {
            QString words = wrongIn(folder(), m_command, outcome);
            if (!words.isEmpty() || outcome.status == 0) {
                return words;
            }
            const Outcome again = run(m_command.arguments, folder());
            return again.status == 0 ? QString() : outcome.told() + " and again: " + again.told();
        }

        QTemporaryDir m_folder;
        Command m_command;
        QString m_state;
        QString m_url;
    };

    static long callsOf(const ServerCommand& what, const QString& call) {
        const Place place(what);
        const long calls = faults::callsOf(place.command(), call, place.folder());
        EXPECT_GT(calls, 0) << what.command.name;
        return calls;
    }

    static std::set<long> placesOf(const ServerCommand& what, const QString& call) {
        const long calls = callsOf(what, call);
        std::set<long> chosen = places(calls, kMostPlaces);
        for (long last = std::max(1L, calls - kLastPlaces + 1); what.stores && last <= calls; ++last) {
            chosen.insert(last);
        }
        return chosen;
    }

    static void tryAll(const QString& call, int error) {
        std::vector<std::function<QString()>> work;
        for (const ServerCommand& what : commands()) {
            for (const long at : placesOf(what, call)) {
                work.emplace_back(
                    [&what, fault = Fault{call, at, error}] { return Place(what).wrongAfter(fault); });
            }
        }
        expectNothingWrong(work);
    }

    static inline QTemporaryDir* s_base = nullptr;
};

TEST_F(ServerFaults, ARequestDoesNotArrive) {
    tryAll("send", EPIPE);
}
TEST_F(ServerFaults, AnAnswerIsNotHeard) {
    tryAll("recv", ECONNRESET);
}

// Waits for the server to come back, for as long as its patience lasts.
TEST_F(ServerFaults, TheServerIsGone) {
    std::vector<std::function<QString()>> work;
    for (const ServerCommand& what : commands()) {
        work.emplace_back([&what] {
            const long middle = (callsOf(what, "recv") + 1) / 2;
            return Place(what).wrongAfter({"recv", middle, ECONNRESET, true});
        });
    }
    expectNothingWrong(work);
}

} // namespace
} // namespace faults
