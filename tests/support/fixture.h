// The base of every test that drives the plugin through the stand-in host.
//
//   class InvertTest : public vqztest::PluginFormatTest {};
//   TEST_P(InvertTest, InvertsEveryPixel) {
//       Ref pic = picture(7, 5);                  // in this test's host format
//       fillRandom(pic.get(), 1);
//       Snapshot before = snapshot(pic.get());
//       Ref out = callPicture("InvertVQZ as picture", pic.get());
//       ASSERT_TRUE(out);
//       ...
//   }
//   VQZ_ALL_FORMATS(InvertTest);
//
// Each test gets a freshly loaded plugin instance (desktop 2013.0 by default, or the
// host kind of the format parameter); load() replaces it with another host. When the
// test ends the fixture releases what it holds, expects no pending host exception
// (take the ones you expect with takeException()) and a clean ledger, then unloads.
// Every Ref a test keeps must be gone by then: keep them in locals, or give them to
// hold(). A failed call (declaration not registered, arguments that do not fit the
// declaration) fails the test and answers nil.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "host/call.h"
#include "host/host.h"

namespace vqztest {

using standin::AppKind;
using standin::HostConfig;
using standin::Ref;
using standin::TypeName;
using standin::Value;

// ---------------------------------------------------------------- host formats
// A picture format as a host makes it: desktop GWorlds of four depths, the bitmaps
// of console and web hosts.
struct HostFormat {
    AppKind kind;
    int depth;         // 32/24/16/8 for GWorlds, 32 for bitmaps
    const char* name;  // "desktop32", ..., "console", "web"

    bool desktop() const { return kind == AppKind::Desktop; }
    // The pixel code a reader exposes directly: 13, 12 or 8; 0 for the depths that
    // are read through a 32-bit copy (16 and 8).
    int code() const { return !desktop() ? 8 : depth == 32 ? 13 : depth == 24 ? 12 : 0; }
};

// desktop32, desktop24, desktop16, desktop8, console, web.
const std::vector<HostFormat>& allFormats();
// The formats a reader exposes in place, one per pixel code: desktop32 (13),
// desktop24 (12), console (8).
const std::vector<HostFormat>& readerFormats();
const HostFormat& formatNamed(const std::string& name);  // fails loudly for unknown names

void PrintTo(const HostFormat& f, std::ostream* os);
// Test name suffix for INSTANTIATE_TEST_SUITE_P: the format's name.
struct FormatName {
    std::string operator()(const ::testing::TestParamInfo<HostFormat>& info) const { return info.param.name; }
};

// A host configuration of the format's application kind.
HostConfig configFor(AppKind kind, double version = 2013.0);
HostConfig configFor(const HostFormat& f, double version = 2013.0);

// ---------------------------------------------------------------- pictures
// A new picture of the format (a GWorld of its depth on the desktop, a bitmap on
// console and web), filled white; one reference.
Ref makePicture(const HostFormat& f, int width, int height);
// Random RGB in every pixel from `seed`; also a random mask byte in 32-bit pixels
// (code 13 and code 8), which readers must ignore.
void fillRandom(void* pic, uint32_t seed);
// Every pixel set to one color.
void fillColor(void* pic, uint32_t rgb);

// The pixel bytes, row after row, without row padding (empty for a vector picture).
std::vector<uint8_t> rawPixels(void* pic);

// Per-pixel colors (0x00RRGGBB) and mask bytes (32-bit pixels only) of a picture.
struct Snapshot {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> rgb;   // row-major
    std::vector<uint8_t> mask;   // row-major; empty unless the pixels have a mask byte
    uint32_t at(int x, int y) const { return rgb[size_t(y) * size_t(width) + size_t(x)]; }
    uint8_t maskAt(int x, int y) const { return mask[size_t(y) * size_t(width) + size_t(x)]; }
    bool operator==(const Snapshot& o) const {
        return width == o.width && height == o.height && rgb == o.rgb && mask == o.mask;
    }
    bool operator!=(const Snapshot& o) const { return !(*this == o); }
};
Snapshot snapshot(void* pic);
void PrintTo(const Snapshot& s, std::ostream* os);  // size and a few pixels, not all of them
// Compares colors (not masks): same size and every pixel equal, else the number of
// differing pixels and the first few, with coordinates.
::testing::AssertionResult samePixels(const Snapshot& expected, const Snapshot& actual);
// The expected picture of a per-pixel operation: colorOf(x, y, rgb) for every pixel.
template <class F>
Snapshot expectedFrom(const Snapshot& source, F colorOf) {  // colorOf(x, y, rgb) -> rgb
    Snapshot s;
    s.width = source.width;
    s.height = source.height;
    s.rgb.resize(source.rgb.size());
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) s.rgb[size_t(y) * size_t(s.width) + size_t(x)] = colorOf(x, y, source.at(x, y));
    return s;
}

inline uint32_t rgbOf(int r, int g, int b) { return uint32_t(r) << 16 | uint32_t(g) << 8 | uint32_t(b); }
inline int redOf(uint32_t c) { return int(c >> 16 & 0xFF); }
inline int greenOf(uint32_t c) { return int(c >> 8 & 0xFF); }
inline int blueOf(uint32_t c) { return int(c & 0xFF); }

