#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/scene/AnomalyPins.h"
#include "workbench/inspection/scene/CrispOverlays.h"
#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/scene/UsualPictures.h"

#include <osg/Group>
#include <osg/ref_ptr>
#include <osgEarth/ObjectIndex>
#include <osgEarthAnnotation/ImageOverlay>

#include <QObject>
#include <QThreadPool>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace inspection {

class StationProjection;

/// The anomalies of the shown stations on the globe: for each station one group named "diffImageOverlay"
/// under the map node, with one image overlay for each anomaly, named as the anomaly and registered in the
/// object index. The nodes are there at once; their pictures follow from other threads, the nearest first, and finer
/// ones for those that the view comes near to; from afar pins stand for them. Without a globe nothing is shown. GUI thread, which also runs the
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
    /// Paints the overlay of that anomaly as it is now, with its verdict. One that is not shown is passed over.
    void update(std::uint32_t stationId, const SdiffData& anomaly);
    /// Tints the overlays of these names (GBK), of any station, and no others; also those that come later.
    void tint(const std::vector<std::string>& anomalyNames);
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
    struct Entry {
        Overlay overlay;
        osgEarth::ObjectID id = 0;
        std::uint64_t handle = 0; ///< for finer pictures
    };
    struct Station {
        osg::ref_ptr<osg::Group> group;
        OverlayStyle style;
        std::size_t count = 0;                ///< of its anomalies
        double groundMetres = 0.0;            ///< about, above the ellipsoid
        std::map<std::string, Entry> entries; ///< by the anomaly's name
    };

    const StationProjection& projectionFrom(const std::string& srs);
    void pin(std::uint64_t handle, const SdiffData& anomaly, double groundMetres);
    void attach(const std::vector<UsualPictures::Picture>& pictures);
    void tintThose(Station& station, const std::set<std::string>& names, bool isTinted);

    std::map<std::uint32_t, Station> m_stations;
    std::size_t m_count = 0; ///< of the anomalies of all stations
    std::map<std::string, std::unique_ptr<StationProjection>> m_projections; ///< each takes long to make
    std::set<std::string> m_tinted;
    bool m_isVisible = true;
    float m_opacity = 1.0F;
    QThreadPool m_painters;
    UsualPictures m_usual;
    CrispOverlays m_crisp;
    AnomalyPins m_pins;
};

} // namespace inspection
