#include "InputStage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "CommandError.h"

namespace ostrana::fx {

namespace {

std::uint64_t framesOf(double seconds, unsigned int sampleRate) {
    return static_cast<std::uint64_t>(std::llround(seconds * static_cast<double>(sampleRate)));
}

// "START" or "START,LENGTH" in seconds, both from 0.
void parseTrim(const std::string& text, double& start, double& length) {
    const auto number = [&](const std::string& part, double& value) {
        char* end = nullptr;
        value = std::strtod(part.c_str(), &end);
        const bool plain =
            !part.empty() && part.find_first_not_of("0123456789.") == std::string::npos;
        if (!plain || *end != '\0' || !(value >= 0.0)) {
            throw CommandError::usage("--trim '" + text +
                                      "': expected START or START,LENGTH in seconds (e.g. "
                                      "--trim 1.5,10)");
        }
    };
    const std::size_t comma = text.find(',');
    number(text.substr(0, comma), start);
    length = 0.0;
    if (comma != std::string::npos) number(text.substr(comma + 1), length);
}

}  // namespace

InputStage::InputStage(const RenderOptions& options, const std::string& path) : reader_(path) {
    if (options.upmix && reader_.channels() != 1) {
        throw CommandError::usage("--upmix duplicates a mono input, and '" + path + "' has " +
                                  std::to_string(reader_.channels()) +
                                  " channels; nothing written (leave --upmix out)");
    }
    if (options.upmix) upmixed_.emplace(reader_);
    SampleSource& source = upmixed_ ? static_cast<SampleSource&>(*upmixed_) : reader_;
    shaped_.emplace(source, shape(options));
    if (options.fadeOutSeconds > 0.0 && shaped_->totalFrames() == 0) {
        throw CommandError::usage("--fade-out needs to know where the input ends, and '" + path +
                                  "' does not say; give a file name or --trim START,LENGTH");
    }
}

std::vector<unsigned int> InputStage::processedChannels(const std::string& list) const {
    if (list.empty()) return {};
    const unsigned int channels = shaped_->channels();
    const auto refuse = [&](const std::string& why) {
        return CommandError::usage("--channels '" + list + "': " + why +
                                   " (channels are counted from 1, as in --channels 1,2 or 3-6)");
    };
    std::vector<bool> chosen(channels, false);
    std::size_t at = 0;
    while (at <= list.size()) {
        const std::size_t comma = std::min(list.find(',', at), list.size());
        const std::string item = list.substr(at, comma - at);
        const std::size_t dash = item.find('-');
        const std::string first = item.substr(0, dash);
        const std::string last = dash == std::string::npos ? first : item.substr(dash + 1);
        const auto number = [&](const std::string& text) -> unsigned int {
            if (text.empty() || text.size() > 6 ||
                text.find_first_not_of("0123456789") != std::string::npos) {
                throw refuse("'" + item + "' is not a channel or a range of channels");
            }
            const unsigned long value = std::stoul(text);
            if (value < 1 || value > channels) {
                throw refuse("the input has " + std::to_string(channels) + " channels, not " +
                             text);
            }
            return static_cast<unsigned int>(value);
        };
        const unsigned int from = number(first);
        const unsigned int to = number(last);
        if (to < from) throw refuse("'" + item + "' runs backwards");
        for (unsigned int channel = from; channel <= to; ++channel) chosen[channel - 1] = true;
        at = comma + 1;
    }
    std::vector<unsigned int> processed;
    for (unsigned int channel = 0; channel < channels; ++channel) {
        if (chosen[channel]) processed.push_back(channel);
    }
    return processed;
}

ShapedSource::Shape InputStage::shape(const RenderOptions& options) const {
    const unsigned int rate = reader_.sampleRate();
    ShapedSource::Shape shape;
    if (!options.trim.empty()) {
        double start = 0.0;
        double length = 0.0;
        parseTrim(options.trim, start, length);
        shape.startFrame = framesOf(start, rate);
        shape.lengthFrames = framesOf(length, rate);
    }
    shape.fadeInFrames = framesOf(options.fadeInSeconds, rate);
    shape.fadeOutFrames = framesOf(options.fadeOutSeconds, rate);
    return shape;
}

}  // namespace ostrana::fx
