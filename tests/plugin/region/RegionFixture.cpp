#include "tests/plugin/region/RegionFixture.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::PlaceNode;

namespace {

template<typename Map>
osg::Group* groupIn(const Map& map, const char* name) {
    for (const auto& [group, record] : map) {
        if (record.GetName() == toGbk(name)) {
            return group.get();
        }
    }
    return nullptr;
}

} // namespace

RegionTest::RegionTest() : SpecialTest("编辑特殊区域", "CdrawPolygonDlg", "ROIArea") {
    EXPECT_TRUE(stationWindow().AddAreaNode(region("面", KV_SPECIAL_AREA, 20, 20)));
    EXPECT_TRUE(stationWindow().AddAreaNode(region("高", KV_HIGH_CONSEQUENCE_AREA, 130, 20)));
    EXPECT_TRUE(stationWindow().AddPointNode(point("点", 100, 20)));
    reopen();
    m_host.settle();
    m_host.click(m_tool);
    draw();
}

const OsgDataSet& RegionTest::scene() {
    return dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
}

osg::Group* RegionTest::groupOf(const char* name) {
    if (osg::Group* polygon = groupIn(scene().getPipePolygons(), name)) {
        return polygon;
    }
    osg::Group* area = groupIn(scene().getPipeAreas(), name);
    return area ? area : groupIn(scene().getPipePoints(), name);
}

FeatureNode* RegionTest::featureOf(const char* name) {
    osg::Group* group = groupOf(name);
    return group ? dynamic_cast<FeatureNode*>(group->getChild(0)) : nullptr;
}

std::string RegionTest::labelOf(osg::Group& group) {
    return dynamic_cast<PlaceNode&>(*group.getChild(group.getNumChildren() - 1)).getText();
}

bool RegionTest::isOnGlobe(const osg::Group* group) const {
    return m_host.globe->getMapNode()->containsNode(group);
}

Special_Polygon RegionTest::region(const char* name, int type, double east, double north) {
    const osg::Vec2d centre = lonLat(east + 25, north + 20);
    Special_Polygon made(toGbk(name), osg::Vec3d(centre, 55.0));
    made.m_type = type;
    made.m_attribute = toGbk("学校");
    made.m_fillColor = {1.0F, 1.0F, 0.0F};
    made.m_borderColor = {1.0F, 1.0F, 1.0F};
    made.m_borderWidth = 3;
    made.m_opacity = 0.6F;
    made.m_level = 2;
    for (const auto& [x, y] : {std::pair(0.0, 0.0), {50.0, 0.0}, {50.0, 40.0}, {0.0, 40.0}}) {
        made.m_vertices.emplace_back(lonLat(east + x, north + y), 50.0);
    }
    return made;
}

Special_Point RegionTest::point(const char* name, double east, double north) {
    Special_Point made(toGbk(name), osg::Vec3d(lonLat(east, north), 50.0));
    made.m_type = KV_SPECIAL_POINT;
    made.m_attribute = toGbk("桩");
    return made;
}

void RegionTest::choose(const QPoint& place, const char* entry) {
    const MenuChooser menus({entry});
    rightClick(place);
    EXPECT_EQ(menus.menus.size(), 1U);
}

std::size_t RegionTest::menusAt(const QPoint& place) {
    const MenuChooser menus;
    rightClick(place);
    return menus.menus.size();
}

void RegionTest::confirmPoint() {
    const auto dialogs = openDialogs("CDrawPointDlg");
    ASSERT_FALSE(dialogs.isEmpty());
    QTest::mouseClick(dialogs.back()->findChild<QPushButton*>("pushButtonOK"), Qt::LeftButton);
    draw();
}

QList<QWidget*> RegionTest::openDialogs(const char* objectName) const {
    QList<QWidget*> dialogs;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->objectName() == objectName) {
            dialogs << widget;
        }
    }
    return dialogs;
}
