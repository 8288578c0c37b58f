#include "commands/CsetViewPoint.h"

#include "host/Gbk.h"
#include "plugin/Button.h"
#include "plugin/Globe.h"

#include <osgEarth/Units>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

CsetViewPoint::CsetViewPoint() : zeo::CommandPlugin("316 set viewpoint ") {
    m_name = toGbk("正北视图");
    m_toolTip = toGbk("将视图设置为正北方向");
    m_commandType = toGbk("巡检工具");
    m_cursor = QCursor(Qt::ArrowCursor);
    m_icon = QIcon(":/ToolPluginorva/images/north.png");
}

void CsetViewPoint::Execute() {
    if (auto* manipulator = globeManipulator()) {
        osgEarth::Viewpoint viewpoint = manipulator->getViewpoint();
        viewpoint.pitch() = osgEarth::Angle(-90.0, osgEarth::Units::DEGREES);
        viewpoint.heading() = osgEarth::Angle(0.0, osgEarth::Units::DEGREES);
        manipulator->setViewpoint(viewpoint, 0.0);
    }
    setButtonChecked(m_pButton, false);
}
