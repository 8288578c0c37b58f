#pragma once

#include "workbench/inspectiondata/amendment/Amendment.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"

namespace inspection {

/// What a draft, which began with the project's own wish, asks to be changed. `name` is the project's then.
AmendmentWish settingsWish(const PresentProject& present, const NewProject& draft, const QString& name);

/// Whether stations are laid out anew by it.
bool laysOut(const AmendmentWish& wish);

} // namespace inspection
