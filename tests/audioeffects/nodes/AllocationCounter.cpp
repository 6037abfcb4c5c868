#include "audioeffects/nodes/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> deallocations{0};

// malloc for operator new: never null for a size of 0, and the new-handler loop of the
// standard operator before giving up with bad_alloc.
void* allocate(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    const std::size_t bytes = size == 0 ? 1 : size;
    for (;;) {
        if (void* memory = std::malloc(bytes)) return memory;
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) throw std::bad_alloc();
        handler();
    }
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    const auto align = static_cast<std::size_t>(alignment);
    // aligned_alloc wants a whole number of alignments.
    const std::size_t bytes = size == 0 ? align : (size + align - 1) / align * align;
    for (;;) {
        if (void* memory = std::aligned_alloc(align, bytes)) return memory;
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) throw std::bad_alloc();
        handler();
    }
}

void release(void* memory) noexcept {
    if (memory == nullptr) return;
    deallocations.fetch_add(1, std::memory_order_relaxed);
    std::free(memory);
}

}  // namespace

namespace ostrana::testing {

std::size_t allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}
std::size_t deallocationCount() {
    return deallocations.load(std::memory_order_relaxed);
}

}  // namespace ostrana::testing

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, alignment);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    try {
        return allocateAligned(size, alignment);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    try {
        return allocateAligned(size, alignment);
    } catch (...) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}
