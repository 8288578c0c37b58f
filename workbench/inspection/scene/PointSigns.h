#pragma once

#include "host/inspection/Records.h"

#include <osg/Image>
#include <osg/ref_ptr>

#include <QString>

#include <map>

namespace inspection {

/// What a special point stands for.
enum class PointKind { Other, Valve, Post, Crossing, Plant, School, Hospital, Dwelling };

/// By the words in its attribute, or in its name where the attribute holds none of them.
PointKind pointKindOf(const QString& attribute, const QString& name);

/// A sign with the colours of what is selected: yellow where it is coloured, dark where it is white.
osg::ref_ptr<osg::Image> chosenSign(const osg::Image& sign);

/// The pins by which special points of the several kinds are told apart on the globe, each drawn once. GUI thread.
class PointSigns {
public:
    /// Of kind Other the tools' own marker, null where it cannot be read.
    osg::Image* signOf(const Special_Point& point);
    /// That marker, of areas as well.
    osg::Image* marker() { return signOf(PointKind::Other); }

private:
    osg::Image* signOf(PointKind kind);

    std::map<PointKind, osg::ref_ptr<osg::Image>> m_signs;
};

} // namespace inspection
