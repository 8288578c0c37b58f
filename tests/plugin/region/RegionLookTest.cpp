// How an edited region looks afterwards, what is stored of it, and what its dialog shows of it before.

#include "tests/plugin/region/RegionFixture.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <osgDB/ReadFile>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/TextSymbol>

using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::TextSymbol;

namespace {

constexpr char kEdit[] = "编辑";

class RegionLook : public RegionTest {
protected:
    double storedNumber(const char* table, const char* column) const {
        return readStored(QString("select %1 from %2").arg(column, table)).value(0).toDouble();
    }
    void change(const QString& sql) const {
        ForeignConnection(m_folder + "/inspection.db").run(sql);
        reopen();
        m_host.settle();
    }
    static PlaceNode& labelNodeOf(const char* name) {
        return dynamic_cast<PlaceNode&>(*groupOf(name)->getChild(1));
    }
    QColor swatch(const char* name) const {
        const QImage picture = field<QLabel>(name)->grab().toImage();
        return picture.pixelColor(picture.rect().center());
    }
    QWidget* pointDialog() const {
        const auto dialogs = openDialogs("CDrawPointDlg");
        return dialogs.isEmpty() ? nullptr : dialogs.back();
    }
};

TEST_F(RegionLook, OfAnEditedHighConsequenceAreaIsWhatWasChosenInGlobeAndDatabase) {
    const osg::Group* group = groupOf("高");
    choose(onPolygon(), kEdit);
    typeName("二院");
    chooseColour(*field<QPushButton>("pushButtonFillColorDlg"), QColor(51, 102, 204));
    chooseColour(*field<QPushButton>("pushButtonBorderColorDlg"), QColor(255, 51, 153));
    QTest::keyClick(field<QSpinBox>("spinBoxBorderWidth"), Qt::Key_Up);
    confirm();
    ASSERT_EQ(groupOf("二院"), group);
    const auto& style = featureOf("二院")->getStyle();
    EXPECT_EQ(style.getName(), "");
    EXPECT_EQ(style.get<PolygonSymbol>()->fill()->color(), Color(0.2F, 0.4F, 0.8F, 0.6F));
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->color(), Color(1.0F, 0.2F, 0.6F, 0.65F));
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->width().get(), 4.0F);
    EXPECT_EQ(labelNodeOf("二院").getText(), std::string("二院\0", 7))
        << "the terminating zero is part of it";
    for (const auto& [column, value] : {std::pair("fill_red", 0.2),
                                        {"fill_green", 0.4},
                                        {"fill_blue", 0.8},
                                        {"border_red", 1.0},
                                        {"border_green", 0.2},
                                        {"border_blue", 0.6},
                                        {"border_width_px", 4.0},
                                        {"opacity", 0.6}}) {
        EXPECT_NEAR(storedNumber("high_consequence_area", column), value, 1e-6) << column;
    }
}

TEST_F(RegionLook, OfAnEditedBorderIsAt65PercentWhateverTheOpacityAndTheOutlineKeepsItsVertices) {
    for (const auto& [place, name] : {std::pair(onArea(), "面"), {onPolygon(), "高"}}) {
        const osgEarth::Symbology::Geometry* outline = featureOf(name)->getFeature()->getGeometry();
        const std::vector<osg::Vec3d> before(outline->begin(), outline->end());
        for (const auto& [key, opacity] : {std::pair(Qt::Key_PageUp, 1.0F), {Qt::Key_PageDown, 0.5F}}) {
            choose(place, kEdit);
            QTest::keyClick(field<QDoubleSpinBox>("doubleSpinBox"), key); // ten steps
            confirm();
            const auto& style = featureOf(name)->getStyle();
            EXPECT_FLOAT_EQ(style.get<PolygonSymbol>()->fill()->color().a(), opacity) << name;
            EXPECT_FLOAT_EQ(style.get<LineSymbol>()->stroke()->color().a(), 0.65F) << name << ' ' << opacity;
            const auto* after = featureOf(name)->getFeature()->getGeometry();
            EXPECT_EQ(std::vector<osg::Vec3d>(after->begin(), after->end()), before) << name;
        }
    }
}

