#include "FxProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace ostrana::fx::testing {

namespace {

// Reads both descriptors until both reach their end (a pseudo terminal reports EIO once
// the child has closed its side), so the child never blocks on a full pipe.
void drain(int outDescriptor, int errDescriptor, std::string& out, std::string& err) {
    pollfd descriptors[2] = {{outDescriptor, POLLIN, 0}, {errDescriptor, POLLIN, 0}};
    std::string* sinks[2] = {&out, &err};
    int open = 2;
    while (open > 0) {
        if (poll(descriptors, 2, -1) < 0) {
            if (errno == EINTR) continue;
            throw std::runtime_error("poll failed");
        }
        for (int i = 0; i < 2; ++i) {
            if (descriptors[i].fd < 0 || descriptors[i].revents == 0) continue;
            char buffer[4096];
            const ssize_t count = read(descriptors[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                close(descriptors[i].fd);
                descriptors[i].fd = -1;
                --open;
            }
        }
    }
}

int openTerminal(std::string& followerName, unsigned short columns) {
    const int leader = posix_openpt(O_RDWR | O_NOCTTY);
    if (leader < 0 || grantpt(leader) != 0 || unlockpt(leader) != 0) {
        throw std::runtime_error("cannot open a pseudo terminal");
    }
    followerName = ptsname(leader);
    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    ioctl(leader, TIOCSWINSZ, &size);
    return leader;
}

// In a child about to run the program: the signals the program handles get their default
// action and none is blocked, whatever the test runner left (a shell that starts it in the
// background without job control ignores SIGINT, which exec would pass on).
void resetSignals() {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) std::signal(signalNumber, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

FxRun FxProcess::run(const std::vector<std::string>& arguments,
                     const std::string& workingDirectory) {
    return runProcess(arguments, workingDirectory, false);
}

FxRun FxProcess::runWithEnvironment(const std::vector<std::string>& arguments,
                                    const std::vector<std::string>& environment) {
    return runProcess(arguments, "", false, environment);
}

FxRun FxProcess::runWithTerminalStderr(const std::vector<std::string>& arguments,
                                       unsigned short columns) {
    return runProcess(arguments, "", true, {}, columns);
}

bool FxProcess::terminalAvailable() {
    try {
        std::string followerName;
        const int leader = openTerminal(followerName, 80);
        const int follower = open(followerName.c_str(), O_RDWR | O_NOCTTY);
        close(leader);
        if (follower < 0) return false;
        close(follower);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

// OSTRANA_FX_UNDER_TEST runs the tests against another build of the program (an older one,
// to see a test fail where the defect it covers is still present).
std::string FxProcess::program() {
    const char* other = std::getenv("OSTRANA_FX_UNDER_TEST");
    return other != nullptr && *other != '\0' ? other : OSTRANA_FX_PATH;
}

std::vector<std::string> FxProcess::commandLine(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv{program()};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return argv;
}

int FxProcess::start(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv = commandLine(arguments);
    std::vector<char*> pointers;
    for (std::string& argument : argv) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork failed");
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        resetSignals();
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    return child;
}

int FxProcess::wait(int pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
}

FxRun FxProcess::runProcess(const std::vector<std::string>& arguments,
                            const std::string& workingDirectory, bool terminalStderr,
                            const std::vector<std::string>& environment, unsigned short columns) {
    int outPipe[2];
    int errPipe[2];
    std::string followerName;
    if (pipe(outPipe) != 0) throw std::runtime_error("pipe failed");
    if (terminalStderr) {
        errPipe[0] = openTerminal(followerName, columns);
        errPipe[1] = -1;
    } else if (pipe(errPipe) != 0) {
        throw std::runtime_error("pipe failed");
    }
    std::vector<std::string> argv = commandLine(arguments);
    std::vector<char*> pointers;
    for (std::string& argument : argv) pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork failed");
    if (child == 0) {
        const int errTarget =
            terminalStderr ? open(followerName.c_str(), O_RDWR | O_NOCTTY) : errPipe[1];
        dup2(outPipe[1], STDOUT_FILENO);
        dup2(errTarget, STDERR_FILENO);
        close(outPipe[0]);
        close(errPipe[0]);
        if (!workingDirectory.empty() && chdir(workingDirectory.c_str()) != 0) _exit(127);
        for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
        resetSignals();
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    close(outPipe[1]);
    if (errPipe[1] >= 0) close(errPipe[1]);
    FxRun result;
    drain(outPipe[0], errPipe[0], result.out, result.err);
    int status = 0;
    waitpid(child, &status, 0);
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace ostrana::fx::testing
