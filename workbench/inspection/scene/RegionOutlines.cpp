#include "workbench/inspection/scene/RegionOutlines.h"

#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/GlobeNavigation.h"

#include <osg/BoundingBox>
#include <osg/Math>
#include <osgEarth/GeoData>
#include <osgEarth/MapNode>

#include <QElapsedTimer>

#include <cmath>
#include <cstdint>

namespace inspection {

namespace {

using osgEarth::Annotation::FeatureNode;

constexpr qint64 kMostMilliseconds = 10; ///< until the window can answer again

std::uint64_t handleOf(const FeatureNode& node) {
    return reinterpret_cast<std::uintptr_t>(&node);
}

osg::BoundingBoxd boxOf(const Special_Region& region) {
    osg::BoundingBoxd box;
    for (const osg::Vec3d& vertex : region.m_vertices) {
        box.expandBy(vertex);
    }
    return box;
}

osg::Vec3d worldOf(osgEarth::MapNode& map, const osg::Vec3d& lonLat) {
    osg::Vec3d world;
    osgEarth::GeoPoint(map.getMapSRS(), lonLat.x(), lonLat.y(), groundMetres(map, lonLat.x(), lonLat.y()))
        .toWorld(world);
    return world;
}

// A node that frames visit finds its map node by itself, and draws.
void show(FeatureNode& node) {
    node.setNodeMask(~0U);
    node.setMapNode(globeMapNode());
}

void hide(FeatureNode& node) {
    node.setNodeMask(0U);
    node.setMapNode(nullptr);
}

/// The diagonal of a box in degrees.
double metresAcross(const osg::BoundingBoxd& box) {
    constexpr double kMetresPerDegree = 111320.0;
    const double east =
        (box.xMax() - box.xMin()) * std::cos(osg::DegreesToRadians(box.center().y())) * kMetresPerDegree;
    return std::hypot(east, (box.yMax() - box.yMin()) * kMetresPerDegree);
}

} // namespace

RegionOutlines::RegionOutlines(const PageLimits& limits, QObject* parent)
    : QObject(parent), m_pages(limits), m_watch(new osg::Group) {
    m_watch->addUpdateCallback(m_pages.frameCallback());
    m_turn.setSingleShot(true);
    connect(&m_pages, &ViewPages::wanted, this, &RegionOutlines::want);
    connect(&m_pages, &ViewPages::unwanted, this, &RegionOutlines::takeAway);
    connect(&m_turn, &QTimer::timeout, this, &RegionOutlines::makeSome);
}

RegionOutlines::~RegionOutlines() {
    if (osgEarth::MapNode* map = globeMapNode()) {
        map->removeChild(m_watch);
    }
}

void RegionOutlines::add(FeatureNode& node, const Special_Region& region) {
    osgEarth::MapNode* map = globeMapNode();
    if (!map || region.m_vertices.empty()) {
        return;
    }
    if (!map->containsNode(m_watch)) {
        map->addChild(m_watch);
    }
    remove(node); // a former one at its address, which a tool has taken off the globe
    m_nodes[handleOf(node)] = &node;
    hide(node);
    const osg::BoundingBoxd box = boxOf(region);
    m_pages.add(handleOf(node), worldOf(*map, box.center()), metresAcross(box));
}

void RegionOutlines::remove(FeatureNode& node) {
    m_nodes.erase(handleOf(node));
    m_pages.remove(handleOf(node));
}

void RegionOutlines::clear() {
    m_turn.stop();
    m_wanted.clear();
    for (const auto& [handle, node] : m_nodes) {
        m_pages.remove(handle);
    }
    m_nodes.clear();
}

void RegionOutlines::want(const std::vector<std::uint64_t>& handles) {
    m_wanted.insert(m_wanted.end(), handles.begin(), handles.end());
    if (!m_turn.isActive()) {
        makeSome();
    }
}

void RegionOutlines::takeAway(const std::vector<std::uint64_t>& handles) {
    for (const std::uint64_t handle : handles) {
        if (const osg::ref_ptr<FeatureNode> node = nodeOf(handle)) {
            hide(*node);
        }
    }
    redrawGlobe();
}

osg::ref_ptr<FeatureNode> RegionOutlines::nodeOf(std::uint64_t handle) const {
    osg::ref_ptr<FeatureNode> node;
    const auto found = m_nodes.find(handle);
    if (found != m_nodes.end()) {
        found->second.lock(node);
    }
    return node;
}

void RegionOutlines::makeSome() {
    QElapsedTimer timer;
    timer.start();
    while (!m_wanted.empty() && timer.elapsed() < kMostMilliseconds) {
        const std::uint64_t handle = m_wanted.front();
        m_wanted.pop_front();
        const osg::ref_ptr<FeatureNode> node = nodeOf(handle);
        if (node && m_pages.isChosen(handle)) {
            show(*node);
        }
    }
    if (!m_wanted.empty()) {
        m_turn.start(0);
    }
    redrawGlobe();
}

} // namespace inspection
