#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ostrana::fx {

// `ostrana-fx demo [DIR]`: synthesises the demo signal, writes it as dry.wav and through
// each registered effect with its defaults as one WAV per effect, and prints a table of the
// files with their peak and RMS levels.
class DemoCommand {
  public:
    static void run(const std::string& directory, std::ostream& out);

    // The file name for a node type: its subtype in lower case with words split by hyphens,
    // "AudioEffects.PingPongDelay" giving "ping-pong-delay.wav".
    static std::string fileNameFor(const std::string& type);

  private:
    struct Row {
        std::string fileName;
        std::string source;
        float peak;
        double rms;
    };

    static Row renderOne(const std::vector<float>& signal, const std::string& directory,
                         const std::string& type, const std::string& fileName);
    static void printTable(std::ostream& out, const std::string& directory,
                           const std::vector<Row>& rows);
};

}  // namespace ostrana::fx
