#pragma once

#include <string>

namespace ostrana::fx::testing {

// A small file system of its own (tmpfs) mounted on a fresh folder, to see what happens when a
// disk fills up. Mounting needs the right to (root, as in CI); where it is missing, available()
// says so and the test skips. Unmounted and removed on destruction.
class SmallDisk {
  public:
    explicit SmallDisk(unsigned int kilobytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool available() const { return mounted_; }
    // Why it could not be mounted, for the skip message.
    const std::string& whyNot() const { return whyNot_; }
    std::string file(const std::string& name) const;

  private:
    std::string path_;
    bool mounted_ = false;
    std::string whyNot_;
};

}  // namespace ostrana::fx::testing
