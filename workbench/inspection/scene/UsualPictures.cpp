#include "workbench/inspection/scene/UsualPictures.h"

#include "workbench/inspection/scene/Globe.h"

#include <QMetaObject>

#include <algorithm>
#include <iterator>
#include <utility>

namespace inspection {

namespace {

constexpr std::size_t kBatch = 24; ///< small, so that a finer picture of what is near need not wait for long

} // namespace

UsualPictures::UsualPictures(QThreadPool& painters, QObject* parent)
    : QObject(parent), m_painters(painters) {}

void UsualPictures::want(std::uint64_t handle, const std::shared_ptr<const OverlaySource>& source,
                         std::size_t index, const osg::Vec3d& world) {
    m_wanted.push_back({handle, source, index, world});
}

void UsualPictures::forget(const std::unordered_set<std::uint64_t>& handles) {
    m_wanted.erase(std::remove_if(m_wanted.begin(), m_wanted.end(),
                                  [&](const Wanted& wanted) { return handles.count(wanted.handle) != 0; }),
                   m_wanted.end());
}

// One batch for each thread: what comes after them is chosen when they are done, by where the eye is then.
void UsualPictures::paint() {
    while (!m_wanted.empty() && m_running < m_painters.maxThreadCount()) {
        ++m_running;
        std::vector<Wanted> nearest = takeNearest();
        m_inHand += static_cast<int>(nearest.size());
        m_painters.start([this, batch = std::move(nearest)] {
            // The painter sees records and images only: nodes are made and let go of on the GUI thread.
            std::vector<Picture> pictures;
            for (const Wanted& wanted : batch) {
                pictures.emplace_back(
                    wanted.handle,
                    osgPicture(overlayPicture(wanted.source->anomalies[wanted.index], wanted.source->style)));
            }
            QMetaObject::invokeMethod(this, [this, pictures] { take(pictures); }, Qt::QueuedConnection);
        });
    }
}

std::vector<UsualPictures::Wanted> UsualPictures::takeNearest() {
    const osg::Vec3d eye = globeEye();
    const std::size_t count = std::min(kBatch, m_wanted.size());
    const auto first = m_wanted.end() - static_cast<std::ptrdiff_t>(count);
    std::nth_element(m_wanted.begin(), first, m_wanted.end(), [&eye](const Wanted& one, const Wanted& other) {
        return (one.world - eye).length2() > (other.world - eye).length2();
    });
    std::vector<Wanted> batch(std::make_move_iterator(first), std::make_move_iterator(m_wanted.end()));
    m_wanted.erase(first, m_wanted.end());
    return batch;
}

void UsualPictures::take(const std::vector<Picture>& pictures) {
    --m_running;
    m_inHand -= static_cast<int>(pictures.size());
    m_done += static_cast<int>(pictures.size());
    emit painted(pictures);
    paint();
    emit progressed(m_done, m_done + m_inHand + static_cast<int>(m_wanted.size()));
    if (!isPainting()) {
        m_done = 0;
    }
}

} // namespace inspection
