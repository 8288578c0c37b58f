#include "workbench/inspectiondata/project/ProjectDescription.h"

#include "detect/output/ParameterTable.h"
#include "detect/output/ParameterText.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDir>
#include <QStringList>

#include <algorithm>
#include <tuple>

namespace inspection {

bool ProjectParameters::operator==(const ProjectParameters& other) const {
    return detect::haveSameFields(*this, other) &&
           std::tie(fillColour, cutColour, overlayMode) ==
               std::tie(other.fillColour, other.cutColour, other.overlayMode);
}

QString pairTitle(const EpochPair& pair) {
    return pair.older + QStringLiteral(" → ") + pair.newer;
}

QString ProjectDescription::keyOf(const Epoch& epoch) const {
    constexpr int kLongestKey = 384; // of two that a server keeps unique together
    return epoch.date.isEmpty() ? storedPath(folder, epoch.dsm).right(kLongestKey) : epoch.date;
}

const Epoch* ProjectDescription::findEpoch(const QString& key) const {
    const auto found =
        std::find_if(epochs.begin(), epochs.end(), [&](const Epoch& epoch) { return keyOf(epoch) == key; });
    return found == epochs.end() ? nullptr : &*found;
}

std::vector<EpochPair> ProjectDescription::pairs() const {
    std::vector<EpochPair> pairs;
    for (std::size_t newer = epochs.size(); newer-- > 0;) {
        for (std::size_t older = newer; older-- > 0;) {
            pairs.push_back({keyOf(epochs[older]), keyOf(epochs[newer])});
        }
    }
    return pairs;
}

std::pair<std::size_t, std::size_t> ProjectDescription::comparedPlaces() const {
    const Epoch* older = compared ? findEpoch(compared->older) : nullptr;
    const Epoch* newer = compared ? findEpoch(compared->newer) : nullptr;
    if (!older || !newer || older == newer) {
        return {epochs.size() - 2, epochs.size() - 1};
    }
    return std::minmax(static_cast<std::size_t>(older - epochs.data()),
                       static_cast<std::size_t>(newer - epochs.data()));
}

EpochPair ProjectDescription::pair() const {
    return {keyOf(oldEpoch()), keyOf(newEpoch())};
}

const Epoch& ProjectDescription::oldEpoch() const {
    return epochs[comparedPlaces().first];
}

const Epoch& ProjectDescription::newEpoch() const {
    return epochs[comparedPlaces().second];
}

Result<ProjectDescription> ProjectDescription::comparing(const EpochPair& pair) const {
    for (const QString& key : {pair.older, pair.newer}) {
        if (!findEpoch(key)) {
            QStringList keys;
            std::transform(epochs.begin(), epochs.end(), std::back_inserter(keys),
                           [this](const Epoch& epoch) { return keyOf(epoch); });
            return fileFailure(
                folder, "has no epoch " + key,
                QStringLiteral("没有期次 %1；已有 %2").arg(key, keys.join(QStringLiteral("、"))));
        }
    }
    if (pair.older == pair.newer) {
        return fileFailure(folder, "an epoch cannot be compared with itself: " + pair.older,
                           QStringLiteral("不能将期次 %1 与其自身对比").arg(pair.older));
    }
    ProjectDescription other = *this;
    other.compared = pair;
    other.compared = other.pair();
    return other;
}

QString ProjectDescription::databaseUrl() const {
    return database.isEmpty() ? folder + QStringLiteral("/inspection.db") : database;
}

QString ProjectDescription::databaseFile() const {
    return isServerAddress(databaseUrl()) ? QString() : databaseUrl();
}

QString ProjectDescription::outputFolder() const {
    return folder + QStringLiteral("/output");
}

QString ProjectDescription::stationFolder(std::uint32_t stationId) const {
    return QStringLiteral("%1/stations/%2").arg(outputFolder()).arg(stationId);
}

QString ProjectDescription::resultFile(const QString& stored) const {
    const QString path = QDir::cleanPath(stored);
    const bool leaves =
        QDir::isAbsolutePath(path) || path == QLatin1String("..") || path.startsWith(QLatin1String("../"));
    return stored.isEmpty() || leaves ? QString() : folder + '/' + path;
}

QString coregistrationName(detect::CoregistrationMethod method) {
    return QString::fromLatin1(detect::methodName(method));
}

} // namespace inspection
