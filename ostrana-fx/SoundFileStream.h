#pragma once

#include <sndfile.h>

#include <string>

namespace ostrana::fx {

// The descriptor libsndfile writes a file through, as its virtual I/O: every write, seek and
// read goes through here, so that a failure is seen whatever libsndfile or its encoders do with
// the result (the MP3 and Vorbis encoders drop short writes without a word).
//
// In a regular file, a long run of zero bytes (the silence of a tail) is skipped over rather
// than written, leaving a hole that reads back as zeros and takes no disk space; finish()
// gives the file its full length when it ends in one.
//
// On an output that cannot seek (a pipe), the stream can only grow: a write aimed behind its
// end (an encoder going back to complete its header, as the FLAC encoder does) is dropped
// rather than appended as junk, and the header keeps the values for an unknown length.
class SoundFileStream {
  public:
    SoundFileStream(int descriptor, bool seekable);

    SF_VIRTUAL_IO& callbacks();
    // After libsndfile has closed the file: extends it over a hole at its end. Returns false
    // (and records the error) when it cannot.
    bool finish();
    // The first failure's system error number, or 0.
    int error() const { return error_; }
    // Why it failed, in words ("No space left on device"); "" when nothing failed.
    std::string errorText() const;

  private:
    sf_count_t length() const;
    sf_count_t seek(sf_count_t offset, int whence);
    sf_count_t read(void* bytes, sf_count_t count);
    sf_count_t write(const void* bytes, sf_count_t count);
    sf_count_t tell() const;
    void fail(int error);
    // Skips a run of zeros in a regular file; false when it must be written instead.
    bool skipZeros(const void* bytes, sf_count_t count);

    int descriptor_;
    bool seekable_;
    sf_count_t position_ = 0;  // a stream's position, as libsndfile believes it
    sf_count_t end_ = 0;       // bytes a stream has written
    int error_ = 0;
    bool regular_ = false;    // a regular file, which may have holes
    sf_count_t fileEnd_ = 0;  // how far a regular file's writes and holes reach
    SF_VIRTUAL_IO callbacks_{};
};

}  // namespace ostrana::fx
