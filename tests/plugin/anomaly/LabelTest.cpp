// The label with the elevation difference: what it says, how it looks, where it stands, how often it is made.

#include "tests/plugin/anomaly/AnomalyFixture.h"

#include <osgDB/ReadFile>
#include <osgDB/Registry>
#include <osgEarth/ElevationQuery>
#include <osgEarthSymbology/TextSymbol>

#include <atomic>

namespace {

using osgEarth::Symbology::Color;
using osgEarth::Symbology::TextSymbol;

constexpr char kIcon[] = "icon/PlacePoint.png";

/// While it lives, counts how often the label's icon is read: once for each label that is made.
class LabelCounter {
public:
    LabelCounter() { osgDB::Registry::instance()->setReadFileCallback(m_counting); }
    ~LabelCounter() { osgDB::Registry::instance()->setReadFileCallback(nullptr); }
    LabelCounter(const LabelCounter&) = delete;
    LabelCounter& operator=(const LabelCounter&) = delete;
    int count() const { return m_counting->count; }

private:
    struct Counting : osgDB::ReadFileCallback {
        osgDB::ReaderWriter::ReadResult readImage(const std::string& file,
                                                  const osgDB::Options* options) override {
            count += file == kIcon ? 1 : 0;
            return osgDB::ReadFileCallback::readImage(file, options);
        }
        std::atomic<int> count{0};
    };
    const osg::ref_ptr<Counting> m_counting = new Counting;
};

class ValueLabel : public AnomalyTest {
protected:
    ValueLabel() { startTool(); }

    std::string textAt(const QPoint& place) {
        leftClick(place);
        return valueLabel() ? valueLabel()->getText() : "no label";
    }
    /// How many labels one press makes.
    int labelsOfAPress(const QPoint& place) {
        moveTo(place);
        const LabelCounter labels;
        press(place);
        release(place);
        return labels.count();
    }
};

TEST_F(ValueLabel, ShowsSixSignificantDigits) {
    for (const auto& [metres, text] : {std::pair(0.1234567, "0.123457"),
                                       {1234567.8, "1.23457e+06"},
                                       {-0.00001234, "-1.234e-05"},
                                       {-2.5, "-2.5"},
                                       {100000.0, "100000"}}) {
        setDifference(1, metres);
        EXPECT_EQ(textAt(emptyGround()), text);
    }
}

TEST_F(ValueLabel, IsWhiteOfSize14InItsOwnFontBesideItsIcon) {
    leftClick(emptyGround());
    ASSERT_NE(valueLabel(), nullptr);
    const auto* text = valueLabel()->getStyle().get<TextSymbol>();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->size()->eval(), 14.0);
    EXPECT_EQ(text->font().get(), "simhei.ttf");
    EXPECT_EQ(text->encoding().get(), TextSymbol::ENCODING_UTF8);
    EXPECT_EQ(text->fill()->color(), Color(1, 1, 1, 1));
    ASSERT_TRUE(text->halo().isSet()) << "white alone is lost on a highlighted anomaly";
    EXPECT_EQ(text->halo()->color(), Color(0, 0, 0, 1));
    ASSERT_NE(valueLabel()->getIconImage(), nullptr);
    const osg::ref_ptr<osg::Image> icon = osgDB::readRefImageFile(kIcon);
    EXPECT_EQ(valueLabel()->getIconImage()->compare(*icon), 0);
}

TEST_F(ValueLabel, StandsJustAboveTheTerrainWhereThePressWas) {
    leftClick(emptyGround());
    ASSERT_NE(valueLabel(), nullptr);
    const osgEarth::GeoPoint position = valueLabel()->getPosition();
    EXPECT_EQ(pixelOf(osg::Vec2d(position.x(), position.y())), emptyGround());
    const osgEarth::MapNode& mapNode = *m_host.globe->getMapNode();
    const float ground = osgEarth::ElevationQuery(mapNode.getMap()).getElevation(position, 0.1);
    ASSERT_GT(ground, 10.0F);
    EXPECT_NEAR(position.z(), static_cast<double>(ground) + 0.2, 1e-3);
    EXPECT_EQ(position.altitudeMode(), osgEarth::ALTMODE_ABSOLUTE);
    EXPECT_TRUE(position.getSRS()->isEquivalentTo(mapNode.getMapSRS()));
}

TEST_F(ValueLabel, StandsAtHeightZeroWhereTheTerrainHasNoElevation) {
    leftClick(outside());
    ASSERT_NE(valueLabel(), nullptr);
    EXPECT_NEAR(valueLabel()->getPosition().z(), 0.2, 1e-9);
}

TEST_F(ValueLabel, IsMadeTwiceByAPressWhileHoveringOnceByBoundsAndNotAtAllWithShift) {
    EXPECT_EQ(labelsOfAPress(pixelOf(known::fill)), 2) << "the second one replaces the first, on purpose";
    EXPECT_EQ(labelsOfAPress(emptyGround()), 2);
    keyDown(Qt::Key_Shift);
    EXPECT_EQ(labelsOfAPress(pixelOf(known::fill)), 0);
    keyUp(Qt::Key_Shift);
    EXPECT_EQ(valueLabelCount(), 1);

    pickByBounds(true);
    EXPECT_EQ(labelsOfAPress(pixelOf(known::fill)), 1);
    EXPECT_EQ(valueLabelCount(), 1);
}

// Where its value comes from.

TEST_F(ValueLabel, IsThatOfTheFirstStationThere) {
    addThirdResult();
    setDifference(1, 7.0);
    setDifference(3, 9.0);
    EXPECT_EQ(textAt(onOverlapping()), "7");
}

TEST_F(ValueLabel, IsThatOfTheNextStationThereWhereTheFirstHasNone) {
    addThirdResult();
    removeDifference(1);
    setDifference(3, 9.0);
    EXPECT_EQ(textAt(onOverlapping()), "9");
}

TEST_F(ValueLabel, IsZeroWhereNoStationHasAValue) {
    EXPECT_NE(textAt(pixelOf(known::cut)), "0");
    removeDifference(2);
    EXPECT_EQ(textAt(pixelOf(known::cut)), "0");
}

TEST_F(ValueLabel, IsMeasuredInAComputedStationWithoutAnomaliesWhileItIsChecked) {
    const QPoint at = pixelOf(known::cut);
    change("delete from anomaly where station_id=2");
    tree().topLevelItem(0)->child(1)->setCheckState(0, Qt::Unchecked);
    InspectionContext::instance().closeProject();
    ASSERT_FALSE(InspectionContext::instance().openProject(m_folder));
    for (int index = 0; index < tree().topLevelItem(0)->childCount(); ++index) {
        tree().topLevelItem(0)->child(index)->setCheckState(0, Qt::Checked);
    }
    m_host.settle();
    ASSERT_EQ(overlay(known::cut), nullptr);
    EXPECT_NE(textAt(at), "0");
    EXPECT_NE(textAt(pixelOf(known::fill)), "0") << "the other station is as before";
    tree().topLevelItem(0)->child(1)->setCheckState(0, Qt::Unchecked);
    EXPECT_EQ(textAt(at), "0");
}

TEST_F(ValueLabel, FollowsBoundsThatSomebodyElseHasStored) {
    const QPoint at = pixelOf(known::cut);
    EXPECT_NE(textAt(at), "0");
    change("update station set x_min=x_min-1000, x_max=x_min-900 where id=2");
    EXPECT_EQ(textAt(at), "0");
}

} // namespace
