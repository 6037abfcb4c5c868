// Feeds each committed input of one fuzz target to its LLVMFuzzerTestOneInput, one test per
// file. The target checks its own invariants and stops the process when one breaks, so a
// failing input fails its test by name. The first byte of an input picks the node type; each
// seed was written for one type, and runs once for every type the target drives, its first
// byte set to that type's index, so a node type added to the catalogue meets every seed.
// Regression inputs run as committed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

struct ReplayInput {
    std::string testName;
    fs::path path;
    // The node type index written over the first byte; none: the bytes as committed.
    std::optional<std::uint8_t> nodeType;
};

// Shown in test listings and failure messages.
void PrintTo(const ReplayInput& input, std::ostream* stream) {
    *stream << input.path.string();
    if (input.nodeType) *stream << " as node type " << int{*input.nodeType};
}

// The input files of a folder, in name order. Hidden files (such as the placeholder that keeps
// an empty folder in the repository) are not inputs.
std::vector<fs::path> inputFilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    if (!fs::is_directory(folder)) return files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        if (entry.path().filename().string().starts_with(".")) continue;
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string testNameFor(const std::string& prefix, const fs::path& file) {
    std::string name = prefix + "_" + file.filename().string();
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

// A seed once per node type the target picks from (as committed when there is one type, or
// when the seed is empty and so has no first byte).
void addSeed(std::vector<ReplayInput>& inputs, const fs::path& file) {
    const unsigned int choices = ostrana::fuzz::nodeTypeChoices();
    if (choices <= 1 || fs::file_size(file) == 0) {
        inputs.push_back({testNameFor("seed", file), file, std::nullopt});
        return;
    }
    for (unsigned int type = 0; type < choices; ++type) {
        inputs.push_back({testNameFor("seed", file) + "_type" + std::to_string(type), file,
                          static_cast<std::uint8_t>(type)});
    }
}

std::vector<ReplayInput> committedInputs() {
    std::vector<ReplayInput> inputs;
    for (const fs::path& file : inputFilesIn(OSTRANA_FUZZ_CORPUS_DIR)) addSeed(inputs, file);
    for (const fs::path& file : inputFilesIn(OSTRANA_FUZZ_REGRESSIONS_DIR)) {
        inputs.push_back({testNameFor("regression", file), file, std::nullopt});
    }
    return inputs;
}

std::vector<std::uint8_t> readBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class FuzzReplayTest : public testing::TestWithParam<ReplayInput> {};

TEST_P(FuzzReplayTest, RunsWithEveryInvariantHolding) {
    const fs::path& file = GetParam().path;
    std::vector<std::uint8_t> bytes = readBytes(file);
    ASSERT_EQ(bytes.size(), fs::file_size(file)) << file;
    if (const std::optional<std::uint8_t> type = GetParam().nodeType) {
        ASSERT_FALSE(bytes.empty()) << file;
        bytes.front() = *type;
    }
    EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0) << file;
}

INSTANTIATE_TEST_SUITE_P(CommittedInputs, FuzzReplayTest, testing::ValuesIn(committedInputs()),
                         [](const testing::TestParamInfo<ReplayInput>& info) {
                             return info.param.testName;
                         });

TEST(FuzzReplayInputsTest, SeedCorpusHasInputs) {
    EXPECT_GE(inputFilesIn(OSTRANA_FUZZ_CORPUS_DIR).size(), 5u);
}

// Each node type the target picks from runs every seed that has a first byte to pick it with;
// a target that drives one type runs its seeds as committed.
TEST(FuzzReplayInputsTest, EveryNodeTypeRunsEverySeed) {
    const unsigned int choices = ostrana::fuzz::nodeTypeChoices();
    ASSERT_GE(choices, 1u);
    std::size_t seedsWithFirstByte = 0;
    for (const fs::path& file : inputFilesIn(OSTRANA_FUZZ_CORPUS_DIR)) {
        if (fs::file_size(file) > 0) ++seedsWithFirstByte;
    }
    std::vector<std::size_t> runsPerType(choices, 0);
    for (const ReplayInput& input : committedInputs()) {
        if (input.nodeType) ++runsPerType.at(*input.nodeType);
    }
    const std::size_t expected = choices == 1 ? 0 : seedsWithFirstByte;
    for (unsigned int type = 0; type < choices; ++type) {
        EXPECT_EQ(runsPerType[type], expected) << "node type " << type;
    }
}

TEST(FuzzReplayInputsTest, RegressionFolderExists) {
    EXPECT_TRUE(fs::is_directory(OSTRANA_FUZZ_REGRESSIONS_DIR));
}

// The empty input and a run of zero bytes are the shortest programs: every read gives zero.
TEST(FuzzReplayInputsTest, EmptyAndZeroInputsRun) {
    EXPECT_EQ(LLVMFuzzerTestOneInput(nullptr, 0), 0);
    const std::vector<std::uint8_t> zeros(64, 0);
    EXPECT_EQ(LLVMFuzzerTestOneInput(zeros.data(), zeros.size()), 0);
}

}  // namespace
