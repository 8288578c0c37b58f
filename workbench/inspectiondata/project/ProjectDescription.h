#pragma once

#include "detect/Detection.h"
#include "host/Export.h"
#include "workbench/inspectiondata/project/BaseLayer.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QColor>
#include <QString>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace inspection {

/// How anomalies are picked on the globe. The values are those of ParaSet::GetOverlayMode.
enum class OverlayMode { Hover = 0, Bounds = 1 };

/// What the user sets for a project: how changes are detected, and how they are shown. The detection defaults are the
/// engine's own.
struct INSPECTIONDATA_API ProjectParameters : detect::Parameters {
    QColor fillColour{214, 47, 39}; ///< end of the dZ ramp for what rose
    QColor cutColour{33, 102, 172}; ///< end of the dZ ramp for what sank
    OverlayMode overlayMode = OverlayMode::Hover;

    const detect::Parameters& detection() const { return *this; }
    bool operator==(const ProjectParameters& other) const;
    bool operator!=(const ProjectParameters& other) const { return !(*this == other); }
};

/// One survey flight. Paths are absolute.
struct Epoch {
    QString date; ///< ISO date, empty when it is not known
    QString dsm;  ///< surface model
    QString dom;  ///< orthophoto, empty when there is none
    /// What the heights count from, as creation/HeightSystem.h has it, where a user has told; empty where the file does.
    QString heights{};
};

/// Two epochs that are compared, by their keys (ProjectDescription::keyOf); the older one is the earlier one in
/// the project's list.
struct EpochPair {
    QString older;
    QString newer;

    bool names(const QString& key) const { return older == key || newer == key; }
    bool operator==(const EpochPair& other) const { return older == other.older && newer == other.newer; }
    bool operator!=(const EpochPair& other) const { return !(*this == other); }
};

/// "2024-05-18 → 2025-05-20".
INSPECTIONDATA_API QString pairTitle(const EpochPair& pair);

/// Everything project.json says, as plain values that any thread may copy.
struct INSPECTIONDATA_API ProjectDescription {
    QString folder; ///< absolute
    QString name;
    QString crs;               ///< projected reference system of the stations, "EPSG:4549" or WKT
    std::vector<Epoch> epochs; ///< oldest first, at least two
    QString centerline;        ///< absolute path of the GeoPackage with centre line, nodes and stations
    QString database; ///< absolute path of a SQLite file or a server's address; empty for inspection.db
    ProjectParameters parameters;
    /// The pair that was chosen; it may name epochs that there are no more.
    std::optional<EpochPair> compared;
    std::vector<BaseLayer> baseLayers; ///< bottom first

    /// What an epoch is called in results and commands: its date, or, while that is not known, the path of its
    /// surface model as project.json has it, of which the last 384 characters count.
    QString keyOf(const Epoch& epoch) const;
    /// Null when there is none. Of several of one key the oldest.
    const Epoch* findEpoch(const QString& key) const;
    /// Every pair of two epochs; the newest first.
    std::vector<EpochPair> pairs() const;

    /// The pair that is compared: the chosen one, or the last two epochs where none is chosen or it names an
    /// epoch that there is not.
    EpochPair pair() const;
    const Epoch& oldEpoch() const;
    const Epoch& newEpoch() const;
    /// The same project with this pair as the chosen one, in whatever order its keys are given. Fails when one
    /// of them is no epoch or both are the same.
    Result<ProjectDescription> comparing(const EpochPair& pair) const;

    /// What KV_MySQL opens: the path of a SQLite file, or a server's address, which may hold a password.
    QString databaseUrl() const;
    /// The SQLite file; empty when the tables lie on a server.
    QString databaseFile() const;
    QString outputFolder() const;
    /// Where the results of a station lie; it need not exist.
    QString stationFolder(std::uint32_t stationId) const;
    /// The file that a row of the database names by its path within the folder; empty for none, and for one that
    /// leaves the folder, which no row of ours does.
    QString resultFile(const QString& stored) const;

private:
    /// Places of the compared epochs in the list.
    std::pair<std::size_t, std::size_t> comparedPlaces() const;
};

/// "none", "bias", "full", "local" or "auto".
INSPECTIONDATA_API QString coregistrationName(detect::CoregistrationMethod method);

} // namespace inspection
