// The plugin's view of its host: one wrapper per host entry point (looked up by
// name through the resolver on first use, cached, and answering a fixed value when
// the host lacks it), plus a few helpers that reach host properties by name.
#pragma once

#include "plugin/abi.h"

extern REALResolver gResolver;
extern double rbversion_rbversion;

// True when the host's version is known and at least `version` (NaN and the
// unknown 0.0 count as older hosts).
inline bool HostIsAtLeast(double version) { return rbversion_rbversion >= version; }

// Asks the resolver for an entry point; null when there is no resolver or no such name.
void* ResolveEntryPoint(const char* name);

#define HOST_ENTRY(wrapper, lookup, result, missing, params, args) result wrapper params;
#define HOST_ENTRY_BOOL(wrapper, lookup, params, args) bool wrapper params;
#include "plugin/host_entry_points.def"
#undef HOST_ENTRY
#undef HOST_ENTRY_BOOL

// Frees the copy when the host has no "PluginDisposeStringData".
void REALDisposeStringData(REALstringData* data);

int32_t GetPictureWidth(REALpictureStruct* picture);
int32_t GetPictureHeight(REALpictureStruct* picture);
bool SetGraphicsForeColor(REALgraphicsStruct* graphics, uint32_t color);
bool SetGraphicsPenWidth(REALgraphicsStruct* graphics, int32_t width);
bool SetGraphicsPenHeight(REALgraphicsStruct* graphics, int32_t height);
REALmemoryBlockStruct* REALNewMemoryBlock(long long size);
bool REALLockPictureDescriptionX(REALpictureStruct* picture, REALpictureDescription* description, int32_t type);

inline REALobjectStruct* AsObject(void* handle) { return static_cast<REALobjectStruct*>(handle); }