// ---------------------------------------------------------------- the fixture
class PluginTest : public ::testing::Test {
protected:
    PluginTest();
    ~PluginTest() override;
    void SetUp() override;
    void TearDown() override;
    // The host SetUp loads; a desktop 2013.0 host unless overridden.
    virtual HostConfig initialConfig() const;

    // Loads a fresh plugin instance into a host of `config`, unloading the current one
    // first (after releasing what the fixture holds and checking the ledger: a test
    // must drop every object it made before it loads again). A failure to load is fatal.
    void load(const HostConfig& config);
    void load(AppKind kind, double version = 2013.0) { load(configFor(kind, version)); }
    // Releases what the fixture holds, checks the exception and the ledger, unloads.
    void unload();
    bool loaded() const { return plugin_ && plugin_->ok(); }
    const HostConfig& hostConfig() const { return config_; }
    standin::LoadedPlugin* plugin() const { return plugin_.get(); }

    // Keeps a reference until the test ends (or the next load); returns the handle.
    void* hold(Ref r);

    // Objects in the current host.
    Ref makePicture(const HostFormat& f, int w, int h) { return vqztest::makePicture(f, w, h); }
    Ref makeHostPicture(int w, int h);  // what "newPicture(w, h, 32)" gives in this host
    Ref makeString(const std::string& bytes, uint32_t encoding = kEncodingUTF8);
    Ref makeBlock(int32_t size);
    Ref makeInstance(const std::string& className);  // a registered class, constructed

    // Calls by exact declaration text. `where` is "Picture", a class name or "" (global).
    Value callMethod(const std::string& where, const std::string& declaration, void* receiver,
                     std::vector<Value> args = {});
    // The same, with byref arguments written back into `args`.
    Value callMethodRef(const std::string& where, const std::string& declaration, void* receiver,
                        std::vector<Value>& args);
    void callSetter(const std::string& where, const std::string& declaration, void* receiver,
                    std::vector<Value> args, const Value& assigned);
    Value callGlobal(const std::string& declaration, std::vector<Value> args = {});
    Ref callGlobalPicture(const std::string& declaration, std::vector<Value> args = {});
    // Methods of the Picture extension, called on `pic`.
    Value callPictureMethod(const std::string& declaration, void* pic, std::vector<Value> args = {});
    Value callPictureRef(const std::string& declaration, void* pic, std::vector<Value>& args);  // byref written back
    Ref callPicture(const std::string& declaration, void* pic, std::vector<Value> args = {});
    bool callBool(const std::string& declaration, void* pic, std::vector<Value> args = {});
    bool callBool(const std::string& where, const std::string& declaration, void* receiver,
                  std::vector<Value> args = {});
    int32_t callInt(const std::string& declaration, void* pic, std::vector<Value> args = {});
    double callDouble(const std::string& declaration, void* pic, std::vector<Value> args = {});

    // Properties of instances and host objects, as the host program reads and writes
    // them; a missing or mistyped property fails the test.
    void setIntProperty(void* object, const std::string& name, int64_t value);
    void setDoubleProperty(void* object, const std::string& name, double value);
    void setObjectProperty(void* object, const std::string& name, void* handle);  // null: nil
    int64_t intProperty(void* object, const std::string& name);
    double doubleProperty(void* object, const std::string& name);
    Ref objectProperty(void* object, const std::string& name);

    // The pending host exception (and clears it).
    standin::PendingException takeException() { return standin::takeException(); }
    // Takes the pending exception and checks its class (and Message):
    //   EXPECT_TRUE(exceptionRaised("NilObjectException", "..."));
    ::testing::AssertionResult exceptionRaised(const std::string& className);
    ::testing::AssertionResult exceptionRaised(const std::string& className, const std::string& message);
    // Empty when the ledger is clean, else what is left over.
    static std::string ledgerProblems();

private:
    HostConfig config_;
    std::unique_ptr<standin::LoadedPlugin> plugin_;
    std::vector<Ref> held_;
    void releaseAndCheck(const char* when);
};

// A PluginTest parameterized over host formats; SetUp loads a host of the format's kind.
class PluginFormatTest : public PluginTest, public ::testing::WithParamInterface<HostFormat> {
protected:
    HostConfig initialConfig() const override { return configFor(GetParam()); }
    const HostFormat& format() const { return GetParam(); }
    // A picture of this test's format.
    Ref picture(int w, int h) { return makePicture(GetParam(), w, h); }
    Ref randomPicture(int w, int h, uint32_t seed) {
        Ref p = picture(w, h);
        fillRandom(p.get(), seed);
        return p;
    }
};

}  // namespace vqztest

#define VQZ_ALL_FORMATS(Suite) \
    INSTANTIATE_TEST_SUITE_P(AllFormats, Suite, ::testing::ValuesIn(::vqztest::allFormats()), ::vqztest::FormatName())
#define VQZ_READER_FORMATS(Suite) \
    INSTANTIATE_TEST_SUITE_P(ReaderFormats, Suite, ::testing::ValuesIn(::vqztest::readerFormats()), \
                             ::vqztest::FormatName())
