#pragma once

namespace cli {

/// While one of these lives, Ctrl-C and the request to terminate do not kill the program; they are noted, so
/// that long work can end in good order and nothing half-written stays.
class StopOnSignal {
public:
    StopOnSignal();
    ~StopOnSignal();
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

    /// Whether the user asked for the end.
    bool asked() const;

private:
    using Handler = void (*)(int);
    Handler m_interrupt;
    Handler m_terminate;
};

} // namespace cli
