// What the marker of a special point is, and where a click puts it.

#include "tests/plugin/special/PointFixture.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/viewmanager/pick.h"
#include "special/Cdrawpoint.h"

#include <QApplication>
#include <QCursor>
#include <QImage>
#include <QPushButton>
#include <QTest>

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthSymbology/IconSymbol>
#include <osgEarthSymbology/TextSymbol>
#include <osgViewer/View>

#include <cstdlib>

using osgEarth::Symbology::IconSymbol;
using osgEarth::Symbology::TextSymbol;
using osgGA::GUIEventAdapter;

namespace {

/// While it lives, keeps where a menu opened.
class MenuPlace {
public:
    MenuPlace() {
        QObject::connect(&m_poll, &QTimer::timeout, [this] {
            if (const QWidget* menu = QApplication::activePopupWidget()) {
                corner = menu->pos();
            }
        });
        m_poll.start(1);
    }
    QPoint corner;

private:
    QTimer m_poll;
};

class PointMarker : public PointTool {
protected:
    void expectPinWithLabel(const PlaceNode& marker, const char* label) const {
        EXPECT_EQ(marker.getName(), "ROIPoint");
        EXPECT_EQ(marker.getText(), label);
        EXPECT_EQ(marker.getPosition().altitudeMode(), osgEarth::ALTMODE_ABSOLUTE);
        const auto* text = marker.getStyle().get<TextSymbol>();
        ASSERT_NE(text, nullptr);
        EXPECT_DOUBLE_EQ(text->size()->eval(), 15.0);
        EXPECT_EQ(text->font().get(), "simhei.ttf");
        EXPECT_EQ(text->encoding().get(), TextSymbol::ENCODING_UTF8);
        ASSERT_TRUE(text->halo().isSet()) << "white alone is lost on pale ground";
        EXPECT_EQ(text->halo()->color(), osgEarth::Symbology::Color(0, 0, 0, 1));
        EXPECT_EQ(marker.getStyle().get<IconSymbol>(), nullptr) << "the picture is the node's";
        ASSERT_NE(marker.getIconImage(), nullptr);
        EXPECT_EQ(marker.getIconImage()->getFileName(), "icon/Placemark_32.png");
    }
    /// Where the globe is under a window position, world coordinates.
    osg::Vec3d pickedAt(float x, float y) const {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setX(x);
        event->setY(y);
        return pick(m_host.globe->getViewer(), *event);
    }
    osg::Vec3d onMap(const osg::Vec3d& world) const {
        osgEarth::GeoPoint point;
        EXPECT_TRUE(point.fromWorld(m_host.globe->getMapNode()->getMapSRS(), world));
        return point.vec3d();
    }
    static osg::Vec3d narrowed(const osg::Vec3d& exact) {
        // One at a time and volatile: no compiler may join narrowing and widening.
        const volatile float parts[] = {static_cast<float>(exact.x()), static_cast<float>(exact.y()),
                                        static_cast<float>(exact.z())};
        return {parts[0], parts[1], parts[2]};
    }
    /// A press of one button and a release of another, in window pixels with y upwards.
    void clickAt(float pressX, float pressY, float x, float y,
                 int button = GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        send(GUIEventAdapter::PUSH, pressX, pressY, GUIEventAdapter::LEFT_MOUSE_BUTTON);
        send(GUIEventAdapter::RELEASE, x, y, button);
    }
    osg::Vec2 windowPlace(double east, double north) const {
        const QPoint place = ground(east, north);
        return {static_cast<float>(place.x()), static_cast<float>(m_host.globe->height() - 1 - place.y())};
    }
    /// Places a marker as the host could, without a click. The class itself lives in the plug-in, so its type
    /// is not known to a checking compiler here.
    [[gnu::no_sanitize("vptr")]] void placeAt(const osg::Vec3d& place) const {
        static_cast<Cdrawpoint&>(m_host.command(m_tool)).PlacePoint(place.x(), place.y(), place.z());
    }
};

TEST_F(PointMarker, IsAPinWithItsLabelBothAsPreviewAndConfirmed) {
    startTool();
    typeName("阀");
    leftClick(ground(60, 50));
    expectPinWithLabel(*marker(), "阀");
    const osg::ref_ptr<osg::Node> preview = marker();
    typeName("阀室");
    confirm();
    ASSERT_EQ(group()->getNumChildren(), 1U);
    EXPECT_NE(group()->getChild(0), preview.get());
    expectPinWithLabel(*marker(), "阀室");
    EXPECT_TRUE(marker()->getDynamic());
}

TEST_F(PointMarker, TheMarkerStandsWhereTheClickWasAndASecondClickMovesIt) {
    startTool();
    leftClick(ground(60, 50));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    expectNear(markerPlace(), lonLat(60, 50));
    leftClick(ground(120, 20));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    expectNear(markerPlace(), lonLat(120, 20));
}

TEST_F(PointMarker, TheLabelTakesTheNameFieldAtEachClick) {
    startTool();
    leftClick(ground(60, 50));
    EXPECT_EQ(marker()->getText(), "");
    typeName("一号阀室");
    EXPECT_EQ(marker()->getText(), "") << "only the next click";
    leftClick(ground(70, 50));
    EXPECT_EQ(marker()->getText(), "一号阀室");
}

/// But for what another place in the texture of letters makes of them.
bool lookAlike(const QImage& one, const QImage& other) {
    constexpr int kLevels = 6;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor a = one.pixelColor(x, y);
            const QColor b = other.pixelColor(x, y);
            if (std::abs(a.red() - b.red()) > kLevels || std::abs(a.green() - b.green()) > kLevels ||
                std::abs(a.blue() - b.blue()) > kLevels) {
                return false;
            }
        }
    }
    return one.size() == other.size();
}

