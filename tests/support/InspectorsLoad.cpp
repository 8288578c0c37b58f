#include "tests/support/InspectorsLoad.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <thread>

using namespace inspection;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

using Clock = std::chrono::steady_clock;
using Rows = std::map<std::int64_t, KV_Record>;

constexpr const char* kTable = "special_point";
constexpr const char* kColumn = "attribute";

Clock::duration seconds(double value) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(value));
}

std::string markOf(const KV_Record& row) {
    return std::get<std::string>(row.at(kColumn));
}

Rows readRows(KV_MySQL& database) {
    Rows rows;
    for (KV_Record& row : database.queryRecord(std::string("select * from ") + kTable)) {
        const std::int64_t id = std::get<std::int64_t>(row.at("id"));
        rows.emplace(id, std::move(row));
    }
    return rows;
}

/// What an inspector tried, and what he was told of it.
struct Attempt {
    enum class Told { Stored, NotStored, InDoubt };

    QString inspector;
    std::int64_t row = 0;
    std::int64_t seenVersion = 0;
    bool isAllowed = false; ///< he was asked, and said yes
    Told told = Told::NotStored;
};
using Ledger = std::map<std::string, Attempt>; ///< by the mark that it writes into the row

/// What an inspector sees when he has heard of everything up to that revision: the version of each row.
struct Sight {
    QString inspector;
    std::int64_t revision = 0;
    std::map<std::int64_t, std::int64_t> versions;
};

/// An inspector at work. Belongs to the thread that made him.
class Inspector {
public:
    Inspector(const QString& url, int number, unsigned seed)
        : m_name(QStringLiteral("inspector%1@field:/line").arg(number)), m_random(seed),
          m_database(url.toStdString()) {
        m_history.setDatabase(&m_database, m_name);
        QObject::connect(&m_history, &ProjectHistory::rowsChanged,
                         [this](const RowChanges& changes) { show(changes); });
        QObject::connect(&m_history, &ProjectHistory::replacedByOthers, [this] { m_mustRead = true; });
        QObject::connect(&m_history, &ProjectHistory::settled,
                         [this](const QString& message) { settle(message); });
        m_history.setConflictQuestion([this](const QString& /*question*/) { return answer(); });
        m_shown = readRows(m_database);
    }

    /// Edits until then, evenly, and looks once a second what others did.
    void work(Clock::time_point end, double editsPerSecond) {
        const Clock::duration step = seconds(1.0 / editsPerSecond);
        Clock::time_point nextLook = Clock::now();
        for (Clock::time_point next = Clock::now(); next < end; next = std::max(next + step, Clock::now())) {
            std::this_thread::sleep_until(next); // the pace of the load
            if (Clock::now() >= nextLook) {
                nextLook = Clock::now() + seconds(1.0);
                look();
            }
            edit();
        }
    }
    /// When all are done and the server is there: what is still in doubt, and the last news.
    void finish() { look(); }

    const Ledger& ledger() const { return m_ledger; }
    const std::vector<Sight>& sights() const { return m_sights; }
    const std::vector<double>& editSeconds() const { return m_editSeconds; }
    int asked() const { return m_asked; }
    int declined() const { return m_declined; }
    int doubts() const { return m_doubts; }
    int missedLooks() const { return m_missedLooks; }

private:
    void edit() {
        if (!readIfNeeded()) {
            return;
        }
        auto row = m_shown.begin();
        std::advance(row, static_cast<std::ptrdiff_t>(m_random() % m_shown.size()));
        const std::string mark = m_name.toStdString() + ' ' + std::to_string(m_ledger.size() + 1);
        Attempt& attempt = m_ledger[mark];
        attempt = {m_name, row->first, versionOf(row->second)};
        m_current = &attempt;
        const Clock::time_point start = Clock::now();
        const Status done = m_history.perform(QString::fromStdString(mark), [&](EditTransaction& edit) {
            edit.update(kTable, attempt.row, {{kColumn, mark}}, attempt.seenVersion);
        });
        m_current = nullptr;
        if (done) {
            attempt.told = Attempt::Told::Stored;
            m_editSeconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        } else if (done.error().userMessage == mysqlhelper::ConnectionLost("", true).told()) {
            attempt.told = Attempt::Told::InDoubt;
            m_doubtful = &attempt;
            ++m_doubts;
        }
    }
    bool answer() {
        ++m_asked;
        m_current->isAllowed = m_random() % 2 == 0;
        m_declined += m_current->isAllowed ? 0 : 1;
        return m_current->isAllowed;
    }
    void settle(const QString& message) {
        m_doubtful->told = message.endsWith("已保存") ? Attempt::Told::Stored : Attempt::Told::NotStored;
    }
    void look() {
        try {
            m_history.settle();
            const std::int64_t revision = readRevision(m_database);
            m_history.takeStepsOfOthers(revision);
            if (readIfNeeded()) {
                noteSight(revision);
            }
        } catch (const KV_MySQL_Exception&) {
            ++m_missedLooks; // the next one tells it
        }
    }
    void noteSight(std::int64_t revision) {
        Sight sight{m_name, revision, {}};
        for (const auto& [id, row] : m_shown) {
            sight.versions.emplace(id, versionOf(row));
        }
        m_sights.push_back(std::move(sight));
    }
    void show(const RowChanges& changes) {
        for (const RowChange& change : changes) {
            m_shown[change.id] = change.after.value();
        }
    }
    /// False when the server does not tell.
    bool readIfNeeded() {
        try {
            if (m_mustRead) {
                m_shown = readRows(m_database);
                m_mustRead = false;
            }
            return true;
        } catch (const KV_MySQL_Exception&) {
            return false;
        }
    }

