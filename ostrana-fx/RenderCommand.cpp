#include "RenderCommand.h"

#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "BatchOutputs.h"
#include "CommandError.h"
#include "FrameSink.h"
#include "InputStage.h"
#include "LevelMeter.h"
#include "NodeChain.h"
#include "ProgressBar.h"
#include "Renderer.h"
#include "SoundFileFormat.h"
#include "SoundFileReader.h"
#include "SoundFileWriter.h"

namespace ostrana::fx {

namespace {

using extensions::audioeffects::EffectCatalogue;

void applySetting(const NodeSetting& setting, NodeChain& chain) {
    if (setting.kind == NodeSetting::Kind::Preset) {
        chain.applyPreset(setting.text);
    } else {
        chain.setParameter(setting.text);
    }
}

// Builds the chain in command-line order, each setting on the node before it.
void buildChain(const RenderOptions& options, NodeChain& chain) {
    chain.setAllowOutOfRange(options.allowOutOfRange);
    for (const NodeSetting& setting : options.orphanSettings) {
        applySetting(setting, chain);  // throws: there is no node yet
    }
    for (const ChainEntry& entry : options.nodes) {
        chain.addNode(entry.type);
        for (const NodeSetting& setting : entry.settings) applySetting(setting, chain);
    }
    if (chain.empty()) throw CommandError::usage("--node: at least one node is needed");
}

// --tail: "auto", "0" or a number of seconds. The automatic tail is the default for chains
// of the effect nodes, which are all built on delay lines that ring on after the input.
TailLength tailLength(const RenderOptions& options, const NodeChain& chain) {
    std::string tail = options.tail;
    for (char& c : tail) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (tail == "auto") {
        bool delayBased = false;
        for (const std::string& type : chain.types()) {
            if (EffectCatalogue::find(type) != nullptr) delayBased = true;
        }
        return TailLength{delayBased, 0.0, options.tailMaxSeconds};
    }
    return TailLength{false, std::stod(options.tail), options.tailMaxSeconds};
}

// --dither: triangular when the output has fewer bits than the input (or the input is float or
// lossy), as SoX does; none where the output keeps every bit (or is not integer PCM).
SampleQuantizer::Dither ditherFor(const std::string& choice, int inputFormat, int outputFormat) {
    if (choice == "none") return SampleQuantizer::Dither::None;
    if (choice == "triangular") return SampleQuantizer::Dither::Triangular;
    const unsigned int outputBits = SoundFileFormat::integerBits(outputFormat);
    const unsigned int inputBits = SoundFileFormat::sourceBits(inputFormat);
    const bool reduces = outputBits > 0 && (inputBits == 0 || outputBits < inputBits);
    return reduces ? SampleQuantizer::Dither::Triangular : SampleQuantizer::Dither::None;
}

// The most frames the output can have: the input's and the longest tail; 0 when the input's
// length is not known (a pipe, or a header that does not say).
std::uint64_t outputFrames(const SampleSource& source, const std::string& inputPath,
                           const TailLength& tail) {
    if (inputPath == "-" || source.totalFrames() == 0) return 0;
    const double tailSeconds = tail.automatic ? tail.longestSeconds : tail.seconds;
    return source.totalFrames() + static_cast<std::uint64_t>(std::ceil(
                                      tailSeconds * static_cast<double>(source.sampleRate())));
}

// Prepares the chain for the channels it processes (--channels, else all); returns them.
std::vector<unsigned int> prepareChain(const RenderOptions& options, InputStage& input,
                                       const std::string& inputPath, NodeChain& chain) {
    const std::vector<unsigned int> processed = input.processedChannels(options.channels);
    SampleSource& source = input.source();
    const auto channels =
        processed.empty() ? source.channels() : static_cast<unsigned int>(processed.size());
    chain.prepare(channels, source.sampleRate(), options.blockFrames, inputPath);
    return processed;
}

double decibelsToGain(double decibels) {
    return std::pow(10.0, decibels / 20.0);
}

std::string plural(std::uint64_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

void printSummary(std::ostream& out, const RenderStatistics& statistics, const NodeChain& chain,
                  unsigned int channels, unsigned int sampleRate, const std::string& outputPath) {
    char seconds[64];
    std::snprintf(seconds, sizeof seconds, "%.3f s of audio", statistics.audioSeconds);
    char speed[64] = "";
    // How fast it went, where there was enough audio to say.
    if (statistics.wallSeconds > 0.0 && statistics.audioSeconds >= 1.0) {
        const double factor = statistics.realTimeFactor();
        std::snprintf(speed, sizeof speed,
                      factor < 10.0 ? ", %.2f times real time" : ", %.0f times real time", factor);
    }
    char timing[64];
    std::snprintf(timing, sizeof timing, " in %.3f s", statistics.wallSeconds);
    out << "rendered " << plural(statistics.frames, "frame") << " (" << seconds << ", "
        << plural(channels, "channel") << " at " << sampleRate << " Hz";
    if (statistics.tailFrames > 0)
        out << ", " << plural(statistics.tailFrames, "frame") << " of tail";
    out << ")" << timing << speed << ": " << chain.describe() << " -> '" << outputPath << "'\n";
}

// Warnings about what the render found; none when all went well.
std::vector<std::string> findings(const RenderStatistics& statistics, const SoundFileReader& reader,
                                  bool sanitize, const TailLength& tail,
                                  const std::string& outputPath) {
    std::vector<std::string> warnings;
    if (statistics.tailCapped) {
        char longest[32];
        std::snprintf(longest, sizeof longest, "%g s", tail.longestSeconds);
        warnings.push_back("the tail of '" + outputPath + "' still rang after " + longest +
                           " and was cut there, faded out over its last 50 ms (--tail-max SECONDS "
                           "allows a longer one)");
    }
    if (reader.promisedFrames() > 0) {
        warnings.push_back("input '" + reader.path() + "' is cut off: its header promised " +
                           plural(reader.promisedFrames(), "frame") + ", " +
                           std::to_string(reader.framesRead()) + " could be read");
    }
    if (statistics.nonFiniteInput > 0) {
        warnings.push_back(
            "input '" + reader.path() + "' holds " + plural(statistics.nonFiniteInput, "sample") +
            " that are not finite (NaN or infinite); " +
            (sanitize ? "they were replaced with 0" : "--sanitize replaces them with 0"));
    }
    if (statistics.clipped > 0) {
        char peak[32];
        std::snprintf(peak, sizeof peak, "%.3f", statistics.peak);
        warnings.push_back(plural(statistics.clipped, "output sample") +
                           " went beyond full scale and were clipped in '" + outputPath +
                           "' (peak " + peak + "; --gain or --normalize lowers the level)");
    }
    return warnings;
}

// The batch's folder, made (with its parents) when it is missing, as demo makes its own.
void makeDirectory(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw CommandError::failure("cannot make the folder '" + directory +
                                    "': " + error.message());
    }
}

}  // namespace

void RenderCommand::renderOne(const RenderOptions& options, const std::string& inputPath,
                              const std::string& outputPath, std::ostream& out,
                              std::ostream& errors) {
    NodeChain chain;
    buildChain(options, chain);
    const TailLength tail = tailLength(options, chain);
    const int container = SoundFileFormat::containerForPath(outputPath, options.typeName);
    OutputFile::checkReplaceable(outputPath, options.force);
    if (options.normalizePeakDb && inputPath == "-") {
        throw CommandError::usage(
            "--normalize reads the input twice, and standard input can be read only once; give "
            "a file name (or --gain DB)");
    }
    InputStage input(options, inputPath);
    SoundFileReader& reader = input.reader();
    SampleSource& source = input.source();
    const int requested = options.encoding.empty()
                              ? SoundFileFormat::encodingForPath(outputPath, options.typeName)
                              : SoundFileFormat::encodingFor(options.encoding);
    const std::vector<int> channelMap = input.upmixed() ? std::vector<int>() : reader.channelMap();
    const int format = SoundFileFormat::forSize(
        SoundFileFormat::withLayout(SoundFileFormat::choose(container, requested, reader.format(),
                                                            source.channels(), source.sampleRate()),
                                    !channelMap.empty() && source.channels() > 2),
        outputFrames(source, inputPath, tail), source.channels());
    const float gain = options.normalizePeakDb ? normalizingGain(options, inputPath, tail, errors)
                                               : decibelsToGain(options.gainDb.value_or(0.0));
    const std::vector<unsigned int> processed = prepareChain(options, input, inputPath, chain);
    SoundFileWriter writer(outputPath, source.channels(), source.sampleRate(), format,
                           reader.tags(), ditherFor(options.dither, reader.format(), format));
    // Two channels are left and right wherever no layout says otherwise.
    const bool layoutLost = !writer.setChannelMap(channelMap) && source.channels() > 2;
    if (options.quality) writer.setQuality(*options.quality);
    ProgressBar progressBar(ProgressBar::wanted(options.quiet), source.totalFrames());
    Renderer renderer(source, chain, writer, options.blockFrames);
    renderer.setProgressBar(&progressBar);
    renderer.setTail(tail);
    renderer.setSanitize(options.sanitize);
    renderer.setGain(gain);
    renderer.setProcessedChannels(processed);
    renderer.setCountClipping(SoundFileFormat::isInteger(format));
    const RenderStatistics statistics = renderer.run();
    std::vector<std::string> warnings =
        findings(statistics, reader, options.sanitize, tail, outputPath);
    if (layoutLost) {
        warnings.push_back("'" + outputPath + "' (" + SoundFileFormat::describe(format) +
                           ") cannot record the speaker layout of input '" + reader.path() +
                           "'; players will take its " + std::to_string(source.channels()) +
                           " channels in their default order (a .wav output keeps the layout)");
    }
    for (const std::string& warning : warnings) {
        errors << "ostrana-fx render: warning: " << warning << std::endl;
    }
    if (options.strict && !warnings.empty()) {
        throw CommandError::failure("--strict: " + plural(warnings.size(), "warning") + " for '" +
                                    inputPath + "'; nothing written");
    }
    writer.commit();
    if (!writer.attributeWarning().empty()) {
        errors << "ostrana-fx render: warning: output '" << outputPath
               << "': " << writer.attributeWarning() << std::endl;
    }
    if (!options.quiet) {
        // Audio written to standard output leaves it to the audio alone.
        printSummary(writer.toStandardOutput() ? errors : out, statistics, chain, source.channels(),
                     source.sampleRate(), outputPath);
    }
}

// --normalize: a first pass through a fresh chain measures the output's peak; the render is
// the same operations on the same input, so the second pass peaks exactly where asked.
float RenderCommand::normalizingGain(const RenderOptions& options, const std::string& inputPath,
                                     const TailLength& tail, std::ostream& errors) {
    NodeChain chain;
    buildChain(options, chain);
    InputStage input(options, inputPath);
    SampleSource& source = input.source();
    const std::vector<unsigned int> processed = prepareChain(options, input, inputPath, chain);
    DiscardingSink nowhere;
    LevelMeter meter;
    Renderer renderer(source, chain, nowhere, options.blockFrames);
    renderer.setProcessedChannels(processed);
    renderer.setTail(tail);
    renderer.setSanitize(options.sanitize);
    renderer.setLevelMeter(&meter);
    renderer.run();
    if (!(meter.peak() > 0.0f) || !std::isfinite(meter.peak())) {
        errors << "ostrana-fx render: warning: '" << inputPath
               << "' renders to silence (or to samples that are not finite): --normalize left "
                  "the level as it is"
               << std::endl;
        return 1.0f;
    }
    return static_cast<float>(decibelsToGain(*options.normalizePeakDb) / meter.peak());
}

void RenderCommand::run(const RenderOptions& options, std::ostream& out, std::ostream& errors) {
    if (options.outputDirectory.empty()) {
        if (options.files.size() != 2) {
            throw CommandError::usage("render takes IN and OUT, or IN... with --output-dir DIR");
        }
        renderOne(options, options.files[0], options.files[1], out, errors);
        return;
    }
    std::error_code error;
    if (std::filesystem::exists(options.outputDirectory, error) &&
        !std::filesystem::is_directory(options.outputDirectory, error)) {
        throw CommandError::usage("--output-dir '" + options.outputDirectory +
                                  "': not a directory");
    }
    // What does not depend on an input is checked once, before any input is read: a chain
    // or a --type that cannot work refuses the whole batch as a usage error.
    NodeChain chain;
    buildChain(options, chain);
    if (!options.typeName.empty()) SoundFileFormat::containerForPath("", options.typeName);
    for (const std::string& input : options.files) {
        if (input == "-") throw CommandError::usage("'-' cannot be one of several inputs");
    }
    const std::vector<BatchOutputs::Entry> entries = BatchOutputs::plan(
        options.files, options.outputDirectory, options.typeName, options.suffix);
    BatchOutputs::check(entries, options.force);
    for (const BatchOutputs::Entry& entry : entries) {
        OutputFile::checkReplaceable(entry.output, options.force);
    }
    makeDirectory(options.outputDirectory);
    std::size_t failed = 0;
    for (const BatchOutputs::Entry& entry : entries) {
        const std::string& input = entry.input;
        try {
            renderOne(options, input, entry.output, out, errors);
        } catch (const CommandError& failure) {
            ++failed;
            errors << "ostrana-fx render: error: " << failure.what() << std::endl;
        }
    }
    if (failed > 0) {
        throw CommandError::failure(std::to_string(failed) + " of " +
                                    plural(options.files.size(), "input") + " failed");
    }
}

}  // namespace ostrana::fx
