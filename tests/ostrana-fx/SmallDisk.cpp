#include "SmallDisk.h"

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace ostrana::fx::testing {

SmallDisk::SmallDisk(unsigned int kilobytes) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ostrana-fx-disk-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    const std::string options = "size=" + std::to_string(kilobytes) + "k,mode=0777";
    if (mount("tmpfs", path_.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0) {
        mounted_ = true;
    } else {
        whyNot_ = std::string("cannot mount a small tmpfs here (") + std::strerror(errno) + ")";
    }
}

SmallDisk::~SmallDisk() {
    if (mounted_) umount2(path_.c_str(), MNT_DETACH);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string SmallDisk::file(const std::string& name) const {
    return (std::filesystem::path(path_) / name).string();
}

}  // namespace ostrana::fx::testing
