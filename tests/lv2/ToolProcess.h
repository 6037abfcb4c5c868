#pragma once

#include <string>
#include <vector>

namespace ostrana::lv2::testing {

// What a finished program gave.
struct ToolResult {
    int exitStatus = -1;  // the exit code, or 128 + the signal that ended it
    bool timedOut = false;
    std::string out;
    std::string err;
};

// A program started from PATH with extra environment variables ("NAME=VALUE"), its output
// going to files of its own. It is killed if this process dies, and when the object is
// destroyed while it still runs, so nothing is left behind by a failing test.
class ToolProcess {
  public:
    ToolProcess(const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment = {});
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    bool running();
    // Waits at most seconds for the program to end; kills it after that.
    ToolResult wait(double seconds);
    // Sends the signal, then waits as wait does.
    ToolResult stop(int signal, double seconds);

    // Starts, waits and returns the result.
    static ToolResult run(const std::vector<std::string>& arguments,
                          const std::vector<std::string>& environment = {}, double seconds = 120);

  private:
    ToolResult collect(int status, bool timedOut);

    int pid_ = -1;
    bool finished_ = false;
    int status_ = 0;
    std::string outPath_;
    std::string errPath_;
};

}  // namespace ostrana::lv2::testing
