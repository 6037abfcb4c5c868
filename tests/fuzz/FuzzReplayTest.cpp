// Feeds each committed input of one fuzz target to its LLVMFuzzerTestOneInput, one test per
// file. The target checks its own invariants and stops the process when one breaks, so a
// failing input fails its test by name.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

struct ReplayInput {
    std::string testName;
    fs::path path;
};

// Shown in test listings and failure messages.
void PrintTo(const ReplayInput& input, std::ostream* stream) {
    *stream << input.path.string();
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

std::vector<ReplayInput> committedInputs() {
    std::vector<ReplayInput> inputs;
    for (const fs::path& file : inputFilesIn(OSTRANA_FUZZ_CORPUS_DIR)) {
        inputs.push_back({testNameFor("seed", file), file});
    }
    for (const fs::path& file : inputFilesIn(OSTRANA_FUZZ_REGRESSIONS_DIR)) {
        inputs.push_back({testNameFor("regression", file), file});
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
    const std::vector<std::uint8_t> bytes = readBytes(file);
    ASSERT_EQ(bytes.size(), fs::file_size(file)) << file;
    EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0) << file;
}

INSTANTIATE_TEST_SUITE_P(CommittedInputs, FuzzReplayTest, testing::ValuesIn(committedInputs()),
                         [](const testing::TestParamInfo<ReplayInput>& info) {
                             return info.param.testName;
                         });

TEST(FuzzReplayInputsTest, SeedCorpusHasInputs) {
    EXPECT_GE(inputFilesIn(OSTRANA_FUZZ_CORPUS_DIR).size(), 5u);
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
