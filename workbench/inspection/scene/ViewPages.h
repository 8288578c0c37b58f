#pragma once

#include "workbench/inspection/scene/ViewRest.h"

#include <osg/Vec3d>

#include <QObject>

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace inspection {

/// How many things have pictures on the globe.
struct PageLimits {
    std::size_t few = 2000;  ///< things all of which have one, wherever the view is
    std::size_t most = 3000; ///< pictures, where there are more things
};

/// Chooses which of many things on the ground have pictures, or whatever else of them takes memory. While they are few, all
/// have. Of more those have that are in view and large enough to be seen, the largest first; and those seen last keep
/// theirs within the limit. It looks at the view when that rests, and every now and then while it moves. GUI thread,
/// which also runs the frames.
class ViewPages : public QObject {
    Q_OBJECT

public:
    explicit ViewPages(const PageLimits& limits, QObject* parent = nullptr);

    /// `metres` is the thing's longer side. Asks for its picture at once while there are few, or when it is `urgent`.
    void add(std::uint64_t handle, const osg::Vec3d& world, double metres, bool isUrgent = false);
    /// Its picture has gone with it.
    void remove(std::uint64_t handle);
    /// One that is kept comes before those that are not, whatever its size and wherever it is.
    void setKept(std::uint64_t handle, bool isKept);
    /// Whether its picture, which may have been long in the making, is to be shown.
    bool isChosen(std::uint64_t handle) const;

    /// The update callback of a node that is in the scene.
    osg::Callback* frameCallback() const { return m_rest.callback(); }

signals:
    void wanted(const std::vector<std::uint64_t>& handles);
    void unwanted(const std::vector<std::uint64_t>& handles);
    /// What is no larger on the screen, pixels, may have no picture; 0 while all have.
    void leastSizeChanged(double pixels);

private slots:
    void look();

private:
    struct Item {
        osg::Vec3d world;
        double metres = 0.0;
        std::uint64_t seen = 0; ///< the look that last chose it; 0 while it has no picture
        bool isKept = false;
    };
    struct Candidate {
        double pixels = 0.0; ///< of the longer side on the screen
        Item* item = nullptr;
        std::uint64_t handle = 0;
    };

    std::vector<Candidate> candidates(const ViewGeometry& view);
    void choose(std::vector<Candidate>& candidates);
    void wantAll();
    /// Those that were seen least recently give theirs back.
    void giveBack();
    void setLeastSize(double pixels);

    PageLimits m_limits;
    ViewRest m_rest;
    std::unordered_map<std::uint64_t, Item> m_items;
    std::uint64_t m_looks = 1;
    std::size_t m_chosen = 0; ///< items with a picture, or for which one has been asked
    double m_leastSize = 0.0;
};

} // namespace inspection
