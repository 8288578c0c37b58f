#pragma once

#include "host/inspection/DataSet.h"

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace inspection {

/// The special objects on the globe and their records, by the identity of their groups. GUI thread.
class SceneDataSet : public OsgDataSet {
public:
    void addPipePoints(osg::Group* group, const Special_Point& point) override;
    void addPipeAreas(osg::Group* group, const Special_Area& area) override;
    void addPipePolygons(osg::Group* group, const Special_Polygon& polygon) override;

    const PointMap& getPipePoints() const override { return m_points; }
    const AreaMap& getPipeAreas() const override { return m_areas; }
    const PolygonMap& getPipePolygons() const override { return m_polygons; }

    void UpdataPipePoint(osg::Group* group, const Special_Point& point) override;
    void UpdataPipeArea(osg::Group* group, const Special_Area& area) override;
    void UpdataPipePolygon(osg::Group* group, const Special_Polygon& polygon) override;

    void removePipeAreas(osg::Group* group) override;
    void removePipePolygons(osg::Group* group) override;

    /// The groups of all objects of that name (GBK).
    std::vector<osg::ref_ptr<osg::Group>> groupsOf(const std::string& name) const;
    /// Gives the record of a known group another name (GBK).
    void rename(osg::Group& group, const std::string& name);
    /// Takes a group out, whatever it stands for.
    void forget(osg::Group& group);
    /// Forgets everything, as when another project is opened.
    void clear();

private:
    template<typename Map, typename Record>
    void enter(Map& map, osg::Group* group, const Record& record);
    template<typename Map, typename Record>
    void update(Map& map, osg::Group* group, const Record& record);
    template<typename Map>
    void renameIn(Map& map, osg::Group& group, const std::string& name);
    template<typename Map>
    void removeFrom(Map& map, osg::Group* group);

    std::unordered_map<std::string, std::set<osg::Group*>> m_groups; ///< of the records' names
    PointMap m_points;
    AreaMap m_areas;
    PolygonMap m_polygons;
};

} // namespace inspection
