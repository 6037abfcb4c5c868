// Preloaded into the ostrana-fx program by a test: counts calls of malloc and realloc and
// writes the count, at exit, to the file named by OSTRANA_FX_MALLOC_COUNT_FILE.
#include <dlfcn.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace {

unsigned long allocations = 0;

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

__attribute__((destructor)) void writeCount() {
    const char* path = std::getenv("OSTRANA_FX_MALLOC_COUNT_FILE");
    if (path == nullptr) return;
    if (std::FILE* file = std::fopen(path, "w")) {
        std::fprintf(file, "%lu\n", allocations);
        std::fclose(file);
    }
}

}  // namespace

extern "C" void* malloc(std::size_t size) {
    using Malloc = void* (*)(std::size_t);
    static Malloc real = next<Malloc>("malloc");
    ++allocations;
    return real(size);
}

extern "C" void* realloc(void* pointer, std::size_t size) {
    using Realloc = void* (*)(void*, std::size_t);
    static Realloc real = next<Realloc>("realloc");
    ++allocations;
    return real(pointer, size);
}
