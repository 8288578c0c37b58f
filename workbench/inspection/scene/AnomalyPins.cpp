#include "workbench/inspection/scene/AnomalyPins.h"

#include "host/viewer/CXViewer.h"
#include "workbench/inspection/scene/ForTheViewOnly.h"
#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/PinClusters.h"

#include <osgEarth/GLUtils>
#include <osgEarth/MapNode>
#include <osgEarthSymbology/TextSymbol>

#include <QLineF>
#include <QMetaObject>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace inspection {

namespace {

using osgEarth::Annotation::PlaceNode;

constexpr double kSpeckPixels = 14.0; ///< overlays below that are hard to find among roofs
constexpr double kApartPixels = 44.0;
constexpr int kPinWidth = 32;
constexpr int kSmallPinWidth = 18; ///< of a single anomaly
constexpr double kTip = 0.3;       ///< below the head, as part of the width
constexpr double kFlightSeconds = 0.8;
constexpr std::size_t kMostPictures = 1000;

const QColor kOpenColour(0xd9, 0x3a, 0x26);
const QColor kDoneColour(0x4a, 0x6b, 0x8a);

/// A round head over a tip, with the number in it.
QImage pinPicture(std::size_t count, bool isOpen) {
    const int width = count == 1 ? kSmallPinWidth : kPinWidth;
    const int height = static_cast<int>(std::lround(width * (1.0 + kTip)));
    QImage picture(width, height, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF head = QRectF(0.0, 0.0, width, width).adjusted(1.5, 1.5, -1.5, -1.5);
    QPainterPath tip;
    tip.addPolygon(
        QPolygonF({{width * 0.3, width * 0.8}, {width * 0.7, width * 0.8}, {width * 0.5, height - 1.0}}));
    tip.closeSubpath();
    QPainterPath shape;
    shape.addEllipse(head);
    painter.setPen(QPen(Qt::white, 2.0));
    painter.setBrush(isOpen ? kOpenColour : kDoneColour);
    painter.drawPath(shape.united(tip));
    if (count > 1) {
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(count < 100 ? 15 : count < 1000 ? 12 : 10);
        painter.setFont(font);
        painter.drawText(head, Qt::AlignCenter, QString::number(count));
    }
    painter.end();
    return picture;
}

osgEarth::Symbology::Style iconAlone() {
    osgEarth::Symbology::Style style;
    auto* text = style.getOrCreate<osgEarth::Symbology::TextSymbol>();
    text->declutter() = false; // the number is the point of it
    return style;
}

} // namespace

/// Tells a click from a drag.
class AnomalyPins::Clicks : public osgGA::GUIEventHandler {
public:
    explicit Clicks(AnomalyPins* pins) : m_pins(pins) {}
    void release() { m_pins = nullptr; }

