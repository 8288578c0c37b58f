// One call to the system fails, or a signal arrives at it: each command ends in one line, loses nothing and leaves nothing.
// Of calls of which there are many, an even choice of kMostPlaces is tried; with CORRIDOR_FAULT_PLACES set, of that many.

#include "tests/faults/CommandRun.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cerrno>
#include <csignal>

namespace faults {
namespace {

constexpr long kMostPlaces = 7;

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

/// A computed project p, two pieces, points and earlier results, to be copied for each run.
class Faults : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_base = new QTemporaryDir;
        const SmallProject project;
        copyFolder(project.folder(), at("p"));
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

    /// What is wrong after a run with a fault; empty when nothing is.
    static QString wrongAfter(const Command& command, const Fault& fault) {
        const QTemporaryDir place;
        const QString folder = place.filePath("r");
        copyFolder(s_base->path(), folder);
        const Outcome outcome = run(command.arguments, folder, fault);
        const bool isKilled = fault.error == -SIGKILL;
        if (isKilled && outcome.status == -1) {
            const Outcome again = run(command.arguments, folder); // takes away what was left
            return again.status != 0 && !command.isDoneOnce ? "again: " + again.told()
                                                            : wrongIn(folder, command, again);
        }
        const bool isFinding = QString(command.name) == "check" && outcome.lines.isEmpty();
        const QString end = wrongEnd(outcome, fault.call == "malloc" || fault.call == "mmap");
        return end.isEmpty() || (isFinding && outcome.status == 1) ? wrongIn(folder, command, outcome) : end;
    }

    static std::set<long> placesOf(const Command& command, const QString& call) {
        const QTemporaryDir place;
        const QString folder = place.filePath("r");
        copyFolder(s_base->path(), folder);
        return places(callsOf(command, call, folder), kMostPlaces);
    }

    static void tryAll(const QString& call, int error) {
        std::vector<std::function<QString()>> work;
        for (const Command& command : commands()) {
            for (const long place : placesOf(command, call)) {
                work.emplace_back([&command, fault = Fault{call, place, error}] {
                    const QString words = wrongAfter(command, fault);
                    return words.isEmpty() ? words
                                           : QStringLiteral("%1, %2 %3, error %4: %5")
                                                 .arg(command.name, fault.call)
                                                 .arg(fault.at)
                                                 .arg(fault.error)
                                                 .arg(words);
                });
            }
        }
        expectNothingWrong(work);
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
} // namespace faults
