// Start-up: the flag rewrite for the host's version and the registration calls.
#pragma once

#include "plugin/abi.h"

// Plugin-side console flags in the static records, and the host's form of them.
enum : uintptr_t {
    kPluginConsoleSafe = 0x40000,
    kPluginWebSafe = 0x80000,
    kPluginReservedFlag = 0x100000,
    kHostConsoleSafe = 0x4,
    kHostWebSafe = 0x8,
};

uintptr_t RewriteFlagWord(uintptr_t flags);
void FixConsoleFlags(REALmethodDefinition* table, int count);
void FixConsoleFlags(REALclassDefinition* definition);
void MyREALRegisterClass(REALclassDefinition* definition);
void MyREALRegisterClassExtension(REALclassDefinition* definition);
void MyREALRegisterMethodArray(REALmethodDefinition* table, int count);
void PluginEntry();

// The registration tables, each defined beside the functions it registers.
extern REALclassDefinition pictureClass;
extern REALmethodDefinition globalMethods[];
extern const int kGlobalMethodCount;
extern REALclassDefinition Lut3DClass;
extern REALclassDefinition PictureSepiaClass;
