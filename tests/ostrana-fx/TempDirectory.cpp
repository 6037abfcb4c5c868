#include "TempDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace ostrana::fx::testing {

TempDirectory::TempDirectory() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ostrana-fx-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempDirectory::file(const std::string& name) const {
    return (std::filesystem::path(path_) / name).string();
}

std::vector<std::string> TempDirectory::entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace ostrana::fx::testing
