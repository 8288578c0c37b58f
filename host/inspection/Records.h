#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <osg/Vec3>
#include <osg/Vec3d>

#include <cstdint>
#include <string>
#include <vector>

/// Object type codes of the inspection data. They select database tables and blocks of the attribute history,
/// and stand in files: the numbers stay.
enum KV_ObjectType : std::int32_t {
    KV_PIPE_NODE = 1,
    KV_HIGH_CONSEQUENCE_AREA = 4,
    KV_STATION = 5,
    KV_SPECIAL_POINT = 16,
    KV_SPECIAL_AREA = 17
};

/// A named place. Names and attributes are GBK; coordinates are longitude, latitude in degrees and height in
/// metres above the ellipsoid.
class INSPECTIONDATA_API KV_BasicNode {
public:
    KV_BasicNode();
    /// Not stored yet: id and version are 0.
    KV_BasicNode(const std::string& name, const osg::Vec3d& coor);
    virtual ~KV_BasicNode();

    /// GBK. Unique among the special objects of a project.
    const std::string& GetName() const { return m_name; }
    void SetName(const std::string& name) { m_name = name; }
    /// x is the longitude, y the latitude, z the height.
    const osg::Vec3d& GetCoor() const { return m_coor; }
    void SetCoor(const osg::Vec3d& coor) { m_coor = coor; }

    /// Fills the record from a row of its table; fields that the row lacks keep their value.
    virtual void init_from_sqldata(const mysqlhelper::KV_Record& row);
    /// Adds the record's fields, without its id, to a field map for insert or update.
    virtual void evalute_record(mysqlhelper::KV_Record& fields) const;

    std::int32_t m_type = 0;    ///< KV_ObjectType
    std::uint32_t m_id = 0;     ///< database id, 0 before it is stored
    std::int64_t m_version = 0; ///< of the stored row when it was read, 0 before it is stored
    std::string m_attribute;    ///< GBK

protected:
    /// GBK.
    std::string m_name;
    osg::Vec3d m_coor;
};

/// A special point.
class INSPECTIONDATA_API Special_Point : public KV_BasicNode {
public:
    Special_Point();
    /// Type code KV_SPECIAL_POINT.
    Special_Point(const std::string& name, const osg::Vec3d& coor);
    ~Special_Point() override;
};

/// What special areas and polygons have in common: an outline and how it is drawn. The coordinate is the
/// centre.
class INSPECTIONDATA_API Special_Region : public KV_BasicNode {
public:
    Special_Region();
    /// Type code KV_SPECIAL_AREA, no vertices, the colours below.
    Special_Region(const std::string& name, const osg::Vec3d& centre);
    ~Special_Region() override;

    /// The outline is stored as WKT, a polygon with Z in longitude and latitude; an empty one keeps the
    /// vertices.
    void init_from_sqldata(const mysqlhelper::KV_Record& row) override;
    void evalute_record(mysqlhelper::KV_Record& fields) const override;

    std::vector<osg::Vec3d>
        m_vertices; ///< outline, longitude, latitude, height; the first point is not repeated
    osg::Vec3 m_fillColor{1.0F, 1.0F, 0.0F};   ///< red, green, blue, each 0..1
    osg::Vec3 m_borderColor{1.0F, 1.0F, 1.0F}; ///< red, green, blue, each 0..1
    std::int32_t m_borderWidth = 3;            ///< pixels
    float m_opacity = 0.6F;                    ///< 0 transparent .. 1 opaque
    std::int32_t m_level = 1;                  ///< 0..5
};

/// A polygon record: a high-consequence area as it is kept in the polygon map, and the form in which a new
/// area is handed to the station window.
class INSPECTIONDATA_API Special_Polygon : public Special_Region {
public:
    using Special_Region::Special_Region;
};

/// A special area.
class INSPECTIONDATA_API Special_Area : public Special_Region {
public:
    using Special_Region::Special_Region;
    /// The same record under the other name; the type code stays.
    explicit Special_Area(const Special_Polygon& polygon) : Special_Region(polygon) {}
};
