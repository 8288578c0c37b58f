#include "host/inspection/Records.h"

#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Revision.h"

using inspection::takeField;
using mysqlhelper::KV_Record;

namespace {

void takeColour(const KV_Record& row, const std::string& prefix, osg::Vec3& colour) {
    takeField(row, (prefix + "_red").c_str(), colour.x());
    takeField(row, (prefix + "_green").c_str(), colour.y());
    takeField(row, (prefix + "_blue").c_str(), colour.z());
}

void putColour(KV_Record& fields, const std::string& prefix, const osg::Vec3& colour) {
    fields[prefix + "_red"] = double{colour.x()};
    fields[prefix + "_green"] = double{colour.y()};
    fields[prefix + "_blue"] = double{colour.z()};
}

} // namespace

KV_BasicNode::KV_BasicNode() = default;

KV_BasicNode::KV_BasicNode(const std::string& name, const osg::Vec3d& coor) : m_name(name), m_coor(coor) {}

KV_BasicNode::~KV_BasicNode() = default;

void KV_BasicNode::init_from_sqldata(const KV_Record& row) {
    takeField(row, "id", m_id);
    takeField(row, inspection::kVersionColumn, m_version);
    takeField(row, "name", m_name);
    takeField(row, "lon_deg", m_coor.x());
    takeField(row, "lat_deg", m_coor.y());
    takeField(row, "height_m", m_coor.z());
    takeField(row, "attribute", m_attribute);
}

void KV_BasicNode::evalute_record(KV_Record& fields) const {
    fields["name"] = m_name;
    fields["lon_deg"] = m_coor.x();
    fields["lat_deg"] = m_coor.y();
    fields["height_m"] = m_coor.z();
    fields["attribute"] = m_attribute;
}

Special_Point::Special_Point() : Special_Point(std::string(), osg::Vec3d()) {}

Special_Point::Special_Point(const std::string& name, const osg::Vec3d& coor) : KV_BasicNode(name, coor) {
    m_type = KV_SPECIAL_POINT;
}

Special_Point::~Special_Point() = default;

Special_Region::Special_Region() : Special_Region(std::string(), osg::Vec3d()) {}

Special_Region::Special_Region(const std::string& name, const osg::Vec3d& centre)
    : KV_BasicNode(name, centre) {
    m_type = KV_SPECIAL_AREA;
}

Special_Region::~Special_Region() = default;

void Special_Region::init_from_sqldata(const KV_Record& row) {
    KV_BasicNode::init_from_sqldata(row);
    std::string outline;
    takeField(row, "outline_wkt", outline);
    if (!outline.empty()) {
        m_vertices = inspection::outlineVertices(outline);
    }
    takeColour(row, "fill", m_fillColor);
    takeColour(row, "border", m_borderColor);
    takeField(row, "border_width_px", m_borderWidth);
    takeField(row, "opacity", m_opacity);
    takeField(row, "level", m_level);
}

void Special_Region::evalute_record(KV_Record& fields) const {
    KV_BasicNode::evalute_record(fields);
    fields["outline_wkt"] = inspection::outlineWkt(m_vertices);
    putColour(fields, "fill", m_fillColor);
    putColour(fields, "border", m_borderColor);
    fields["border_width_px"] = std::int64_t{m_borderWidth};
    fields["opacity"] = double{m_opacity};
    fields["level"] = std::int64_t{m_level};
}
