#include "detect/StagedOutput.h"

#include "detect/GdalErrors.h"

#include <cstdio>
#include <random>
#include <vector>

namespace detect {

namespace fs = std::filesystem;

namespace {

std::string hiddenName() {
    std::random_device random;
    char name[40];
    std::snprintf(name, sizeof name, ".corridor-%08x%08x", random(), random());
    return name;
}

} // namespace

Result<StagedOutput> StagedOutput::beside(const std::string& target) {
    const fs::path path = fs::u8path(target);
    const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::error_code error;
    if (!path.has_filename()) {
        return failureOf(target, "不是文件名");
    }
    if (fs::is_directory(path, error)) {
        return failureOf(target, "是文件夹，不能写成文件");
    }
    if (!fs::is_directory(parent, error)) {
        return failureOf(target, "所在文件夹不存在");
    }
    const fs::path folder = parent / hiddenName();
    if (!fs::create_directory(folder, error)) {
        return failureOf(target, "所在文件夹不可写", error.message());
    }
    return StagedOutput(target, folder);
}

StagedOutput::StagedOutput(StagedOutput&& other) noexcept
    : m_target(std::move(other.m_target)), m_folder(std::move(other.m_folder)) {
    other.m_folder.clear();
}

StagedOutput::~StagedOutput() {
    std::error_code ignored;
    if (!m_folder.empty()) {
        fs::remove_all(m_folder, ignored);
    }
}

std::string StagedOutput::path() const {
    return (m_folder / fs::u8path(m_target).filename()).u8string();
}

Status StagedOutput::commit() {
    std::error_code error;
    std::vector<fs::path> sidecars;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder, error)) {
        if (entry.path() != fs::u8path(path())) {
            sidecars.push_back(entry.path());
        }
    }
    if (error) {
        return failureOf(m_target, "写入失败", error.message());
    }
    for (const fs::path& sidecar : sidecars) {
        if (auto done = moveOut(sidecar); !done) {
            return failed(done);
        }
    }
    return moveOut(fs::u8path(path()));
}

Status StagedOutput::moveOut(const fs::path& file) const {
    std::error_code error;
    fs::rename(file, m_folder.parent_path() / file.filename(), error);
    if (error) {
        return failureOf(m_target, "写入失败", error.message());
    }
    return {};
}

} // namespace detect
