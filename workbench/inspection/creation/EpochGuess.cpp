#include "workbench/inspection/creation/EpochGuess.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace inspection {

namespace {

QStringList pathsIn(const QString& folder, QDir::Filters filters) {
    QStringList paths;
    for (const QFileInfo& entry : QDir(folder).entryInfoList(filters | QDir::NoDotAndDotDot, QDir::Name)) {
        paths << entry.absoluteFilePath();
    }
    return paths;
}

/// Whether the names of the files tell of more than one flight.
bool holdsSeveralDates(const SurveyRaster& mosaic) {
    QSet<QString> dates;
    for (const QString& file : mosaic.files) {
        dates << dateInName(file);
    }
    return dates.size() > 1;
}

EpochReading readEpoch(const NewEpoch& epoch) {
    EpochReading reading{epoch, std::nullopt, {}};
    auto surface = surveyRaster(epoch.surface);
    if (surface) {
        reading.surface = *std::move(surface);
    } else {
        reading.problem = surface.error().userMessage;
    }
    return reading;
}

QString dateOf(const EpochReading& reading) {
    if (!reading.epoch.date.isEmpty()) {
        return reading.epoch.date;
    }
    return reading.surface ? reading.surface->date : dateInName(reading.epoch.surface);
}

QString folderOf(const EpochReading& reading) {
    return QFileInfo(reading.epoch.surface).absolutePath();
}

bool isStrayPicture(const EpochReading& reading) {
    return reading.surface && reading.surface->isPicture && reading.epoch.picture.isEmpty();
}

bool lacksPicture(const EpochReading& reading) {
    return reading.surface && !reading.surface->isPicture && reading.epoch.picture.isEmpty();
}

/// The only one of the epochs that lacks a picture and fits; null when none or several do.
template<class Fits>
EpochReading* onlyOne(std::vector<EpochReading>& epochs, const Fits& fits) {
    EpochReading* found = nullptr;
    for (EpochReading& epoch : epochs) {
        if (lacksPicture(epoch) && fits(epoch)) {
            if (found) {
                return nullptr;
            }
            found = &epoch;
        }
    }
    return found;
}

EpochReading* surfaceOf(const EpochReading& picture, std::vector<EpochReading>& epochs) {
    const QString date = dateOf(picture);
    const auto sameDate = [&](const EpochReading& epoch) { return !date.isEmpty() && dateOf(epoch) == date; };
    if (EpochReading* found = onlyOne(epochs, sameDate)) {
        return found;
    }
    return onlyOne(epochs, [&](const EpochReading& epoch) {
        const QString other = dateOf(epoch);
        return folderOf(epoch) == folderOf(picture) && (date.isEmpty() || other.isEmpty() || other == date);
    });
}

} // namespace

std::vector<EpochReading> readEpochs(const std::vector<NewEpoch>& epochs,
                                     const std::vector<EpochReading>& before) {
    std::vector<EpochReading> readings;
    for (const NewEpoch& epoch : epochs) {
        const auto known = std::find_if(before.begin(), before.end(), [&](const EpochReading& reading) {
            return reading.surface && reading.epoch.surface == epoch.surface;
        });
        readings.push_back(known == before.end() ? readEpoch(epoch)
                                                 : EpochReading{epoch, known->surface, {}});
    }
    return readings;
}

std::vector<NewEpoch> surveysIn(const NewEpoch& epoch) {
    if (!QFileInfo(epoch.surface).isDir()) {
        return {epoch};
    }
    const auto whole = surveyRaster(epoch.surface);
    if (whole && !holdsSeveralDates(*whole)) {
        return {epoch};
    }
    std::vector<NewEpoch> parts;
    for (const QString& path : pathsIn(epoch.surface, QDir::Files) + pathsIn(epoch.surface, QDir::Dirs)) {
        for (const NewEpoch& part : surveysIn({{}, path, {}})) {
            if (surveyRaster(part.surface)) {
                parts.push_back(part);
            }
        }
    }
    return parts.empty() ? std::vector<NewEpoch>{epoch} : parts;
}

std::vector<EpochReading> withPicturesJoined(std::vector<EpochReading> epochs) {
    for (std::size_t i = 0; i < epochs.size();) {
        EpochReading* surface = isStrayPicture(epochs[i]) ? surfaceOf(epochs[i], epochs) : nullptr;
        if (surface) {
            surface->epoch.picture = epochs[i].epoch.surface;
            epochs.erase(epochs.begin() + std::ptrdiff_t(i));
            i = 0;
        } else {
            ++i;
        }
    }
    return epochs;
}

void sortByDate(std::vector<EpochReading>& epochs) {
    const bool allDated = std::none_of(epochs.begin(), epochs.end(),
                                       [](const EpochReading& epoch) { return dateOf(epoch).isEmpty(); });
    if (allDated) {
        std::stable_sort(epochs.begin(), epochs.end(),
                         [](const EpochReading& a, const EpochReading& b) { return dateOf(a) < dateOf(b); });
    }
}

} // namespace inspection