TEST_F(PointMarker, TheLabelOnTheGlobeShowsTheChineseCharactersOfTheName) {
    const auto pictureWithName = [this](const QString& name) {
        startTool();
        typeName(name);
        leftClick(ground(100, 40));
        m_host.settle();
        const QImage picture = m_host.globe->grabFramebuffer();
        const QPoint at = ground(100, 40);
        dialog()->close();
        draw();
        return picture.copy(at.x() + 4, at.y() - 40, 60, 44);
    };
    const QImage valve = pictureWithName("阀室");
    EXPECT_EQ(pictureWithName("阀室"), valve);
    EXPECT_NE(pictureWithName("学校"), valve);
    const QImage none = pictureWithName(QString());
    EXPECT_NE(none, valve);
    // Two characters that no font has look alike; two that it has do not.
    const QImage box = pictureWithName(QString::fromUcs4(U"\U000F0000\U000F0000"));
    EXPECT_TRUE(lookAlike(pictureWithName(QString::fromUcs4(U"\U000F0001\U000F0001")), box));
    EXPECT_FALSE(lookAlike(box, valve));
}

TEST_F(PointMarker, StandsAtThePickedPlaceInSinglePrecision) {
    startTool();
    int differing = 0;
    for (const double east : {40.0, 63.0, 87.0, 111.0, 140.0}) {
        const osg::Vec2 at = windowPlace(east, 43.0);
        const osg::Vec3d picked = pickedAt(at.x(), at.y());
        clickAt(at.x(), at.y(), at.x(), at.y());
        ASSERT_NE(marker(), nullptr);
        EXPECT_EQ(marker()->getPosition().vec3d(), narrowed(onMap(narrowed(picked))));
        differing += narrowed(onMap(picked)) == narrowed(onMap(narrowed(picked))) ? 0 : 1;
    }
    EXPECT_GT(differing, 0) << "else the first narrowing would not show";
}

