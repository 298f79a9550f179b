#include "FailingMemory.h"

#include <new>

int g_nAllocationsLeft = -1;
bool g_bFailsOnce = false;

namespace {

bool AllocationFails() {
    if (g_nAllocationsLeft > 0)
        --g_nAllocationsLeft;
    if (g_nAllocationsLeft != 0)
        return false;
    g_nAllocationsLeft = g_bFailsOnce ? -1 : 0;
    return true;
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return AllocationFails() ? nullptr : ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return AllocationFails() ? nullptr : ::operator new[](size);
    } catch (...) {
        return nullptr;
    }
}
