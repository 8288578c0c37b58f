#include "workbench/inspectiondata/creation/EpochText.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace inspection {

NewEpoch epochOf(const QString& text) {
    static const QRegularExpression dated(QStringLiteral("^(\\d{4}-\\d{1,2}-\\d{1,2})=(.*)$"),
                                          QRegularExpression::DotMatchesEverythingOption);
    NewEpoch epoch;
    QString files = text;
    const auto match = dated.match(text);
    if (match.hasMatch()) {
        epoch.date = match.captured(1);
        files = match.captured(2);
    }
    const qsizetype comma = files.lastIndexOf(',');
    if (comma < 0 || QFileInfo::exists(files)) {
        epoch.surface = files;
    } else {
        epoch.surface = files.left(comma);
        epoch.picture = files.mid(comma + 1);
    }
    return epoch;
}

} // namespace inspection
