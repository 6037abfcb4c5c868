#pragma once

#include <string>

namespace CLI {
class App;
}

namespace ostrana::fx {

struct RenderOptions;

// The ostrana-fx command line: its subcommands and options (through CLI11), running the
// chosen command, and turning every error into one line on standard error and an exit
// status: 0 success, 1 a failure while running, 2 a usage error.
class CommandLine {
  public:
    int run(int argc, char** argv);

  private:
    // Rebuilds the --node/--set sequence of the render subcommand in command-line order.
    static void collectChainEntries(const CLI::App& render, RenderOptions& options);
    static std::string renderFooter();
    static int reportError(const std::string& command, int status, const std::string& message);
};

}  // namespace ostrana::fx
