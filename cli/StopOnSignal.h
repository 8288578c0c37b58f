#pragma once

namespace cli {

/// From here on a request to end (Ctrl-C, SIGTERM, a closed terminal) that this process does not ignore ends it in good
/// order in every phase: what is unfinished is removed, what is taking its place takes it, one line is said, and the exit
/// status is that of a failure. Before any other thread begins. `command` is named in the line.
void endOnSignal(const char* command);

/// For handlers of signals that a fault in this thread has raised: lets the thread that hears the requests end the process
/// in the same order, and says `words`. Calls nothing that such handlers must not.
[[noreturn]] void endOnFault(const char* words);

/// While one of these lives, the first request is only noted, so that long work can end by itself; a second one ends the
/// process as above.
class StopOnSignal {
public:
    StopOnSignal();
    ~StopOnSignal();
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

    /// Whether the user asked for the end.
    bool asked() const;
};

} // namespace cli
