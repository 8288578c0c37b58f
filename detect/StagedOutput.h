#pragma once

#include "detect/Result.h"
#include "files/UnfinishedFolder.h"

#include <filesystem>
#include <string>
#include <vector>

namespace detect {

/// A hidden folder beside the target in which an output comes into being under its own name; on commit() its
/// files take their places, until then whatever stood there is untouched. The folder goes when the object
/// goes. Of a link, the file that it leads to is the target.
class StagedOutput {
public:
    /// Fails when the target's folder is missing or cannot be written, and when the target is a folder or a device.
    static Result<StagedOutput> beside(const std::string& target);

    /// As it was named.
    const std::string& target() const { return m_target; }
    /// Where to write instead of the target, UTF-8.
    std::string path() const;
    /// The folder of that; what else is put there takes its place beside the target.
    const std::filesystem::path& folder() const { return m_folder.path(); }
    /// Moves all files of the folder to the target's folder, the target itself last. All of them or none.
    Status commit() const;

private:
    StagedOutput(std::string target, std::filesystem::path place, files::UnfinishedFolder folder)
        : m_target(std::move(target)), m_place(std::move(place)), m_folder(std::move(folder)) {}
    friend Status commitTogether(const std::vector<const StagedOutput*>& outputs);

    std::string m_target;
    std::filesystem::path m_place; ///< where the target really lies
    files::UnfinishedFolder m_folder;
};

/// The files of all these outputs take their places, or none of them does and what stood there stands there again. A
/// signal does not come between them; a kill may.
Status commitTogether(const std::vector<const StagedOutput*>& outputs);

} // namespace detect
