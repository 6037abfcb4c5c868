#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "CommandError.h"
#include "DemoCommand.h"
#include "DescribeCommand.h"
#include "FormatsCommand.h"
#include "ListCommand.h"
#include "NodeCatalog.h"
#include "ParamsCommand.h"
#include "PresetsCommand.h"
#include "RenderCommand.h"
#include "RenderOptions.h"
#include "SoundFileFormat.h"
#include "StatsCommand.h"
#include "Suggestion.h"
#include "TextList.h"

namespace ostrana::fx {

namespace {

constexpr unsigned int kLargestBlock = 1u << 20;
constexpr const char* kCommands[] = {"list",   "describe", "params",  "presets",
                                     "render", "demo",     "formats", "stats"};

// A value that is really the next option ("--node --quiet") means the value is missing.
CLI::Validator notAnOption(const std::string& what) {
    return CLI::Validator(
        [what](std::string& value) -> std::string {
            if (value.size() > 1 && value[0] == '-' &&
                !std::isdigit(static_cast<unsigned char>(value[1])) && value[1] != '.') {
                return "missing " + what + " (found the option '" + value + "' instead)";
            }
            return "";
        },
        "");
}

// --block: decimal digits within 1 to kLargestBlock.
CLI::Validator blockFrames() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            const bool digits =
                !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
            if (!digits || value.size() > 8 || std::stoul(value) < 1 ||
                std::stoul(value) > kLargestBlock) {
                return "'" + value + "' is not a whole number of frames from 1 to " +
                       std::to_string(kLargestBlock);
            }
            return "";
        },
        "");
}

// --tail: "auto" (in any case), or decimal seconds from 0 to an hour (no hexadecimal, no
// exponent: 0x10 is not 16 s); --tail-max: the seconds only.
CLI::Validator tailSeconds(bool allowAuto = true) {
    return CLI::Validator(
        [allowAuto](std::string& value) -> std::string {
            std::string lower = value;
            for (char& c : lower)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (allowAuto && lower == "auto") return "";
            char* end = nullptr;
            const double seconds = std::strtod(value.c_str(), &end);
            const bool decimal = value.find_first_not_of("0123456789.") == std::string::npos;
            if (value.empty() || !decimal || *end != '\0' ||
                !(seconds >= 0.0 && seconds <= 3600.0)) {
                return "'" + value + "' is " + (allowAuto ? "neither auto nor " : "not ") +
                       "a number of seconds from 0 to 3600";
            }
            return "";
        },
        "");
}

CLI::Validator encodingName() {
    return CLI::Validator(
        [](std::string& value) -> std::string {
            if (SoundFileFormat::encodingFor(value) != 0) return "";
            return "'" + value + "' is not a sample format; formats: " +
                   TextList::join(SoundFileFormat::encodingNames()) +
                   Suggestion::didYouMean(value, SoundFileFormat::encodingNames());
        },
        "");
}

// The options and flags of a command, for suggestions.
std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

// The words that look like options ("--name" or "--name=value") that the chosen command
// does not have, by name, in the order given.
std::vector<std::string> unknownOptions(const CLI::App& app, const std::vector<std::string>& words,
                                        std::vector<std::string>& known) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const CLI::App& command = chosen.empty() ? app : *chosen.front();
    known = optionNames(command);
    std::vector<std::string> unknown;
    for (const std::string& word : words) {
        if (word.size() < 3 || word.compare(0, 2, "--") != 0) continue;
        const std::string name = word.substr(0, word.find('='));
        if (std::find(known.begin(), known.end(), name) == known.end()) unknown.push_back(name);
    }
    return unknown;
}

// A suggestion for the first word that looks like an option the command does not have.
std::string suggestForExtras(const CLI::App& app, const std::vector<std::string>& words) {
    std::vector<std::string> known;
    for (const std::string& name : unknownOptions(app, words, known)) {
        const std::string text = Suggestion::didYouMean(name, known);
        if (!text.empty()) return text;
    }
    return "";
}

// A required option reported missing because it was misspelt ("--nod delay"): the misspelling
// is what the user needs to hear about, with its suggestion; "" when no word is unknown.
std::string misspeltOption(const CLI::App& app, const std::vector<std::string>& words) {
    std::vector<std::string> known;
    const std::vector<std::string> unknown = unknownOptions(app, words, known);
    if (unknown.empty()) return "";
    return "unknown option '" + unknown.front() + "'" +
           Suggestion::didYouMean(unknown.front(), known);
}

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

