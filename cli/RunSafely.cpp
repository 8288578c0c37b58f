#include "cli/RunSafely.h"

#include "cli/Command.h"
#include "cli/StopOnSignal.h"
#include "detect/GdalErrors.h"
#include "files/UnfinishedFolder.h"

#include <QException>
#include <QLoggingCategory>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <typeinfo>

#include <cxxabi.h>
#include <unistd.h>

namespace cli {

namespace {

const char* runningCommand = ""; // the handlers below are called without anything

std::string kindOf(const std::exception& error) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : typeid(error).name();
}

/// The exception that is being handled, in one line.
std::string wordsOf() {
    try {
        throw;
    } catch (const QUnhandledException& error) { // of a task in another thread
        try {
            std::rethrow_exception(error.exception());
        } catch (...) {
            return wordsOf();
        }
    } catch (const std::bad_alloc&) {
        return "内存不足";
    } catch (const std::exception& error) {
        return "意外错误 " + kindOf(error) + "：" + error.what();
    } catch (...) {
        return "意外错误";
    }
}

/// What the end itself needs when there is no more memory.
std::unique_ptr<char[]>& reserve() {
    constexpr std::size_t kBytes = 1 << 20;
    static std::unique_ptr<char[]> bytes = std::make_unique<char[]>(kBytes);
    return bytes;
}

/// Ends the process from wherever it is, without giving back what other threads may be waiting for. Should even that fail,
/// it ends all the same.
[[noreturn]] void end(const char* words) {
    constexpr unsigned kPatienceSeconds = 3;
    static std::atomic<bool> isEnding{false};
    std::signal(SIGALRM, [](int) { _exit(kStatusFailed); });
    alarm(kPatienceSeconds);
    if (!isEnding.exchange(true)) {
        reserve().reset();
        std::fflush(stdout);
        std::fprintf(stderr, "corridor %s: %s\n", runningCommand, words);
        files::removeUnfinished();
    }
    _exit(kStatusFailed);
}

[[noreturn]] void endOnException() {
    if (!std::current_exception()) {
        end("意外错误");
    }
    try {
        end(wordsOf().c_str());
    } catch (...) {
        end("内存不足");
    }
}

/// Libraries abort when they get no memory, or use what they did not get.
void giveUp(int fault) {
    endOnFault(fault == SIGABRT || fault == SIGTRAP ? "内存不足，或某个库无法继续"
                                                    : "内存访问出错，可能是内存不足");
}

/// Where a sanitizer listens already, it tells more.
void listenToFaults() {
    for (const int fault : {SIGABRT, SIGSEGV, SIGBUS, SIGTRAP}) {
        struct sigaction action{};
        if (sigaction(fault, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = giveUp;
            sigaction(fault, &action, nullptr);
        }
    }
}

void dropWords(QtMsgType type, const QMessageLogContext& context, const QString& words) {
    if (type == QtFatalMsg) {
        end(qUtf8Printable(words.simplified()));
    }
    if (words.startsWith(
            QLatin1String("QThread::start"))) { // whoever waits for that thread would wait for ever
        end("内存不足，无法建立线程");
    }
    if (context.category && std::string(context.category).rfind("corridor.", 0) == 0) {
        note(runningCommand, words);
    }
}

} // namespace

int runSafely(const char* command, int (*run)(const std::vector<std::string>& arguments),
              const std::vector<std::string>& arguments) {
    runningCommand = command;
    reserve();
    std::set_terminate(endOnException);
    qInstallMessageHandler(dropWords);
    detect::silenceLibraries();
    endOnSignal(command);
    listenToFaults();
    return run(
        arguments); // what is thrown there and not caught comes to endOnException, with nothing undone before
}

} // namespace cli
