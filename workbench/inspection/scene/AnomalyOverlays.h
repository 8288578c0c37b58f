#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/scene/AnomalyPins.h"
#include "workbench/inspection/scene/CrispOverlays.h"
#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/scene/UsualPictures.h"
#include "workbench/inspection/scene/ViewPages.h"

#include <osg/Group>
#include <osg/NodeCallback>
#include <osg/Vec3d>
#include <osg/ref_ptr>
#include <osgEarth/ObjectIndex>
#include <osgEarthAnnotation/ImageOverlay>

#include <QObject>
#include <QThreadPool>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace inspection {

class StationProjection;

/// The anomalies of the shown stations on the globe: for each station one group named "diffImageOverlay"
/// under the map node, with one image overlay for each anomaly, named as the anomaly and registered in the
/// object index. All nodes are there at once, because tools look among them, without a picture. Pictures follow from
/// other threads, the nearest first; where there are many anomalies only for those that the view comes near to, until
/// others need the room. What is nearest has finer ones; from afar pins stand for them. Without a globe nothing is
/// shown. GUI thread, which also runs the frames.
class AnomalyOverlays : public QObject {
    Q_OBJECT

public:
    explicit AnomalyOverlays(QObject* parent = nullptr);
    explicit AnomalyOverlays(const FinePictureLimits& fine, const PageLimits& limits = PageLimits(),
                             QObject* parent = nullptr);
    ~AnomalyOverlays() override;

    /// Shows the station's anomalies in place of what was shown of it before. No anomalies, no group.
    void show(const KV_StationItem& station, const OverlayStyle& style);
    void hide(std::uint32_t stationId);
    void hideAll();
    /// True while the station has a group on the globe.
    bool isShown(std::uint32_t stationId) const { return m_stations.count(stationId) != 0; }
    /// Takes the overlay of that name (GBK) off the globe.
    void remove(std::uint32_t stationId, const std::string& anomalyName);
    /// Paints the overlay of that anomaly as it is now, with its verdict. One that is not shown is passed over.
    void update(std::uint32_t stationId, const SdiffData& anomaly);
    /// Tints the overlays of these names (GBK), of any station, and no others; also those that come later.
    void tint(const std::vector<std::string>& anomalyNames);
    /// The user works with those of these names (GBK): they have pictures before all others.
    void keep(const std::vector<std::string>& anomalyNames);
    /// Shows or hides all of them; hidden ones cannot be picked.
    void setVisible(bool isVisible);
    /// The pins that stand for them from afar.
    AnomalyPins& pins() { return m_pins; }
    /// Of all of them, 0 (clear) to 1.
    void setOpacity(float opacity);
    /// True while pictures are being made.
    bool isPainting() const { return m_usual.isPainting() || m_crisp.isPainting(); }

signals:
    /// How many of the pictures that are being painted are done.
    void paintingProgressed(int done, int all);

private:
    using Overlay = osg::ref_ptr<osgEarth::Annotation::ImageOverlay>;
    using Source = std::shared_ptr<const OverlaySource>;
    struct Entry {
        Overlay overlay;
        osgEarth::ObjectID id = 0;
        Source source;
        std::size_t index = 0; ///< in the source
        osg::Vec3d world;      ///< on the ground
    };
    struct Station {
        osg::ref_ptr<osg::Group> group;
        OverlayStyle style;
        double groundMetres = 0.0; ///< about, above the ellipsoid
        std::unordered_set<std::uint64_t> handles;
    };

    const StationProjection& projectionFrom(const std::string& srs);
    void addOverlay(Station& station, const Source& source, std::size_t index,
                    const StationProjection& projection);
    void enter(Entry entry, Station& station, bool isUrgent);
    /// Its node stays.
    void withdraw(std::uint64_t handle);
    /// The station's group stays.
    void withdrawAll(const Station& station);
    void wantPictures(const std::vector<std::uint64_t>& handles);
    void takePicturesAway(const std::vector<std::uint64_t>& handles);
    void attach(const std::vector<UsualPictures::Picture>& pictures);
    void tintThose(const std::vector<std::string>& names, bool isTinted);
    void keepThose(const std::vector<std::string>& names, bool isKept);

    std::map<std::uint32_t, Station> m_stations;
    std::unordered_map<std::uint64_t, Entry> m_entries;       ///< by handle
    std::unordered_map<std::string, std::uint64_t> m_handles; ///< by the anomaly's name
    std::uint64_t m_lastHandle = 0;
    std::map<std::string, std::unique_ptr<StationProjection>> m_projections; ///< each takes long to make
    std::vector<std::string> m_tinted;                                       ///< sorted
    std::vector<std::string> m_kept;                                         ///< sorted
    bool m_isVisible = true;
    float m_opacity = 1.0F;
    osg::ref_ptr<osg::Group> m_watch;             ///< sees each frame
    osg::ref_ptr<osg::NodeCallback> m_inViewOnly; ///< of the stations' groups
    QThreadPool m_painters;
    ViewPages m_pages;
    UsualPictures m_usual;
    CrispOverlays m_crisp;
    AnomalyPins m_pins;
};

} // namespace inspection
