#pragma once

#include <cstddef>
#include <utility>

// Counts heap allocations. AllocationCounter.cpp replaces every form of the global operator new
// and operator delete (plain, array, nothrow, aligned) with versions that count each call and
// then use malloc and free; linking it into a test program makes every allocation of the
// program and of the libraries it loads visible here.
namespace ostrana::testing {

// Calls of any global operator new since the program started, on any thread.
std::size_t allocationCount();
// Calls of any global operator delete with a non-null pointer since the program started.
std::size_t deallocationCount();

// What running a piece of code cost in heap traffic.
struct HeapTraffic {
    std::size_t allocations = 0;
    std::size_t deallocations = 0;
};

// Runs function and reports the allocations and deallocations made while it ran.
template <typename Function>
HeapTraffic measureHeapTraffic(Function&& function) {
    const std::size_t allocationsBefore = allocationCount();
    const std::size_t deallocationsBefore = deallocationCount();
    std::forward<Function>(function)();
    return {allocationCount() - allocationsBefore, deallocationCount() - deallocationsBefore};
}

}  // namespace ostrana::testing
