// Commands on a long line: their memory does not grow with it.

#include "tests/cli/CorridorRun.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/SmallProject.h"

#include <gtest/gtest.h>

#include <QFileInfo>

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kFew = 500;
constexpr int kMany = 20000;

class LongLineMemoryTest : public testing::Test {
protected:
    LongLineMemoryTest() { EXPECT_EQ(corridor({"compute", m_project.folder()}).status, 0); }

    /// Stations of 25 anomalies each, all on the ground of the small project's.
    void makeAnomalies(int count) const {
        const ForeignConnection database(m_project.file("inspection.db"));
        const QString numbers =
            QStringLiteral("WITH RECURSIVE number(n) AS (SELECT %1 UNION ALL SELECT n+1 FROM "
                           "number WHERE n<%2) ");
        database.run("DELETE FROM anomaly WHERE id>100");
        database.run("DELETE FROM station WHERE id>2");
        database.run(
            numbers.arg(3).arg(count / 25) +
            "INSERT INTO station SELECT n, 'T'||n, srs, x_min, y_min, x_max, y_max, start_m, end_m FROM "
            "station, number WHERE id=1");
        database.run("CREATE TEMP TABLE one AS SELECT * FROM anomaly ORDER BY id LIMIT 1");
        database.run("CREATE TEMP TABLE many AS " + numbers.arg(101).arg(100 + count) +
                     "SELECT n, one.* FROM one, number");
        database.run("UPDATE many SET id=n, name='T'||n, station_id=1+n%" + QString::number(count / 25));
        database.run("ALTER TABLE many DROP COLUMN n");
        database.run("INSERT INTO anomaly SELECT * FROM many");
        database.run("DROP TABLE many");
        database.run("DROP TABLE one");
    }
    /// Most memory that a run had, of which the command must make a success.
    static double megabytes(const QStringList& arguments) {
        const pid_t child = fork();
        if (child == 0) {
            std::vector<QByteArray> words{CORRIDOR_PROGRAM};
            for (const QString& argument : arguments) {
                words.push_back(argument.toUtf8());
            }
            std::vector<char*> pointers;
            for (QByteArray& word : words) {
                pointers.push_back(word.data());
            }
            pointers.push_back(nullptr);
            if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr)) {
                _exit(98);
            }
            execv(CORRIDOR_PROGRAM, pointers.data());
            _exit(99);
        }
        int status = -1;
        rusage usage{};
        EXPECT_EQ(wait4(child, &status, 0, &usage), child);
        EXPECT_EQ(status, 0) << arguments.join(' ').toStdString();
        constexpr double kKilobytesPerMegabyte = 1024.0;
        return double(usage.ru_maxrss) / kKilobytesPerMegabyte;
    }

    SmallProject m_project;
};

TEST_F(LongLineMemoryTest, FortyTimesAsManyAnomaliesTakeHardlyMore) {
    const std::vector<QStringList> commands{
        {"shape", m_project.folder(), "--out", m_project.beside("shape")},
        {"info", m_project.folder()},
        {"check", m_project.folder()},
    };
    makeAnomalies(kFew);
    std::vector<double> before;
    for (const QStringList& command : commands) {
        before.push_back(megabytes(command));
    }
    makeAnomalies(kMany);
    constexpr double kMostGrowth = 16.0; // records of all of them are 50 MB and more
    for (std::size_t i = 0; i < commands.size(); ++i) {
        EXPECT_LT(megabytes(commands[i]) - before[i], kMostGrowth) << commands[i].first().toStdString();
    }
    EXPECT_GT(QFileInfo(m_project.beside("shape/anomalies.dbf")).size(), kMany) << "they were all written";
}

} // namespace
