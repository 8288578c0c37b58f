#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/database/StationTable.h"

#include <osgEarth/MapNode>

namespace {

class SpecialObjectsTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
    }
    StationWindow& window() { return *context().GetStationWindow(); }
    mysqlhelper::KV_MySQL& database() {
        return *dynamic_cast<PipelineDataSet*>(context().GetDataSet(PipelineDataSet::kIndex))->GetMySQL();
    }
    OsgDataSet& scene() { return *dynamic_cast<OsgDataSet*>(context().GetDataSet(OsgDataSet::kIndex)); }
    QTreeWidgetItem* entry(int group, const QString& name) {
        for (int i = 0; i < tree().topLevelItem(group)->childCount(); ++i) {
            if (tree().topLevelItem(group)->child(i)->text(0) == name) {
                return tree().topLevelItem(group)->child(i);
            }
        }
        return nullptr;
    }
    static Special_Point point(const char* name) {
        Special_Point made(toGbk(name), osg::Vec3d(112.5, 34.5, 100.0));
        made.m_attribute = toGbk("阀室");
        return made;
    }
    static Special_Polygon area(const char* name) {
        Special_Polygon made(toGbk(name), osg::Vec3d(112.5, 34.5, 100.0));
        made.m_type = KV_SPECIAL_AREA;
        made.m_vertices = {{112.5, 34.5, 0.0}, {112.501, 34.5, 0.0}, {112.5, 34.501, 0.0}};
        return made;
    }
};

enum Group { Stations, Points, Areas, Polygons };

TEST_F(SpecialObjectsTest, ANewPointIsStoredAndEnteredInTheTree) {
    EXPECT_FALSE(window().isReiterated_node("一号阀'室\""));
    const std::size_t before = inspection::readSpecialPoints(database()).size();
    EXPECT_TRUE(window().AddPointNode(point("一号阀'室\"")));
    EXPECT_TRUE(window().isReiterated_node("一号阀'室\""));
    EXPECT_NE(entry(Points, "一号阀'室\""), nullptr);
    const auto stored = inspection::readSpecialPoints(database());
    ASSERT_EQ(stored.size(), before + 1);
    EXPECT_EQ(stored.back().GetName(), toGbk("一号阀'室\""));
    EXPECT_EQ(stored.back().m_attribute, toGbk("阀室"));
}

TEST_F(SpecialObjectsTest, ATakenOrEmptyNameIsRefused) {
    ASSERT_TRUE(window().AddPointNode(point("甲")));
    const std::size_t before = inspection::readSpecialPoints(database()).size();
    EXPECT_FALSE(window().AddPointNode(point("甲")));
    EXPECT_FALSE(window().AddAreaNode(area("甲")));
    EXPECT_FALSE(window().AddPointNode(point("")));
    EXPECT_EQ(inspection::readSpecialPoints(database()).size(), before);
}

TEST_F(SpecialObjectsTest, AreasAndHighConsequenceAreasGoToTheirOwnTables) {
    Special_Polygon polygon = area("学校");
    polygon.m_type = KV_HIGH_CONSEQUENCE_AREA;
    const std::size_t areas = inspection::readSpecialAreas(database()).size();
    const std::size_t polygons = inspection::readHighConsequenceAreas(database()).size();
    EXPECT_TRUE(window().AddAreaNode(area("堆场")));
    EXPECT_TRUE(window().AddAreaNode(polygon));
    EXPECT_EQ(inspection::readSpecialAreas(database()).size(), areas + 1);
    EXPECT_EQ(inspection::readHighConsequenceAreas(database()).size(), polygons + 1);
    EXPECT_NE(entry(Areas, "堆场"), nullptr);
    EXPECT_NE(entry(Polygons, "学校"), nullptr);
    EXPECT_EQ(inspection::readSpecialAreas(database()).back().m_vertices.size(), 3U);
}

TEST_F(SpecialObjectsTest, DeletingNeedsNameAndTypeToAgree) {
    ASSERT_TRUE(window().AddPointNode(point("乙")));
    const std::size_t before = inspection::readSpecialPoints(database()).size();
    EXPECT_FALSE(window().DeleteNode("乙", KV_SPECIAL_AREA));
    EXPECT_FALSE(window().DeleteNode("没有", KV_SPECIAL_POINT));
    EXPECT_TRUE(window().isReiterated_node("乙"));
    EXPECT_TRUE(window().DeleteNode("乙", KV_SPECIAL_POINT));
    EXPECT_FALSE(window().isReiterated_node("乙"));
    EXPECT_EQ(entry(Points, "乙"), nullptr);
    EXPECT_EQ(inspection::readSpecialPoints(database()).size(), before - 1);
}

