// How a special area looks while it is drawn and afterwards.

#include "tests/plugin/special/AreaFixture.h"

#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"

#include <QDoubleSpinBox>
#include <QSpinBox>
#include <QTest>

#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>

using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::RenderSymbol;
using osgEarth::Symbology::Style;

namespace {

class AreaStyle : public AreaTool {
protected:
    static Color fillOf(const Style& style) { return style.get<PolygonSymbol>()->fill()->color(); }
    static const osgEarth::Symbology::Stroke& lineOf(const Style& style) {
        return style.get<LineSymbol>()->stroke().get();
    }
    static void expectOnTheTerrain(const Style& style, AltitudeSymbol::Technique technique) {
        const auto* altitude = style.get<AltitudeSymbol>();
        ASSERT_NE(altitude, nullptr);
        EXPECT_EQ(altitude->clamping().get(), AltitudeSymbol::CLAMP_TO_TERRAIN);
        EXPECT_EQ(altitude->technique().get(), technique);
        EXPECT_DOUBLE_EQ(altitude->verticalOffset()->eval(), 0.1);
    }
    /// A fill of this colour, a border of this colour and width, lifted off the terrain.
    static void expectDrawn(const Style& style, const Color& fill, const Color& border, float widthPixels) {
        ASSERT_TRUE(style.get<PolygonSymbol>() && style.get<LineSymbol>());
        EXPECT_EQ(fillOf(style), fill);
        EXPECT_EQ(lineOf(style).color(), border);
        EXPECT_FLOAT_EQ(lineOf(style).width().get(), widthPixels);
        EXPECT_EQ(lineOf(style).widthUnits().get(), osgEarth::Units::PIXELS);
        expectOnTheTerrain(style, AltitudeSymbol::TECHNIQUE_GPU);
        const auto* render = style.get<RenderSymbol>();
        ASSERT_NE(render, nullptr);
        EXPECT_DOUBLE_EQ(render->depthOffset()->minBias()->as(osgEarth::Units::METERS), 100.0);
    }
    void drawTwoVerticesAndMove() {
        leftClick(ground(60, 20));
        leftClick(ground(120, 20));
        moveTo(ground(100, 60));
    }
    void chooseFillAndBorder(const QColor& fill, const QColor& border) {
        chooseColour(*field<QPushButton>("pushButtonFillColorDlg"), fill);
        chooseColour(*field<QPushButton>("pushButtonBorderColorDlg"), border);
    }
    /// A colour of the new row, "fill" or "border".
    osg::Vec3 storedColour(const QString& part) const {
        const auto channel = [&](const char* name) {
            return readStored(QString("select %1_%2 from special_area").arg(part, name)).value(0).toFloat();
        };
        return {channel("red"), channel("green"), channel("blue")};
    }
};

TEST_F(AreaStyle, IsYellowWithinThreeWhitePixelsBeforeAnythingIsChosen) {
    startTool();
    leftClick(ground(60, 20));
    expectDrawn(area()->getStyle(), Color(1, 1, 0, 0.6F), Color(1, 1, 1, 0.65F), 3.0F);
}

TEST_F(AreaStyle, WhatIsChosenBetweenTwoClicksShowsFromTheNextVertexOn) {
    startTool();
    leftClick(ground(60, 20));
    chooseFillAndBorder(QColor(51, 102, 255), QColor(255, 0, 51));
    EXPECT_EQ(fillOf(area()->getStyle()), Color(1, 1, 0, 0.6F)) << "not before the next vertex";
    leftClick(ground(120, 20));
    const auto channel = [](int value) { return static_cast<float>(value / 255.0); };
    const Color border(1, 0, channel(51), 0.65F);
    expectDrawn(area()->getStyle(), Color(channel(51), channel(102), 1, 0.6F), border, 3.0F);
    QTest::keyClick(field<QDoubleSpinBox>("doubleSpinBox"), Qt::Key_Up);
    QTest::keyClick(field<QSpinBox>("spinBoxBorderWidth"), Qt::Key_Up);
    leftClick(ground(120, 60));
    expectDrawn(area()->getStyle(), Color(channel(51), channel(102), 1, 0.65F), border, 4.0F);
}

TEST_F(AreaStyle, OfTheRubberBandIsAThinWhiteLineOnTheTerrain) {
    startTool();
    drawTwoVerticesAndMove();
    const Style& band = rubberBand()->getStyle();
    EXPECT_EQ(lineOf(band).color(), Color(1, 1, 1, 0.55F));
    EXPECT_FLOAT_EQ(lineOf(band).width().get(), 2.0F);
    expectOnTheTerrain(band, AltitudeSymbol::TECHNIQUE_DRAPE);
}

TEST_F(AreaStyle, AVertexClearsTheRubberBandUntilThePointerMoves) {
    startTool();
    drawTwoVerticesAndMove();
    ASSERT_EQ(vertices(*rubberBand()).size(), 3U);
    press(ground(100, 60));
    EXPECT_TRUE(vertices(*rubberBand()).empty());
    release(ground(100, 60));
    moveTo(ground(80, 60));
    EXPECT_EQ(vertices(*rubberBand()).size(), 3U);
}

TEST_F(AreaStyle, ClosingTurnsTheRubberBandRedAndEmptiesItAndTheNextDrawingIsWhiteAgain) {
    startTool();
    drawTwoVerticesAndMove();
    rightClick(ground(100, 60));
    EXPECT_EQ(lineOf(rubberBand()->getStyle()).color(), Color(1, 0, 0, 1));
    EXPECT_TRUE(vertices(*rubberBand()).empty());
    EXPECT_EQ(vertices(*area()).size(), 3U);
    typeName("甲");
    confirm();
    startTool();
    drawTwoVerticesAndMove();
    EXPECT_EQ(lineOf(rubberBand()->getStyle()).color(), Color(1, 1, 1, 0.55F));
}

TEST_F(AreaStyle, AConfirmedAreaIsDrawnAndStoredAsTheDialogSaysAtThatMoment) {
    startTool();
    drawRectangle();
    chooseFillAndBorder(QColor(0, 255, 51), QColor(255, 0, 102));
    field<QSpinBox>("spinBoxBorderWidth")->setValue(7);
    field<QDoubleSpinBox>("doubleSpinBox")->setValue(0.25);
    field<QSpinBox>("spinBox_level")->setValue(4); // hidden, yet kept
    EXPECT_EQ(fillOf(area()->getStyle()), Color(1, 1, 0, 0.6F)) << "closed already";
    group()->setName("another"); // it gets its own name once more
    typeName("第一小学");
    confirm();

    const auto channel = [](int value) { return static_cast<float>(value / 255.0); };
    ASSERT_NE(area(), nullptr) << "the group has its name again";
    const Color fill(0, 1, channel(51), 0.25F);
    const Color border(1, 0, channel(102), 0.65F);
    expectDrawn(area()->getStyle(), fill, border, 7.0F);
    expectDrawn(area()->getFeature()->style().get(), fill, border, 7.0F);
    EXPECT_EQ(area()->getName(), "ROIArea");
    ASSERT_NE(child<PlaceNode>(1), nullptr);
    EXPECT_EQ(child<PlaceNode>(1)->getName(), "ROIArea");

    EXPECT_EQ(storedColour("fill"), osg::Vec3(0, 1, channel(51)));
    EXPECT_EQ(storedColour("border"), osg::Vec3(1, 0, channel(102)));
    EXPECT_EQ(readStored("select level from special_area").value(0).toInt(), 4);
    const auto& scene =
        dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    ASSERT_EQ(scene.getPipeAreas().count(group()), 1U);
    EXPECT_EQ(scene.getPipeAreas().at(group()).m_fillColor, osg::Vec3(0, 1, channel(51)));
    EXPECT_EQ(scene.getPipeAreas().at(group()).m_level, 4);
}

TEST_F(AreaStyle, ARefusedInsertIsOneMessageAndThePolygonStaysInItsFinalStyleWithoutLabel) {
    startTool();
    drawRectangle();
    refuseInserts("special_area");
    typeName("甲");
    field<QSpinBox>("spinBoxBorderWidth")->setValue(7);
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    ASSERT_EQ(boxes.texts.size(), 1);
    EXPECT_TRUE(boxes.texts[0].contains("the server has gone")) << boxes.texts[0].toStdString();
    EXPECT_EQ(storedAreas(), 0);
    EXPECT_FALSE(IORVAContext::Instance()->GetStationWindow()->isReiterated_node("甲"));
    EXPECT_EQ(dialog(), nullptr);
    ASSERT_NE(area(), nullptr);
    EXPECT_FLOAT_EQ(area()->getStyle().get<LineSymbol>()->stroke()->width().get(), 7.0F);
    EXPECT_EQ(child<PlaceNode>(1), nullptr);
}

} // namespace