// CLI11 starts its messages with a capital ("The following argument was not expected"); the
// tool's own start in lower case.
std::string lowerFirst(std::string text) {
    if (text.size() > 1 && std::isupper(static_cast<unsigned char>(text[0])) &&
        std::islower(static_cast<unsigned char>(text[1]))) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
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
        "Node types may be given by short name in any case (--node delay). Values outside a\n"
        "parameter's range are refused (--allow-out-of-range lets them through). Switches take\n"
        "true/false, yes/no, on/off or 1/0; whole numbers take decimal digits only; real\n"
        "numbers take decimals. `ostrana-fx params NODE` describes each parameter.\n"
        "--preset NAME applies a factory preset (`ostrana-fx presets NODE` lists them) to the\n"
        "node before it, every parameter it does not name back to its default; a --set after\n"
        "it changes one setting. An unknown preset is refused, with the node's presets listed.\n"
        "\n"
        "Tail: every effect here is built on a delay line whose echoes and sweeps ring on after\n"
        "the input ends, so by default (--tail auto) silence is appended until the output stays\n"
        "below -100 dBFS on every channel for 50 ms (or for the chain's longest delay, if that\n"
        "is longer), at most --tail-max seconds (30 by default); a tail cut at that cap is faded\n"
        "out over its last 50 ms and warned about. --tail SECONDS appends exactly that much;\n"
        "--tail 0 keeps the input's length exactly.\n"
        "\n"
        "Channels: a node that takes fewer channels than the file has runs on independent\n"
        "groups of channels (pairs for the nodes that take two, a lone last channel on its own;\n"
        "single channels for the rest). The ping-pong delay needs two: --upmix a mono input.\n"
        "--channels LIST runs the chain on those channels only; the others pass through.\n"
        "\n"
        "Formats: OUT's extension chooses the container (wav, flac, ogg, opus, aiff, au, caf,\n"
        "w64, mp3, ...; `ostrana-fx formats` lists them); a --type that contradicts it is\n"
        "refused. The sample format follows the input where the container holds it (else the\n"
        "nearest it holds: an MP3 into a WAV gives 16-bit PCM) unless --format names one. Float\n"
        "output holds exactly the samples the nodes computed; integer output rounds them to\n"
        "the nearest step, clipped at full scale, with triangular dither where bits are lost\n"
        "(--dither none for exact rounding). A WAV that could pass 4 GiB is written as RF64\n"
        "(a plain WAV while small); CAF and W64 also hold any size. Tags and the speaker layout\n"
        "are copied where the container holds them (a layout it cannot hold is warned about).\n"
        "'-' writes standard output (streaming formats only there: --type au, flac, ogg, mp3\n"
        "or raw) or reads standard input (wav, aiff, au, caf, w64 or ogg: libsndfile reads\n"
        "FLAC and MP3 only from a file).\n"
        "\n"
        "Output: a file is written beside OUT and put in its place only when complete; every\n"
        "write is checked, so a full disk leaves an existing OUT exactly as it was (exit 1). OUT\n"
        "keeps its mode, owner, extended attributes and access list; a write-protected OUT is\n"
        "refused unless --force. A batch (--output-dir, made if missing) is refused before\n"
        "anything is read when two inputs would share an output or an output would replace an\n"
        "input (--suffix or --force).\n"
        "\n"
        "Warnings (standard error; --strict makes them failures): an input cut off before the\n"
        "frames its header promised, samples that are not finite, clipped integer output, an\n"
        "automatic tail cut at --tail-max.\n"
        "\n"
        "Exit status: 0 success; 1 a failure while running (a file that cannot be read or\n"
        "written, any failed input of a batch); 2 a usage error: anything known before audio\n"
        "is read (options, nodes, values, formats, a write-protected OUT, colliding batch\n"
        "outputs, a sample rate outside 1 Hz to 768 kHz).\n"
        "\n"
        "Example: ostrana-fx render in.wav out.flac --node delay --set delayMs=350 "
        "--node chorus";
    return footer;
}

void CommandLine::collectChainEntries(const CLI::App& render, RenderOptions& options) {
    const CLI::Option* node = render.get_option("--node");
    const CLI::Option* set = render.get_option("--set");
    const CLI::Option* preset = render.get_option("--preset");
    std::size_t nextType = 0;
    std::size_t nextAssignment = 0;
    std::size_t nextPreset = 0;
    const auto addSetting = [&options](NodeSetting::Kind kind, const std::string& text) {
        if (options.nodes.empty()) {
            options.orphanSettings.push_back({kind, text});
        } else {
            options.nodes.back().settings.push_back({kind, text});
        }
    };
    // parse_order holds one entry per value given, in the order given.
    for (const CLI::Option* option : render.parse_order()) {
        if (option == node && nextType < node->results().size()) {
            options.nodes.push_back(ChainEntry{node->results()[nextType++], {}});
        } else if (option == set && nextAssignment < set->results().size()) {
            addSetting(NodeSetting::Kind::Assignment, set->results()[nextAssignment++]);
        } else if (option == preset && nextPreset < preset->results().size()) {
            addSetting(NodeSetting::Kind::Preset, preset->results()[nextPreset++]);
        }
    }
}

