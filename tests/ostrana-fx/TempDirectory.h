#pragma once

#include <string>
#include <vector>

namespace ostrana::fx::testing {

// A fresh directory under the system's temporary directory, removed with its contents on
// destruction.
class TempDirectory {
  public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& path() const { return path_; }
    // path() joined with name.
    std::string file(const std::string& name) const;
    // Names of the entries in the directory, sorted.
    std::vector<std::string> entries() const;

  private:
    std::string path_;
};

}  // namespace ostrana::fx::testing