TEST_F(SpecialObjectsTest, AnUpdateStoresTheRecordAndRenamesTheEntry) {
    ASSERT_TRUE(window().AddAreaNode(area("旧名")));
    Special_Area edited(inspection::readSpecialAreas(database()).back());
    edited.SetName(toGbk("新名"));
    edited.m_attribute = toGbk("取土场");
    edited.m_opacity = 0.25F;
    EXPECT_FALSE(window().UpdataNode(edited, toGbk("不存在")));
    EXPECT_TRUE(window().UpdataNode(edited, toGbk("旧名")));
    EXPECT_FALSE(window().isReiterated_node("旧名"));
    EXPECT_TRUE(window().isReiterated_node("新名"));
    EXPECT_NE(entry(Areas, "新名"), nullptr);
    const Special_Area stored = inspection::readSpecialAreas(database()).back();
    EXPECT_EQ(stored.GetName(), toGbk("新名"));
    EXPECT_EQ(stored.m_attribute, toGbk("取土场"));
    EXPECT_FLOAT_EQ(stored.m_opacity, 0.25F);
}

TEST_F(SpecialObjectsTest, ARecordDrawnInThisRunIsUpdatedThroughItsName) {
    ASSERT_TRUE(window().AddPointNode(point("丙")));
    Special_Point edited = point("丁"); // its id is not known to whoever drew it
    EXPECT_TRUE(window().UpdataNode(edited, toGbk("丙")));
    EXPECT_EQ(inspection::readSpecialPoints(database()).back().GetName(), toGbk("丁"));
}

TEST_F(SpecialObjectsTest, WhenTheDatabaseRefusesNothingChanges) {
    ASSERT_TRUE(window().AddPointNode(point("戊")));
    database().execute("alter table special_point rename to elsewhere");
    EXPECT_FALSE(window().AddPointNode(point("己")));
    EXPECT_FALSE(window().isReiterated_node("己"));
    EXPECT_FALSE(window().DeleteNode("戊", KV_SPECIAL_POINT));
    EXPECT_FALSE(window().UpdataNode(point("庚"), toGbk("戊")));
    EXPECT_TRUE(window().isReiterated_node("戊"));
    EXPECT_NE(entry(Points, "戊"), nullptr);
}

TEST_F(SpecialObjectsTest, StoredObjectsStandOnTheGlobeAfterReopening) {
    ASSERT_TRUE(window().AddPointNode(point("辛")));
    ASSERT_TRUE(window().AddAreaNode(area("壬")));
    context().closeProject();
    EXPECT_TRUE(scene().getPipePoints().empty());
    ASSERT_FALSE(context().openProject(m_project).has_value());
    ASSERT_FALSE(scene().getPipePoints().empty());
    ASSERT_FALSE(scene().getPipeAreas().empty());
    osg::Group* group = nullptr;
    for (const auto& [node, record] : scene().getPipeAreas()) {
        if (record.GetName() == toGbk("壬")) {
            group = node.get();
        }
    }
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->getName(), "ROIArea");
    EXPECT_EQ(group->getNumChildren(), 2U);
    EXPECT_TRUE(m_globe->getMapNode()->containsNode(group));

    tree().topLevelItem(Areas)->setExpanded(true);
    clickCheckBox(entry(Areas, "壬"));
    EXPECT_EQ(group->getNodeMask(), 0U);
    clickCheckBox(entry(Areas, "壬"));
    EXPECT_NE(group->getNodeMask(), 0U);
}

TEST_F(SpecialObjectsTest, TheSceneDataSetComparesGroupsByIdentity) {
    OsgDataSet& sets = scene();
    const osg::ref_ptr<osg::Group> one = new osg::Group;
    const osg::ref_ptr<osg::Group> other = new osg::Group;
    sets.addPipePolygons(one, area("子"));
    sets.UpdataPipePolygon(other, area("丑"));
    EXPECT_EQ(sets.getPipePolygons().count(other), 0U);
    sets.UpdataPipePolygon(one, area("寅"));
    EXPECT_EQ(sets.getPipePolygons().at(one).GetName(), toGbk("寅"));
    sets.addPipePoints(one, point("卯"));
    sets.removePipePolygons(one);
    EXPECT_EQ(sets.getPipePolygons().count(one), 0U);
    EXPECT_EQ(sets.getPipePoints().count(one), 1U) << "points stay";
    sets.addPipeAreas(nullptr, Special_Area(area("辰")));
    EXPECT_EQ(sets.getPipeAreas().count(nullptr), 0U);
}

} // namespace