TEST_F(RegionLook, OfAnEditedLabelIsItsOldOneAtItsOldPlace) {
    PlaceNode& label = labelNodeOf("面");
    const TextSymbol* text = label.getStyle().get<TextSymbol>();
    ASSERT_NE(text, nullptr);
    const float size = static_cast<float>(text->size()->eval());
    const std::string font = text->font().get();
    const osgEarth::GeoPoint position = label.getPosition();
    choose(onArea(), kEdit);
    typeName("另名");
    confirm();
    ASSERT_EQ(&labelNodeOf("另名"), &label) << "only its text is new";
    ASSERT_NE(label.getStyle().get<TextSymbol>(), nullptr);
    EXPECT_EQ(static_cast<float>(label.getStyle().get<TextSymbol>()->size()->eval()), size);
    EXPECT_EQ(label.getStyle().get<TextSymbol>()->font().get(), font);
    EXPECT_EQ(label.getPosition().vec3d(), position.vec3d());
    EXPECT_EQ(label.getPosition().altitudeMode(), position.altitudeMode());
}

TEST_F(RegionLook, OfAnEditedPointIsAMarkerOfSize15InItsOwnFont) {
    choose(onPoint(), kEdit);
    auto* attribute = pointDialog()->findChild<QComboBox*>("combox_attri");
    EXPECT_EQ(attribute->currentText(), "桩");
    attribute->clearEditText();
    type(attribute, "里程桩");
    confirmPoint();
    EXPECT_EQ(pointDialog(), nullptr) << "it is hidden";
    EXPECT_EQ(readStored("select attribute from special_point"), QVariantList{"里程桩"});
    EXPECT_EQ(scene().getPipePoints().begin()->second.m_attribute, toGbk("里程桩"));

    auto* marker = dynamic_cast<PlaceNode*>(groupOf("点")->getChild(0));
    ASSERT_NE(marker, nullptr);
    const auto* text = marker->getStyle().get<TextSymbol>();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->size()->eval(), 15.0);
    EXPECT_EQ(text->font().get(), "simhei.ttf");
    EXPECT_EQ(text->encoding().get(), TextSymbol::ENCODING_UTF8);
    ASSERT_NE(marker->getIconImage(), nullptr);
    const osg::ref_ptr<osg::Image> pin = osgDB::readRefImageFile("icon/Placemark_32.png");
    ASSERT_TRUE(pin);
    EXPECT_EQ(marker->getIconImage()->compare(*pin), 0);
}

TEST_F(RegionLook, AnEditMovesTheStoredPlaceToTheMiddleOfTheBounds) {
    change("update special_area set lon_deg=lon_deg+0.01, lat_deg=lat_deg-0.01, height_m=99");
    const osg::Vec3d middle = featureOf("面")->getFeature()->getGeometry()->getBounds().center();
    ASSERT_GT(std::abs(storedNumber("special_area", "lon_deg") - middle.x()), 0.005);
    choose(onArea(), kEdit);
    confirm();
    EXPECT_NEAR(storedNumber("special_area", "lon_deg"), middle.x(), 1e-9);
    EXPECT_NEAR(storedNumber("special_area", "lat_deg"), middle.y(), 1e-9);
    EXPECT_NEAR(storedNumber("special_area", "height_m"), middle.z(), 1e-6);
}

TEST_F(RegionLook, IsWhatTheDialogShows) {
    for (const char* table : {"special_area", "high_consequence_area"}) {
        change(QString("update %1 set fill_red=0, fill_green=0.4, fill_blue=1, border_red=1, border_green=0, "
                       "border_blue=0.2, border_width_px=7, opacity=0.35")
                   .arg(table));
    }
    for (const QPoint& place : {onArea(), onPolygon()}) {
        choose(place, kEdit);
        ASSERT_NE(dialog(), nullptr);
        EXPECT_EQ(dialog()->parentWidget(), &m_host.window);
        EXPECT_EQ(swatch("labelFillColor"), QColor(0, 102, 255));
        EXPECT_EQ(swatch("labelBorderColor"), QColor(255, 0, 51));
        EXPECT_EQ(field<QSpinBox>("spinBoxBorderWidth")->value(), 7);
        EXPECT_NEAR(field<QDoubleSpinBox>("doubleSpinBox")->value(), 0.35, 1e-6);
    }
    choose(onPoint(), kEdit);
    ASSERT_NE(pointDialog(), nullptr);
    EXPECT_EQ(pointDialog()->parentWidget(), &m_host.window);
    pointDialog()->close();
}

} // namespace
