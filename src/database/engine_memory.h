#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace mod2neu {

// Decides whether an allocation of that many bytes is tried.
using AllocationGate = bool (*)(std::size_t bytes);

// For tests, which refuse allocations in turn; nullptr lets all of them through again.
void SetAllocationGate(AllocationGate gate);

bool AllocationAllowed(std::size_t bytes);

// `count` zero-filled elements; empty when memory is short.
template <class Element>
std::unique_ptr<Element[]> TryAllocate(std::size_t count) {
    if (!AllocationAllowed(count * sizeof(Element))) {
        return nullptr;
    }
    return std::unique_ptr<Element[]>(new (std::nothrow) Element[count]());
}

}  // namespace mod2neu
