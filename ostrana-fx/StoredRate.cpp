#include "StoredRate.h"

#include <sndfile.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace ostrana::fx {

namespace {

// A growable file in memory, for libsndfile's virtual I/O.
struct MemoryFile {
    std::vector<unsigned char> bytes;
    sf_count_t position = 0;

    static MemoryFile& of(void* data) { return *static_cast<MemoryFile*>(data); }

    static SF_VIRTUAL_IO callbacks() {
        SF_VIRTUAL_IO io{};
        io.get_filelen = [](void* data) { return static_cast<sf_count_t>(of(data).bytes.size()); };
        io.seek = [](sf_count_t offset, int whence, void* data) {
            return of(data).seek(offset, whence);
        };
        io.read = [](void* to, sf_count_t count, void* data) { return of(data).read(to, count); };
        io.write = [](const void* from, sf_count_t count, void* data) {
            return of(data).write(from, count);
        };
        io.tell = [](void* data) { return of(data).position; };
        return io;
    }

    sf_count_t seek(sf_count_t offset, int whence) {
        const auto size = static_cast<sf_count_t>(bytes.size());
        const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
        if (base + offset < 0) return -1;
        position = base + offset;
        return position;
    }

    sf_count_t read(void* to, sf_count_t count) {
        const auto size = static_cast<sf_count_t>(bytes.size());
        const sf_count_t available = std::clamp<sf_count_t>(size - position, 0, count);
        if (available > 0) std::memcpy(to, bytes.data() + position, static_cast<size_t>(available));
        position += available;
        return available;
    }

    sf_count_t write(const void* from, sf_count_t count) {
        const auto end = static_cast<size_t>(position + count);
        if (bytes.size() < end) bytes.resize(end);
        std::memcpy(bytes.data() + position, from, static_cast<size_t>(count));
        position += count;
        return count;
    }
};

}  // namespace

unsigned int StoredRate::readBack(int format, unsigned int channels, unsigned int sampleRate) {
    MemoryFile memory;
    SF_VIRTUAL_IO io = MemoryFile::callbacks();
    SF_INFO info{};
    info.format = format;
    info.channels = static_cast<int>(channels);
    info.samplerate = static_cast<int>(sampleRate);
    SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, &memory);
    if (file == nullptr) return 0;
    const std::vector<double> silence(channels, 0.0);
    const bool wrote = sf_writef_double(file, silence.data(), 1) == 1;
    if (sf_close(file) != 0 || !wrote) return 0;
    memory.position = 0;
    SF_INFO readInfo{};
    SNDFILE* again = sf_open_virtual(&io, SFM_READ, &readInfo, &memory);
    if (again == nullptr) return 0;
    sf_close(again);
    return readInfo.samplerate > 0 ? static_cast<unsigned int>(readInfo.samplerate) : 0;
}

}  // namespace ostrana::fx
