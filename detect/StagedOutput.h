#pragma once

#include "detect/Result.h"

#include <filesystem>
#include <string>

namespace detect {

/// A hidden folder beside the target in which an output comes into being under its own name; on commit() its
/// files take their places, until then whatever stood there is untouched. The folder goes when the object
/// goes.
class StagedOutput {
public:
    /// Fails when the target's folder is missing or cannot be written, and when the target is a folder.
    static Result<StagedOutput> beside(const std::string& target);

    StagedOutput(StagedOutput&& other) noexcept;
    StagedOutput& operator=(StagedOutput&& other) = delete;
    ~StagedOutput();

    const std::string& target() const { return m_target; }
    /// Where to write instead of the target, UTF-8.
    std::string path() const;
    /// Moves all files of the folder to the target's folder, the target itself last.
    Status commit();

private:
    StagedOutput(std::string target, std::filesystem::path folder)
        : m_target(std::move(target)), m_folder(std::move(folder)) {}
    Status moveOut(const std::filesystem::path& file) const;

    std::string m_target;
    std::filesystem::path m_folder;
};

} // namespace detect
