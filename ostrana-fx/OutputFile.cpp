#include "OutputFile.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

#include "CommandError.h"
#include "ExtendedAttributes.h"
#include "InterruptCleanup.h"

namespace ostrana::fx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kStandardOutput = "-";

// The file a path names once symbolic links are followed; a dangling link names the file it
// would create. Paths without links come back as they are.
std::string followLinks(const std::string& path) {
    std::error_code error;
    fs::path current(path);
    for (int hops = 0; hops < 40 && fs::is_symlink(fs::symlink_status(current, error)); ++hops) {
        const fs::path target = fs::read_symlink(current, error);
        if (error) break;
        current = target.is_absolute() ? target : current.parent_path() / target;
    }
    return current.string();
}

std::string folderOf(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

// A name for the hidden temporary file beside destination.
std::string temporaryName(const std::string& destination) {
    static std::mt19937_64 random{std::random_device{}()};
    static constexpr std::array<char, 36> kLetters = {
        'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o', 'p', 'q', 'r',
        's', 't', 'u', 'v', 'w', 'x', 'y', 'z', '0', '1', '2', '3', '4', '5', '6', '7', '8', '9'};
    std::string suffix;
    for (int i = 0; i < 8; ++i) suffix += kLetters[random() % kLetters.size()];
    std::string name(".");
    name += fs::path(destination).filename().string();
    name += ".partial-";
    name += suffix;
    return (fs::path(folderOf(destination)) / name).string();
}

// The descriptor of standard output or error that path names ("-", /dev/stdout, /dev/fd/1,
// /proc/self/fd/1 and the same for 2), or -1. Writing to the descriptor itself keeps what the
// shell set up (a pipe, or a file opened with > or >>) rather than replacing the file that its
// link in /proc happens to name.
int standardDescriptor(const std::string& path) {
    if (path == kStandardOutput) return STDOUT_FILENO;
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        const std::string number = std::to_string(descriptor);
        const std::string name = descriptor == STDOUT_FILENO ? "stdout" : "stderr";
        if (path == "/dev/" + name || path == "/dev/fd/" + number ||
            path == "/proc/self/fd/" + number) {
            return descriptor;
        }
    }
    return -1;
}

mode_t creationMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path) {
    const int standard = standardDescriptor(path);
    if (standard >= 0) {
        descriptor_ = standard;
        ownsDescriptor_ = false;
        direct_ = true;
        directType_ = 0;
        struct stat status {};
        if (fstat(descriptor_, &status) == 0) directType_ = status.st_mode & S_IFMT;
        return;
    }
    if (path.empty() || fs::path(path).filename().empty()) {
        throw CommandError::failure(cannotWrite("no file name"));
    }
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        if (S_ISDIR(status.st_mode)) throw CommandError::failure(cannotWrite("is a directory"));
        directType_ = status.st_mode & S_IFMT;
        openDirect(path);
        return;
    }
    destination_ = followLinks(path);
    if (stat(destination_.c_str(), &status) == 0) {
        existed_ = true;
        mode_ = status.st_mode & 07777;
        owner_ = status.st_uid;
        group_ = status.st_gid;
        links_ = status.st_nlink;
    }
    openTemporary();
}

