#pragma once

#include <sys/types.h>

#include <string>

namespace ostrana::fx {

// Where a render's output goes, opened before any audio is written.
//
// A regular file (new or existing, or the target of a symbolic link, which stays a link) is
// written to a temporary file in its folder and put in its place only by commit(): an
// unnamed file (O_TMPFILE) where the file system has them, so that even a killed render
// leaves nothing behind, or else a hidden named one. An existing file keeps its mode, its
// extended attributes and access control list, and its owner and group where the process
// may set them; a file with further hard links is
// rewritten in place at commit, so that every link sees the new contents.
//
// Anything else (a device, a FIFO, a terminal) is written to directly, with no temporary
// file; so are "-" and /dev/stdout (and /dev/stderr, /dev/fd/1 or 2, /proc/self/fd/1 or 2),
// which write to the descriptor the process has, whatever it is: also a regular file.
class OutputFile {
  public:
    // Throws a failure CommandError that names path when it cannot be opened.
    explicit OutputFile(const std::string& path);
    // Refuses (a usage CommandError) an existing file that this process may not write to, as
    // cp and SoX do: the write protection says the user wants it kept. force lets it through.
    static void checkReplaceable(const std::string& path, bool force);
    // Without commit(), the temporary file is removed and a regular destination untouched.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int descriptor() const { return descriptor_; }
    // Whether the output can seek (a pipe or FIFO cannot; most containers need to).
    bool seekable() const;
    // Whether the output is written directly rather than through a temporary file.
    bool direct() const { return direct_; }
    // Whether the output is this process's standard output (so messages must go elsewhere).
    bool standardOutput() const;
    // "standard output", "a FIFO", "a terminal"...: what a direct output is, for messages.
    std::string kindText() const;
    const std::string& path() const { return path_; }
    // What of the replaced file's extended attributes and access control list could not be
    // kept (a file system without them, say); "" when all were.
    const std::string& attributeWarning() const { return attributeWarning_; }

    // Puts the written file in its place (regular files); throws a failure CommandError.
    void commit();

  private:
    void openDirect(const std::string& path);
    void openTemporary();
    void openNamedTemporary();
    template <typename Create>
    void nameTemporary(Create create);
    void keepOwnerAndMode();
    void linkUnnamedFile();
    void rewriteInPlace();
    void discard();
    std::string cannotWrite(const std::string& reason) const;

    std::string path_;         // as the user wrote it
    std::string destination_;  // the regular file to replace, symbolic links followed
    std::string namedTemporary_;
    std::string attributeWarning_;
    int descriptor_ = -1;
    bool ownsDescriptor_ = true;
    bool direct_ = false;
    bool unnamed_ = false;
    bool existed_ = false;
    mode_t mode_ = 0;
    uid_t owner_ = 0;
    gid_t group_ = 0;
    nlink_t links_ = 0;
    mode_t directType_ = 0;
};

}  // namespace ostrana::fx
