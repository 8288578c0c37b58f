#pragma once

#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/history/EditTransaction.h"

#include <QString>

#include <optional>
#include <vector>

/// What the user is told when somebody else was at the same rows. Chinese, one line. `own` is the inspector who is
/// told: somebody of the same name is told apart from him.
namespace inspection {

/// Whether the user's edit is to replace what others did; `conflicts` is not empty. `step` is what was last
/// done to the first of them, if known.
INSPECTIONDATA_API QString conflictQuestion(const std::vector<EditConflict>& conflicts,
                                            const std::optional<EditStep>& step, const QString& own);
/// That a row was deleted, or replaced by a computation, in `step` if that is known.
INSPECTIONDATA_API QString goneText(const EditConflict& conflict, const std::optional<EditStep>& step,
                                    const QString& own);
/// Why an edit cannot be undone or redone; `step` is what was last done to the row, if known.
INSPECTIONDATA_API QString otherText(const RowIsOther& row, const std::optional<EditStep>& step,
                                     const QString& own);

} // namespace inspection
