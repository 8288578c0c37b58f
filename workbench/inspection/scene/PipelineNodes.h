#pragma once

#include "host/inspection/Records.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <osg/Group>
#include <osg/ref_ptr>

#include <array>
#include <cstddef>
#include <vector>

namespace inspection {

/// What of a pipeline stands on the globe; the first is drawn first.
enum class PipelinePart { Buffer, Stations, Centerline, ChainageMarks, Nodes };
constexpr std::size_t kPipelineParts = 5;

/// What a project knows of its pipeline.
struct PipelineContent {
    Pipeline pipeline;
    std::vector<KV_Station> stations;
    std::vector<KV_BasicNode> nodes; ///< valves, posts and the like
};

/// The pipeline on the globe, on the ground below everything else: the limits of a buffer around it, those of the
/// stations, the centre line, marks at round chainages, and the named nodes. Nothing of it can be picked. Without
/// a globe nothing happens. GUI thread, which also runs the frames.
class PipelineNodes {
public:
    PipelineNodes();

    /// In place of what was shown before.
    void show(PipelineContent content);
    void clear();

    bool isVisible(PipelinePart part) const { return m_visible[std::size_t(part)]; }
    void setVisible(PipelinePart part, bool isVisible);
    /// From the centre line to each side.
    double bufferMetres() const { return m_bufferMetres; }
    void setBufferMetres(double metres);

private:
    /// Made when it is first seen: the buffer of a long pipeline takes its time.
    void build(PipelinePart part);
    osg::Group& group(PipelinePart part) { return *m_groups[std::size_t(part)]; }

    PipelineContent m_content;
    std::array<osg::ref_ptr<osg::Group>, kPipelineParts> m_groups;
    std::array<bool, kPipelineParts> m_visible{false, true, true, true, true};
    double m_bufferMetres = 50.0;
};

} // namespace inspection