int CommandLine::run(int argc, char** argv) {
    CLI::App app{"Runs the audio effect nodes of the registered extensions on sound files.",
                 "ostrana-fx"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("ostrana-fx ") + OSTRANA_FX_VERSION);

    CLI::App* list = app.add_subcommand(
        "list", "List every registered extension and its node types (with their short names)");

    std::string describedType;
    CLI::App* describe = app.add_subcommand("describe", "Print a node type's descriptor as JSON");
    describe->add_option("TYPE", describedType, "Node type, by short name (chorus) or full name")
        ->required();

    std::string paramsType;
    bool paramsJson = false;
    CLI::App* params = app.add_subcommand(
        "params", "Describe a node type's parameters: kind, default, range, unit, description");
    params->add_option("NODE", paramsType, "Node type, by short name (delay) or full name")
        ->required();
    params->add_flag("--json", paramsJson, "Print JSON instead of a table");

    RenderOptions renderOptions;
    std::vector<std::string> nodeValues;
    std::vector<std::string> setValues;
    std::vector<std::string> presetValues;
    CLI::App* render = app.add_subcommand("render", "Run sound files through a chain of nodes");
    render
        ->add_option("FILES", renderOptions.files,
                     "IN OUT, or IN... with --output-dir; '-' is standard input or output")
        ->required();
    render->add_option("--node", nodeValues, "Append a node of this type to the chain (repeatable)")
        ->required()
        ->allow_extra_args(false)
        ->type_name("TYPE")
        ->check(notAnOption("node type"));
    render->add_option("--set", setValues, "Set a parameter of the node before it (repeatable)")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE")
        ->check(notAnOption("NAME=VALUE"));
    render
        ->add_option("--preset", presetValues,
                     "Apply a factory preset to the node before it: every parameter it does not "
                     "name back to its default (repeatable; see ostrana-fx presets)")
        ->allow_extra_args(false)
        ->type_name("NAME")
        ->check(notAnOption("preset name"));
    render->add_option("--block", renderOptions.blockFrames, "Frames per block (default 512)")
        ->type_name("FRAMES")
        ->check(notAnOption("number of frames"))
        ->check(blockFrames());
    render
        ->add_option("--tail", renderOptions.tail,
                     "Silence appended after the input: auto (the default), 0, or seconds")
        ->type_name("SECONDS")
        ->check(notAnOption("tail length"))
        ->check(tailSeconds());
    render
        ->add_option("--tail-max", renderOptions.tailMaxSeconds,
                     "The longest automatic tail, in seconds (default 30)")
        ->type_name("SECONDS")
        ->check(notAnOption("tail length"))
        ->check(tailSeconds(false));
    render
        ->add_option("--format", renderOptions.encoding,
                     "Output sample format: " + TextList::join(SoundFileFormat::encodingNames()) +
                         " (default: the input's)")
        ->type_name("FORMAT")
        ->check(notAnOption("sample format"))
        ->check(encodingName());
    render
        ->add_option("--dither", renderOptions.dither,
                     "Dither for integer output: triangular (the default when the output has "
                     "fewer bits than the input, or the input is float or lossy) or none (the "
                     "exact samples rounded to the nearest step)")
        ->type_name("KIND")
        ->check(notAnOption("dither kind"))
        ->check(CLI::IsMember({"triangular", "none", "auto"}));
    render
        ->add_option("--type", renderOptions.typeName,
                     "Output container when OUT's extension does not say (e.g. for '-')")
        ->type_name("EXT")
        ->check(notAnOption("format name"));
    render
        ->add_option("--output-dir", renderOptions.outputDirectory,
                     "Render every IN into DIR (made if missing) under its own name")
        ->type_name("DIR")
        ->check(notAnOption("directory"));
    render
        ->add_option("--suffix", renderOptions.suffix,
                     "In a batch, add TEXT to each output's name (song.wav -> song-fx.wav)")
        ->type_name("TEXT");
    render->add_flag("--force", renderOptions.force,
                     "Replace write-protected outputs and, in a batch, the inputs themselves");
    render->add_option("--gain", renderOptions.gainDb, "Scale the output by DB decibels (-6, 3.5)")
        ->type_name("DB")
        ->check(CLI::Range(-120.0, 60.0));
    render
        ->add_option("--normalize", renderOptions.normalizePeakDb,
                     "Scale the output so that its peak is PEAK_DB dBFS (default -1); renders "
                     "twice, so not from standard input")
        ->type_name("[PEAK_DB]")
        ->expected(0, 1)
        ->default_str("-1")
        ->check(CLI::Range(-120.0, 0.0));
    render
        ->add_option("--trim", renderOptions.trim,
                     "Keep the input from START seconds (for LENGTH seconds) before the chain")
        ->type_name("START[,LENGTH]");
    render
        ->add_option("--fade-in", renderOptions.fadeInSeconds,
                     "Fade the (trimmed) input in over SECONDS, before the chain")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0));
    render
        ->add_option("--fade-out", renderOptions.fadeOutSeconds,
                     "Fade the (trimmed) input out over its last SECONDS; echoes ring on after it")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0));
    render
        ->add_option("--channels", renderOptions.channels,
                     "The input channels the chain processes (1,2 or 3-6, from 1); the others "
                     "pass through untouched")
        ->type_name("LIST")
        ->check(notAnOption("channel list"));
    render
        ->add_option("--quality", renderOptions.quality,
                     "0 to 10: sound and size of mp3, ogg and opus (10 best, largest); for flac "
                     "(lossless) how little it compresses")
        ->type_name("Q")
        ->check(CLI::Range(0.0, 10.0));
    render->add_flag("--allow-out-of-range", renderOptions.allowOutOfRange,
                     "Let --set values outside a parameter's range through");
    render->add_flag("--upmix", renderOptions.upmix, "Duplicate a mono input into two channels");
    render->add_flag("--sanitize", renderOptions.sanitize,
                     "Replace NaN and infinite input samples with 0");
    render->add_flag("--strict", renderOptions.strict,
                     "Turn warnings (cut-off input, non-finite samples, clipping) into failure");
    render->add_flag("-q,--quiet", renderOptions.quiet,
                     "Print nothing but errors and warnings (no progress bar, no summary)");
    render->footer(renderFooter());

    std::string demoDirectory = "demo-out";
    CLI::App* demo = app.add_subcommand(
        "demo", "Synthesise a test signal and render it through every effect into DIR");
    demo->add_option("DIR", demoDirectory, "Output directory (default demo-out)");

    std::string presetsType;
    bool presetsJson = false;
    CLI::App* presets = app.add_subcommand(
        "presets", "List the factory presets, of every node type or of NODE, with their settings");
    presets->add_option("NODE", presetsType, "Node type, by short name (delay) or full name");
    presets->add_flag("--json", presetsJson, "Print JSON instead of a table");

    CLI::App* formats = app.add_subcommand(
        "formats", "List the extensions render writes, with the sample formats each holds");

    std::string statsPath;
    bool statsJson = false;
    CLI::App* stats = app.add_subcommand(
        "stats", "Print a sound file's length, peak, RMS, DC offset and clipped samples");
    stats->add_option("FILE", statsPath, "The sound file ('-' reads standard input)")->required();
    stats->add_flag("--json", statsJson, "Print JSON instead of text");

    if (argc > 1 && argv[1][0] != '-' && !isCommand(app, argv[1])) {
        const std::vector<std::string> commands(std::begin(kCommands), std::end(kCommands));
        return reportError("", static_cast<int>(ExitStatus::Usage),
                           "unknown command '" + std::string(argv[1]) + "'" +
                               Suggestion::didYouMean(argv[1], commands) +
                               " (commands: " + TextList::join(commands) + "; see --help)");
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);  // --help, --version: prints it, exit status 0
    } catch (const CLI::ExtrasError& error) {
        return reportError(
            parsedSubcommand(app), static_cast<int>(ExitStatus::Usage),
            lowerFirst(error.what()) + suggestForExtras(app, words) + " (see --help)");
    } catch (const CLI::RequiredError& error) {
        const std::string misspelt = misspeltOption(app, words);
        return reportError(
            parsedSubcommand(app), static_cast<int>(ExitStatus::Usage),
            (misspelt.empty() ? lowerFirst(error.what()) : misspelt) + " (see --help)");
    } catch (const CLI::ParseError& error) {
        return reportError(parsedSubcommand(app), static_cast<int>(ExitStatus::Usage),
                           lowerFirst(error.what()) + " (see --help)");
    }

    const std::string command = parsedSubcommand(app);
    try {
        if (*list) {
            ListCommand::run(std::cout);
        } else if (*describe) {
            DescribeCommand::run(describedType, std::cout);
        } else if (*params) {
            ParamsCommand::run(paramsType, paramsJson, std::cout);
        } else if (*render) {
            collectChainEntries(*render, renderOptions);
            RenderCommand::run(renderOptions, std::cout, std::cerr);
        } else if (*demo) {
            DemoCommand::run(demoDirectory, std::cout);
        } else if (*presets) {
            PresetsCommand::run(presetsType, presetsJson, std::cout);
        } else if (*formats) {
            FormatsCommand::run(std::cout);
        } else if (*stats) {
            StatsCommand::run(statsPath, statsJson, std::cout);
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
