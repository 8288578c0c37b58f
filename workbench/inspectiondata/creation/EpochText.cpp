#include "workbench/inspectiondata/creation/EpochText.h"

#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <tuple>

namespace inspection {

std::pair<QString, QString> epochFiles(const QString& text) {
    const qsizetype comma = text.lastIndexOf(',');
    if (comma < 0 || QFileInfo::exists(text)) {
        return {gdalName(text), QString()};
    }
    return {gdalName(text.left(comma)), gdalName(text.mid(comma + 1))};
}

NewEpoch epochOf(const QString& text) {
    static const QRegularExpression dated(QStringLiteral("^(\\d{4}-\\d{1,2}-\\d{1,2}|)=(.*)$"),
                                          QRegularExpression::DotMatchesEverythingOption);
    NewEpoch epoch;
    QString files = text;
    const auto match = dated.match(text);
    if (match.hasMatch()) {
        epoch.date = match.captured(1);
        files = match.captured(2);
    }
    std::tie(epoch.surface, epoch.picture) = epochFiles(files);
    return epoch;
}

} // namespace inspection
