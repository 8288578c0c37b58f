#include "workbench/inspection/scene/SceneDataSet.h"

namespace inspection {

template<typename Map, typename Record>
void SceneDataSet::enter(Map& map, osg::Group* group, const Record& record) {
    if (group) {
        const osg::ref_ptr<osg::Group> kept(group); // the map may have the last reference to it
        removeFrom(map, group);
        map.emplace(kept, record);
        m_groups[record.GetName()].insert(group);
    }
}

template<typename Map, typename Record>
void SceneDataSet::update(Map& map, osg::Group* group, const Record& record) {
    if (map.count(group) != 0) {
        enter(map, group, record);
    }
}

template<typename Map>
void SceneDataSet::renameIn(Map& map, osg::Group& group, const std::string& name) {
    const auto entry = map.find(&group);
    if (entry != map.end()) {
        auto record = entry->second;
        record.SetName(name);
        enter(map, &group, record);
    }
}

template<typename Map>
void SceneDataSet::removeFrom(Map& map, osg::Group* group) {
    const auto entry = map.find(group);
    if (entry == map.end()) {
        return;
    }
    const auto named = m_groups.find(entry->second.GetName());
    named->second.erase(group);
    if (named->second.empty()) {
        m_groups.erase(named);
    }
    map.erase(entry);
}

std::vector<osg::ref_ptr<osg::Group>> SceneDataSet::groupsOf(const std::string& name) const {
    const auto named = m_groups.find(name);
    return named == m_groups.end()
               ? std::vector<osg::ref_ptr<osg::Group>>()
               : std::vector<osg::ref_ptr<osg::Group>>(named->second.begin(), named->second.end());
}

void SceneDataSet::addPipePoints(osg::Group* group, const Special_Point& point) {
    enter(m_points, group, point);
}

void SceneDataSet::addPipeAreas(osg::Group* group, const Special_Area& area) {
    enter(m_areas, group, area);
}

void SceneDataSet::addPipePolygons(osg::Group* group, const Special_Polygon& polygon) {
    enter(m_polygons, group, polygon);
}

void SceneDataSet::UpdataPipePoint(osg::Group* group, const Special_Point& point) {
    update(m_points, group, point);
}

void SceneDataSet::UpdataPipeArea(osg::Group* group, const Special_Area& area) {
    update(m_areas, group, area);
}

void SceneDataSet::UpdataPipePolygon(osg::Group* group, const Special_Polygon& polygon) {
    update(m_polygons, group, polygon);
}

void SceneDataSet::removePipeAreas(osg::Group* group) {
    removeFrom(m_areas, group);
}

void SceneDataSet::removePipePolygons(osg::Group* group) {
    removeFrom(m_polygons, group);
}

void SceneDataSet::rename(osg::Group& group, const std::string& name) {
    renameIn(m_points, group, name);
    renameIn(m_areas, group, name);
    renameIn(m_polygons, group, name);
}

void SceneDataSet::forget(osg::Group& group) {
    removeFrom(m_points, &group);
    removeFrom(m_areas, &group);
    removeFrom(m_polygons, &group);
}

void SceneDataSet::clear() {
    m_groups.clear();
    m_points.clear();
    m_areas.clear();
    m_polygons.clear();
}

} // namespace inspection
