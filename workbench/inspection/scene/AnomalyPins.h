#pragma once

#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/scene/ViewRest.h"

#include <osg/Group>
#include <osg/Image>
#include <osg/Vec2d>
#include <osg/Vec3d>
#include <osg/observer_ptr>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/PlaceNode>
#include <osgViewer/View>

#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

namespace inspection {

/// What a pin stands for.
struct PinnedAnomaly {
    osg::Vec2d lonLat;   ///< degrees
    osg::Vec3d world;    ///< on the ground
    double metres = 0.0; ///< longer side of its overlay
    Judgement judgement = Judgement::Open;
};

/// Pins for anomalies that are too small on the screen to be seen. Those near together share one, with their number on
/// it; it is of the colour of work while any of them waits for a verdict. Which pins there are is decided whenever the
/// view has come to rest. Tools neither see nor pick them; a click on one, while clicks are free for that, flies nearer.
/// GUI thread, which also runs the frames.
class AnomalyPins : public QObject {
    Q_OBJECT

public:
    explicit AnomalyPins(QObject* parent = nullptr);
    ~AnomalyPins() override;

    void add(std::uint64_t handle, const PinnedAnomaly& anomaly);
    void remove(std::uint64_t handle);
    void setVisible(bool isVisible);
    /// What is no larger on the screen, pixels, is not seen itself. Specks have pins in any case.
    void setLeastSize(double pixels);
    /// Asked before a click on the globe is taken for one on a pin; without it all are.
    void setClickFilter(std::function<bool()> isFree) { m_areClicksFree = std::move(isFree); }

    /// Flies nearer to the pin under a place of the globe's picture, device pixels with y upwards. False without one.
    bool click(double x, double y);

private slots:
    void arrange();

private:
    class Clicks;
    struct Pin {
        osg::ref_ptr<osgEarth::Annotation::PlaceNode> node;
        std::vector<std::uint64_t> members; ///< those that it was made for
        std::size_t left = 0;               ///< of them; without any it is no longer on the globe
    };

    void attach();
    using Member = std::pair<const std::uint64_t, PinnedAnomaly>;
    void place(const std::vector<const Member*>& members);
    void flyTo(const std::vector<std::uint64_t>& members) const;
    osg::Image* pictureOf(std::size_t count, bool isOpen);

    std::map<std::uint64_t, PinnedAnomaly> m_anomalies;
    osg::ref_ptr<osg::Group> m_group;
    std::vector<Pin> m_pins;
    std::unordered_map<std::uint64_t, std::size_t> m_pinOf; ///< where in m_pins
    std::map<std::pair<std::size_t, bool>, osg::ref_ptr<osg::Image>> m_pictures;
    double m_leastSize = 0.0;
    ViewRest m_rest;
    std::function<bool()> m_areClicksFree;
    osg::ref_ptr<Clicks> m_clicks;
    osg::observer_ptr<osgViewer::View> m_view; ///< that the clicks come from
};

} // namespace inspection