    const QString m_name;
    std::mt19937 m_random;
    KV_MySQL m_database;
    ProjectHistory m_history;
    Rows m_shown;
    bool m_mustRead = false;
    Ledger m_ledger;
    std::vector<Sight> m_sights;
    Attempt* m_current = nullptr;
    Attempt* m_doubtful = nullptr;
    std::vector<double> m_editSeconds;
    int m_asked = 0;
    int m_declined = 0;
    int m_doubts = 0;
    int m_missedLooks = 0;
};

void addRows(KV_MySQL& database, int count) {
    KV_MySQL::Transaction transaction(database);
    for (int number = 1; number <= count; ++number) {
        database.insertRecord(kTable, {{"name", "P" + std::to_string(number)},
                                       {"lon_deg", 114.0},
                                       {"lat_deg", 30.7},
                                       {"height_m", 50.0},
                                       {kColumn, std::string()}});
    }
    transaction.commit();
}

/// Cuts connections and lets the server go down and come back, until all are done.
void disturb(MariaDbServer& server, const InspectorsLoad& load, const std::atomic<int>& atWork,
             InspectorsOutcome& outcome) {
    std::mt19937 random(load.seed);
    Clock::time_point nextCut = Clock::now() + seconds(load.secondsBetweenCuts);
    Clock::time_point nextCrash = Clock::now() + seconds(load.secondsBetweenCrashes);
    while (atWork > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // how finely the times are kept
        if (Clock::now() >= nextCrash) {
            nextCrash += seconds(load.secondsBetweenCrashes);
            server.crash();
            server.start();
            ++outcome.crashes;
        } else if (Clock::now() >= nextCut) {
            nextCut += seconds(load.secondsBetweenCuts);
            outcome.cuts += server.cutOneConnection(random()) ? 1 : 0;
        }
    }
}

QString lineOf(const std::string& mark, const char* what) {
    return QString::fromStdString(mark) + ": " + what;
}

/// Holds the steps in their order against the ledger of all.
class Judge {
public:
    Judge(const Ledger& ledger, QStringList& wrong) : m_ledger(ledger), m_wrong(wrong) {}

    void take(const EditStep& step) {
        for (const RowChange& change : step.changes) {
            const std::string mark = markOf(change.after.value());
            const auto attempt = m_ledger.find(mark);
            if (attempt == m_ledger.end() || attempt->second.row != change.id) {
                m_wrong << lineOf(mark, "stored, and nobody tried it");
                continue;
            }
            if (!m_stored.insert(mark).second) {
                m_wrong << lineOf(mark, "stored twice");
            }
            compare(mark, attempt->second, change);
            m_last[change.id] = change.after.value();
            m_lastBy[change.id] = step.inspector;
            m_versions[change.id].insert(versionOf(change.after.value()));
        }
    }
    /// After the last step; `rows` are those that are stored.
    void finish(const Rows& rows) {
        for (const auto& [mark, attempt] : m_ledger) {
            const bool isStored = m_stored.count(mark) != 0;
            if (attempt.told == Attempt::Told::Stored && !isStored) {
                m_wrong << lineOf(mark, "confirmed, and not stored");
            } else if (attempt.told == Attempt::Told::NotStored && isStored) {
                m_wrong << lineOf(mark, "told as not stored, and stored");
            } else if (attempt.told == Attempt::Told::InDoubt) {
                m_wrong << lineOf(mark, "never settled");
            }
        }
        for (const auto& [id, last] : m_last) {
            if (markOf(rows.at(id)) != markOf(last)) {
                m_wrong << lineOf(markOf(last), "the last edit of its row, and not in it");
            }
        }
    }

