#include "workbench/inspection/scene/SceneDataSet.h"

namespace inspection {

namespace {

template<typename Map, typename Record>
void enter(Map& map, osg::Group* group, const Record& record) {
    if (group) {
        map.insert_or_assign(osg::ref_ptr<osg::Group>(group), record);
    }
}

template<typename Map, typename Record>
void update(Map& map, osg::Group* group, const Record& record) {
    const auto entry = map.find(group);
    if (entry != map.end()) {
        entry->second = record;
    }
}

template<typename Map>
void renameIn(Map& map, osg::Group& group, const std::string& name) {
    const auto entry = map.find(&group);
    if (entry != map.end()) {
        entry->second.SetName(name);
    }
}

} // namespace

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
    m_areas.erase(group);
}

void SceneDataSet::removePipePolygons(osg::Group* group) {
    m_polygons.erase(group);
}

void SceneDataSet::rename(osg::Group& group, const std::string& name) {
    renameIn(m_points, group, name);
    renameIn(m_areas, group, name);
    renameIn(m_polygons, group, name);
}

void SceneDataSet::forget(osg::Group& group) {
    m_points.erase(&group);
    m_areas.erase(&group);
    m_polygons.erase(&group);
}

void SceneDataSet::clear() {
    m_points.clear();
    m_areas.clear();
    m_polygons.clear();
}

} // namespace inspection
