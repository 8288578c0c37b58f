#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// One anomaly of a station item. Texts are GBK.
struct SdiffData {
    std::int64_t id = 0;      ///< database id
    std::int64_t version = 0; ///< of its stored row when it was read
    std::string name;         ///< also the name of its overlay node
    std::string attribute;    ///< the inspector's verdict, empty while there is none
    std::string suggested;    ///< the class that detection suggests
    bool isFill = true;       ///< fill (heap, building) or cut (pit, subsidence)
    double x = 0.0;           ///< centroid in the station's reference system
    double y = 0.0;
    double lonDegrees = 0.0; ///< centroid, WGS 84
    double latDegrees = 0.0;
    double xMin = 0.0; ///< bounds in the station's reference system
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
    double areaSquareMetres = 0.0;
    double fillCubicMetres = 0.0; ///< above the old surface, not negative
    double cutCubicMetres = 0.0;  ///< below the old surface, not negative
    double dzMeanMetres = 0.0;
    double dzMinMetres = 0.0;
    double dzMaxMetres = 0.0;
    std::string outlineWkt; ///< polygon in the station's reference system
    // How sure detection is of it; nothing where that was not kept, as before there was such a record.
    std::optional<double> volumeSigmaCubicMetres; ///< standard deviation of the volume of its kind
    std::optional<double> sigmaMetres;            ///< standard deviation of dZ of one cell
    std::optional<double> levelOfDetectionMetres; ///< what dZ of one cell had to reach
    std::optional<double> significance;           ///< largest |dZ| of a cell over its level of detection
    std::optional<double> suggestionConfidence;   ///< of the suggested class, 0 .. 1

    /// That of the kind; the other one stays out.
    double volumeCubicMetres() const { return isFill ? fillCubicMetres : cutCubicMetres; }
};

class KV_ElevationDifference;

/// The anomaly data of one station item: its records and its raster of elevation differences. Copies share
/// the raster.
class INSPECTIONDATA_API KV_DiffData {
public:
    KV_DiffData();
    ~KV_DiffData();
    KV_DiffData(const KV_DiffData&);
    KV_DiffData& operator=(const KV_DiffData&);

    /// Elevation difference new - old in metres, bilinear, at (x, y) of the station's reference system.
    /// False outside the raster, on no-data, or before KV_StationItem::readdiffvz; `dz` is untouched then.
    bool GetdZ(double x, double y, double& dz) const;
    /// The anomaly of that name (GBK). False when there is none; `data` is untouched then.
    bool GetdiffdataByname(const std::string& name, SdiffData& data) const;
    /// The anomaly whose outline contains (x, y) of the station's reference system; of several the smallest.
    /// False when there is none; `data` is untouched then.
    bool GetdiffdataBycoor(double x, double y, SdiffData& data) const;

    std::vector<SdiffData> m_anomalies;
    std::shared_ptr<const KV_ElevationDifference> m_elevationDifference; ///< null until read
};

/// A station's stored record: a stretch of the corridor.
class INSPECTIONDATA_API KV_Station {
public:
    /// Fills the record from a row of the station table; fields that the row lacks keep their value.
    void init_from_sqldata(const mysqlhelper::KV_Record& row);

    std::int32_t m_tableKind = 0; ///< object type code of the table it came from
    std::uint32_t m_id = 0;
    std::string m_name;  ///< GBK
    std::string m_srs;   ///< definition of the projected reference system ("EPSG:4549" or WKT)
    double m_xMin = 0.0; ///< bounds in that system, metres
    double m_yMin = 0.0;
    double m_xMax = 0.0;
    double m_yMax = 0.0;
    double m_startMetres = 0.0; ///< along the centre line
    double m_endMetres = 0.0;
};

/// A station as the windows and tools work with it. A value: copies have their own records. The read
/// operations take from the open project's database, are cheap when nothing changed since the last call,
/// silent on failure (false), which leaves what was read before, and run on the thread of the caller, which
/// has to be the database's.
class INSPECTIONDATA_API KV_StationItem {
public:
    KV_StationItem();
    explicit KV_StationItem(const KV_Station& station);

    std::uint32_t GetStationId() const { return m_station.m_id; }

    /// Makes the station's bounds and reference system agree with the stored ones.
    bool readdom();
    /// Opens the raster of elevation differences that the last computation made, so that KV_DiffData::GetdZ
    /// answers. False, and no raster, for a station that was not computed or whose epochs share no cell.
    bool readdiffvz();
    /// Reads the anomaly records with their attributes.
    bool readclassfi();

    KV_Station m_station;
    KV_DiffData m_diffData;
};