void OutputFile::checkReplaceable(const std::string& path, bool force) {
    if (force || standardDescriptor(path) >= 0) return;
    struct stat status {};
    const std::string destination = followLinks(path);
    if (stat(destination.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    if (access(destination.c_str(), W_OK) == 0 || errno != EACCES) return;
    throw CommandError::usage("output '" + path +
                              "' is write-protected; nothing written (--force replaces it)");
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::openDirect(const std::string& path) {
    descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
    direct_ = true;
}

void OutputFile::openTemporary() {
    descriptor_ = open(folderOf(destination_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC,
                       existed_ ? (mode_ & 0777) : creationMode());
    if (descriptor_ >= 0) {
        unnamed_ = true;
    } else if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) {
        openNamedTemporary();  // a file system without unnamed files
    } else {
        throw CommandError::failure(cannotWrite(std::strerror(errno)));
    }
    if (existed_) keepOwnerAndMode();
}

// Gives the temporary file a fresh hidden name: create(name) makes a file of that name and
// says whether it could; a name that is taken is replaced by another.
template <typename Create>
void OutputFile::nameTemporary(Create create) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string name = temporaryName(destination_);
        if (create(name)) {
            namedTemporary_ = name;
            InterruptCleanup::track(namedTemporary_);
            return;
        }
        if (errno != EEXIST) break;
    }
    throw CommandError::failure(cannotWrite(std::strerror(errno)));
}

void OutputFile::openNamedTemporary() {
    const mode_t mode = existed_ ? (mode_ & 0777) : creationMode();
    nameTemporary([&](const std::string& name) {
        descriptor_ = open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        return descriptor_ >= 0;
    });
}

// Owner and group first: changing them may clear the set-user and set-group bits, which the
// mode then restores. Either may be refused to a process without the right; that is fine.
void OutputFile::keepOwnerAndMode() {
    if (fchown(descriptor_, owner_, group_) != 0) {
        // Not permitted: the new file keeps this process's owner.
    }
    fchmod(descriptor_, mode_);
    attributeWarning_ = ExtendedAttributes::copy(destination_, descriptor_);
}

bool OutputFile::standardOutput() const {
    return !ownsDescriptor_ && descriptor_ == STDOUT_FILENO;
}

bool OutputFile::seekable() const {
    return lseek(descriptor_, 0, SEEK_CUR) != static_cast<off_t>(-1);
}

std::string OutputFile::kindText() const {
    const std::string where = path_ == kStandardOutput ? "standard output" : "'" + path_ + "'";
    switch (directType_) {
        case S_IFIFO:
            return where + " (a pipe or FIFO)";
        case S_IFCHR:
            return where + (isatty(descriptor_) ? " (a terminal)" : " (a device)");
        case S_IFSOCK:
            return where + " (a socket)";
        default:
            return where;
    }
}

// An unnamed file gets a hidden name in the destination's folder, then takes the
// destination's place in one rename.
void OutputFile::linkUnnamedFile() {
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor_);
    nameTemporary([&](const std::string& name) {
        return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    });
}

// Copies the finished file over the destination's contents, keeping its inode and so its
// other hard links. The space is reserved first, without changing the file, so that a full
// disk refuses the copy before a byte of the old contents is lost.
void OutputFile::rewriteInPlace() {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) {
        throw CommandError::failure(cannotWrite(std::strerror(errno)));
    }
    const int target = open(destination_.c_str(), O_WRONLY | O_CLOEXEC);
    if (target < 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
    const auto fail = [&](int error) {
        close(target);
        throw CommandError::failure(cannotWrite(std::strerror(error)));
    };
    if (status.st_size > 0 && fallocate(target, FALLOC_FL_KEEP_SIZE, 0, status.st_size) != 0 &&
        errno != EOPNOTSUPP) {
        fail(errno);  // nothing changed
    }
    off_t offset = 0;
    while (offset < status.st_size) {
        const ssize_t copied =
            sendfile(target, descriptor_, &offset, static_cast<size_t>(status.st_size - offset));
        if (copied <= 0) fail(copied < 0 ? errno : ENOSPC);
    }
    if (ftruncate(target, status.st_size) != 0) fail(errno);
    if (close(target) != 0) throw CommandError::failure(cannotWrite(std::strerror(errno)));
}

void OutputFile::commit() {
    if (direct_) return;
    if (existed_ && links_ > 1) {
        rewriteInPlace();
        discard();
        return;
    }
    if (unnamed_) linkUnnamedFile();
    InterruptCleanup::release();
    if (std::rename(namedTemporary_.c_str(), destination_.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        discard();
        throw CommandError::failure(cannotWrite(reason));
    }
    namedTemporary_.clear();
    discard();
}

void OutputFile::discard() {
    if (!namedTemporary_.empty()) {
        InterruptCleanup::release();
        unlink(namedTemporary_.c_str());
        namedTemporary_.clear();
    }
    if (descriptor_ >= 0 && ownsDescriptor_) close(descriptor_);
    descriptor_ = -1;
}

std::string OutputFile::cannotWrite(const std::string& reason) const {
    return "cannot write output '" + path_ + "': " + reason;
}

}  // namespace ostrana::fx
