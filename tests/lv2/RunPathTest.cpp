// The plug-in binary's run path as the loader reads it: the build tree's library folder, and no
// empty entry (which the loader would search as the current directory).
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "ExpectedPlugins.h"
#include "ToolProcess.h"

namespace ostrana::lv2::testing {

namespace {

// The entries of the RUNPATH (or RPATH) that readelf shows, or nothing.
std::vector<std::string> runPathEntries(const std::string& dynamicSection) {
    const std::string open = "path: [";
    const auto start = dynamicSection.find(open);
    if (start == std::string::npos) return {};
    const auto end = dynamicSection.find(']', start);
    std::vector<std::string> entries;
    std::istringstream list(dynamicSection.substr(start + open.size(), end - start - open.size()));
    for (std::string entry; std::getline(list, entry, ':');) entries.push_back(entry);
    // getline drops a last empty entry; keep it visible.
    if (dynamicSection[end - 1] == ':') entries.emplace_back();
    return entries;
}

TEST(PluginBinary, RunPathNamesTheBuildLibrariesAndHasNoEmptyEntry) {
    const ToolResult result =
        ToolProcess::run({"readelf", "-d", bundleDirectory() + "ostrana-effects.so"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::vector<std::string> entries = runPathEntries(result.out);
    ASSERT_EQ(entries, std::vector<std::string>{"$ORIGIN/../../lib"}) << result.out;
}

}  // namespace

}  // namespace ostrana::lv2::testing
