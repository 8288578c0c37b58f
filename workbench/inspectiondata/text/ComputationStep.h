#pragma once

#include "host/Export.h"

#include <QString>

#include <cstddef>

namespace inspection {

/// What a computation is at.
struct ComputationStep {
    enum class Sort { Coregistration, Search, Storing };

    Sort sort = Sort::Coregistration;
    QString station;          ///< the name of the first one that is searched
    std::size_t stations = 1; ///< how many are searched together
};

/// For the status bar, in Chinese.
INSPECTIONDATA_API QString stepText(const ComputationStep& step);

} // namespace inspection
