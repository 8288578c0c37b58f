#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QLineEdit>
#include <QTest>

#include <osgEarth/MapNode>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthUtil/EarthManipulator>

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
    void reopen() {
        context().closeProject();
        ASSERT_FALSE(context().openProject(m_project).has_value());
    }
    /// No special area but one, which is on the globe.
    void openWithOneArea(const char* name) {
        database().execute("delete from special_area");
        reopen();
        ASSERT_TRUE(window().AddAreaNode(area(name)));
        reopen();
        tree().topLevelItem(2)->setExpanded(true);
    }
    /// Edits the name of the one special area in the tree, which has the name `oldName`.
    void rename(const char* oldName, const QString& name) {
        openWithOneArea(oldName);
        m_window->activateWindow();
        ASSERT_TRUE(waitUntil([this] { return m_window->isActiveWindow(); }));
        tree().setCurrentItem(tree().topLevelItem(2)->child(0), 1);
        tree().setFocus();
        QTest::keyClick(&tree(), Qt::Key_F2);
        auto* editor = tree().findChild<QLineEdit*>();
        ASSERT_NE(editor, nullptr);
        editor->setText(name);
        QTest::keyClick(editor, Qt::Key_Return);
        ASSERT_TRUE(waitUntil([this] { return !tree().findChild<QLineEdit*>(); }));
    }
    static std::string labelOf(osg::Group& group) {
        return dynamic_cast<osgEarth::Annotation::PlaceNode&>(*group.getChild(1)).getText();
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
    EXPECT_FALSE(window().UpdataNode(area("新名"), toGbk("不存在"))) << "nothing is known of it";
    EXPECT_TRUE(window().UpdataNode(edited, toGbk("旧名")));
    EXPECT_FALSE(window().isReiterated_node("旧名"));
    EXPECT_TRUE(window().isReiterated_node("新名"));
    EXPECT_NE(entry(Areas, "新名"), nullptr);
    const Special_Area stored = inspection::readSpecialAreas(database()).back();
    EXPECT_EQ(stored.GetName(), toGbk("新名"));
    EXPECT_EQ(stored.m_attribute, toGbk("取土场"));
    EXPECT_FLOAT_EQ(stored.m_opacity, 0.25F);
}

TEST_F(SpecialObjectsTest, AnUpdateOfAnObjectThatHasAnotherNameByNowIsStoredAndShownByTheWindow) {
    ASSERT_TRUE(window().AddAreaNode(area("旧名")));
    reopen();
    Special_Area edited(inspection::readSpecialAreas(database()).back());
    edited.SetName(toGbk("新名"));
    EXPECT_FALSE(window().UpdataNode(edited, toGbk("更旧"))) << "whoever asked has nothing to show";
    EXPECT_EQ(inspection::readSpecialAreas(database()).back().GetName(), toGbk("新名"));
    EXPECT_NE(entry(Areas, "新名"), nullptr);
    EXPECT_EQ(entry(Areas, "旧名"), nullptr);
    int shown = 0;
    for (const auto& [group, record] : scene().getPipeAreas()) {
        EXPECT_NE(record.GetName(), toGbk("旧名"));
        shown += record.GetName() == toGbk("新名") ? 1 : 0;
    }
    EXPECT_EQ(shown, 1);
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
    const MessageWatch messages;
    EXPECT_FALSE(window().AddPointNode(point("己")));
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(messages.texts()[0].startsWith("数据库拒绝了修改")) << messages.texts()[0].toStdString();
    EXPECT_FALSE(window().isReiterated_node("己"));
    EXPECT_FALSE(window().DeleteNode("戊", KV_SPECIAL_POINT));
    EXPECT_FALSE(window().UpdataNode(point("庚"), toGbk("戊")));
    EXPECT_TRUE(window().isReiterated_node("戊"));
    EXPECT_NE(entry(Points, "戊"), nullptr);
    EXPECT_EQ(messages.texts().size(), 1) << "whoever edits is told by the answer alone";
}

