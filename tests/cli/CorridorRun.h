#pragma once

#include <QString>
#include <QStringList>

#include <functional>

#include <sys/resource.h>

/// What a run of the `corridor` program left.
struct CorridorRun {
    int status = -1;
    QString output;       ///< standard output
    QStringList errors;   ///< lines of standard error without the progress
    QStringList progress; ///< lines of progress
};

/// Runs the program; `before` is called in the new process first.
CorridorRun corridor(const QStringList& arguments, const std::function<void()>& before = {});

/// Runs the program and presses Ctrl-C when this message appears.
CorridorRun interruptedCorridor(const QStringList& arguments, const QString& message);

/// Runs the program and kills it when this message appears.
void killedCorridor(const QStringList& arguments, const QString& message);

/// That the run failed with one line that names the program and `mentions`.
void expectFailure(const CorridorRun& run, int status, const QString& mentions);

/// For `before`: no file may grow beyond this, as on a disk that fills up.
std::function<void()> withSmallDisk(rlim_t bytes);
