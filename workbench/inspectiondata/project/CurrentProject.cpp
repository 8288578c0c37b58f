#include "workbench/inspectiondata/project/CurrentProject.h"

namespace inspection {

namespace {
CurrentProject current;
}

const CurrentProject& CurrentProject::get() {
    return current;
}

void CurrentProject::set(const ProjectDescription* description, PipelineDataSet* data) {
    current.description = description;
    current.data = data;
}

void CurrentProject::clear() {
    current = CurrentProject();
}

} // namespace inspection