TEST_F(SpecialObjectsTest, AnUpdateOfAnUnknownKindIsRefusedAndTheTreeKeepsTheName) {
    ASSERT_TRUE(window().AddPointNode(point("戊")));
    constexpr int kUnknownType = 99;
    Special_Point edited = point("己");
    edited.m_type = kUnknownType;
    EXPECT_FALSE(window().UpdataNode(edited, toGbk("戊")));
    EXPECT_NE(entry(Points, "戊"), nullptr);
    EXPECT_EQ(entry(Points, "己"), nullptr);
    EXPECT_TRUE(window().isReiterated_node("戊"));
    EXPECT_EQ(inspection::readSpecialPoints(database()).back().GetName(), toGbk("戊"));
}

TEST_F(SpecialObjectsTest, ANewObjectIsSelectedInTheTree) {
    ASSERT_TRUE(window().AddPointNode(point("新")));
    EXPECT_EQ(tree().currentItem(), entry(Points, "新"));
    ASSERT_TRUE(window().AddAreaNode(area("面")));
    EXPECT_TRUE(QMetaObject::invokeMethod(&window(), "SelectNode", Q_ARG(QString, "新")));
    EXPECT_EQ(tree().currentItem(), entry(Points, "新"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&window(), "SelectNode", Q_ARG(QString, "不存在")));
    EXPECT_EQ(tree().currentItem(), entry(Points, "新"));
}

TEST_F(SpecialObjectsTest, F2RenamesInTheTreeOnTheGlobeAndInTheDatabase) {
    rename("旧名", QStringLiteral("  新名𠮷 "));
    EXPECT_TRUE(window().isReiterated_node(QStringLiteral("新名𠮷")));
    EXPECT_FALSE(window().isReiterated_node("旧名"));
    EXPECT_NE(entry(Areas, QStringLiteral("新名𠮷")), nullptr);
    EXPECT_EQ(inspection::readSpecialAreas(database()).back().GetName(), toGbk("新名𠮷"));
    const auto [group, record] = *scene().getPipeAreas().begin();
    EXPECT_EQ(labelOf(*group), "新名𠮷");
    EXPECT_EQ(record.GetName(), toGbk("新名𠮷"));

    clickCheckBox(entry(Areas, QStringLiteral("新名𠮷")));
    EXPECT_EQ(group->getNodeMask(), 0U) << "the new name is known to the check box";
}

TEST_F(SpecialObjectsTest, ATakenNameIsRefusedInTheTreeWithOneMessage) {
    ASSERT_TRUE(window().AddPointNode(point("已有")));
    const MessageWatch messages;
    rename("旧名", "已有");
    ASSERT_TRUE(waitUntil([&] { return !messages.texts().isEmpty(); }));
    EXPECT_EQ(messages.texts(), QStringList{"名称“已有”已存在"});
    EXPECT_NE(entry(Areas, "旧名"), nullptr);
    EXPECT_EQ(labelOf(*scene().getPipeAreas().begin()->first), "旧名");
    EXPECT_EQ(inspection::readSpecialAreas(database()).back().GetName(), toGbk("旧名"));
}

TEST_F(SpecialObjectsTest, AnEmptyNameIsRefusedInTheTreeAndEscKeepsTheOldOne) {
    const MessageWatch messages;
    rename("旧名", " ");
    ASSERT_TRUE(waitUntil([&] { return !messages.texts().isEmpty(); }));
    EXPECT_EQ(messages.texts(), QStringList{"名称不能为空"});
    EXPECT_NE(entry(Areas, "旧名"), nullptr);

    tree().setFocus();
    QTest::keyClick(&tree(), Qt::Key_F2);
    auto* editor = tree().findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->setText("别名");
    QTest::keyClick(editor, Qt::Key_Escape);
    EXPECT_NE(entry(Areas, "旧名"), nullptr);
    EXPECT_TRUE(window().isReiterated_node("旧名"));
}

TEST_F(SpecialObjectsTest, WhenTheDatabaseRefusesTheOldNameStaysInTheTree) {
    database().execute("create trigger no_change before update on special_area begin "
                       "select raise(abort, 'refused'); end");
    const MessageWatch messages;
    rename("旧名", "新名");
    ASSERT_TRUE(waitUntil([&] { return !messages.texts().isEmpty(); }));
    EXPECT_EQ(messages.texts().size(), 1);
    EXPECT_NE(entry(Areas, "旧名"), nullptr);
    EXPECT_EQ(labelOf(*scene().getPipeAreas().begin()->first), "旧名");
    database().execute("drop trigger no_change");
}

