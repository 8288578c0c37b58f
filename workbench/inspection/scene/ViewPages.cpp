#include "workbench/inspection/scene/ViewPages.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace inspection {

namespace {

constexpr double kLeastPixels = 4.0;
constexpr double kBeforeAllOthers = std::numeric_limits<double>::max();

} // namespace

ViewPages::ViewPages(const PageLimits& limits, QObject* parent) : QObject(parent), m_limits(limits) {
    connect(&m_rest, SIGNAL(rested()), this, SLOT(look()));
    connect(&m_rest, SIGNAL(passed()), this, SLOT(look()));
}

void ViewPages::add(std::uint64_t handle, const osg::Vec3d& world, double metres, bool isUrgent) {
    Item& item = m_items[handle];
    item = {world, metres, 0, false};
    if (isUrgent || m_items.size() <= m_limits.few) {
        item.seen = m_looks;
        ++m_chosen;
        emit wanted({handle});
    }
    m_rest.lookAgain();
}

void ViewPages::remove(std::uint64_t handle) {
    const auto found = m_items.find(handle);
    if (found != m_items.end()) {
        m_chosen -= found->second.seen != 0 ? 1U : 0U;
        m_items.erase(found);
        m_rest.lookAgain();
    }
}

void ViewPages::setKept(std::uint64_t handle, bool isKept) {
    const auto found = m_items.find(handle);
    if (found != m_items.end() && found->second.isKept != isKept) {
        found->second.isKept = isKept;
        m_rest.lookAgain();
    }
}

bool ViewPages::isChosen(std::uint64_t handle) const {
    const auto found = m_items.find(handle);
    return found != m_items.end() && found->second.seen != 0;
}

void ViewPages::look() {
    if (m_items.size() <= m_limits.few) {
        wantAll();
        return;
    }
    if (const auto view = ViewRest::present()) {
        ++m_looks;
        std::vector<Candidate> found = candidates(*view);
        choose(found);
        giveBack();
    }
}

void ViewPages::wantAll() {
    std::vector<std::uint64_t> handles;
    for (auto& [handle, item] : m_items) {
        if (item.seen == 0) {
            handles.push_back(handle);
        }
        item.seen = m_looks;
    }
    m_chosen = m_items.size();
    setLeastSize(0.0);
    emit wanted(handles);
}

std::vector<ViewPages::Candidate> ViewPages::candidates(const ViewGeometry& view) {
    std::vector<Candidate> found;
    for (auto& [handle, item] : m_items) {
        const auto radius = static_cast<float>(item.metres / 2.0);
        const auto scale = view.scaleOf(osg::BoundingSphere(osg::Vec3(item.world), radius));
        const double pixels = scale ? item.metres * scale->centre : 0.0;
        if (item.isKept) {
            found.push_back({kBeforeAllOthers, &item, handle});
        } else if (pixels >= kLeastPixels) {
            found.push_back({pixels, &item, handle});
        }
    }
    return found;
}

void ViewPages::choose(std::vector<Candidate>& candidates) {
    double leastSize = kLeastPixels;
    if (candidates.size() > m_limits.most) {
        const auto last = candidates.begin() + static_cast<std::ptrdiff_t>(m_limits.most);
        std::nth_element(
            candidates.begin(), last, candidates.end(),
            [](const Candidate& one, const Candidate& other) { return one.pixels > other.pixels; });
        leastSize = last->pixels;
        candidates.erase(last, candidates.end());
    }
    std::vector<std::uint64_t> handles;
    for (const Candidate& candidate : candidates) {
        if (candidate.item->seen == 0) {
            handles.push_back(candidate.handle);
            ++m_chosen;
        }
        candidate.item->seen = m_looks;
    }
    setLeastSize(leastSize);
    emit wanted(handles);
}

void ViewPages::giveBack() {
    if (m_chosen <= m_limits.most) {
        return;
    }
    std::vector<std::pair<std::uint64_t, std::uint64_t>> formerly; // when it was seen, and its handle
    for (const auto& [handle, item] : m_items) {
        if (item.seen != 0 && item.seen != m_looks) {
            formerly.emplace_back(item.seen, handle);
        }
    }
    std::sort(formerly.begin(), formerly.end());
    formerly.resize(std::min(formerly.size(), m_chosen - m_limits.most));
    std::vector<std::uint64_t> handles;
    for (const auto& [seen, handle] : formerly) {
        m_items.at(handle).seen = 0;
        handles.push_back(handle);
    }
    m_chosen -= handles.size();
    emit unwanted(handles);
}

void ViewPages::setLeastSize(double pixels) {
    if (pixels != m_leastSize) {
        m_leastSize = pixels;
        emit leastSizeChanged(pixels);
    }
}

} // namespace inspection
