#include "LineOfSight.h"

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double EyeMovedShare = 0.002; // of the distance; less changes nothing that can be seen

} // namespace

bool LineOfSight::isBlocked(const Terrain& terrain, const osg::Vec3d& eyeWorld,
                            const osg::Vec3d& placeWorld) {
    const double still = EyeMovedShare * (eyeWorld - placeWorld).length();
    if (_surface != terrain.getSurfaceRevision() || _place != placeWorld ||
        (_eye - eyeWorld).length() > still) {
        _surface = terrain.getSurfaceRevision();
        _place = placeWorld;
        _eye = eyeWorld;
        _isBlocked = terrain.hides(placeWorld, eyeWorld);
    }
    return _isBlocked;
}

} // namespace Annotation
} // namespace osgEarth
