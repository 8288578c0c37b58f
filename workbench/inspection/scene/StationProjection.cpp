#include "workbench/inspection/scene/StationProjection.h"

namespace inspection {

StationProjection::StationProjection(const std::string& srs) {
    if (const auto station = referenceOf(QString::fromStdString(srs))) {
        m_transformation = transformationBetween(*station, wgs84());
    }
}

std::optional<osg::Vec2d> StationProjection::toLonLatDegrees(double x, double y) const {
    if (!m_transformation || m_transformation->Transform(1, &x, &y) == 0) {
        return std::nullopt;
    }
    return osg::Vec2d(x, y);
}

} // namespace inspection
