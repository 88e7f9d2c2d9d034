// Raising host exceptions, and zero-filled scratch memory for one call.
#pragma once

void RaiseException(const char* className, const char* message, unsigned long encoding);
void* AllocateClearMemory(long long size);
void FreeMemoryNow(const void* p);
