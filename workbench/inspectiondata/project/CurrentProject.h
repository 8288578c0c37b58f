#pragma once

#include "host/Export.h"
#include "host/inspection/DataSet.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

namespace inspection {

/// The open project, for the records that must find it (KV_StationItem's read operations). GUI thread.
/// Neither pointer is owned; both must live until they are replaced or cleared.
struct INSPECTIONDATA_API CurrentProject {
    const ProjectDescription* description = nullptr;
    PipelineDataSet* data = nullptr;

    /// Both pointers are null while no project is open.
    static const CurrentProject& get();
    static void set(const ProjectDescription* description, PipelineDataSet* data);
    static void clear();
};

} // namespace inspection
