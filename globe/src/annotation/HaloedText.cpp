#include "HaloedText.h"

#include <osg/State>

namespace osgEarth {
namespace Annotation {

void HaloedText::setHalo(const osg::Vec4& color, float width) {
    m_halo = color;
    m_width = width;
    dirtyBound();
}

// The library multiplies the text's colour, which is white, with the one that it is given.
void HaloedText::drawImplementation(osg::RenderInfo& renderInfo) const {
    osg::State& state = *renderInfo.getState();
    if (m_halo) {
        const osg::Matrix place = state.getModelViewMatrix();
        for (const osg::Vec3f& side :
             {osg::Vec3f(-1, -1, 0), osg::Vec3f(-1, 1, 0), osg::Vec3f(1, -1, 0), osg::Vec3f(1, 1, 0),
              osg::Vec3f(-1, 0, 0), osg::Vec3f(1, 0, 0), osg::Vec3f(0, -1, 0), osg::Vec3f(0, 1, 0)}) {
            state.applyModelViewMatrix(osg::Matrix::translate(side * m_width) * place);
            state.applyModelViewAndProjectionUniformsIfRequired();
            Text::drawImplementation(state, *m_halo);
        }
        state.applyModelViewMatrix(place);
        state.applyModelViewAndProjectionUniformsIfRequired();
    }
    Text::drawImplementation(state, m_fill);
}

osg::BoundingBox HaloedText::computeBoundingBox() const {
    osg::BoundingBox box = Text::computeBoundingBox();
    if (m_halo && box.valid()) {
        const osg::Vec3f rim(m_width, m_width, 0.0f);
        box.expandBy(box._min - rim);
        box.expandBy(box._max + rim);
    }
    return box;
}

} // namespace Annotation
} // namespace osgEarth
