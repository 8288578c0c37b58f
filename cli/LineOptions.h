#pragma once

#include "cli/Command.h"
#include "workbench/inspectiondata/creation/Centerline.h"

#include <QString>

/// What the commands that make and change a project have in common.
namespace cli {

QString valueOf(const Options& options, const char* name);

/// "--turn", "--start" and "--posts", put into the source.
Parsed<inspection::CenterlineSource> withChainage(const Options& options,
                                                  inspection::CenterlineSource source);

/// The option's metres, `otherwise` without it.
Parsed<double> metres(const Options& options, const char* name, double otherwise);

} // namespace cli
