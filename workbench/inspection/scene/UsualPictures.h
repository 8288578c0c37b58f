#pragma once

#include "workbench/inspection/scene/CrispOverlays.h"

#include <osg/Image>
#include <osg/Vec3d>
#include <osg/ref_ptr>

#include <QObject>
#include <QThreadPool>

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

namespace inspection {

/// Paints the pictures that overlays have from afar on all threads of a pool, those first that are nearest to the eye
/// when their turn comes. GUI thread, which also runs the frames.
class UsualPictures : public QObject {
    Q_OBJECT

public:
    using Picture = std::pair<std::uint64_t, osg::ref_ptr<osg::Image>>; ///< by the overlay's handle

    /// `painters` must outlive this object and be idle when it is destroyed.
    explicit UsualPictures(QThreadPool& painters, QObject* parent = nullptr);

    /// Has the source's anomaly `index` painted, which lies at `world`.
    void want(std::uint64_t handle, const std::shared_ptr<const OverlaySource>& source, std::size_t index,
              const osg::Vec3d& world);
    /// Begins with what is wanted, after the last of several calls of want().
    void paint();
    /// One of these that is being painted comes all the same.
    void forget(const std::unordered_set<std::uint64_t>& handles);
    bool isPainting() const { return m_running != 0 || !m_wanted.empty(); }

signals:
    void painted(const std::vector<inspection::UsualPictures::Picture>& pictures);
    /// How many of those wanted since nothing was being painted are done.
    void progressed(int done, int all);

private:
    struct Wanted {
        std::uint64_t handle = 0;
        std::shared_ptr<const OverlaySource> source;
        std::size_t index = 0;
        osg::Vec3d world;
    };

    std::vector<Wanted> takeNearest();
    void take(const std::vector<Picture>& pictures);

    QThreadPool& m_painters;
    std::vector<Wanted> m_wanted;
    int m_running = 0; ///< batches
    int m_inHand = 0;  ///< pictures of these
    int m_done = 0;
};

} // namespace inspection
