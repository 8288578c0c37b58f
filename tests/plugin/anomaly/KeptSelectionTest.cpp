// A selection is the user's work: only what the user selects takes its place.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/support/TheChild.h"
#include "tests/support/WaitUntil.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/IORVAContext.h"

#include <QComboBox>
#include <QTest>

#include <osg/Uniform>

namespace {

using osgEarth::Annotation::ImageOverlay;

class KeptSelection : public AnomalyTest {
protected:
    KeptSelection() { startTool(); }

    /// The pointer's first press is on `fill`, so that another press there keeps the others.
    void selectThreeOfTheFirstStation() {
        leftClick(pixelOf(known::fill));
        ctrlClick(pixelOf(known::quoted));
        ctrlClick(pixelOf(known::longName()));
        ASSERT_EQ(highlighted(), three());
    }
    static QStringList three() { return {known::quoted, known::fill, known::longName()}; }

    void choose(const QString& anomaly, const QStringList& path) {
        const MenuChooser menu(path);
        rightClick(pixelOf(anomaly));
        EXPECT_FALSE(menu.menus.empty());
    }
    QPoint rowOf(const QString& name) const {
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            if (table().model()->index(row, 0).data().toString() == name) {
                return table().visualRect(table().model()->index(row, 0)).center();
            }
        }
        ADD_FAILURE() << "no row " << name.toStdString();
        return {};
    }
    void clickRow(const QString& name) {
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, rowOf(name));
        EXPECT_TRUE(waitUntil([&] { return highlighted() == QStringList{name}; }));
    }
    bool isTintedByTheTool(const QString& anomaly) const {
        const osg::StateSet* state = overlay(anomaly)->getStateSet();
        const osg::Uniform* colour = state ? state->getUniform("oe_anno_highlight_color") : nullptr;
        osg::Vec4 value;
        return colour && colour->get(value) && value.a() > 0.0F;
    }
};

TEST_F(KeptSelection, ADoubleClickOnOneOfManyLooksAtItAndKeepsTheOthers) {
    selectThreeOfTheFirstStation();
    showStation(0);
    doubleClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), three());
    EXPECT_EQ(selectedRows(), three());
    EXPECT_EQ(table().currentIndex().siblingAtColumn(0).data().toString(), known::fill);
    // They are still what the menu is for.
    choose(known::fill, {"属性设置", "深挖"});
    EXPECT_EQ(stored(known::longName()).toString(), "深挖");
}

TEST_F(KeptSelection, DeletingAnomaliesOfOneStationLeavesThoseOfOthersHighlighted) {
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::cut)); // of the second station
    showStation(0);
    const BoxAnswerer boxes(BoxAnswerer::YesThenNo);
    choose(known::fill, {"删除"});
    EXPECT_FALSE(stored(known::fill).isValid());
    EXPECT_EQ(highlighted(), QStringList{known::cut});
    choose(known::cut, {"属性设置", "塌陷"});
    EXPECT_EQ(stored(known::cut).toString(), "塌陷");
}

TEST_F(KeptSelection, WhatIsClassifiedStaysSelectedWhenAFilterTakesItsRowAway) {
    showStation(0);
    auto& filter = theChild<QComboBox>(IORVAContext::Instance()->GetAVWindow(), "attributeFilter");
    filter.setFocus();
    QTest::keyClick(&filter, Qt::Key_Down); // what is not judged yet
    selectThreeOfTheFirstStation();
    choose(known::fill, {"属性设置", "深挖"});
    ASSERT_FALSE(tableNames().contains(known::fill)) << "it is judged";
    EXPECT_EQ(highlighted(), three());
    choose(known::fill, {"属性设置", "塌陷"});
    EXPECT_EQ(stored(known::quoted).toString(), "塌陷") << "on second thoughts, all of them";
    QTest::keyClick(&filter, Qt::Key_Home);
    EXPECT_EQ(selectedRows(), three()) << "with the rows their selection comes back";
}

TEST_F(KeptSelection, WithoutTheToolTheTableTintsWhatItSelectsAndTheToolTakesItOver) {
    stopTool();
    showStation(0);
    clickRow(known::left);
    EXPECT_FALSE(isTintedByTheTool(known::left)) << "the tool does nothing while it is not active";
    startTool();
    EXPECT_TRUE(waitUntil([&] { return isTintedByTheTool(known::left); }));
    EXPECT_EQ(highlighted(), QStringList{known::left});
    choose(known::left, {"属性设置", "深挖"});
    EXPECT_EQ(stored(known::left).toString(), "深挖");
    clickRow(known::quoted);
    EXPECT_TRUE(isTintedByTheTool(known::quoted));
    stopTool();
    EXPECT_TRUE(highlighted().isEmpty());
    clickRow(known::quoted);
    EXPECT_FALSE(isTintedByTheTool(known::quoted));
}

TEST_F(KeptSelection, ARectangleSelectsTheOverlaysThatAreThereNow) {
    const auto drawRectangle = [this] {
        moveTo(pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0));
        keyDown(Qt::Key_Shift);
        press(pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0));
        moveTo(pixelAt(SmallProject::kLeft + 95.0, SmallProject::kTop - 30.0));
        release(pixelAt(SmallProject::kLeft + 95.0, SmallProject::kTop - 30.0));
        keyUp(Qt::Key_Shift);
    };
    drawRectangle();
    ASSERT_EQ(highlighted(), (QStringList{known::fill, known::left, known::right}));
    leftClick(emptyGround());
    // Another overlay in the place of one, in the same group.
    const osg::ref_ptr<ImageOverlay> old = overlay(known::left);
    const osg::ref_ptr<ImageOverlay> young = new ImageOverlay(m_host.globe->getMapNode());
    young->setCorners(old->getLowerLeft(), old->getLowerRight(), old->getUpperLeft(), old->getUpperRight());
    young->setName("new");
    old->getParent(0)->replaceChild(old, young);
    drawRectangle();
    EXPECT_EQ(highlighted(), (QStringList{known::fill, "new", known::right}));
    young->getParent(0)->replaceChild(young, old);
}

} // namespace
