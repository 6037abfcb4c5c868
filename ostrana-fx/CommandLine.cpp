#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <map>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "CommandError.h"
#include "DemoCommand.h"
#include "DescribeCommand.h"
#include "ListCommand.h"
#include "NodeCatalog.h"
#include "RenderCommand.h"
#include "RenderOptions.h"
#include "TextList.h"

namespace ostrana::fx {

namespace {

constexpr unsigned int kLargestBlock = 1u << 20;

const std::map<std::string, OutputFormat> kOutputFormats = {
    {"float", OutputFormat::Float},
    {"pcm16", OutputFormat::Pcm16},
    {"pcm24", OutputFormat::Pcm24},
};

// One line: newlines in library messages become spaces.
std::string singleLine(std::string text) {
    for (char& c : text) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

std::string parsedSubcommand(const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? std::string() : chosen.front()->get_name();
}

bool isCommand(const CLI::App& app, const std::string& word) {
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->check_name(word)) return true;
    }
    return false;
}

}  // namespace

int CommandLine::reportError(const std::string& command, int status, const std::string& message) {
    std::cerr << "ostrana-fx" << (command.empty() ? "" : " " + command)
              << ": error: " << singleLine(message) << std::endl;
    return status;
}

std::string CommandLine::renderFooter() {
    using extensions::audioeffects::EffectCatalogue;
    using extensions::audioeffects::formatValue;
    using extensions::audioeffects::kindName;
    using extensions::audioeffects::NodeParameter;
    using extensions::audioeffects::NodeTypeEntry;
    std::string footer = "Node types and their --set parameters (kind, range, default):\n";
    for (const NodeTypeEntry& entry : EffectCatalogue::nodeTypes()) {
        footer += "  " + entry.typeName() + " (" + std::string(entry.shortName) + ")\n";
        for (const NodeParameter& parameter : entry.parameters) {
            footer += "    " + std::string(parameter.name) + ": " +
                      std::string(kindName(parameter.kind)) + ", " + parameter.rangeText() +
                      ", default " + formatValue(parameter.defaultValue) + "\n";
        }
    }
    footer +=
        "Switches take true/false/1/0; whole numbers take decimal digits only; real numbers take\n"
        "decimals.\n"
        "Example: ostrana-fx render in.wav out.wav --node AudioEffects.Delay --set delayMs=350 "
        "--node AudioEffects.Chorus";
    return footer;
}

void CommandLine::collectChainEntries(const CLI::App& render, RenderOptions& options) {
    const CLI::Option* node = render.get_option("--node");
    const CLI::Option* set = render.get_option("--set");
    const std::vector<std::string>& types = node->results();
    const std::vector<std::string>& assignments = set->results();
    std::size_t nextType = 0;
    std::size_t nextAssignment = 0;
    // parse_order holds one entry per value given, in the order given.
    for (const CLI::Option* option : render.parse_order()) {
        if (option == node && nextType < types.size()) {
            options.nodes.push_back(ChainEntry{types[nextType++], {}});
        } else if (option == set && nextAssignment < assignments.size()) {
            const std::string& assignment = assignments[nextAssignment++];
            if (options.nodes.empty()) {
                options.orphanAssignments.push_back(assignment);
            } else {
                options.nodes.back().assignments.push_back(assignment);
            }
        }
    }
}

int CommandLine::run(int argc, char** argv) {
    CLI::App app{"Runs the audio effect nodes of the registered extensions on sound files.",
                 "ostrana-fx"};
    app.require_subcommand(1);

    CLI::App* list =
        app.add_subcommand("list", "List every registered extension and its node types");

    std::string describedType;
    CLI::App* describe = app.add_subcommand("describe", "Print a node type's descriptor as JSON");
    describe
        ->add_option("TYPE", describedType, "Fully qualified node type, e.g. AudioEffects.Chorus")
        ->required();

    RenderOptions renderOptions;
    std::string formatName = "float";
    std::vector<std::string> nodeValues;
    std::vector<std::string> setValues;
    CLI::App* render = app.add_subcommand("render", "Run a sound file through a chain of nodes");
    render->add_option("IN", renderOptions.inputPath, "Input sound file (WAV, FLAC, AIFF, Ogg)")
        ->required();
    render->add_option("OUT", renderOptions.outputPath, "Output WAV file")->required();
    render->add_option("--node", nodeValues, "Append a node of this type to the chain (repeatable)")
        ->required()
        ->allow_extra_args(false)
        ->type_name("TYPE");
    render->add_option("--set", setValues, "Set a parameter of the node before it (repeatable)")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
    render->add_option("--block", renderOptions.blockFrames, "Frames per block (default 512)")
        ->check(CLI::Range(1u, kLargestBlock))
        ->type_name("FRAMES");
    render
        ->add_option("--format", formatName,
                     "Output sample format: float, pcm16 or pcm24 (default float)")
        ->check(CLI::IsMember({"float", "pcm16", "pcm24"}))
        ->type_name("FORMAT");
    render->add_flag("-q,--quiet", renderOptions.quiet, "No progress bar on standard error");
    render->footer(renderFooter());

    std::string demoDirectory = "demo-out";
    CLI::App* demo = app.add_subcommand(
        "demo", "Synthesise a test signal and render it through every effect into DIR");
    demo->add_option("DIR", demoDirectory, "Output directory (default demo-out)");

    if (argc > 1 && argv[1][0] != '-' && !isCommand(app, argv[1])) {
        return reportError("", static_cast<int>(ExitStatus::Usage),
                           "unknown command '" + std::string(argv[1]) +
                               "'; commands: list, describe, render, demo (see --help)");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);  // --help: prints it, exit status 0
    } catch (const CLI::ParseError& error) {
        return reportError(parsedSubcommand(app), static_cast<int>(ExitStatus::Usage),
                           std::string(error.what()) + " (see --help)");
    }

    const std::string command = parsedSubcommand(app);
    try {
        if (*list) {
            ListCommand::run(std::cout);
        } else if (*describe) {
            DescribeCommand::run(describedType, std::cout);
        } else if (*render) {
            collectChainEntries(*render, renderOptions);
            renderOptions.format = kOutputFormats.at(formatName);
            RenderCommand::run(renderOptions, std::cout);
        } else if (*demo) {
            DemoCommand::run(demoDirectory, std::cout);
        }
    } catch (const CommandError& error) {
        return reportError(command, static_cast<int>(error.status()), error.what());
    } catch (const std::exception& error) {
        return reportError(command, static_cast<int>(ExitStatus::Failure), error.what());
    }
    std::cout.flush();
    if (!std::cout) {
        return reportError(command, static_cast<int>(ExitStatus::Failure),
                           "cannot write to standard output");
    }
    return static_cast<int>(ExitStatus::Success);
}

}  // namespace ostrana::fx
