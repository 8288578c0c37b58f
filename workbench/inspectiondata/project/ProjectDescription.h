#pragma once

#include "detect/Detection.h"
#include "host/Export.h"

#include <QColor>
#include <QString>

#include <cstdint>
#include <vector>

namespace inspection {

/// How anomalies are picked on the globe. The values are those of ParaSet::GetOverlayMode.
enum class OverlayMode { Hover = 0, Bounds = 1 };

/// What the user sets for a project. The detection defaults are the engine's own, but for the co-registration: the
/// windows offer no automatic one.
struct INSPECTIONDATA_API ProjectParameters {
    double thresholdMetres = detect::Parameters().thresholdMetres;
    double minAreaSquareMetres = detect::Parameters().minAreaSquareMetres;
    detect::CoregistrationMethod coregistration = detect::CoregistrationMethod::Bias;
    QColor fillColour{214, 47, 39}; ///< end of the dZ ramp for what rose
    QColor cutColour{33, 102, 172}; ///< end of the dZ ramp for what sank
    OverlayMode overlayMode = OverlayMode::Hover;

    /// The engine's parameters with these values.
    detect::Parameters detection() const;
    bool operator==(const ProjectParameters& other) const;
    bool operator!=(const ProjectParameters& other) const { return !(*this == other); }
};

/// One survey flight. Paths are absolute.
struct Epoch {
    QString date; ///< ISO date, empty when it is not known
    QString dsm;  ///< surface model
    QString dom;  ///< orthophoto, empty when there is none
};

/// Everything project.json says, as plain values that any thread may copy.
struct INSPECTIONDATA_API ProjectDescription {
    QString folder; ///< absolute
    QString name;
    QString crs;               ///< projected reference system of the stations, "EPSG:4549" or WKT
    std::vector<Epoch> epochs; ///< oldest first, at least two
    QString centerline;        ///< absolute path of the GeoPackage with centre line, nodes and stations
    QString database; ///< absolute path of a SQLite file or a server's address; empty for inspection.db
    ProjectParameters parameters;

    /// The pair that is compared: the last two epochs.
    const Epoch& oldEpoch() const { return epochs[epochs.size() - 2]; }
    const Epoch& newEpoch() const { return epochs.back(); }

    /// What KV_MySQL opens: the path of a SQLite file, or a server's address, which may hold a password.
    QString databaseUrl() const;
    /// The SQLite file; empty when the tables lie on a server.
    QString databaseFile() const;
    QString outputFolder() const;
    /// Where the results of a station lie; it need not exist.
    QString stationFolder(std::uint32_t stationId) const;
};

/// "none", "bias" or "full".
INSPECTIONDATA_API QString coregistrationName(detect::CoregistrationMethod method);
/// The same for the user, in Chinese.
INSPECTIONDATA_API QString coregistrationTitle(detect::CoregistrationMethod method);

} // namespace inspection
