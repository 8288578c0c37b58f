#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/scene/CrispOverlays.h"
#include "workbench/inspection/scene/OverlayPicture.h"

#include <osg/Group>
#include <osg/Image>
#include <osg/ref_ptr>
#include <osgEarth/ObjectIndex>
#include <osgEarthAnnotation/ImageOverlay>

#include <QObject>
#include <QThreadPool>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace inspection {

/// The anomalies of the shown stations on the globe: for each station one group named "diffImageOverlay"
/// under the map node, with one image overlay for each anomaly, named as the anomaly and registered in the
/// object index. The nodes are there at once; their pictures follow from a thread of their own, finer ones
/// for those that the view comes near to. Without a globe nothing is shown. GUI thread, which also runs the
/// frames.
class AnomalyOverlays : public QObject {
    Q_OBJECT

public:
    explicit AnomalyOverlays(QObject* parent = nullptr);
    explicit AnomalyOverlays(const FinePictureLimits& limits, QObject* parent = nullptr);
    ~AnomalyOverlays() override;

    /// Shows the station's anomalies in place of what was shown of it before. No anomalies, no group.
    void show(const KV_StationItem& station, const OverlayStyle& style);
    void hide(std::uint32_t stationId);
    void hideAll();
    /// True while the station has a group on the globe.
    bool isShown(std::uint32_t stationId) const { return m_stations.count(stationId) != 0; }
    /// Takes the overlay of that name (GBK) off the globe.
    void remove(std::uint32_t stationId, const std::string& anomalyName);
    /// Tints the overlays of these names (GBK), of any station, and no others; also those that come later.
    void tint(const std::vector<std::string>& anomalyNames);
    /// Shows or hides all of them; hidden ones cannot be picked.
    void setVisible(bool isVisible);
    /// Of all of them, 0 (clear) to 1.
    void setOpacity(float opacity);
    /// True while pictures are being made.
    bool isPainting() const { return m_paintings != 0 || m_crisp.isPainting(); }

private:
    using Overlay = osg::ref_ptr<osgEarth::Annotation::ImageOverlay>;
    struct Entry {
        Overlay overlay;
        osgEarth::ObjectID id = 0;
        std::uint64_t handle = 0; ///< for finer pictures
    };
    using Source = std::shared_ptr<const OverlaySource>;
    using Pictures = std::map<std::string, osg::ref_ptr<osg::Image>>;
    struct Station {
        osg::ref_ptr<osg::Group> group;
        std::map<std::string, Entry> entries; ///< by the anomaly's name
        std::shared_ptr<std::atomic<bool>> cancelled;
    };

    /// The painter's thread sees records and images only: nodes are made and let go of on the GUI thread.
    void paint(std::uint32_t stationId, const Source& source);
    void attach(std::uint32_t stationId, const Pictures& pictures, const std::atomic<bool>& cancelled);

    void tintThose(Station& station, const std::set<std::string>& names, bool isTinted);

    std::map<std::uint32_t, Station> m_stations;
    std::set<std::string> m_tinted;
    bool m_isVisible = true;
    float m_opacity = 1.0F;
    int m_paintings = 0;
    QThreadPool m_painters;
    CrispOverlays m_crisp;
};

} // namespace inspection
