#pragma once

#include "cli/Command.h"
#include "workbench/inspectiondata/project/Project.h"

#include <string>

namespace cli {

/// The option that names two epochs of a project, "OLD,NEW".
constexpr auto kPairOption = "--pair";
constexpr auto kPairUsage = "  --pair      对比哪两期，如 2024-05-18,2025-05-20；不给出时为项目所选的一对，\n"
                            "              该选择不因此改变\n";

/// The project with the pair that the option names, or as it is without the option. Fails when that is no pair
/// of its epochs. Stores nothing.
inspection::Result<inspection::ProjectDescription> withPair(const inspection::ProjectDescription& project,
                                                            const Options& options);

} // namespace cli
