#include "anomaly/GlobeOverlays.h"

#include "plugin/Globe.h"

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>

#include <unordered_set>

using osgEarth::Annotation::ImageOverlay;

namespace {

constexpr char kGroupName[] = "diffImageOverlay";

std::vector<osg::Group*> overlayGroups() {
    std::vector<osg::Group*> groups;
    osgEarth::MapNode* mapNode = globeMapNode();
    for (unsigned child = 0; mapNode && child < mapNode->getNumChildren(); ++child) {
        osg::Group* group = mapNode->getChild(child)->asGroup();
        if (group && group->getName() == kGroupName)
            groups.push_back(group);
    }
    return groups;
}

} // namespace

Overlays overlaysOnGlobe() {
    Overlays overlays;
    for (osg::Group* group : overlayGroups()) {
        for (unsigned index = 0; index < group->getNumChildren(); ++index) {
            if (auto* overlay = dynamic_cast<ImageOverlay*>(group->getChild(index)))
                overlays.emplace_back(overlay);
        }
    }
    return overlays;
}

void OverlayCentres::update() {
    std::vector<std::pair<osg::ref_ptr<osg::Group>, unsigned>> groups;
    for (osg::Group* group : overlayGroups())
        groups.emplace_back(group, group->getNumChildren());
    if (groups == m_groups)
        return;
    m_groups = std::move(groups);
    m_overlays = overlaysOnGlobe();
    m_centres.clear();
    m_centres.reserve(m_overlays.size());
    for (const Overlay& overlay : m_overlays)
        m_centres.push_back(centreOf(*overlay));
}

void OverlayCentres::clear() {
    m_groups.clear();
    m_overlays.clear();
    m_centres.clear();
}

std::vector<char> OverlayCentres::membership(const Overlays& some) const {
    std::vector<char> isMember(m_overlays.size(), 0);
    std::size_t found = 0;
    for (std::size_t index = 0; index < m_overlays.size() && found < some.size(); ++index) {
        isMember[index] = some[found] == m_overlays[index];
        found += static_cast<std::size_t>(isMember[index]);
    }
    if (found == some.size())
        return isMember;
    // Not in the order of the scene.
    const std::unordered_set<const osg::Node*> members(some.begin(), some.end());
    for (std::size_t index = 0; index < m_overlays.size(); ++index)
        isMember[index] = members.count(m_overlays[index]) != 0;
    return isMember;
}

Overlay overlayOfId(int objectId) {
    return osgEarth::Registry::objectIndex()->get<ImageOverlay>(static_cast<osgEarth::ObjectID>(objectId));
}

anomaly::Box boundsOf(const ImageOverlay& overlay) {
    const osgEarth::Bounds bounds = overlay.getBounds();
    return {bounds.xMin(), bounds.yMin(), bounds.xMax(), bounds.yMax()};
}

anomaly::Place centreOf(const ImageOverlay& overlay) {
    const osg::Vec2d centre = overlay.getCenter();
    return {centre.x(), centre.y()};
}
