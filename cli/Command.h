#pragma once

#include "commandline/Options.h"

#include <QString>

#include <string>
#include <vector>

namespace cli {

using commandline::Options;
using commandline::OptionTable;
using commandline::Parsed;
using commandline::wrongUse;

/// Exit statuses of every command.
constexpr int kStatusDone = 0;
constexpr int kStatusFailed = 1;
constexpr int kStatusWrongUse = 2;

/// How a command begins: sorts its arguments, and says what is wrong with them or prints `usage` for
/// "--help". Gives the options, or the exit status where the command ends with that.
tl::expected<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table);

/// Writes "corridor COMMAND: message" to standard error.
void note(const char* command, const std::string& message);
void note(const char* command, const QString& message);

/// The same, and hands `status` back.
int fail(const char* command, int status, const std::string& message);

} // namespace cli
