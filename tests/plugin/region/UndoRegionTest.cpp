// Undoing and redoing what was done to special objects, with the two buttons.

#include "tests/plugin/region/RegionFixture.h"
#include "tests/support/MenuEntry.h"

#include <QAbstractSpinBox>
#include <QMenu>
#include <QPushButton>
#include <QTest>

#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/LineSymbol>

using osgEarth::Symbology::LineSymbol;

namespace {

class UndoRegion : public RegionTest {
protected:
    void click(const char* button) {
        m_host.click(button);
        m_host.settle();
    }
    QVariantList row(const char* table) const {
        QVariantList values;
        for (const char* column : {"id", "name", "attribute", "lon_deg", "lat_deg", "height_m", "outline_wkt",
                                   "border_width_px", "opacity"}) {
            values << readStored(QString("select %1 from %2").arg(column, table));
        }
        return values;
    }
    QStringList menuTexts() {
        QStringList texts;
        for (const QAction* action : m_host.button("撤销").menu()->actions()) {
            texts << action->text();
        }
        return texts;
    }
    bool isInTree(const char* name) const {
        return tree().findItems(name, Qt::MatchExactly | Qt::MatchRecursive).size() == 1;
    }
    static float borderOf(const char* name) {
        return featureOf(name)->getStyle().get<LineSymbol>()->stroke()->width().get();
    }
};

TEST_F(UndoRegion, ADeletedAreaComesBackEverywhereAndGoesAgain) {
    const QVariantList before = row("special_area");
    choose(onArea(), "删除");
    EXPECT_EQ(menuTexts().first(), "删除特殊面 面");
    click("撤销");
    EXPECT_EQ(row("special_area"), before);
    EXPECT_TRUE(isInTree("面"));
    EXPECT_EQ(tree().currentItem()->text(0), "面");
    ASSERT_NE(groupOf("面"), nullptr);
    EXPECT_TRUE(isOnGlobe(groupOf("面")));
    EXPECT_EQ(featureOf("面")->getFeature()->getGeometry()->size(), 4U);
    EXPECT_EQ(menusAt(onArea()), 1U) << "the object index knows it";
    EXPECT_TRUE(m_host.button("重做").isEnabled());
    click("重做");
    EXPECT_TRUE(readStored("select id from special_area").isEmpty());
    EXPECT_EQ(groupOf("面"), nullptr);
    EXPECT_FALSE(isInTree("面"));
    EXPECT_FALSE(m_host.button("重做").isEnabled());
    EXPECT_EQ(menuTexts().first(), "删除特殊面 面");
}

TEST_F(UndoRegion, ADeletedPointComesBackOnce) {
    const QVariantList before = readStored("select id from special_point");
    choose(onPoint(), "删除");
    click("撤销");
    EXPECT_EQ(readStored("select id from special_point"), before);
    EXPECT_EQ(scene().getPipePoints().size(), 1U);
    EXPECT_TRUE(isOnGlobe(groupOf("点")));
    EXPECT_EQ(menusAt(onPoint()), 1U);
}

TEST_F(UndoRegion, AnEditIsTakenBackInItsOwnGroupWithNameAndStyle) {
    const QVariantList before = row("special_area");
    osg::Group* group = groupOf("面");
    choose(onArea(), "编辑");
    typeName("新名");
    for (int step = 0; step < 4; ++step) {
        QTest::keyClick(field<QAbstractSpinBox>("spinBoxBorderWidth"), Qt::Key_Up);
    }
    confirm();
    const QVariantList after = row("special_area");
    EXPECT_EQ(borderOf("新名"), 7.0F);
    click("撤销");
    EXPECT_EQ(row("special_area"), before);
    ASSERT_EQ(groupOf("面"), group);
    EXPECT_EQ(borderOf("面"), 3.0F);
    EXPECT_EQ(labelOf(*group), "面");
    EXPECT_TRUE(isInTree("面"));
    EXPECT_FALSE(stationWindow().isReiterated_node("新名"));
    click("重做");
    EXPECT_EQ(row("special_area"), after);
    EXPECT_EQ(groupOf("新名"), group);
    EXPECT_EQ(borderOf("新名"), 7.0F);
    EXPECT_TRUE(isInTree("新名"));
}

TEST_F(UndoRegion, SeveralStepsAreTakenBackWithTheMenuAlsoAfterReopening) {
    const QVariantList area = row("special_area");
    const QVariantList polygon = row("high_consequence_area");
    choose(onArea(), "删除");
    choose(onPolygon(), "删除");
    choose(onPoint(), "删除");
    reopen();
    m_host.settle();
    const QStringList texts = menuTexts();
    ASSERT_GE(texts.size(), 5);
    EXPECT_EQ(texts.mid(0, 3), QStringList({"删除特殊点 点", "删除高后果区 高", "删除特殊面 面"}));
    QMenu* menu = m_host.button("撤销").menu();
    menu->popup(QPoint(5, 5));
    clickEntry(*menu, *menu->actions().at(2));
    m_host.settle();
    EXPECT_EQ(row("special_area"), area);
    EXPECT_EQ(row("high_consequence_area"), polygon);
    for (const char* name : {"面", "高", "点"}) {
        EXPECT_TRUE(isOnGlobe(groupOf(name))) << name;
    }
    EXPECT_EQ(menuTexts().size(), texts.size() - 3);
    click("重做");
    EXPECT_EQ(groupOf("面"), nullptr) << "the oldest of the three comes first";
}

TEST_F(UndoRegion, ARenameInTheTreeIsAnEdit) {
    auto* entry = tree().findItems("面", Qt::MatchExactly | Qt::MatchRecursive).at(0);
    entry->setText(0, "别名");
    EXPECT_EQ(menuTexts().first(), "重命名特殊面 面 为 别名");
    click("撤销");
    EXPECT_TRUE(isInTree("面"));
    EXPECT_EQ(labelOf(*groupOf("面")), "面");
}

TEST_F(UndoRegion, WhatSomebodyElseHasChangedIsNotUndoneAndOneMessageSaysSo) {
    choose(onArea(), "编辑");
    typeName("新名");
    confirm();
    ForeignConnection(m_folder + "/inspection.db").run("update special_area set attribute='别人'");
    const QStringList texts = menuTexts();
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    click("撤销");
    ASSERT_EQ(boxes.texts.size(), 1);
    EXPECT_TRUE(boxes.texts[0].startsWith("无法撤销，未作任何更改")) << boxes.texts[0].toStdString();
    EXPECT_EQ(menuTexts(), texts) << "it can still be undone";
    EXPECT_TRUE(m_host.button("撤销").isEnabled());
    EXPECT_FALSE(m_host.button("重做").isEnabled());
    EXPECT_TRUE(isInTree("新名"));
    EXPECT_EQ(readStored("select attribute from special_area"), QVariantList{"别人"});
}

TEST_F(UndoRegion, ClosingTheProjectEmptiesTheMenu) {
    choose(onArea(), "删除");
    InspectionContext::instance().closeProject();
    EXPECT_TRUE(menuTexts().isEmpty());
    EXPECT_FALSE(m_host.button("撤销").isEnabled());
}

} // namespace