    void takeSight(const Sight& sight) {
        for (const auto& [id, shown] : sight.versions) {
            const std::set<std::int64_t>& versions = m_versions[id];
            const auto next = versions.upper_bound(sight.revision);
            if (next != versions.begin() && shown < *std::prev(next)) {
                m_wrong << QStringLiteral("%1 has not heard of revision %2")
                               .arg(sight.inspector)
                               .arg(*std::prev(next));
            }
        }
    }

private:
    void compare(const std::string& mark, const Attempt& attempt, const RowChange& change) {
        const auto last = m_last.find(change.id);
        if (last == m_last.end()) {
            return;
        }
        if (markOf(change.before.value()) != markOf(last->second)) {
            m_wrong << lineOf(mark, "replaced what is in no step");
        }
        const bool isSeen = attempt.seenVersion == versionOf(last->second);
        if (!isSeen && !attempt.isAllowed && m_lastBy.at(change.id) != attempt.inspector) {
            m_wrong << lineOf(mark, "replaced what its user had not seen");
        }
    }

    const Ledger& m_ledger;
    QStringList& m_wrong;
    std::set<std::string> m_stored;
    Rows m_last;
    std::map<std::int64_t, QString> m_lastBy;
    std::map<std::int64_t, std::set<std::int64_t>> m_versions;
};

void take(const Inspector& inspector, Ledger& ledger, InspectorsOutcome& outcome) {
    int refused = -inspector.declined();
    for (const auto& [mark, attempt] : inspector.ledger()) {
        const bool isStored = attempt.told == Attempt::Told::Stored;
        outcome.confirmed += isStored ? 1 : 0;
        outcome.replaced += isStored && attempt.isAllowed ? 1 : 0;
        refused += attempt.told == Attempt::Told::NotStored ? 1 : 0;
        ledger.emplace(mark, attempt);
    }
    outcome.refused += refused;
    outcome.inDoubt += inspector.doubts();
    outcome.looks += static_cast<int>(inspector.sights().size());
    outcome.missedLooks += inspector.missedLooks();
    outcome.asked += inspector.asked();
    outcome.declined += inspector.declined();
    outcome.editSeconds.insert(outcome.editSeconds.end(), inspector.editSeconds().begin(),
                               inspector.editSeconds().end());
}

} // namespace

InspectorsOutcome runLoad(MariaDbServer& server, const QString& databaseUrl, const InspectorsLoad& load) {
    addRows(*std::make_unique<KV_MySQL>(databaseUrl.toStdString()), load.rows);
    InspectorsOutcome outcome;
    Ledger ledger;
    std::vector<Sight> sights;
    std::mutex mutex;
    std::promise<void> calm;
    const std::shared_future<void> isCalm = calm.get_future().share();
    std::atomic<int> atWork = load.inspectors;
    std::vector<std::thread> threads;
    const Clock::time_point end = Clock::now() + seconds(load.seconds);
    for (int number = 1; number <= load.inspectors; ++number) {
        threads.emplace_back([&, number] {
            Inspector inspector(databaseUrl, number, load.seed + static_cast<unsigned>(number));
            inspector.work(end, load.editsPerSecond / load.inspectors);
            --atWork;
            isCalm.wait();
            inspector.finish();
            const std::lock_guard lock(mutex);
            take(inspector, ledger, outcome);
            sights.insert(sights.end(), inspector.sights().begin(), inspector.sights().end());
        });
    }
    disturb(server, load, atWork, outcome);
    calm.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }

    KV_MySQL database(databaseUrl.toStdString());
    Judge judge(ledger, outcome.wrong);
    for (const EditStep& step : readSteps(database, 0, {})) {
        judge.take(step);
    }
    judge.finish(readRows(database));
    for (const Sight& sight : sights) {
        judge.takeSight(sight);
    }
    return outcome;
}
