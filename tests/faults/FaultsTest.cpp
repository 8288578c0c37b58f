// One call to the system fails, or a signal arrives at it: each command ends in one line, loses nothing and leaves nothing.
// Of calls of which there are many, an even choice of kMostPlaces is tried; with CORRIDOR_FAULT_PLACES set, of that many.

#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr long kMostPlaces = 7;
const QByteArray kEarlier = "an earlier result";

struct Command {
    const char* name;
    QStringList arguments;   ///< "%" stands for the folder of the run
    QStringList outputs;     ///< in that folder
    bool isDoneOnce = false; ///< what was stored before the end is refused the second time
};

const std::vector<Command>& commands() {
    static const std::vector<Command> all{
        {"detect",
         {"detect", "--old", "%/p/old/dsm.tif", "--new", "%/p/new/dsm.tif", "--out", "%/r.gpkg", "--dz",
          "%/dz.tif", "--summary", "%/s.json", "--threads", "2"},
         {"r.gpkg", "dz.tif", "s.json"}},
        {"merge", {"merge", "%/a.gpkg", "%/b.gpkg", "--out", "%/r.gpkg"}, {"r.gpkg"}},
        {"compute", {"compute", "%/p"}, {}},
        {"import", {"import", "%/p", "--points", "%/points.csv"}, {}, true},
        {"report", {"report", "%/p", "--out", "%/r.pdf"}, {"r.pdf"}},
        {"shape", {"shape", "%/p", "--out", "%"}, {"corridor.gpkg", "anomalies.dbf"}},
        {"info", {"info", "%/p"}, {}},
        {"check", {"check", "%/p"}, {}},
        {"create",
         {"project", "create", "%/fresh", "--epoch", "2024-05-18=%/p/old/dsm.tif", "--epoch",
          "2025-05-20=%/p/new/dsm.tif", "--copy"},
         {},
         true}};
    return all;
}

struct Outcome {
    int status = -1; ///< -1 when it ended otherwise
    QStringList lines;
};

/// A fault, or none for an empty call.
struct Fault {
    QString call;
    long at = 0;
    int error = 0;
};

Outcome run(const QStringList& arguments, const QString& folder, const Fault& fault = {},
            const QString& countFile = {}) {
    QStringList real;
    for (QString argument : arguments) {
        real << argument.replace('%', folder);
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!fault.call.isEmpty()) {
        environment.insert("LD_PRELOAD", FAULTY_CALLS);
        environment.insert("CORRIDOR_FAULT_CALL", fault.call);
        environment.insert("CORRIDOR_FAULT_AT", QString::number(fault.at));
        environment.insert("CORRIDOR_FAULT_ERROR", QString::number(fault.error));
        environment.insert("CORRIDOR_FAULT_UNDER", folder);
        environment.insert("CORRIDOR_FAULT_COUNT", countFile);
    }
    process.setProcessEnvironment(environment);
    process.start(CORRIDOR_PROGRAM, real);
    Outcome outcome;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        outcome.lines << "does not end";
        return outcome;
    }
    outcome.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    // How far it has come, and what was said of the pair before a fault.
    static const QRegularExpression news(QStringLiteral(" \\d+%$|^corridor \\w+: 配准："));
    for (const QString& line :
         QString::fromUtf8(process.readAllStandardError()).split('\n', Qt::SkipEmptyParts)) {
        if (!news.match(line).hasMatch()) {
            outcome.lines << line;
        }
    }
    return outcome;
}

QByteArray contentOf(const QString& file) {
    QFile source(file);
    return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
}

void write(const QString& file, const QByteArray& text) {
    QFile target(file);
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    target.write(text);
}

/// Hidden entries and project files in the making, of which nothing must be left. A log that SQLite could not put into its
/// file stays beside it and is read with it; the lock of a project whose owner is dead is taken over by the next one.
QStringList leftIn(const QString& folder) {
    QStringList left;
    for (QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
         all.hasNext();) {
        all.next();
        if ((all.fileName().startsWith('.') && all.fileName() != ".corridor.lock") ||
            all.fileName().contains(QRegularExpression("-journal$|\\.next$"))) {
            left << all.filePath();
        }
    }
    return left;
}