    bool handle(const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& /*adapter*/) override {
        constexpr double kStillPixels = 3.0;
        if (!m_pins || event.getButton() != osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON ||
            event.getModKeyMask() != 0) {
            return false;
        }
        const QPointF place(double{event.getX()}, double{event.getY()});
        if (event.getEventType() == osgGA::GUIEventAdapter::PUSH) {
            m_press = place;
        } else if (event.getEventType() == osgGA::GUIEventAdapter::RELEASE &&
                   QLineF(m_press, place).length() <= kStillPixels) {
            m_pins->click(place.x(), place.y());
        }
        return false;
    }

private:
    AnomalyPins* m_pins;
    QPointF m_press;
};

AnomalyPins::AnomalyPins(QObject* parent)
    : QObject(parent), m_group(new osg::Group), m_clicks(new Clicks(this)) {
    m_group->setName("anomalyPins");
    m_group->setCullCallback(new ForTheViewOnly);
    m_group->addUpdateCallback(m_rest.callback());
    osgEarth::GLUtils::setGlobalDefaults(m_group->getOrCreateStateSet());
    connect(&m_rest, SIGNAL(rested()), this, SLOT(arrange()));
}

AnomalyPins::~AnomalyPins() {
    m_clicks->release();
    m_group->removeUpdateCallback(m_rest.callback());
    if (osgEarth::MapNode* map = globeMapNode()) {
        map->removeChild(m_group);
    }
    osg::ref_ptr<osgViewer::View> view;
    if (m_view.lock(view)) {
        view->removeEventHandler(m_clicks);
    }
}

void AnomalyPins::attach() {
    osgEarth::MapNode* map = globeMapNode();
    if (!map || map->containsNode(m_group)) {
        return;
    }
    map->addChild(m_group);
    m_view = g_pCXviewer->getViewer();
    m_view->addEventHandler(m_clicks);
}

void AnomalyPins::add(std::uint64_t handle, const PinnedAnomaly& anomaly) {
    attach();
    m_anomalies[handle] = anomaly;
    m_rest.lookAgain();
}

// At once: nothing stands for what has gone.
void AnomalyPins::remove(std::uint64_t handle) {
    m_anomalies.erase(handle);
    if (const auto place = m_pinOf.extract(handle)) {
        Pin& pin = m_pins[place.mapped()];
        if (--pin.left == 0) {
            m_group->removeChild(pin.node);
        }
    }
    m_rest.lookAgain();
}

void AnomalyPins::setVisible(bool isVisible) {
    m_group->setNodeMask(isVisible ? ~0U : 0U);
}

void AnomalyPins::setLeastSize(double pixels) {
    m_leastSize = pixels;
    m_rest.lookAgain();
    redrawGlobe();
}

void AnomalyPins::arrange() {
    const auto view = ViewRest::present();
    if (!view) {
        return;
    }
    const double leastSize = std::max(kSpeckPixels, m_leastSize);
    std::vector<const Member*> small;
    std::vector<QPointF> places;
    for (const Member& member : m_anomalies) {
        const PinnedAnomaly& anomaly = member.second;
        const auto scale = view->scaleOf(osg::BoundingSphere(osg::Vec3(anomaly.world), 1.0F));
        const auto pixel = view->pixelOf(anomaly.world);
        if (scale && pixel && anomaly.metres * scale->centre <= leastSize) {
            small.push_back(&member);
            places.emplace_back(pixel->x(), pixel->y());
        }
    }
    m_group->removeChildren(0, m_group->getNumChildren());
    m_pins.clear();
    m_pinOf.clear();
    if (m_pictures.size() > kMostPictures) {
        m_pictures.clear(); // of numbers that hardly come again
    }
    for (const PinCluster& cluster : clusterPins(places, kApartPixels)) {
        std::vector<const Member*> members;
        for (const std::size_t index : cluster) {
            members.push_back(small[index]);
        }
        place(members);
    }
    redrawGlobe();
}

void AnomalyPins::place(const std::vector<const Member*>& members) {
    osg::Vec2d middle;
    bool isOpen = false;
    Pin pin;
    for (const Member* member : members) {
        const PinnedAnomaly& anomaly = member->second;
        pin.members.push_back(member->first);
        m_pinOf.emplace(member->first, m_pins.size());
        middle += anomaly.lonLat / static_cast<double>(members.size());
        isOpen = isOpen || anomaly.judgement == Judgement::Open;
    }
    const osgEarth::GeoPoint position(globeMapNode()->getMapSRS(), middle.x(), middle.y(), 0.0,
                                      osgEarth::ALTMODE_RELATIVE);
    pin.node = new PlaceNode(position, "", iconAlone(), pictureOf(members.size(), isOpen));
    pin.node->setName(std::to_string(members.size()));
    pin.node->setDynamic(true);
    pin.node->setMapNode(globeMapNode());
    m_group->addChild(pin.node);
    pin.left = pin.members.size();
    m_pins.push_back(std::move(pin));
}

osg::Image* AnomalyPins::pictureOf(std::size_t count, bool isOpen) {
    osg::ref_ptr<osg::Image>& picture = m_pictures[{count, isOpen}];
    if (!picture) {
        picture = osgPicture(pinPicture(count, isOpen));
    }
    return picture;
}

bool AnomalyPins::click(double x, double y) {
    const auto view = ViewRest::present();
    if (!view || m_group->getNodeMask() == 0 || (m_areClicksFree && !m_areClicksFree())) {
        return false;
    }
    for (const Pin& pin : m_pins) {
        const auto tip = view->pixelOf(osg::Vec3d(pin.node->getBound().center()));
        const double width = pin.members.size() == 1 ? kSmallPinWidth : kPinWidth;
        if (tip && pin.left > 0 && std::abs(x - tip->x()) <= width / 2.0 && y >= tip->y() &&
            y <= tip->y() + width * (1.0 + kTip)) {
            // The manipulator has not seen the event yet, and would stop the flight with it.
            QMetaObject::invokeMethod(
                this, [this, members = pin.members] { flyTo(members); }, Qt::QueuedConnection);
            return true;
        }
    }
    return false;
}

// So near that at least some of them part.
void AnomalyPins::flyTo(const std::vector<std::uint64_t>& members) const {
    constexpr double kLeastRangeMetres = 60.0;
    constexpr double kRangeOfExtent = 1.6;
    const double most = std::numeric_limits<double>::max();
    osg::Vec2d lower(most, most);
    osg::Vec2d upper(-most, -most);
    osg::BoundingSphered ground;
    for (const std::uint64_t handle : members) {
        const auto found = m_anomalies.find(handle);
        if (found == m_anomalies.end()) {
            continue; // it has gone since
        }
        const PinnedAnomaly& anomaly = found->second;
        lower.set(std::min(lower.x(), anomaly.lonLat.x()), std::min(lower.y(), anomaly.lonLat.y()));
        upper.set(std::max(upper.x(), anomaly.lonLat.x()), std::max(upper.y(), anomaly.lonLat.y()));
        ground.expandBy(osg::BoundingSphered(anomaly.world, anomaly.metres));
    }
    if (!ground.valid()) {
        return;
    }
    const osg::Vec2d middle = (lower + upper) / 2.0;
    inspection::flyTo(middle.x(), middle.y(),
                      std::max(kLeastRangeMetres, 2.0 * ground.radius() * kRangeOfExtent), kFlightSeconds);
}

} // namespace inspection
