// The host entry points the resolver hands out, one function each, with the C
// types the plugin calls them through (the resolver's table checks every type).
#pragma once

#include <cstdint>

#include "plugin/abi.h"

namespace standin::entry {

// objects and properties (classes.cpp, registry.cpp)
void RegisterPluginVersion(int32_t version);
double REALGetRBVersion();
void REALLockObject(REALobjectStruct* object);
void REALUnlockObject(REALobjectStruct* object);
REALobjectStruct* PluginNewInstance(const char* className);
void* pluginObjectType(const char* className);
void RuntimeRaiseException(REALobjectStruct* exception);
void PluginRegisterClass(REALclassDefinition* definition);
void PluginRegisterClassExtension(REALclassDefinition* definition);
void PluginRegisterMethod(REALmethodDefinition* method);
void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration);
void* REALLoadGlobalMethod(const char* module, const char* declaration);
uint8_t REALGetPropValueInt(REALobjectStruct* object, const char* name, int32_t* value);
uint8_t REALSetPropValueInt(REALobjectStruct* object, const char* name, int32_t value);
uint8_t REALSetPropValueUInt32(REALobjectStruct* object, const char* name, uint32_t value);
uint8_t REALSetPropValueString(REALobjectStruct* object, const char* name, REALstringStruct* value);

// pictures (pictures.cpp, graphics.cpp)
REALpictureStruct* newPicture(int32_t width, int32_t height, int32_t depth);
REALgraphicsStruct* pluginPictureGraphicsGetter(REALpictureStruct* picture);
REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, uint8_t flag);
void REALPictureClearCache(REALpictureStruct* picture);
void lockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description);
uint8_t REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                                   int32_t type);
void unlockPictureDescription(REALpictureStruct* picture);
void RuntimeGraphicsDrawLine(REALgraphicsStruct* graphics, int32_t x1, int32_t y1, int32_t x2,
                             int32_t y2);
void GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* source, int32_t x,
                         int32_t y, int32_t w, int32_t h, int32_t sx, int32_t sy, int32_t sw,
                         int32_t sh);

// MemoryBlocks (memoryblocks.cpp)
REALmemoryBlockStruct* newMemoryBlock(int32_t size);
void* memoryBlockGetPtr(REALmemoryBlockStruct* block);
int32_t memoryBlockGetSize(REALmemoryBlockStruct* block);

// strings (strings.cpp)
void REALLockString(REALstringStruct* string);
void REALUnlockString(REALstringStruct* string);
REALstringStruct* REALBuildString(const char* bytes, int32_t length);
uint32_t REALGetStringEncoding(REALstringStruct* string);
void REALSetStringEncoding(REALstringStruct* string, uint32_t encoding);
REALstringStruct* REALConvertString(REALstringStruct* string, uint32_t encoding);
uint8_t PluginGetStringData(REALstringStruct* string, uint32_t encoding, REALstringData* out);
void PluginDisposeStringData(REALstringData* data);
const char* StringGetCString(REALstringStruct* string);
int32_t LenB(REALstringStruct* string);

}  // namespace standin::entry
