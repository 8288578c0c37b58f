#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/scene/ViewRest.h"

#include <osg/Image>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/ImageOverlay>

#include <QObject>
#include <QThreadPool>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace inspection {

/// How many pictures may be finer than usual, and how much memory they may take.
struct FinePictureLimits {
    int pictures = 100;
    std::int64_t bytes = 96LL << 20;
};

/// What the pictures of a station are painted from. It does not change, so that painters may share it.
struct OverlaySource {
    std::vector<SdiffData> anomalies;
    OverlayStyle style;
};

/// Keeps overlays crisp at close range: when the view has come to rest, those that are larger on the screen
/// than their pictures get finer ones, the largest first, one at a time. Beyond the limits those that were
/// seen least recently go back to their usual pictures. GUI thread, which also runs the frames.
class CrispOverlays : public QObject {
    Q_OBJECT

public:
    /// `painters` must outlive this object and be idle when it is destroyed.
    explicit CrispOverlays(QThreadPool& painters, const FinePictureLimits& limits, QObject* parent = nullptr);

    /// Shows the usual picture of the source's anomaly `index`, and watches whether it takes a finer one.
    void add(std::uint64_t handle, osgEarth::Annotation::ImageOverlay& overlay,
             const std::shared_ptr<const OverlaySource>& source, std::size_t index, osg::Image& usual);
    /// The overlay keeps what it shows. An unknown handle is passed over.
    void remove(std::uint64_t handle);

    /// The update callback of the nodes that have the overlays below them.
    osg::Callback* frameCallback() const { return m_rest.callback(); }
    bool isPainting() const { return m_painting.handle != 0; }

private slots:
    void look();

private:
    struct Item {
        osg::ref_ptr<osgEarth::Annotation::ImageOverlay> overlay;
        std::shared_ptr<const OverlaySource> source;
        std::size_t index = 0;
        osg::ref_ptr<osg::Image> usual;
        osg::ref_ptr<osg::Image> fine; ///< null while the usual one is shown
        std::uint64_t seen = 0;        ///< the look that last chose it
        int chosenPixels = 0;          ///< by that look

        const SdiffData& anomaly() const { return source->anomalies[index]; }
    };
    struct Candidate {
        std::uint64_t handle = 0;
        double screenPixels = 0.0; ///< of the longer side, as if all of it were where it is nearest
        OverlayDetail detail;
    };
    struct Painting {
        std::uint64_t handle = 0; ///< 0 while nothing is being painted
        int pixels = 0;
        std::shared_ptr<std::atomic<bool>> cancelled;
    };

    std::vector<Candidate> candidates(const ViewGeometry& view);
    /// Those of the candidates that find room within the limits and do not have their pictures yet.
    void choose(const std::vector<Candidate>& candidates);
    void paintNext();
    void take(std::uint64_t handle, const osg::ref_ptr<osg::Image>& picture);
    void makeRoomFor(std::int64_t bytes);
    void showUsual(Item& item);

    FinePictureLimits m_limits;
    QThreadPool& m_painters;
    ViewRest m_rest;
    std::map<std::uint64_t, Item> m_items;
    std::uint64_t m_looks = 0;
    std::vector<Candidate> m_wanted; ///< the next one to paint is the last
    Painting m_painting;
};

} // namespace inspection
