#include "Ffprobe.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "TempDirectory.h"
#include "WavFile.h"

namespace ostrana::fx::testing {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += c;
        }
    }
    result += '\'';
    return result;
}

int shell(const std::string& commandLine) {
    const int status = std::system(commandLine.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// ffprobe's "key=value" lines: the stream's and the container's fields, and one nb_samples
// line for each decoded frame.
void parse(const std::string& output, ProbeReport& report) {
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (key == "nb_samples") {
            report.decodedFrames = std::max(report.decodedFrames, 0LL) + std::stoll(value);
        } else {
            report.fields[key] = value;
        }
    }
}

}  // namespace

std::string ProbeReport::field(const std::string& name) const {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

long long ProbeReport::number(const std::string& name) const {
    const std::string value = field(name);
    if (value.empty() || value == "N/A") return -1;
    return std::stoll(value);
}

long long ProbeReport::reportedFrames() const {
    const long long ticks = number("duration_ts");
    const long long rate = number("sample_rate");
    const std::string base = field("time_base");
    const std::size_t slash = base.find('/');
    if (ticks < 0 || rate <= 0 || slash == std::string::npos) return -1;
    const long long numerator = std::stoll(base.substr(0, slash));
    const long long denominator = std::stoll(base.substr(slash + 1));
    if (denominator <= 0) return -1;
    return ticks * rate * numerator / denominator;
}

bool Ffprobe::installed() {
    return shell("command -v ffprobe > /dev/null") == 0;
}

const char* Ffprobe::missing() {
    return "ffprobe is not installed; scripts/install-deps.sh installs it (Debian's ffmpeg)";
}

std::string Ffprobe::options(bool decode, const std::vector<std::string>& readAs) {
    std::string line =
        "ffprobe -v error -select_streams a:0 -show_entries "
        "stream=codec_name,sample_rate,channels,bits_per_raw_sample,duration_ts,"
        "time_base:format=format_name";
    if (decode) line += ":frame=nb_samples";
    line += " -of default=noprint_wrappers=1";
    for (const std::string& option : readAs) {
        line += ' ';
        line += quoted(option);
    }
    return line;
}

ProbeReport Ffprobe::file(const std::string& path, bool decode,
                          const std::vector<std::string>& readAs) {
    TempDirectory scratch;
    return run(options(decode, readAs) + " -i " + quoted(path), scratch.path());
}

ProbeReport Ffprobe::pipe(const std::string& producer, const std::string& scratchDirectory,
                          bool decode, const std::vector<std::string>& readAs) {
    return run(producer + " | " + options(decode, readAs) + " -i -", scratchDirectory);
}

ProbeReport Ffprobe::run(const std::string& commandLine, const std::string& scratchDirectory) {
    const std::string out = (std::filesystem::path(scratchDirectory) / "ffprobe.out").string();
    const std::string err = (std::filesystem::path(scratchDirectory) / "ffprobe.err").string();
    ProbeReport report;
    // pipefail: a producer that fails fails the probe too.
    report.exitStatus = shell("bash -o pipefail -c " +
                              quoted(commandLine + " > " + quoted(out) + " 2> " + quoted(err)));
    parse(readBytes(out), report);
    report.errors = readBytes(err);
    return report;
}

}  // namespace ostrana::fx::testing
