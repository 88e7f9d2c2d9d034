// Failing scratch allocations of the plugin's code linked into the test program.
//
// The test program is linked with --wrap for AllocateClearMemory (the mangled name
// below), so every call that the linked plugin code makes to it from another source
// file arrives here first; the loaded plugin module is not affected. Without that
// link option the weak reference to the real function stays null and the sweep of
// scratch failures reports itself as unavailable.
#include "tests/reliability/scratch_faults.h"

extern "C" void* __real__Z19AllocateClearMemoryx(long long size) __attribute__((weak));

namespace {
int gAllocations = 0;
int gFailAt = 0;
}  // namespace

extern "C" void* __wrap__Z19AllocateClearMemoryx(long long size) {
    ++gAllocations;
    if (gFailAt != 0 && gAllocations == gFailAt) {
        gFailAt = 0;
        return nullptr;
    }
    return __real__Z19AllocateClearMemoryx(size);
}

namespace vqzsweep {

bool scratchFaultsAvailable() { return &__real__Z19AllocateClearMemoryx != nullptr; }

int scratchAllocations() { return gAllocations; }

void failScratchNth(int n) { gFailAt = n > 0 ? gAllocations + n : 0; }

}  // namespace vqzsweep
