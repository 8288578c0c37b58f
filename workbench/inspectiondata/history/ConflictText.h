#pragma once

#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/history/EditTransaction.h"

#include <QString>

#include <optional>
#include <vector>

/// What the user is told when somebody else was at the same rows. Chinese, one line.
namespace inspection {

/// Whether the user's edit is to replace what others did; `conflicts` is not empty. `step` is what was last
/// done to the first of them, if known.
INSPECTIONDATA_API QString conflictQuestion(const std::vector<EditConflict>& conflicts,
                                            const std::optional<EditStep>& step);
/// That a row was deleted and the edit is not stored.
INSPECTIONDATA_API QString goneText(const EditConflict& conflict, const std::optional<EditStep>& step);

} // namespace inspection
