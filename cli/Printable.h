#pragma once

#include <QString>

#include <string>

namespace cli {

/// What may be shown on a terminal of a text that others wrote, a name or an argument: what would steer the terminal, or
/// turn the direction of the letters, comes as "\u001b"; of a text without end, its beginning and its end.
std::string printable(const QString& text);
std::string printable(const std::string& text);

} // namespace cli