/// A computed project p, two pieces, points and earlier results, to be copied for each run.
class Faults : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_base = new QTemporaryDir;
        const SmallProject project;
        copy(project.folder(), at("p"));
        const QStringList pair{"detect", "--old", "%/p/old/dsm.tif", "--new", "%/p/new/dsm.tif", "--quiet"};
        ASSERT_EQ(run({"compute", "%/p"}, s_base->path()).status, 0);
        ASSERT_EQ(
            run(pair + QStringList{"--window", "0,0,190,160", "--out", "%/a.gpkg"}, s_base->path()).status,
            0);
        ASSERT_EQ(
            run(pair + QStringList{"--window", "190,0,210,160", "--out", "%/b.gpkg"}, s_base->path()).status,
            0);
        write(at("points.csv"), "name,lon,lat\nP1,114.0005,30.71\nP2,114.001,30.71\n");
        for (const Command& command : commands()) {
            for (const QString& output : command.outputs) {
                write(at(output), kEarlier);
            }
        }
    }
    static void TearDownTestSuite() { delete s_base; }
    static QString at(const QString& name) { return s_base->filePath(name); }
    static void copy(const QString& from, const QString& to) {
        fs::copy(from.toStdString(), to.toStdString(), fs::copy_options::recursive);
    }

    /// What is wrong after a run with a fault; empty when nothing is.
    static QString wrongAfter(const Command& command, const Fault& fault) {
        QTemporaryDir place;
        const QString folder = place.filePath("r");
        copy(s_base->path(), folder);
        const Outcome outcome = run(command.arguments, folder, fault);
        const bool isKilled = fault.error == -SIGKILL;
        if (isKilled && outcome.status == -1) {
            const Outcome again = run(command.arguments, folder); // takes away what was left
            return again.status != 0 && !command.isDoneOnce ? "again: " + again.lines.join('|')
                                                            : wrongIn(command, folder, again);
        }
        if (outcome.status != 0 && outcome.status != 1) {
            return QStringLiteral("ended with %1 ").arg(outcome.status) + outcome.lines.join('|');
        }
        const bool mayLibrariesSpeak =
            fault.call == "malloc" || fault.call == "mmap"; // GDAL does when it gets no memory
        const bool isFinding = QString(command.name) == "check" && outcome.lines.isEmpty();
        if (outcome.status == 1 && !isFinding &&
            (outcome.lines.isEmpty() || !outcome.lines.last().startsWith("corridor ") ||
             (outcome.lines.size() > 1 && !mayLibrariesSpeak))) {
            return "lines: " + outcome.lines.join('|');
        }
        return wrongIn(command, folder, outcome);
    }
    static QString wrongIn(const Command& command, const QString& folder, const Outcome& outcome) {
        if (const QStringList left = leftIn(folder); !left.isEmpty()) {
            return QStringLiteral("left after %1: ").arg(outcome.status) + left.join(' ') + ' ' +
                   outcome.lines.join('|');
        }
        const auto earlier =
            std::count_if(command.outputs.begin(), command.outputs.end(), [&](const QString& output) {
                return contentOf(folder + '/' + output) == kEarlier;
            });
        // What fails after all have taken their places, as telling of them may, leaves new ones.
        if (earlier != 0 && (earlier != command.outputs.size() || outcome.status == 0)) {
            return QStringLiteral("%1 earlier outputs after %2: ").arg(earlier).arg(outcome.status) +
                   outcome.lines.join('|');
        }
        if (const Outcome check = run({"check", "%/p"}, folder); check.status != 0) {
            return "check finds faults: " + check.lines.join('|');
        }
        return {};
    }

    /// Every place of a call, or an even choice of them.
    static std::set<long> placesOf(const Command& command, const QString& call) {
        QTemporaryDir place;
        const QString folder = place.filePath("r");
        copy(s_base->path(), folder);
        const QString count = place.filePath("count");
        EXPECT_EQ(run(command.arguments, folder, {call, 0, 0}, count).status, 0) << command.name;
        const long calls = contentOf(count).trimmed().toLong();
        const long most = qEnvironmentVariableIsSet("CORRIDOR_FAULT_PLACES")
                              ? qEnvironmentVariableIntValue("CORRIDOR_FAULT_PLACES")
                              : kMostPlaces;
        std::set<long> places;
        for (long i = 0; i < std::min(most, calls); ++i) {
            places.insert(1 + (calls <= most ? i : (calls - 1) * i / (most - 1)));
        }
        return places;
    }

    static void tryAll(const QString& call, int error) {
        std::mutex mutex;
        QStringList wrong;
        int runs = 0;
        QThreadPool pool;
        pool.setMaxThreadCount(4);
        for (const Command& command : commands()) {
            for (const long place : placesOf(command, call)) {
                ++runs;
                pool.start([&, place] {
                    const QString words = wrongAfter(command, {call, place, error});
                    const std::lock_guard lock(mutex);
                    if (!words.isEmpty()) {
                        wrong << QStringLiteral("%1, %2 %3, error %4: %5")
                                     .arg(command.name, call)
                                     .arg(place)
                                     .arg(error)
                                     .arg(words);
                    }
                });
            }
        }
        pool.waitForDone();
        EXPECT_TRUE(wrong.isEmpty()) << wrong.join('\n').toStdString();
        RecordProperty("runs", runs);
        EXPECT_GT(runs, 5);
    }

    static inline QTemporaryDir* s_base = nullptr;
};

TEST_F(Faults, AnOpenFails) {
    tryAll("open", EMFILE);
}
TEST_F(Faults, AWriteFails) {
    tryAll("write", ENOSPC);
}
TEST_F(Faults, AFlushFails) {
    tryAll("fsync", EIO);
}
TEST_F(Faults, ARenameFails) {
    tryAll("rename", EACCES);
}
TEST_F(Faults, AMappingFails) {
    tryAll("mmap", ENOMEM);
}
TEST_F(Faults, AnAllocationFails) {
    tryAll("malloc", ENOMEM);
}
TEST_F(Faults, ARequestToEndComes) {
    tryAll("open", -SIGTERM);
}
TEST_F(Faults, ARequestToEndComesWhileOutputsTakeTheirPlaces) {
    tryAll("rename", -SIGINT);
}
TEST_F(Faults, TheProcessIsKilled) {
    tryAll("write", -SIGKILL);
}

} // namespace
