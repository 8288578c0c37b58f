#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspection/scene/ViewPages.h"

#include <osg/Group>
#include <osg/observer_ptr>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/FeatureNode>

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

namespace inspection {

/// What areas look like on the ground: fills and borders that follow it, which take far more memory than all else of an
/// area. They are made while areas are few; of more, for those that are in view and large enough to be seen, some
/// milliseconds at a time. A node whose turn has not come has its feature and style, and draws nothing. GUI thread, which
/// also runs the frames.
class RegionOutlines : public QObject {
    Q_OBJECT

public:
    explicit RegionOutlines(const PageLimits& limits, QObject* parent = nullptr);
    ~RegionOutlines() override;

    /// A node of this region that has no map node yet. It is held weakly.
    void add(osgEarth::Annotation::FeatureNode& node, const Special_Region& region);
    /// One that was not added is passed over.
    void remove(osgEarth::Annotation::FeatureNode& node);
    void clear();

private slots:
    void want(const std::vector<std::uint64_t>& handles);
    void takeAway(const std::vector<std::uint64_t>& handles);
    void makeSome();

private:
    /// Null where there is none any more.
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> nodeOf(std::uint64_t handle) const;

    ViewPages m_pages;
    std::unordered_map<std::uint64_t, osg::observer_ptr<osgEarth::Annotation::FeatureNode>> m_nodes;
    std::deque<std::uint64_t> m_wanted; ///< in the order in which they are made
    osg::ref_ptr<osg::Group> m_watch;   ///< is in the scene, so that frames are heard of
    QTimer m_turn;
};

} // namespace inspection