TEST_F(PointMarker, OnlyTheLeftButtonPlacesItAndOnlyThatButtonsPressCounts) {
    startTool();
    const osg::Vec2 at = windowPlace(60, 50);
    for (const int button : {GUIEventAdapter::MIDDLE_MOUSE_BUTTON, GUIEventAdapter::RIGHT_MOUSE_BUTTON}) {
        clickAt(at.x(), at.y(), at.x(), at.y(), button);
        EXPECT_EQ(group()->getNumChildren(), 0U) << button;
    }
    send(GUIEventAdapter::PUSH, at.x() + 50.0F, at.y(), GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    send(GUIEventAdapter::RELEASE, at.x(), at.y(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_EQ(group()->getNumChildren(), 1U) << "the left press before it is still the last one";
}

TEST_F(PointMarker, IsPlacedWithinThreePixelsOfThePressInWholePixels) {
    struct Release {
        float dx, dy;
        unsigned markers;
    };
    startTool();
    const osg::Vec2 at = windowPlace(60, 50);
    for (const Release& release : {Release{3.0F, 0.0F, 1},
                                   {3.1F, 0.0F, 0},
                                   {-3.0F, 0.0F, 1},
                                   {-3.1F, 0.0F, 0},
                                   {0.0F, 3.0F, 1},
                                   {0.0F, 3.1F, 0},
                                   {0.0F, -90.0F, 1}}) {
        group()->removeChildren(0, group()->getNumChildren());
        clickAt(at.x() + 0.9F, at.y() + 0.9F, at.x() + release.dx, at.y() + release.dy);
        EXPECT_EQ(group()->getNumChildren(), release.markers) << release.dx << ' ' << release.dy;
    }
}

TEST_F(PointMarker, WhereLongitudeLatitudeAndHeightAreZeroIsNone) {
    startTool();
    typeName("甲");
    placeAt(osg::Vec3d());
    ASSERT_NE(marker(), nullptr);
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_EQ(boxes.texts, QStringList{"请先绘制特殊点"});
    }
    EXPECT_EQ(storedPoints(), 0);
    ASSERT_NE(dialog(), nullptr);
    placeAt(osg::Vec3d(lonLat(60, 50), 50.0));
    confirm();
    EXPECT_EQ(storedPoints(), 1);
}

TEST_F(PointMarker, OfADrawingThatWasGivenUpIsForgotten) {
    startTool();
    leftClick(ground(60, 50));
    ASSERT_NE(marker(), nullptr);
    QTest::mouseClick(field<QPushButton>("pushButtonCancel"), Qt::LeftButton);
    draw();
    startTool();
    typeName("甲");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(boxes.texts, QStringList{"请先绘制特殊点"});
    EXPECT_EQ(storedPoints(), 0);
}

TEST_F(PointMarker, OfAConfirmedPointIsKnownToTheSceneAndToTheIndexOfObjects) {
    startTool();
    typeName("一号阀室");
    leftClick(ground(60, 50));
    confirm();
    const auto& scene =
        dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    ASSERT_EQ(scene.getPipePoints().count(group()), 1U);
    EXPECT_EQ(scene.getPipePoints().at(group()).GetName(), toGbk("一号阀室"));
    EXPECT_EQ(scene.getPipePoints().at(group()).m_type, KV_SPECIAL_POINT);
    const osgEarth::ObjectIndex& index = *osgEarth::Registry::objectIndex();
    osgEarth::ObjectID id = OSGEARTH_OBJECTID_EMPTY;
    ASSERT_TRUE(index.getObjectID(group(), id));
    EXPECT_EQ(index.get<osg::Group>(id), group());
}

TEST_F(PointMarker, GetsTheGlobesDefaultsWheneverItsGroupComesOrGoes) {
    startTool();
    const osg::ref_ptr<osg::Group> drawing = group();
    for (const char* message : {"drawStationPoint", "removeStationPoint"}) {
        drawing->setStateSet(nullptr);
        m_host.handler(m_tool).OnMessage(message);
        ASSERT_NE(drawing->getStateSet(), nullptr) << message;
        EXPECT_NE(drawing->getStateSet()->getAttribute(osg::StateAttribute::LINEWIDTH), nullptr) << message;
    }
    EXPECT_EQ(drawing->getNumParents(), 0U);
}

TEST_F(PointMarker, HasAContextMenuWithOneEntryThatDoesNothing) {
    startTool();
    leftClick(ground(60, 50));
    const osg::ref_ptr<osg::Node> before = marker();
    const QPoint elsewhere = QCursor::pos();
    QCursor::setPos(1100, 300);
    const MenuPlace place;
    const MenuChooser menus({"删除"});
    ASSERT_TRUE(QMetaObject::invokeMethod(&m_host.command(m_tool), "signal_eidtpt"));
    QCursor::setPos(elsewhere);
    EXPECT_EQ(menus.menus, std::vector<QStringList>{QStringList{"删除"}});
    EXPECT_EQ(place.corner, QPoint(1100, 300));
    EXPECT_EQ(group()->getChild(0), before.get());
    EXPECT_NE(dialog(), nullptr);
}

} // namespace
