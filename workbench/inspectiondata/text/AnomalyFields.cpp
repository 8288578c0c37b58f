#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace inspection {

const AnomalyField& anomalyField(const char* name) {
    const auto* found =
        std::find_if(kAnomalyFields.begin(), kAnomalyFields.end(),
                     [name](const AnomalyField& field) { return std::strcmp(field.name, name) == 0; });
    if (found == kAnomalyFields.end()) {
        throw std::logic_error(std::string("an anomaly has no field ") + name);
    }
    return *found;
}

const char* kindCode(bool isFill) {
    return isFill ? "fill" : "cut";
}

} // namespace inspection
