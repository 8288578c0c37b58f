#pragma once

#include <osg/NodeCallback>

namespace inspection {

/// A cull callback of what the user sees and tools do not: pictures that are made for picking hold nothing of it, so that
/// no caption stands before an anomaly there.
class ForTheViewOnly : public osg::NodeCallback {
public:
    void operator()(osg::Node* node, osg::NodeVisitor* visitor) override;
};

} // namespace inspection
