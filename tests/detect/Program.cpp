#include "tests/detect/Program.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace detect::test {

namespace {

struct Child {
    pid_t process = -1;
    int output = -1;
    int messages = -1; ///< -1 on a terminal
};

[[noreturn]] void becomeCorridor(const std::vector<std::string>& arguments, const ProgramSetting& setting) {
    if (setting.largestFileBytes) {
        const rlimit limit{*setting.largestFileBytes, *setting.largestFileBytes};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN); // writes fail instead, as on a full disk
    }
    std::vector<char*> pointers{const_cast<char*>(CORRIDOR_PROGRAM)};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    execv(CORRIDOR_PROGRAM, pointers.data());
    _exit(127);
}

Child startOnTerminal(const std::vector<std::string>& arguments, const ProgramSetting& setting) {
    Child child;
    child.process = forkpty(&child.output, nullptr, nullptr, nullptr);
    if (child.process == 0) {
        becomeCorridor(arguments, setting);
    }
    return child;
}

Child startOnPipes(const std::vector<std::string>& arguments, const ProgramSetting& setting) {
    std::array<int, 2> output{};
    std::array<int, 2> messages{};
    Child child;
    if (pipe(output.data()) != 0 || pipe(messages.data()) != 0) {
        return child;
    }
    child.process = fork();
    if (child.process == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(messages[1], STDERR_FILENO);
        close(output[0]);
        close(messages[0]);
        becomeCorridor(arguments, setting);
    }
    close(output[1]);
    close(messages[1]);
    child.output = output[0];
    child.messages = messages[0];
    return child;
}

/// False at the end of the stream.
bool append(int stream, std::string& text) {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(stream, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

} // namespace

bool hasPseudoTerminals() {
    int ours = -1;
    int theirs = -1;
    if (openpty(&ours, &theirs, nullptr, nullptr, nullptr) != 0) {
        return false;
    }
    close(ours);
    close(theirs);
    return true;
}

ProgramRun runCorridor(const std::vector<std::string>& arguments, const ProgramSetting& setting) {
    Child child = setting.terminal ? startOnTerminal(arguments, setting) : startOnPipes(arguments, setting);
    EXPECT_GT(child.process, 0);
    ProgramRun run;
    bool signalSent = !setting.signal;
    while (child.output >= 0 || child.messages >= 0) {
        std::array<pollfd, 2> streams{{{child.output, POLLIN, 0}, {child.messages, POLLIN, 0}}};
        poll(streams.data(), streams.size(), -1);
        for (pollfd& stream : streams) {
            if (stream.fd < 0 || stream.revents == 0) {
                continue;
            }
            const bool isOutput = stream.fd == child.output;
            if (!append(stream.fd, isOutput && !setting.terminal ? run.output : run.messages)) {
                close(stream.fd);
                (isOutput ? child.output : child.messages) = -1;
            }
        }
        if (!signalSent && !run.messages.empty()) {
            kill(child.process, *setting.signal);
            signalSent = true;
        }
    }
    int status = 0;
    waitpid(child.process, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

} // namespace detect::test
