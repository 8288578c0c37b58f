#pragma once

#include <osg/Group>
#include <osg/Uniform>

/// The sky behind the globe: blue with a bright horizon for an eye near the ground, a thin glow around the
/// Earth's limb for one in space, and the haze that fades distant ground into the horizon. It is drawn first
/// and writes no depth. Frame thread.
class Sky : public osg::Group {
public:
    Sky();

    /// Fades what is drawn below `node` into the horizon with its distance.
    void addHaze(osg::Node& node);

    void traverse(osg::NodeVisitor& visitor) override;

private:
    void follow(const osg::Matrixd& view, const osg::Matrixd& projection);

    osg::ref_ptr<osg::Uniform> m_rayRight;      ///< world vector from the picture's centre to its right edge
    osg::ref_ptr<osg::Uniform> m_rayUp;         ///< the same to its upper edge
    osg::ref_ptr<osg::Uniform> m_rayForward;    ///< world vector from the eye to the picture's centre
    osg::ref_ptr<osg::Uniform> m_zenith;        ///< unit vector away from the Earth's centre
    osg::ref_ptr<osg::Uniform> m_horizonDip;    ///< how far the horizon lies below the horizontal, radians
    osg::ref_ptr<osg::Uniform> m_glowWidth;     ///< of the air around the limb, radians
    osg::ref_ptr<osg::Uniform> m_spaceShare;    ///< 0 for an eye in the air, 1 for one in space
    osg::ref_ptr<osg::Uniform> m_hazeMetres;    ///< distance at which haze has most of the colour
    osg::ref_ptr<osg::Uniform> m_horizonColour; ///< of the sky there, and of haze
};
