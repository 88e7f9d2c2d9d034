// Making the plugin's scratch allocations fail, in the copy of its code that is
// linked into the test program (see scratch_faults.cpp).
#pragma once

namespace vqzsweep {

// False when the test program was linked without the allocation hook.
bool scratchFaultsAvailable();
// Scratch allocations since the program started.
int scratchAllocations();
// Make the nth scratch allocation from now fail (n = 0 disarms).
void failScratchNth(int n);

}  // namespace vqzsweep
