// The byte layout that a host reads from the plugin's records and writes into the
// records the plugin hands it, pinned at compile time: every word where the host
// looks for it, on the word size of the build, and the exact byte offsets of the
// 32-bit target when building for i386. (Sizes of whole records and of the classes'
// instance data are pinned next to their definitions.)
#include <cstddef>

#include "classes/lut3d.h"
#include "plugin/abi.h"

namespace {

constexpr size_t W = sizeof(void*);  // one word of a registration record

static_assert(offsetof(REALmethodDefinition, setterFunction) == 1 * W && offsetof(REALmethodDefinition, declaration) == 2 * W &&
                  offsetof(REALmethodDefinition, mFlags) == 3 * W,
              "method record words");
static_assert(offsetof(REALproperty, name) == 1 * W && offsetof(REALproperty, type) == 2 * W &&
                  offsetof(REALproperty, flags) == 3 * W && offsetof(REALproperty, getter) == 4 * W &&
                  offsetof(REALproperty, setter) == 5 * W && offsetof(REALproperty, param) == 6 * W &&
                  offsetof(REALproperty, enumEntries) == 9 * W,
              "property record words");
static_assert(offsetof(REALclassDefinition, name) == 1 * W && offsetof(REALclassDefinition, dataSize) == 3 * W &&
                  offsetof(REALclassDefinition, forSystemUse) == 4 * W &&
                  offsetof(REALclassDefinition, constructor) == 5 * W &&
                  offsetof(REALclassDefinition, destructor) == 6 * W &&
                  offsetof(REALclassDefinition, properties) == 7 * W &&
                  offsetof(REALclassDefinition, propertyCount) == 8 * W &&
                  offsetof(REALclassDefinition, methods) == 9 * W &&
                  offsetof(REALclassDefinition, methodCount) == 10 * W &&
                  offsetof(REALclassDefinition, hostReserved) == 11 * W &&
                  offsetof(REALclassDefinition, sharedProperties) == 21 * W &&
                  offsetof(REALclassDefinition, sharedPropertyCount) == 22 * W &&
                  offsetof(REALclassDefinition, sharedMethods) == 23 * W &&
                  offsetof(REALclassDefinition, sharedMethodCount) == 24 * W,
              "class record words");
static_assert(offsetof(REALpictureDescription, pictureData) == W && offsetof(REALpictureDescription, width) == 2 * W &&
                  offsetof(REALpictureDescription, height) == 2 * W + 4,
              "picture description fields");
static_assert(offsetof(REALstringData, length) == W && offsetof(REALstringData, encoding) == W + 4,
              "string data fields");
static_assert(offsetof(ConsoleBitmapRecord, width) == 4 && offsetof(ConsoleBitmapRecord, height) == 8,
              "console bitmap size words");
static_assert(offsetof(Rect, left) == 2 && offsetof(Rect, bottom) == 4 && offsetof(Rect, right) == 6, "Rect fields");
static_assert(sizeof(Lut3DClassData) == offsetof(Lut3DClassData, table) + 18 * 18 * 18 * 3 * sizeof(double),
              "the lattice fills the rest of the lookup table's instance data");

#if defined(__i386__)
static_assert(offsetof(REALmethodDefinition, mFlags) == 12, "i386 method flag word");
static_assert(offsetof(REALproperty, param) == 24 && sizeof(REALproperty) == 40, "i386 property parameter word");
static_assert(offsetof(REALclassDefinition, dataSize) == 12 && offsetof(REALclassDefinition, forSystemUse) == 16 &&
                  offsetof(REALclassDefinition, mFlags) == 80 && offsetof(REALclassDefinition, sharedMethodCount) == 96,
              "i386 class record words");
static_assert(sizeof(REALpictureDescription) == 16 && offsetof(REALpictureDescription, width) == 8 &&
                  offsetof(REALpictureDescription, height) == 12,
              "i386 picture description");
static_assert(sizeof(REALstringData) == 12 && offsetof(REALstringData, length) == 4 &&
                  offsetof(REALstringData, encoding) == 8,
              "i386 string data");
static_assert(offsetof(ConsoleBitmapRecord, pixelStore) == 7224 && offsetof(ConsoleBitmapRecord, rowTable) == 7228,
              "i386 console bitmap pointers");
static_assert(offsetof(OldHostString, storage) == 4 && offsetof(OldHostString, length) == 12, "i386 old string");
static_assert(sizeof(Lut3DClassData) == 139992 && offsetof(Lut3DClassData, table) == 24, "i386 lookup table data");
#endif

}  // namespace
