#include "cli/ProgressLine.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace cli {

namespace {

constexpr int kBarWidth = 40;

bool standardErrorIsTerminal() {
#ifdef _WIN32
    return _isatty(2) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

} // namespace

ProgressLine::ProgressLine(std::string title, bool quiet)
    : m_title(std::move(title)), m_quiet(quiet), m_terminal(standardErrorIsTerminal()) {}

ProgressLine::~ProgressLine() {
    if (!m_quiet && m_terminal && m_shownPercent >= 0) {
        std::fputc('\n', stderr);
    }
}

void ProgressLine::show(double done) {
    int percent = static_cast<int>(std::clamp(done, 0.0, 1.0) * 100.0);
    if (!m_terminal) {
        percent = percent / 10 * 10;
    }
    if (m_quiet || percent == m_shownPercent) {
        return;
    }
    m_shownPercent = percent;
    if (!m_terminal) {
        std::fprintf(stderr, "%s %d%%\n", m_title.c_str(), percent);
        return;
    }
    const auto filled = static_cast<std::size_t>(percent * kBarWidth / 100);
    std::fprintf(stderr, "\r%s [%s%s] %3d%%", m_title.c_str(), std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, ' ').c_str(), percent);
    std::fflush(stderr);
}

} // namespace cli
