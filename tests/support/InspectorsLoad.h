#pragma once

#include "tests/support/MariaDbServer.h"

#include <QString>
#include <QStringList>

#include <vector>

/// Several inspectors who edit the same project on a server at the same time, each by a connection and a history of
/// his own on a thread of his own, while connections are cut and the server goes down and comes back.
struct InspectorsLoad {
    int inspectors = 10;
    double editsPerSecond = 50.0; ///< of all of them
    double seconds = 600.0;
    double secondsBetweenCuts = 0.5; ///< of one connection, whoever has it
    double secondsBetweenCrashes = 60.0;
    int rows = 200; ///< that are edited, so that they meet
    unsigned seed = 1;
};

/// What came of it.
struct InspectorsOutcome {
    int confirmed = 0;
    int refused = 0;     ///< told as not stored, because the connection was lost
    int inDoubt = 0;     ///< told as not known, and told later
    int asked = 0;       ///< questions whether to replace what somebody else did
    int replaced = 0;    ///< confirmed after the answer yes
    int declined = 0;    ///< given up after the answer no
    int looks = 0;       ///< at what others did
    int missedLooks = 0; ///< while the server was away
    int cuts = 0;
    int crashes = 0;
    std::vector<double> editSeconds; ///< of those that were confirmed
    QStringList wrong;               ///< what must not be, a line each
};

/// Runs the load on an empty database of that server. At the end the stored history is held against what everybody was
/// told: what was confirmed is stored once, what was told as not stored is not; no edit replaced what its user had
/// not seen and was not asked about; and after each look at what others did everybody sees it.
InspectorsOutcome runLoad(MariaDbServer& server, const QString& databaseUrl, const InspectorsLoad& load);
