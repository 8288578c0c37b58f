#include "cli/OutputSet.h"

#include <filesystem>

namespace cli {

detect::Status OutputSet::stage(const std::string& target, std::string& path) {
    if (target.empty()) {
        return {};
    }
    auto staged = detect::StagedOutput::beside(target);
    if (!staged) {
        return failed(staged);
    }
    m_outputs.push_back(std::make_unique<detect::StagedOutput>(std::move(*staged)));
    path = m_outputs.back()->path();
    return {};
}

detect::Status OutputSet::commit() {
    for (const auto& output : m_outputs) {
        if (auto done = output->commit(); !done) {
            return failed(done);
        }
    }
    return {};
}

std::string OutputSet::inUsersWords(std::string message) const {
    for (const auto& output : m_outputs) {
        for (auto at = message.find(output->path()); at != std::string::npos;
             at = message.find(output->path())) {
            message.replace(at, output->path().size(), output->target());
        }
    }
    return message;
}

bool sameFile(const std::string& a, const std::string& b) {
    namespace fs = std::filesystem;
    std::error_code error;
    return a == b || fs::equivalent(fs::u8path(a), fs::u8path(b), error);
}

} // namespace cli
