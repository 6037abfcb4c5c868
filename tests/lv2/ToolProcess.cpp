#include "ToolProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace ostrana::lv2::testing {

namespace {

std::string temporaryFile() {
    std::string path = "/tmp/ostrana-lv2-tool-XXXXXX";
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0) throw std::runtime_error("mkstemp failed");
    close(descriptor);
    return path;
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The environment of this process with the given variables set.
std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string current = *entry;
        const std::string name = current.substr(0, current.find('='));
        bool replaced = false;
        for (const std::string& variable : variables) {
            replaced = replaced || variable.substr(0, variable.find('=')) == name;
        }
        if (!replaced) result.push_back(current);
    }
    result.insert(result.end(), variables.begin(), variables.end());
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// In the child, where only async-signal-safe calls belong: never outlive the test, write to
// the files, and run.
[[noreturn]] void execute(char* const* argv, char* const* envp, const char* out, const char* err) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int input = open("/dev/null", O_RDONLY);
    const int output = open(out, O_WRONLY | O_TRUNC);
    const int errors = open(err, O_WRONLY | O_TRUNC);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    execvpe(argv[0], argv, envp);
    _exit(127);
}

}  // namespace

ToolProcess::ToolProcess(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment)
    : outPath_(temporaryFile()), errPath_(temporaryFile()) {
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> environmentTexts = environmentWith(environment);
    const std::vector<char*> argv = pointersTo(argumentTexts);
    const std::vector<char*> envp = pointersTo(environmentTexts);
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) execute(argv.data(), envp.data(), outPath_.c_str(), errPath_.c_str());
}

ToolProcess::~ToolProcess() {
    if (!finished_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    unlink(outPath_.c_str());
    unlink(errPath_.c_str());
}

bool ToolProcess::running() {
    if (finished_) return false;
    if (waitpid(pid_, &status_, WNOHANG) != pid_) return true;
    finished_ = true;
    return false;
}

ToolResult ToolProcess::wait(double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    bool timedOut = false;
    while (running()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status_, 0);
            finished_ = true;
            timedOut = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return collect(status_, timedOut);
}

ToolResult ToolProcess::stop(int signal, double seconds) {
    if (running()) kill(pid_, signal);
    return wait(seconds);
}

ToolResult ToolProcess::collect(int status, bool timedOut) {
    ToolResult result;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.timedOut = timedOut;
    result.out = contents(outPath_);
    result.err = contents(errPath_);
    return result;
}

ToolResult ToolProcess::run(const std::vector<std::string>& arguments,
                            const std::vector<std::string>& environment, double seconds) {
    ToolProcess process(arguments, environment);
    return process.wait(seconds);
}

}  // namespace ostrana::lv2::testing
