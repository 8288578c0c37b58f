#include "workbench/inspection/scene/CrispOverlays.h"
#include "workbench/inspection/scene/Globe.h"

#include <osgEarth/Registry>

#include <QMetaObject>

#include <algorithm>
#include <limits>
#include <utility>

namespace inspection {

namespace {

constexpr int kMostPixels = 2048;
constexpr int kBeforeUsualPictures = 1; ///< priority among the painters' jobs
constexpr double kEdgeScreenPixels = 3.0;
constexpr double kThinnestEdge = 1.2;
constexpr double kFinerThanNeeded = 4.0; ///< pictures finer than the screen by this are painted anew

int longerSide(const osg::Image& picture) {
    return std::max(picture.s(), picture.t());
}

std::int64_t bytesOf(const osg::Image& picture) {
    return static_cast<std::int64_t>(picture.getTotalSizeInBytes());
}

std::int64_t bytesOf(const QSize& pixels) {
    return std::int64_t{4} * pixels.width() * pixels.height();
}

/// Steps, so that a view that moves a little needs no other picture.
int pixelsFor(double screenPixels, int present) {
    const double needed = std::min(screenPixels, static_cast<double>(kMostPixels));
    if (present >= needed && present < needed * kFinerThanNeeded) {
        return present;
    }
    int pixels = 1;
    while (pixels < needed) {
        pixels *= 2;
    }
    return pixels;
}

/// `screenPixels` is the length of the longer side where the overlay's middle is.
OverlayDetail detailFor(int pixels, double screenPixels) {
    const double width = kEdgeScreenPixels * double{osgEarth::Registry::instance()->getDevicePixelRatio()};
    return {pixels, std::max(kThinnestEdge, width * pixels / std::max(screenPixels, 1.0))};
}

} // namespace

CrispOverlays::CrispOverlays(QThreadPool& painters, const FinePictureLimits& limits, QObject* parent)
    : QObject(parent), m_limits(limits), m_painters(painters) {
    connect(&m_rest, SIGNAL(rested()), this, SLOT(look()));
}

void CrispOverlays::add(std::uint64_t handle, osgEarth::Annotation::ImageOverlay& overlay,
                        const std::shared_ptr<const OverlaySource>& source, std::size_t index,
                        osg::Image& usual) {
    Item& item = m_items[handle];
    item = Item();
    item.overlay = &overlay;
    item.source = source;
    item.index = index;
    item.usual = &usual;
    overlay.setImage(&usual);
    m_rest.lookAgain();
}

void CrispOverlays::remove(std::uint64_t handle) {
    m_items.erase(handle);
    if (m_painting.handle == handle) {
        *m_painting.cancelled = true;
    }
}

void CrispOverlays::look() {
    const auto view = ViewRest::present();
    if (!view) {
        return;
    }
    ++m_looks;
    choose(candidates(*view));
    const auto stillWanted = m_items.find(m_painting.handle);
    if (isPainting() && (stillWanted == m_items.end() || stillWanted->second.seen != m_looks ||
                         stillWanted->second.chosenPixels != m_painting.pixels)) {
        *m_painting.cancelled = true;
    }
    paintNext();
}

std::vector<CrispOverlays::Candidate> CrispOverlays::candidates(const ViewGeometry& view) {
    std::vector<Candidate> found;
    for (auto& [handle, item] : m_items) {
        const osg::BoundingSphere bound = item.overlay->getBound();
        if (!bound.valid()) {
            m_rest.lookAgain(); // the overlay has not been built yet; that takes a frame
            continue;
        }
        const auto scale = view.scaleOf(bound);
        if (!scale) {
            continue;
        }
        const QRectF ground = overlayGround(item.anomaly());
        const double metres = std::max(ground.width(), ground.height());
        const double screenPixels = metres * scale->nearest;
        if (screenPixels > longerSide(*item.usual)) {
            const int pixels = pixelsFor(screenPixels, item.fine.valid() ? longerSide(*item.fine) : 0);
            found.push_back({handle, screenPixels, detailFor(pixels, metres * scale->centre)});
        } else if (item.fine.valid()) {
            showUsual(item); // its edge would become a hair line
        }
    }
    std::sort(found.begin(), found.end(), [](const Candidate& one, const Candidate& other) {
        return one.screenPixels > other.screenPixels;
    });
    return found;
}

void CrispOverlays::choose(const std::vector<Candidate>& candidates) {
    m_wanted.clear();
    int pictures = 0;
    std::int64_t bytes = 0;
    for (const Candidate& candidate : candidates) {
        Item& item = m_items.at(candidate.handle);
        bytes += bytesOf(overlayPixels(item.anomaly(), candidate.detail.pixels));
        if (++pictures > m_limits.pictures || bytes > m_limits.bytes) {
            break;
        }
        item.seen = m_looks;
        item.chosenPixels = candidate.detail.pixels;
        const bool present = item.fine.valid() && longerSide(*item.fine) == candidate.detail.pixels;
        const bool comes = m_painting.handle == candidate.handle &&
                           m_painting.pixels == candidate.detail.pixels && !*m_painting.cancelled;
        if (!present && !comes) {
            m_wanted.push_back(candidate);
        }
    }
    std::reverse(m_wanted.begin(), m_wanted.end());
}

void CrispOverlays::paintNext() {
    while (!isPainting() && !m_wanted.empty()) {
        const Candidate next = m_wanted.back();
        m_wanted.pop_back();
        const auto found = m_items.find(next.handle);
        if (found == m_items.end()) {
            continue;
        }
        m_painting = {next.handle, next.detail.pixels, std::make_shared<std::atomic<bool>>(false)};
        // The painter sees records and images only: nodes are made and let go of on the GUI thread.
        m_painters.start(
            [this, next, source = found->second.source, index = found->second.index,
             cancelled = m_painting.cancelled] {
                osg::ref_ptr<osg::Image> picture;
                if (!*cancelled) {
                    picture =
                        osgPicture(overlayPicture(source->anomalies[index], source->style, next.detail));
                }
                QMetaObject::invokeMethod(
                    this, [this, next, picture] { take(next.handle, picture); }, Qt::QueuedConnection);
            },
            kBeforeUsualPictures);
    }
}

void CrispOverlays::take(std::uint64_t handle, const osg::ref_ptr<osg::Image>& picture) {
    const bool cancelled = *m_painting.cancelled;
    m_painting = {};
    const auto found = m_items.find(handle);
    if (!cancelled && picture.valid() && found != m_items.end()) {
        Item& item = found->second;
        item.fine = nullptr; // makes room itself
        makeRoomFor(bytesOf(*picture));
        item.fine = picture;
        item.overlay->setImage(picture);
        redrawGlobe();
    }
    paintNext();
}

void CrispOverlays::makeRoomFor(std::int64_t bytes) {
    while (true) {
        int pictures = 1;
        Item* oldest = nullptr;
        std::int64_t sum = bytes;
        for (auto& [handle, item] : m_items) {
            if (!item.fine.valid()) {
                continue;
            }
            ++pictures;
            sum += bytesOf(*item.fine);
            if (item.seen != m_looks && (!oldest || item.seen < oldest->seen)) {
                oldest = &item;
            }
        }
        if (!oldest || (pictures <= m_limits.pictures && sum <= m_limits.bytes)) {
            return;
        }
        showUsual(*oldest);
    }
}

void CrispOverlays::showUsual(Item& item) {
    item.fine = nullptr;
    item.overlay->setImage(item.usual);
    redrawGlobe();
}

} // namespace inspection
