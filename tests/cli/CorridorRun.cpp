#include "tests/cli/CorridorRun.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QRegularExpression>

#include <csignal>

namespace {

CorridorRun finished(QProcess& process) {
    EXPECT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    CorridorRun run{process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()), {}, {}};
    static const QRegularExpression progress(QStringLiteral(" \\d+%$"));
    for (const QString& line :
         QString::fromUtf8(process.readAllStandardError()).split('\n', Qt::SkipEmptyParts)) {
        (progress.match(line).hasMatch() ? run.progress : run.errors) << line;
    }
    return run;
}

} // namespace

CorridorRun corridor(const QStringList& arguments, const std::function<void()>& before) {
    QProcess process;
    if (before) {
        process.setChildProcessModifier(before);
    }
    process.start(QStringLiteral(CORRIDOR_PROGRAM), arguments);
    return finished(process);
}

namespace {

/// Runs the program until this message appears and sends it a signal then.
void signalWhen(QProcess& process, const QStringList& arguments, const QString& message, int signal) {
    process.setReadChannel(QProcess::StandardError);
    process.start(QStringLiteral(CORRIDOR_PROGRAM), arguments);
    bool isRunning = true;
    while (isRunning && !process.peek(process.bytesAvailable()).contains(message.toUtf8())) {
        isRunning = process.waitForReadyRead(120000);
    }
    // A process that has ended has the number 0, which means all of this test's group.
    ASSERT_TRUE(isRunning) << message.toStdString();
    EXPECT_EQ(kill(static_cast<pid_t>(process.processId()), signal), 0);
}

} // namespace

CorridorRun interruptedCorridor(const QStringList& arguments, const QString& message) {
    QProcess process;
    signalWhen(process, arguments, message, SIGINT);
    return finished(process);
}

void killedCorridor(const QStringList& arguments, const QString& message) {
    QProcess process;
    signalWhen(process, arguments, message, SIGKILL);
    EXPECT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
}

void expectFailure(const CorridorRun& run, int status, const QString& mentions) {
    EXPECT_EQ(run.status, status);
    ASSERT_EQ(run.errors.size(), 1) << run.errors.join('\n').toStdString();
    EXPECT_TRUE(run.errors[0].startsWith("corridor ")) << run.errors[0].toStdString();
    EXPECT_TRUE(run.errors[0].contains(mentions)) << run.errors[0].toStdString();
}

std::function<void()> withSmallDisk(rlim_t bytes) {
    return [bytes] {
        std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit fails, as on a full disk
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
}
