#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <set>
#include <vector>

/// Runs of the `corridor` command in which a call to the system fails, and what is looked at behind them.
namespace faults {

struct Command {
    const char* name;
    QStringList arguments;   ///< "%" stands for the folder of the run
    QStringList outputs;     ///< in that folder
    bool isDoneOnce = false; ///< what was stored before the end is refused the second time
};

/// A fault, or none for an empty call.
struct Fault {
    QString call;       ///< as FaultyCalls.cpp names it
    long at = 0;        ///< which of these calls, from 1
    int error = 0;      ///< the error number, or minus a signal
    bool lasts = false; ///< all calls behind it fail, too
};

struct Outcome {
    int status = -1; ///< -1 when it ended otherwise
    QStringList lines;

    QString told() const { return lines.join('|'); }
};

/// Runs it in the folder; its calls are counted into `countFile` where that is named.
Outcome run(const QStringList& arguments, const QString& folder, const Fault& fault = {},
            const QString& countFile = {});
/// How many such calls a run of the command makes.
long callsOf(const Command& command, const QString& call, const QString& folder);

QByteArray contentOf(const QString& file);
void write(const QString& file, const QByteArray& text);
void copyFolder(const QString& from, const QString& to);
/// What earlier runs have left in an output.
extern const QByteArray kEarlier;

/// What is wrong with how it ended, empty when nothing is: with 0, or with 1 and one line of the command's.
/// Libraries may say more before it, GDAL does when it gets no memory.
QString wrongEnd(const Outcome& outcome, bool mayLibrariesSpeak = false);
/// What is wrong in the folder behind a run: something is left over, outputs are neither all earlier ones nor all new ones, or
/// `check` finds a fault in the project p. Empty when nothing is.
QString wrongIn(const QString& folder, const Command& command, const Outcome& outcome);

/// Every number up to `calls`, or an even choice of `most` of them, or of as many as CORRIDOR_FAULT_PLACES tells.
std::set<long> places(long calls, long most);

/// Does the work on several threads; expects that none has words for what is wrong.
void expectNothingWrong(const std::vector<std::function<QString()>>& work);

} // namespace faults
