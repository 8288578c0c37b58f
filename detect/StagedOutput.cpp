#include "detect/StagedOutput.h"

#include "detect/GdalErrors.h"
#include "detect/TouchedFiles.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace detect {

namespace fs = std::filesystem;

namespace {

constexpr const char* kEarlier = "earlier"; ///< folder in the hidden one: what stood in the places before
constexpr const char* kWriteFails = "写入失败";

fs::path parentOf(const fs::path& place) {
    return place.has_parent_path() ? place.parent_path() : fs::path(".");
}

/// On the disk, not only on its way there: a file that takes the place of another one must be whole after a power cut.
std::error_code flushToDisk(const fs::path& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return {errno, std::generic_category()};
    }
    std::error_code error;
    if (fsync(descriptor) != 0 && errno != EINVAL) { // EINVAL: nothing that could be flushed
        error = {errno, std::generic_category()};
    }
    close(descriptor);
    return error;
}

/// One file that takes its place.
class Move {
public:
    Move(fs::path from, fs::path to)
        : m_from(std::move(from)), m_to(std::move(to)),
          m_earlier(m_from.parent_path() / kEarlier / m_from.filename()) {}

    const fs::path& to() const { return m_to; }

    /// What is found wrong before anything has been moved.
    std::error_code prepare() const {
        std::error_code error;
        const fs::file_status status = fs::symlink_status(m_to, error);
        if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_symlink(status)) {
            return std::make_error_code(fs::is_directory(status) ? std::errc::is_a_directory
                                                                 : std::errc::invalid_argument);
        }
        return flushToDisk(m_from);
    }

    std::error_code make() {
        std::error_code error;
        if (fs::exists(fs::symlink_status(m_to, error))) {
            if (error = keepEarlier(); error) {
                return error;
            }
        }
        fs::rename(m_from, m_to, error);
        m_isMade = !error;
        return error;
    }

    void undo() const {
        std::error_code ignored;
        if (m_isKept) {
            fs::rename(m_earlier, m_to, ignored);
        } else if (m_isMade) {
            fs::remove(m_to, ignored);
        }
    }

private:
    /// By a second name, so that the place is never empty; by moving it where the file system knows no second names.
    std::error_code keepEarlier() {
        std::error_code error;
        fs::create_directory(m_earlier.parent_path(), error);
        fs::create_hard_link(m_to, m_earlier, error);
        if (error) {
            fs::rename(m_to, m_earlier, error);
        }
        m_isKept = !error;
        return error;
    }

    fs::path m_from;
    fs::path m_to;
    fs::path m_earlier;
    bool m_isMade = false;
    bool m_isKept = false;
};

/// The files of an output, the one that was asked for last.
std::vector<Move> movesOf(const fs::path& folder, const fs::path& place, std::error_code& error) {
    std::vector<Move> moves;
    for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const fs::path name = entry->path().filename();
        if (name != place.filename() && name != kEarlier) {
            moves.emplace_back(entry->path(), parentOf(place) / name);
        }
    }
    moves.emplace_back(folder / place.filename(), place);
    return moves;
}

std::error_code makeAll(std::vector<Move>& moves) {
    for (Move& move : moves) {
        if (const std::error_code error = move.make()) {
            for (const Move& done : moves) {
                done.undo();
            }
            return error;
        }
    }
    return {};
}

} // namespace

Result<StagedOutput> StagedOutput::beside(const std::string& target) {
    const fs::path path = fs::u8path(target);
    std::error_code error;
    if (!path.has_filename()) {
        return failureOf(target, "不是文件名");
    }
    if (fs::is_directory(path, error)) {
        return failureOf(target, "是文件夹，不能写成文件");
    }
    const fs::path place = behindLinks(path);
    const fs::path parent = parentOf(place);
    if (!fs::is_directory(parent, error)) {
        return failureOf(target, "所在文件夹不存在");
    }
    if (fs::exists(place, error) && !fs::is_regular_file(place, error)) {
        return failureOf(target, "不是普通文件，不能写入");
    }
    auto folder = files::UnfinishedFolder::in(parent, "corridor", error);
    if (!folder) {
        return failureOf(target, "所在文件夹不可写", error.message());
    }
    return StagedOutput(target, place, *std::move(folder));
}

std::string StagedOutput::path() const {
    return (folder() / m_place.filename()).u8string();
}

Status StagedOutput::commit() const {
    return commitTogether({this});
}

Status commitTogether(const std::vector<const StagedOutput*>& outputs) {
    std::vector<Move> moves;
    for (const StagedOutput* output : outputs) {
        std::error_code error;
        std::vector<Move> own = movesOf(output->folder(), output->m_place, error);
        for (const Move& move : own) {
            error = error ? error : move.prepare();
            if (error) {
                return failureOf(move.to().u8string(), kWriteFails, error.message());
            }
        }
        std::move(own.begin(), own.end(), std::back_inserter(moves));
    }
    {
        const files::Finishing finishing;
        if (const std::error_code error = makeAll(moves)) {
            return failureOf(outputs.front()->target(), kWriteFails, error.message());
        }
    }
    for (const StagedOutput* output : outputs) {
        flushToDisk(parentOf(output->m_place)); // the new names; the files themselves are whole either way
    }
    return {};
}

} // namespace detect
