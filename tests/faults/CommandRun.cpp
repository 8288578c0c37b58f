#include "tests/faults/CommandRun.h"

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>

#include <algorithm>
#include <filesystem>
#include <mutex>

namespace faults {

const QByteArray kEarlier = "an earlier result";

namespace {

QProcessEnvironment environmentOf(const Fault& fault, const QString& folder, const QString& countFile) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!fault.call.isEmpty()) {
        environment.insert("LD_PRELOAD", FAULTY_CALLS);
        environment.insert("CORRIDOR_FAULT_CALL", fault.call);
        environment.insert("CORRIDOR_FAULT_AT", QString::number(fault.at));
        environment.insert("CORRIDOR_FAULT_LASTS", fault.lasts ? "1" : "0");
        environment.insert("CORRIDOR_FAULT_ERROR", QString::number(fault.error));
        environment.insert("CORRIDOR_FAULT_UNDER", folder);
        environment.insert("CORRIDOR_FAULT_COUNT", countFile);
    }
    return environment;
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

} // namespace

Outcome run(const QStringList& arguments, const QString& folder, const Fault& fault,
            const QString& countFile) {
    QStringList real;
    for (QString argument : arguments) {
        real << argument.replace('%', folder);
    }
    QProcess process;
    process.setProcessEnvironment(environmentOf(fault, folder, countFile));
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

long callsOf(const Command& command, const QString& call, const QString& folder) {
    const QTemporaryDir place;
    const QString count = place.filePath("count");
    const Outcome outcome = run(command.arguments, folder, {call, 0, 0}, count);
    EXPECT_EQ(outcome.status, 0) << command.name << ": " << outcome.told().toStdString();
    return contentOf(count).trimmed().toLong();
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

void copyFolder(const QString& from, const QString& to) {
    std::filesystem::copy(from.toStdString(), to.toStdString(), std::filesystem::copy_options::recursive);
}

QString wrongEnd(const Outcome& outcome, bool mayLibrariesSpeak) {
    if (outcome.status != 0 && outcome.status != 1) {
        return QStringLiteral("ended with %1 ").arg(outcome.status) + outcome.told();
    }
    if (outcome.status == 1 && (outcome.lines.isEmpty() || !outcome.lines.last().startsWith("corridor ") ||
                                (outcome.lines.size() > 1 && !mayLibrariesSpeak))) {
        return "lines: " + outcome.told();
    }
    return {};
}

QString wrongIn(const QString& folder, const Command& command, const Outcome& outcome) {
    if (const QStringList left = leftIn(folder); !left.isEmpty()) {
        return QStringLiteral("left after %1: ").arg(outcome.status) + left.join(' ') + ' ' + outcome.told();
    }
    const auto earlier =
        std::count_if(command.outputs.begin(), command.outputs.end(),
                      [&](const QString& output) { return contentOf(folder + '/' + output) == kEarlier; });
    // What fails after all have taken their places, as telling of them may, leaves new ones.
    if (earlier != 0 && (earlier != command.outputs.size() || outcome.status == 0)) {
        return QStringLiteral("%1 earlier outputs after %2: ").arg(earlier).arg(outcome.status) +
               outcome.told();
    }
    if (const Outcome check = run({"check", "%/p"}, folder); check.status != 0) {
        return "check finds faults: " + check.told();
    }
    return {};
}

std::set<long> places(long calls, long most) {
    if (qEnvironmentVariableIsSet("CORRIDOR_FAULT_PLACES")) {
        most = qEnvironmentVariableIntValue("CORRIDOR_FAULT_PLACES");
    }
    std::set<long> chosen;
    for (long i = 0; i < std::min(most, calls); ++i) {
        chosen.insert(1 + (calls <= most ? i : (calls - 1) * i / (most - 1)));
    }
    return chosen;
}

void expectNothingWrong(const std::vector<std::function<QString()>>& work) {
    std::mutex mutex;
    QStringList wrong;
    QThreadPool pool;
    pool.setMaxThreadCount(4);
    for (const auto& each : work) {
        pool.start([&] {
            const QString words = each();
            const std::lock_guard lock(mutex);
            if (!words.isEmpty()) {
                wrong << words;
            }
        });
    }
    pool.waitForDone();
    EXPECT_TRUE(wrong.isEmpty()) << wrong.join('\n').toStdString();
    testing::Test::RecordProperty("runs", static_cast<int>(work.size()));
    EXPECT_GT(work.size(), 5U);
}

} // namespace faults
