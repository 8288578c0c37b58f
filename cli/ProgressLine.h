#pragma once

#include <string>

namespace cli {

/// Progress on standard error: a bar that is redrawn on a terminal, one plain line for every tenth otherwise.
class ProgressLine {
public:
    ProgressLine(std::string title, bool quiet);
    /// Ends the bar's line.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// 0..1
    void show(double done);

private:
    std::string m_title;
    bool m_quiet;
    bool m_terminal;
    int m_shownPercent = -1;
};

} // namespace cli
