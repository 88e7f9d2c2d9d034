// The stand-in host: plays the part of the application that loads the plugin.
// It answers the resolver, owns every host object (pictures, Graphics, strings,
// MemoryBlocks, exceptions, class instances), and keeps a ledger of what the
// plugin holds so that tests can prove nothing leaks.
//
// All state is process-wide, because the resolver is a plain C function: one
// host per process, reset between tests.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "plugin/abi.h"

namespace standin {

enum class AppKind { Desktop, Console, Web };

struct HostConfig {
    AppKind kind = AppKind::Desktop;
    bool hasVersion = true;   // false: the resolver does not know "REALGetRBVersion"
    double version = 2013.0;  // what "REALGetRBVersion" answers
    std::set<std::string> hidden;  // entry-point names the resolver answers with null
    bool frameworkMissing = false;  // the plugin will not find the QuickDraw library
};

// The things that can be made to fail on their Nth occurrence (1-based).
enum class Fault {
    PictureCreation,      // "newPicture" returns null
    MemoryBlockCreation,  // "newMemoryBlock" returns null
    DescriptionLock,      // both description-lock entry points fail
    PixelLock,            // QuickDraw LockPixels answers false
    InstanceCreation,     // "PluginNewInstance" returns null
    StringCreation,       // "REALBuildString" / "REALConvertString" return null
    GraphicsCreation,     // "pluginPictureGraphicsGetter" returns null
};

// Resets the whole host: every object must already be gone (reset() does not
// free leaked objects; check the ledger first). Counters and faults are cleared.
void reset(const HostConfig& config);
const HostConfig& config();

// The resolver handed to REALPluginMain.
void* resolve(const char* name);
// Every lookup name the resolver knows (before config.hidden applies).
std::vector<std::string> entryPointNames();
// How often the resolver was asked for `name` since reset (hidden names included).
int resolverAsks(const std::string& name);

// Make the nth occurrence of a fault kind (counted from now) fail. n = 0 disarms it.
void failNth(Fault kind, int n);
// How many times a fault kind has been exercised since reset (for sweeps).
int occurrences(Fault kind);

// ---------------------------------------------------------------- the ledger
struct Ledger {
    int liveObjects = 0;         // objects whose reference count is above zero
    int descriptionLocks = 0;    // description locks not yet unlocked
    int pixelLocks = 0;          // LockPixels not yet balanced by UnlockPixels
    int stringData = 0;          // PluginGetStringData copies not yet disposed
    bool portChanged = false;    // the current QuickDraw port is not what it was at reset
    std::vector<std::string> errors;  // misuse seen: unknown handle, unbalanced unlock, ...
    std::string detail;          // one line per live object / lock, for messages
    bool clean() const {
        return liveObjects == 0 && descriptionLocks == 0 && pixelLocks == 0 && stringData == 0 &&
               !portChanged && errors.empty();
    }
};
Ledger ledger();

// Reference counting as the host does it (the same as the plugin's REALLockObject).
void retain(void* handle);
void release(void* handle);
int refCount(void* handle);  // 0 for an unknown handle

// A held reference: releases on destruction; copying takes another reference.
class Ref {
public:
    Ref() = default;
    static Ref adopt(void* handle) { Ref r; r.h_ = handle; return r; }  // takes over one reference
    static Ref share(void* handle) { retain(handle); return adopt(handle); }
    Ref(const Ref& o) : h_(o.h_) { if (h_) retain(h_); }
    Ref(Ref&& o) noexcept : h_(o.h_) { o.h_ = nullptr; }
    Ref& operator=(Ref o) { std::swap(h_, o.h_); return *this; }
    ~Ref() { if (h_) release(h_); }
    void* get() const { return h_; }
    void* take() { void* h = h_; h_ = nullptr; return h; }
    explicit operator bool() const { return h_ != nullptr; }
    REALpictureStruct* pic() const { return static_cast<REALpictureStruct*>(h_); }
    REALstringStruct* str() const { return static_cast<REALstringStruct*>(h_); }
    REALmemoryBlockStruct* block() const { return static_cast<REALmemoryBlockStruct*>(h_); }
    REALobjectStruct* obj() const { return static_cast<REALobjectStruct*>(h_); }
private:
    void* h_ = nullptr;
};

// ---------------------------------------------------------------- pictures
// A desktop picture is a GWorld of depth 32 (code 13), 24 (code 12), 16 (x1-5-5-5)
// or 8 (3-3-2 indexed); its rows are padded so that stride mistakes show.
// A bitmap picture (console and web hosts) is description type 10 with separately
// allocated rows of code 8 pixels. A vector picture has no pixels of its own.
// New pixel pictures are white (kNewPictureRGB) with mask bytes kNewPictureMaskByte.
// getRGB/setRGB/pixelAddress are for tests; setRGB keeps a 32-bit pixel's mask byte,
// while the host's own drawing (DrawLine, DrawPicture, ScrollRect) writes
// kNewPictureMaskByte there.
enum class PictureKind { GWorld, Bitmap, Vector };
constexpr uint32_t kNewPictureRGB = 0xFFFFFF;   // white
constexpr uint8_t kNewPictureMaskByte = 0x00;   // the mask byte of a new 32-bit pixel
constexpr uint8_t kRowPadByte = 0xA5;           // fills row padding and guard bytes

// Each returns a new picture with one reference, or null on a bad size.
void* newGWorldPicture(int width, int height, int depth);
void* newBitmapPicture(int width, int height);
void* newVectorPicture(int width, int height, uint32_t rgb);  // draws as a solid rectangle
// What "newPicture(w, h, 32)" makes for the configured application kind.
void* newHostPicture(int width, int height);

PictureKind pictureKind(void* picture);
int pictureDepth(void* picture);  // 32/24/16/8 for GWorlds, 32 for bitmaps, 0 for vectors
int pictureWidth(void* picture);
int pictureHeight(void* picture);
int clearCacheCount(void* picture);  // how often "REALPictureClearCache" was called on it

// Colors as 0x00RRGGBB, in whatever format the picture stores (quantized for 16/8).
uint32_t getRGB(void* picture, int x, int y);
void setRGB(void* picture, int x, int y, uint32_t rgb);
// The raw bytes of a pixel (code 13, 12 or 8 for 32/24-bit GWorlds and bitmaps).
uint8_t* pixelAddress(void* picture, int x, int y);
int bytesPerPixel(void* picture);
// True when every padding and guard byte still holds kRowPadByte.
bool guardsIntact(void* picture);

// The mask picture that "REALGetPictureMask" answers (null: none). Takes a reference.
void setMask(void* picture, void* mask);

// ---------------------------------------------------------------- Graphics
struct LineRecord { int x1, y1, x2, y2; uint32_t color; int penWidth, penHeight; };
// Every DrawLine on any Graphics since reset, in order (the host also draws it).
const std::vector<LineRecord>& drawnLines();
int drawPictureCalls();  // how often the Graphics DrawPicture method ran

// ---------------------------------------------------------------- strings
// A host string with bytes and encoding; one reference.
void* newString(const std::string& bytes, uint32_t encoding);
std::string stringBytes(void* string);
uint32_t stringEncoding(void* string);
// The text converted to UTF-8 (through the string's encoding).
std::string stringUTF8(void* string);

// ---------------------------------------------------------------- MemoryBlocks
void* newMemoryBlock(int32_t size);  // zero-filled, one reference, null when size < 0
uint8_t* memoryBlockData(void* block);
int32_t memoryBlockSize(void* block);

// ---------------------------------------------------------------- exceptions
struct PendingException {
    std::string className;  // empty when none is pending
    bool hasMessage = false;
    std::string message;    // UTF-8
};
// The exception raised since the last call (and clears it, dropping its reference).
PendingException takeException();

// ---------------------------------------------------------------- registration
struct RegisteredClass {
    REALclassDefinition* definition;
    bool extension;
};
const std::vector<RegisteredClass>& registeredClasses();
const std::vector<REALmethodDefinition*>& registeredGlobalMethods();
// The definition the host received for a class name (null if none).
REALclassDefinition* findClass(const std::string& name);
int registeredPluginVersion();  // what "RegisterPluginVersion" received, 0 if not called
// The instance data offset the host writes into word 4 of a registered class.
constexpr uintptr_t kInstanceDataOffset = 32;

// Class instances: "PluginNewInstance" for a registered class (zero-filled data at
// the offset the host wrote into word 4, then the constructor).
void* newInstance(const std::string& className);
void* instanceData(void* instance);
const char* className(void* object);

// Properties of instances and host objects, as the host program sees them.
// Values are passed as 64-bit integers / doubles / handles according to the type.
struct PropValue {
    enum Type { None, Integer, Double, Handle } type = None;
    int64_t i = 0;
    double d = 0;
    void* h = nullptr;  // for reads: a new reference the caller owns
};
// Plugin class properties go through the class's property records: direct access
// reads/writes the field at instance data + param ("Integer" int32_t, "Double"
// double, object types a handle: setting takes a reference to the new value and
// drops the old one); accessors are called as T(REALobjectStruct*, intptr_t param)
// and void(REALobjectStruct*, intptr_t param, T), an object getter handing over a
// reference. Names are case-insensitive. Host objects answer "Width"/"Height"
// (pictures), "Message" (exceptions), "ForeColor"/"PenWidth"/"PenHeight" (Graphics).
bool getProperty(void* object, const std::string& name, PropValue& out);
bool setProperty(void* object, const std::string& name, const PropValue& value);

}  // namespace standin
