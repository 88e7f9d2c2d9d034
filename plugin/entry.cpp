#include "plugin/registration.h"

#include "plugin/host_api.h"

uintptr_t RewriteFlagWord(uintptr_t flags) {
    // Hosts from 2010.029 on understand console flags, in their own bit positions.
    if (HostIsAtLeast(2010.029)) {
        if (flags & kPluginConsoleSafe) flags |= kHostConsoleSafe;
        if (flags & kPluginWebSafe) flags |= kHostWebSafe;
    }
    return flags & ~uintptr_t(kPluginConsoleSafe | kPluginWebSafe | kPluginReservedFlag);
}

void FixConsoleFlags(REALmethodDefinition* table, int count) {
    if (!table || count < 1) return;
    for (int i = 0; i < count; ++i) table[i].mFlags = RewriteFlagWord(table[i].mFlags);
}

static void FixPropertyFlags(REALproperty* table, uintptr_t count) {
    if (!table) return;
    for (uintptr_t i = 0; i < count; ++i) table[i].flags = RewriteFlagWord(table[i].flags);
}

void FixConsoleFlags(REALclassDefinition* definition) {
    definition->mFlags = RewriteFlagWord(definition->mFlags);
    // Counts are unsigned words; a count that reads as negative is treated as empty.
    auto usable = [](uintptr_t count) { return static_cast<intptr_t>(count) > 0; };
    if (usable(definition->methodCount))
        FixConsoleFlags(definition->methods, static_cast<int>(definition->methodCount));
    if (usable(definition->sharedMethodCount))
        FixConsoleFlags(definition->sharedMethods, static_cast<int>(definition->sharedMethodCount));
    if (usable(definition->propertyCount)) FixPropertyFlags(definition->properties, definition->propertyCount);
    if (usable(definition->sharedPropertyCount))
        FixPropertyFlags(definition->sharedProperties, definition->sharedPropertyCount);
}

void MyREALRegisterClass(REALclassDefinition* definition) {
    definition->dataSize = (definition->dataSize + 15) & ~uintptr_t(15);
    REALRegisterClass(definition);
}

void MyREALRegisterClassExtension(REALclassDefinition* definition) { REALRegisterClassExtension(definition); }

void MyREALRegisterMethodArray(REALmethodDefinition* table, int count) {
    for (int i = 0; i < count; ++i) REALRegisterMethod(&table[i]);
}

void PluginEntry() {
    FixConsoleFlags(&PictureSepiaClass);
    FixConsoleFlags(&Lut3DClass);
    FixConsoleFlags(&pictureClass);
    FixConsoleFlags(globalMethods, kGlobalMethodCount);
    MyREALRegisterClass(&PictureSepiaClass);
    MyREALRegisterClass(&Lut3DClass);
    MyREALRegisterClassExtension(&pictureClass);
    MyREALRegisterMethodArray(globalMethods, kGlobalMethodCount);
}

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
    gResolver = resolver;
    // A host without "RegisterPluginVersion" is not told the interface version;
    // calling a null entry point would crash it.
    using RegisterVersion = void (*)(int32_t);
    if (auto registerVersion = reinterpret_cast<RegisterVersion>(ResolveEntryPoint("RegisterPluginVersion")))
        registerVersion(9);
    using GetVersion = double (*)();
    if (auto getVersion = reinterpret_cast<GetVersion>(ResolveEntryPoint("REALGetRBVersion")))
        rbversion_rbversion = getVersion();
    PluginEntry();
}
