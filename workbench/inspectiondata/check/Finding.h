#pragma once

#include <QString>

#include <vector>

namespace inspection {

/// Something that is wrong in a project; Chinese for the user but for names of tables and files.
struct Finding {
    QString subject; ///< table or file
    QString object;  ///< which row of it, by id and name; empty for all of it
    QString problem;

    /// "anomaly 12 “S1-0001”：…", one line.
    QString line() const {
        const QString where = object.isEmpty() ? subject : subject + ' ' + object;
        return (where + QStringLiteral("：") + problem).simplified();
    }
};

using Findings = std::vector<Finding>;

} // namespace inspection
