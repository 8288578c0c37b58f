#include "cli/OutputSet.h"

namespace cli {

detect::Result<const detect::StagedOutput*> OutputSet::stage(const std::string& target) {
    if (target.empty()) {
        return nullptr;
    }
    return detect::StagedOutput::beside(target).map([this](detect::StagedOutput&& staged) {
        m_outputs.push_back(std::make_unique<detect::StagedOutput>(std::move(staged)));
        return static_cast<const detect::StagedOutput*>(m_outputs.back().get());
    });
}

detect::Status OutputSet::commit() const {
    std::vector<const detect::StagedOutput*> outputs;
    for (const auto& output : m_outputs) {
        outputs.push_back(output.get());
    }
    return detect::commitTogether(outputs);
}

} // namespace cli
