// The binary contract between the plugin and its host: opaque host handles, the
// registration records, the records a host fills in, and the QuickDraw types.
// Registration records are arrays of pointer-sized words (4, 10 and 25 words); on
// i386 they are 16, 40 and 100 bytes. Other hosts are written to this layout too,
// so nothing here may change shape.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

struct REALobjectStruct;
struct REALpictureStruct;
struct REALgraphicsStruct;
struct REALstringStruct;
struct REALmemoryBlockStruct;

// A function word of a registration record. Every function is called through a
// plain C pointer of its exact type; this is only the storage type.
typedef void (*REALproc)(void);

// The resolver: entry-point name in, address (or null) out.
typedef void* (*REALResolver)(const char* name);

struct REALmethodDefinition {
    REALproc function;        // word 0
    REALproc setterFunction;  // word 1
    const char* declaration;  // word 2
    uintptr_t mFlags;         // word 3
};

struct REALproperty {
    const char* group;      // word 0
    const char* name;       // word 1
    const char* type;       // word 2
    uintptr_t flags;        // word 3
    REALproc getter;        // word 4: all ones means direct access
    REALproc setter;        // word 5: all ones means direct access
    intptr_t param;         // word 6: data offset (direct) or accessor parameter
    uintptr_t editor;       // word 7
    uintptr_t enumCount;    // word 8
    uintptr_t enumEntries;  // word 9
};

struct REALclassDefinition {
    uintptr_t version;                     // word 0
    const char* name;                      // word 1
    const char* superName;                 // word 2
    uintptr_t dataSize;                    // word 3
    uintptr_t forSystemUse;                // word 4: instance data offset, written by the host
    REALproc constructor;                  // word 5
    REALproc destructor;                   // word 6
    REALproperty* properties;              // word 7
    uintptr_t propertyCount;               // word 8
    REALmethodDefinition* methods;         // word 9
    uintptr_t methodCount;                 // word 10
    uintptr_t hostReserved[9];             // words 11..19
    uintptr_t mFlags;                      // word 20
    REALproperty* sharedProperties;        // word 21
    uintptr_t sharedPropertyCount;         // word 22
    REALmethodDefinition* sharedMethods;   // word 23
    uintptr_t sharedMethodCount;           // word 24
};

struct REALpictureDescription {
    int32_t pictureType;
    void* pictureData;
    int32_t width;
    int32_t height;
};

struct REALstringData {
    void* data;
    int32_t length;
    uint32_t encoding;
};

// The bitmap record behind a console or web picture (description type 10).
struct ConsoleBitmapRecord {
    int32_t format;
    int32_t width;
    int32_t height;
    uint8_t hostPrivate[7224 - 3 * sizeof(int32_t)];
    void* pixelStore;
    uint8_t** rowTable;
};

// A string object of a host older than 2013.0, as far as the plugin reads it.
struct OldHostString {
    int32_t refCount;
    char* storage;  // the text begins at storage + 1
    int32_t reserved;
    int32_t length;
};

// QuickDraw handles are opaque to the plugin.
typedef struct OpaqueGWorld* GWorldPtr;
typedef struct OpaquePixMap** PixMapHandle;
typedef struct OpaqueRegion** RgnHandle;
typedef void* GDHandle;

struct Rect {
    int16_t top;
    int16_t left;
    int16_t bottom;
    int16_t right;
};

}  // extern "C"

constexpr uintptr_t kDirectAccess = ~uintptr_t(0);

enum : int32_t { kPictureTypeGWorld = 4, kPictureTypeBitmap = 10 };

enum : uint32_t {
    kEncodingASCII = 0x600,
    kEncodingUTF16 = 0x100,
    kEncodingUTF8 = 0x08000100,
    kEncodingUTF32 = 0x0C000100,
    kEncodingLatin1 = 0x0201,
    kEncodingAsStored = 0xFFFF,
};

static_assert(sizeof(REALmethodDefinition) == 4 * sizeof(void*), "method record is 4 words");
static_assert(sizeof(REALproperty) == 10 * sizeof(void*), "property record is 10 words");
static_assert(sizeof(REALclassDefinition) == 25 * sizeof(void*), "class record is 25 words");
static_assert(offsetof(REALclassDefinition, mFlags) == 20 * sizeof(void*), "class flags are word 20");
static_assert(offsetof(ConsoleBitmapRecord, pixelStore) == 7224, "pixel store at 7224");
static_assert(offsetof(ConsoleBitmapRecord, rowTable) == 7224 + sizeof(void*), "row table after the pixel store");
static_assert(sizeof(Rect) == 8, "QuickDraw Rect is four shorts");
#if defined(__i386__)
static_assert(sizeof(REALmethodDefinition) == 16 && sizeof(REALproperty) == 40 &&
                  sizeof(REALclassDefinition) == 100,
              "i386 record sizes");
static_assert(offsetof(ConsoleBitmapRecord, rowTable) == 7228, "i386 row table offset");
static_assert(offsetof(OldHostString, storage) == 4 && offsetof(OldHostString, length) == 12,
              "i386 old string layout");
#else
static_assert(offsetof(ConsoleBitmapRecord, rowTable) == 7232, "x86-64 row table offset");
static_assert(offsetof(OldHostString, storage) == 8 && offsetof(OldHostString, length) == 20,
              "x86-64 old string layout");
#endif
