#include "database/engine_memory.h"

namespace mod2neu {

namespace {

AllocationGate allocationGate = nullptr;

}  // namespace

void SetAllocationGate(AllocationGate gate) {
    allocationGate = gate;
}

bool AllocationAllowed(std::size_t bytes) {
    return allocationGate == nullptr || allocationGate(bytes);
}

}  // namespace mod2neu
