#pragma once

#include "host/Export.h"

#include <QString>

namespace inspection {

/// What a computation is at.
struct ComputationStep {
    enum class Sort { Coregistration, Search, Storing };

    Sort sort = Sort::Coregistration;
    QString station; ///< the name of the one that is searched
};

/// For the status bar, in Chinese.
INSPECTIONDATA_API QString stepText(const ComputationStep& step);

} // namespace inspection
