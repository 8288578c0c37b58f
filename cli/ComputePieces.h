#pragma once

#include "cli/Command.h"
#include "cli/StationList.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <string>
#include <vector>

namespace cli {

/// What `corridor compute` is asked to do.
struct ComputeTask {
    std::string folder;                 ///< of the project
    std::vector<StationRange> stations; ///< none means all
    int threads = 0;
    Options options; ///< all of them
};

/// The project, opened for reading and closed again, with the pair that the options name. Fails without its surface models.
inspection::Result<inspection::ProjectDescription> describedProject(const ComputeTask& task);

/// `--plan`: says what a computation of all stations does, and writes the co-registration where a file for it is named.
int printPlan(const ComputeTask& task);
/// `--piece`: computes the stations of whole search groups into a folder.
int computePieceOf(const ComputeTask& task);
/// `--collect`: stores such folders in the project.
int collectInto(const ComputeTask& task);

} // namespace cli