TEST_F(SpecialObjectsTest, DeleteInTheTreeAsksAndTakesTheObjectAwayEverywhere) {
    openWithOneArea("旧名");
    const osg::ref_ptr<osg::Group> group = scene().getPipeAreas().begin()->first;
    tree().setCurrentItem(entry(Areas, "旧名"));
    tree().setFocus();
    {
        const MessageWatch messages(false);
        QTest::keyClick(&tree(), Qt::Key_Delete);
        EXPECT_EQ(messages.texts(), QStringList{"是否删除“旧名”？"});
        EXPECT_NE(entry(Areas, "旧名"), nullptr);
    }
    const MessageWatch messages;
    QTest::keyClick(&tree(), Qt::Key_Delete);
    EXPECT_EQ(entry(Areas, "旧名"), nullptr);
    EXPECT_FALSE(window().isReiterated_node("旧名"));
    EXPECT_TRUE(scene().getPipeAreas().empty());
    EXPECT_FALSE(m_globe->getMapNode()->containsNode(group));
    EXPECT_TRUE(inspection::readSpecialAreas(database()).empty());
}

TEST_F(SpecialObjectsTest, ADeletionThatTheDatabaseRefusesLeavesEverythingAndSaysSo) {
    openWithOneArea("旧名");
    database().execute("create trigger kept before delete on special_area begin "
                       "select raise(abort, 'kept'); end");
    tree().setCurrentItem(entry(Areas, "旧名"));
    const MessageWatch messages;
    QTest::keyClick(&tree(), Qt::Key_Delete);
    ASSERT_EQ(messages.texts().size(), 2);
    EXPECT_TRUE(messages.texts()[1].startsWith("数据库拒绝了修改")) << messages.texts()[1].toStdString();
    EXPECT_NE(entry(Areas, "旧名"), nullptr);
    EXPECT_EQ(scene().getPipeAreas().size(), 1U);
    database().execute("drop trigger kept");
}

TEST_F(SpecialObjectsTest, DeleteOnAStationDoesNothing) {
    tree().setCurrentItem(station(0));
    const MessageWatch messages;
    QTest::keyClick(&tree(), Qt::Key_Delete);
    EXPECT_TRUE(messages.texts().isEmpty());
    EXPECT_NE(station(0), nullptr);
}

TEST_F(SpecialObjectsTest, StationsAreNotRenamed) {
    tree().setCurrentItem(station(0));
    tree().setFocus();
    QTest::keyClick(&tree(), Qt::Key_F2);
    EXPECT_EQ(tree().findChild<QLineEdit*>(), nullptr);
}

TEST_F(SpecialObjectsTest, TheSelectedObjectsLabelIsTintedOnTheGlobe) {
    openWithOneArea("旧名");
    tree().scrollToItem(entry(Areas, "旧名"));
    const QPoint row = tree().visualItemRect(entry(Areas, "旧名")).center();
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, row);
    QTest::mouseDClick(tree().viewport(), Qt::LeftButton, {}, row);
    QTest::mouseRelease(tree().viewport(), Qt::LeftButton, {}, row);
    EXPECT_EQ(tree().currentItem(), entry(Areas, "旧名"));
    ASSERT_TRUE(waitUntil([this] {
        const osgEarth::Viewpoint view = m_globe->getManipulator()->getViewpoint();
        return std::abs(view.focalPoint()->x() - 112.5) < 1e-6 && m_globe->isPictureComplete();
    })) << "flown there";
    const QImage selected = m_globe->grabFramebuffer();
    tree().setCurrentItem(station(0));
    ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    const QImage plain = m_globe->grabFramebuffer();
    EXPECT_NE(plain, selected);
    tree().setCurrentItem(entry(Areas, "旧名"));
    ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    EXPECT_EQ(m_globe->grabFramebuffer(), selected);
}

TEST_F(SpecialObjectsTest, AreasOfOneAndTwoVerticesStandOnTheGlobeAfterReopening) {
    Special_Polygon one = area("一点");
    one.m_vertices.resize(1);
    Special_Polygon two = area("两点");
    two.m_vertices.resize(2);
    ASSERT_TRUE(window().AddAreaNode(one));
    ASSERT_TRUE(window().AddAreaNode(two));
    reopen();
    EXPECT_EQ(scene().getPipeAreas().size(), inspection::readSpecialAreas(database()).size());
    m_globe->requestRedraw();
    EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
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
