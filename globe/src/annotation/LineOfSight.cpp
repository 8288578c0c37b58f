#include "LineOfSight.h"

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double kEyeMovedShare = 0.002; // of the distance; less changes nothing that can be seen

} // namespace

bool LineOfSight::isBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld,
                            const osg::Vec3d& placeWorld) {
    const double still = kEyeMovedShare * (eyeWorld - placeWorld).length();
    if (m_surface != terrain.getSurfaceRevision() || m_place != placeWorld ||
        (m_eye - eyeWorld).length() > still) {
        m_surface = terrain.getSurfaceRevision();
        m_place = placeWorld;
        m_eye = eyeWorld;
        m_isBlocked = terrain.hides(placeWorld, eyeWorld);
    }
    return m_isBlocked;
}

} // namespace Annotation
} // namespace osgEarth
