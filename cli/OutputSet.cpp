#include "cli/OutputSet.h"

#include <filesystem>

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

detect::Status OutputSet::commit() {
    for (const auto& output : m_outputs) {
        if (auto done = output->commit(); !done) {
            return failed(done);
        }
    }
    return {};
}

bool sameFile(const std::string& a, const std::string& b) {
    namespace fs = std::filesystem;
    std::error_code error;
    return a == b || fs::equivalent(fs::u8path(a), fs::u8path(b), error);
}

} // namespace cli
