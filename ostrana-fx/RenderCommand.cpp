#include "RenderCommand.h"

#include <cstdio>

#include "CommandError.h"
#include "NodeChain.h"
#include "ProgressBar.h"
#include "Renderer.h"
#include "SoundFileReader.h"
#include "SoundFileWriter.h"

namespace ostrana::fx {

namespace {

// Builds the chain in command-line order, each assignment on the node before it.
void buildChain(const RenderOptions& options, NodeChain& chain) {
    for (const std::string& assignment : options.orphanAssignments) {
        chain.setParameter(assignment);  // throws: there is no node yet
    }
    for (const ChainEntry& entry : options.nodes) {
        chain.addNode(entry.type);
        for (const std::string& assignment : entry.assignments) chain.setParameter(assignment);
    }
    if (chain.empty()) throw CommandError::usage("--node: at least one node is needed");
}

void printSummary(std::ostream& out, const RenderStatistics& statistics, const NodeChain& chain,
                  const SoundFileReader& reader, const std::string& outputPath) {
    char numbers[160];
    std::snprintf(numbers, sizeof numbers,
                  "%llu frames (%.3f s of audio, %u channel%s at %u Hz) in %.3f s, %.1fx real time",
                  static_cast<unsigned long long>(statistics.frames), statistics.audioSeconds,
                  reader.channels(), reader.channels() == 1 ? "" : "s", reader.sampleRate(),
                  statistics.wallSeconds, statistics.realTimeFactor());
    out << "rendered " << numbers << ": " << chain.describe() << " -> '" << outputPath << "'\n";
}

}  // namespace

void RenderCommand::run(const RenderOptions& options, std::ostream& out) {
    NodeChain chain;
    buildChain(options, chain);
    SoundFileReader reader(options.inputPath);
    chain.prepare(reader.channels(), reader.sampleRate(), options.blockFrames, options.inputPath);
    SoundFileWriter writer(options.outputPath, reader.channels(), reader.sampleRate(),
                           options.format);
    ProgressBar progressBar(ProgressBar::wanted(options.quiet), reader.totalFrames());
    Renderer renderer(reader, chain, writer, options.blockFrames);
    renderer.setProgressBar(&progressBar);
    const RenderStatistics statistics = renderer.run();
    writer.commit();
    printSummary(out, statistics, chain, reader, options.outputPath);
}

}  // namespace ostrana::fx
