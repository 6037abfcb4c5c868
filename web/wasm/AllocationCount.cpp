// Every allocation of the module counted, so that a test can show that processing allocates
// nothing: the linker sends malloc, calloc, realloc, aligned_alloc and posix_memalign here
// (--wrap), and operator new calls malloc.
#include "AllocationCount.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* pointer, std::size_t size);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
int __real_posix_memalign(void** pointer, std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<unsigned long> allocations{0};

}  // namespace

extern "C" {

void* __wrap_malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __real_calloc(count, size);
}

void* __wrap_realloc(void* pointer, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __real_realloc(pointer, size);
}

void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __real_aligned_alloc(alignment, size);
}

int __wrap_posix_memalign(void** pointer, std::size_t alignment, std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __real_posix_memalign(pointer, alignment, size);
}

}  // extern "C"

namespace ostrana::web {

unsigned long allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

}  // namespace ostrana::web
