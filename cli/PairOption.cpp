#include "cli/PairOption.h"

namespace cli {

using inspection::EpochPair;
using inspection::ProjectDescription;

inspection::Result<ProjectDescription> withPair(const ProjectDescription& project, const Options& options) {
    if (!options.has(kPairOption)) {
        return project;
    }
    const QString text = QString::fromStdString(options.value(kPairOption));
    if (!text.contains(',')) {
        return inspection::fileFailure(kPairOption, "two epochs are separated by a comma: " + text,
                                       "两个期次以逗号分隔：" + text);
    }
    // An undated epoch is called by a path, which may have commas of its own.
    for (qsizetype comma = text.indexOf(','); comma >= 0; comma = text.indexOf(',', comma + 1)) {
        const EpochPair pair{text.left(comma), text.mid(comma + 1)};
        if (project.findEpoch(pair.older) && project.findEpoch(pair.newer)) {
            return project.comparing(pair);
        }
    }
    return project.comparing({text.section(',', 0, 0), text.section(',', 1)});
}

} // namespace cli
