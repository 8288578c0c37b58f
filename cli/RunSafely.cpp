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

/// Ends the process from wherever it is. Should even that fail, it ends all the same.
[[noreturn]] void end(const char* words) {
    static std::atomic<bool> isEnding{false};
    if (!isEnding.exchange(true)) {
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

/// Libraries abort when they get no memory.
void endOnAbort(int) {
    end("内存不足，或某个库无法继续");
}

void dropWords(QtMsgType type, const QMessageLogContext& context, const QString& words) {
    if (type == QtFatalMsg) {
        end(qUtf8Printable(words));
    }
    if (context.category && std::string(context.category).rfind("corridor.", 0) == 0) {
        note(runningCommand, words);
    }
}

} // namespace

int runSafely(const char* command, int (*run)(const std::vector<std::string>& arguments),
              const std::vector<std::string>& arguments) {
    runningCommand = command;
    std::set_terminate(endOnException);
    std::signal(SIGABRT, endOnAbort);
    qInstallMessageHandler(dropWords);
    detect::silenceLibraries();
    try {
        endOnSignal(command);
        return run(arguments);
    } catch (...) {
        return fail(command, kStatusFailed, wordsOf());
    }
}

} // namespace cli
