#pragma once

#include <string>
#include <vector>

namespace ostrana::fx::testing {

// What a run of the ostrana-fx program gave.
struct FxRun {
    int exitStatus = -1;
    std::string out;
    std::string err;
};

// Runs the real ostrana-fx binary with arguments and collects its exit status and output.
class FxProcess {
  public:
    // The program's path, for shell command lines.
    static std::string program();
    // stdout and stderr go to pipes.
    static FxRun run(const std::vector<std::string>& arguments,
                     const std::string& workingDirectory = "");
    // As run, with the environment variables in environment ("NAME=VALUE") added.
    static FxRun runWithEnvironment(const std::vector<std::string>& arguments,
                                    const std::vector<std::string>& environment);
    // stderr is a pseudo terminal (as in an interactive shell) of that many columns; stdout
    // goes to a pipe.
    static FxRun runWithTerminalStderr(const std::vector<std::string>& arguments,
                                       unsigned short columns = 80);
    // Whether this machine can give runWithTerminalStderr a pseudo terminal (a container
    // without devpts cannot).
    static bool terminalAvailable();

    // Starts the program without waiting for it; its output is discarded. Returns its pid.
    static int start(const std::vector<std::string>& arguments);
    // Waits for a started program; returns its raw wait status.
    static int wait(int pid);

  private:
    static std::vector<std::string> commandLine(const std::vector<std::string>& arguments);
    static FxRun runProcess(const std::vector<std::string>& arguments,
                            const std::string& workingDirectory, bool terminalStderr,
                            const std::vector<std::string>& environment = {},
                            unsigned short columns = 80);
};

}  // namespace ostrana::fx::testing
