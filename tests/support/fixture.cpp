#include "tests/support/fixture.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>

namespace vqztest {

namespace {

// A call that cannot be made (declaration not registered, arguments that do not fit)
// fails the running test; outside a test there is nobody to tell, so it aborts.
struct InstallCallFailureHandler {
    InstallCallFailureHandler() {
        standin::setCallFailureHandler([](const std::string& message) {
            if (::testing::UnitTest::GetInstance()->current_test_info()) {
                ADD_FAILURE() << message;
                return;
            }
            std::fprintf(stderr, "vqz host call outside a test: %s\n", message.c_str());
            std::fflush(stderr);
            std::abort();
        });
    }
} installCallFailureHandler;

bool hasMaskByte(void* pic, int* index) {
    switch (standin::pictureKind(pic)) {
        case standin::PictureKind::GWorld:
            if (standin::pictureDepth(pic) != 32) return false;
            *index = 0;  // code 13: mask, red, green, blue
            return true;
        case standin::PictureKind::Bitmap:
            *index = 3;  // code 8: blue, green, red, mask
            return true;
        default:
            return false;
    }
}

std::string hex(uint32_t rgb) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "#%06X", unsigned(rgb & 0xFFFFFF));
    return buf;
}

}  // namespace

// ---------------------------------------------------------------- host formats

const std::vector<HostFormat>& allFormats() {
    static const std::vector<HostFormat> formats = {
        {AppKind::Desktop, 32, "desktop32"}, {AppKind::Desktop, 24, "desktop24"},
        {AppKind::Desktop, 16, "desktop16"}, {AppKind::Desktop, 8, "desktop8"},
        {AppKind::Console, 32, "console"},   {AppKind::Web, 32, "web"},
    };
    return formats;
}

const std::vector<HostFormat>& readerFormats() {
    static const std::vector<HostFormat> formats = {
        {AppKind::Desktop, 32, "desktop32"},
        {AppKind::Desktop, 24, "desktop24"},
        {AppKind::Console, 32, "console"},
    };
    return formats;
}

const HostFormat& formatNamed(const std::string& name) {
    for (const HostFormat& f : allFormats())
        if (name == f.name) return f;
    ADD_FAILURE() << "no host format named \"" << name << "\"";
    return allFormats().front();
}

void PrintTo(const HostFormat& f, std::ostream* os) { *os << f.name; }

HostConfig configFor(AppKind kind, double version) {
    HostConfig c;
    c.kind = kind;
    c.version = version;
    return c;
}

HostConfig configFor(const HostFormat& f, double version) { return configFor(f.kind, version); }

// ---------------------------------------------------------------- pictures

Ref makePicture(const HostFormat& f, int width, int height) {
    if (f.desktop()) return Ref::adopt(standin::newGWorldPicture(width, height, f.depth));
    return Ref::adopt(standin::newBitmapPicture(width, height));
}

void fillRandom(void* pic, uint32_t seed) {
    std::mt19937 rng(seed);
    int w = standin::pictureWidth(pic), h = standin::pictureHeight(pic);
    int maskIndex = 0;
    bool mask = hasMaskByte(pic, &maskIndex);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            standin::setRGB(pic, x, y, uint32_t(rng()) & 0xFFFFFF);
            if (mask) standin::pixelAddress(pic, x, y)[maskIndex] = uint8_t(rng());
        }
    }
}

void fillColor(void* pic, uint32_t rgb) {
    int w = standin::pictureWidth(pic), h = standin::pictureHeight(pic);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) standin::setRGB(pic, x, y, rgb);
}

std::vector<uint8_t> rawPixels(void* pic) {
    std::vector<uint8_t> out;
    if (!pic || standin::pictureKind(pic) == standin::PictureKind::Vector) return out;
    int w = standin::pictureWidth(pic), h = standin::pictureHeight(pic);
    size_t rowLength = size_t(w) * size_t(standin::bytesPerPixel(pic));
    out.reserve(rowLength * size_t(h));
    for (int y = 0; y < h; ++y) {
        const uint8_t* row = standin::pixelAddress(pic, 0, y);
        if (row) out.insert(out.end(), row, row + rowLength);
    }
    return out;
}

Snapshot snapshot(void* pic) {
    Snapshot s;
    if (!pic) return s;
    s.width = standin::pictureWidth(pic);
    s.height = standin::pictureHeight(pic);
    int maskIndex = 0;
    bool mask = hasMaskByte(pic, &maskIndex);
    s.rgb.reserve(size_t(s.width) * size_t(s.height));
    for (int y = 0; y < s.height; ++y) {
        for (int x = 0; x < s.width; ++x) {
            s.rgb.push_back(standin::getRGB(pic, x, y));
            if (mask) s.mask.push_back(standin::pixelAddress(pic, x, y)[maskIndex]);
        }
    }
    return s;
}

void PrintTo(const Snapshot& s, std::ostream* os) {
    *os << s.width << "x" << s.height << " picture";
    size_t n = s.rgb.size() < 4 ? s.rgb.size() : 4;
    if (n) *os << " starting";
    for (size_t i = 0; i < n; ++i) *os << ' ' << hex(s.rgb[i]);
    if (n < s.rgb.size()) *os << " ...";
    if (!s.mask.empty()) *os << " (with mask bytes)";
}

::testing::AssertionResult samePixels(const Snapshot& expected, const Snapshot& actual) {
    if (expected.width != actual.width || expected.height != actual.height)
        return ::testing::AssertionFailure() << "size differs: expected " << expected.width << "x" << expected.height
                                             << ", got " << actual.width << "x" << actual.height;
    if (expected.rgb.size() != actual.rgb.size())
        return ::testing::AssertionFailure() << "snapshots hold different pixel counts";
    size_t differing = 0;
    std::ostringstream first;
    for (int y = 0; y < expected.height; ++y) {
        for (int x = 0; x < expected.width; ++x) {
            uint32_t e = expected.at(x, y), a = actual.at(x, y);
            if (e == a) continue;
            if (++differing <= 8) first << "\n  (" << x << ", " << y << "): expected " << hex(e) << ", got " << hex(a);
        }
    }
    if (differing == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << differing << " of " << expected.rgb.size() << " pixels differ"
                                         << first.str() << (differing > 8 ? "\n  ..." : "");
}

// ---------------------------------------------------------------- the fixture

PluginTest::PluginTest() = default;
PluginTest::~PluginTest() = default;

HostConfig PluginTest::initialConfig() const { return configFor(AppKind::Desktop, 2013.0); }

void PluginTest::SetUp() { load(initialConfig()); }

void PluginTest::TearDown() { unload(); }

void PluginTest::load(const HostConfig& config) {
    if (plugin_) {
        releaseAndCheck("before loading another host");
        plugin_.reset();
    }
    config_ = config;
    plugin_ = std::make_unique<standin::LoadedPlugin>(config);
    ASSERT_TRUE(plugin_->ok()) << "cannot load the plugin: " << plugin_->error();
}

void PluginTest::unload() {
    if (!plugin_) return;
    releaseAndCheck("when the test ends");
    plugin_.reset();
}

void PluginTest::releaseAndCheck(const char* when) {
    held_.clear();
    standin::PendingException e = standin::takeException();
    EXPECT_TRUE(e.className.empty()) << "a " << e.className << " was raised and not taken"
                                     << (e.hasMessage ? " (Message \"" + e.message + "\")" : std::string());
    std::string problems = ledgerProblems();
    EXPECT_TRUE(problems.empty()) << "the host ledger is not clean " << when << ":\n" << problems;
}

std::string PluginTest::ledgerProblems() {
    standin::Ledger l = standin::ledger();
    if (l.clean()) return {};
    std::ostringstream o;
    o << "live objects " << l.liveObjects << ", description locks " << l.descriptionLocks << ", pixel locks "
      << l.pixelLocks << ", string data " << l.stringData << (l.portChanged ? ", QuickDraw port changed" : "");
    if (!l.detail.empty()) o << "\n" << l.detail;
    for (const std::string& e : l.errors) o << "\nerror: " << e;
    return o.str();
}

void* PluginTest::hold(Ref r) {
    void* h = r.get();
    held_.push_back(std::move(r));
    return h;
}

Ref PluginTest::makeHostPicture(int w, int h) { return Ref::adopt(standin::newHostPicture(w, h)); }

Ref PluginTest::makeString(const std::string& bytes, uint32_t encoding) {
    return Ref::adopt(standin::newString(bytes, encoding));
}

Ref PluginTest::makeBlock(int32_t size) { return Ref::adopt(standin::newMemoryBlock(size)); }

Ref PluginTest::makeInstance(const std::string& className) {
    Ref r = Ref::adopt(standin::newInstance(className));
    EXPECT_TRUE(r) << "no instance of \"" << className << "\" (is the class registered?)";
    return r;
}

Value PluginTest::callMethod(const std::string& where, const std::string& declaration, void* receiver,
                             std::vector<Value> args) {
    return standin::invokeRef(where, declaration, receiver, args);
}

Value PluginTest::callMethodRef(const std::string& where, const std::string& declaration, void* receiver,
                                std::vector<Value>& args) {
    return standin::invokeRef(where, declaration, receiver, args);
}

void PluginTest::callSetter(const std::string& where, const std::string& declaration, void* receiver,
                            std::vector<Value> args, const Value& assigned) {
    standin::invokeSetter(where, declaration, receiver, std::move(args), assigned);
}

Value PluginTest::callGlobal(const std::string& declaration, std::vector<Value> args) {
    return standin::invokeRef("", declaration, nullptr, args);
}

Value PluginTest::callPictureMethod(const std::string& declaration, void* pic, std::vector<Value> args) {
    return standin::invokeRef("Picture", declaration, pic, args);
}

Value PluginTest::callPictureRef(const std::string& declaration, void* pic, std::vector<Value>& args) {
    return standin::invokeRef("Picture", declaration, pic, args);
}

namespace {

Ref pictureOf(Value v, const std::string& declaration) {
    if (v.type != TypeName::Void && !standin::isObjectType(v.type))
        ADD_FAILURE() << "\"" << declaration << "\" answers " << standin::typeNameText(v.type) << ", not a picture";
    return std::move(v.ref);
}

}  // namespace

Ref PluginTest::callGlobalPicture(const std::string& declaration, std::vector<Value> args) {
    return pictureOf(callGlobal(declaration, std::move(args)), declaration);
}

Ref PluginTest::callPicture(const std::string& declaration, void* pic, std::vector<Value> args) {
    return pictureOf(callPictureMethod(declaration, pic, std::move(args)), declaration);
}

bool PluginTest::callBool(const std::string& declaration, void* pic, std::vector<Value> args) {
    return callBool("Picture", declaration, pic, std::move(args));
}

bool PluginTest::callBool(const std::string& where, const std::string& declaration, void* receiver,
                          std::vector<Value> args) {
    Value v = callMethod(where, declaration, receiver, std::move(args));
    // Void: the call failed and the failure is already reported.
    if (v.type != TypeName::Boolean && v.type != TypeName::Void)
        ADD_FAILURE() << "\"" << declaration << "\" answers " << standin::typeNameText(v.type) << ", not a Boolean";
    return v.type == TypeName::Boolean && v.i != 0;
}

int32_t PluginTest::callInt(const std::string& declaration, void* pic, std::vector<Value> args) {
    Value v = callPictureMethod(declaration, pic, std::move(args));
    if (v.type != TypeName::Integer && v.type != TypeName::UInt32 && v.type != TypeName::Color &&
        v.type != TypeName::Void)
        ADD_FAILURE() << "\"" << declaration << "\" answers " << standin::typeNameText(v.type) << ", not an Integer";
    return int32_t(uint32_t(v.i));
}

double PluginTest::callDouble(const std::string& declaration, void* pic, std::vector<Value> args) {
    Value v = callPictureMethod(declaration, pic, std::move(args));
    if (v.type != TypeName::Double && v.type != TypeName::Void)
        ADD_FAILURE() << "\"" << declaration << "\" answers " << standin::typeNameText(v.type) << ", not a Double";
    return v.d;
}

// ---------------------------------------------------------------- properties

namespace {

bool getProp(void* object, const std::string& name, standin::PropValue::Type type, standin::PropValue& out) {
    if (!standin::getProperty(object, name, out)) {
        ADD_FAILURE() << "cannot read property \"" << name << "\" of " << object;
        return false;
    }
    if (out.type != type) {
        ADD_FAILURE() << "property \"" << name << "\" is not of the type asked for";
        if (out.type == standin::PropValue::Handle && out.h) standin::release(out.h);
        return false;
    }
    return true;
}

void setProp(void* object, const std::string& name, const standin::PropValue& v) {
    EXPECT_TRUE(standin::setProperty(object, name, v)) << "cannot set property \"" << name << "\" of " << object;
}

}  // namespace

void PluginTest::setIntProperty(void* object, const std::string& name, int64_t value) {
    standin::PropValue v;
    v.type = standin::PropValue::Integer;
    v.i = value;
    setProp(object, name, v);
}

void PluginTest::setDoubleProperty(void* object, const std::string& name, double value) {
    standin::PropValue v;
    v.type = standin::PropValue::Double;
    v.d = value;
    setProp(object, name, v);
}

void PluginTest::setObjectProperty(void* object, const std::string& name, void* handle) {
    standin::PropValue v;
    v.type = standin::PropValue::Handle;
    v.h = handle;
    setProp(object, name, v);
}

int64_t PluginTest::intProperty(void* object, const std::string& name) {
    standin::PropValue v;
    return getProp(object, name, standin::PropValue::Integer, v) ? v.i : 0;
}

double PluginTest::doubleProperty(void* object, const std::string& name) {
    standin::PropValue v;
    return getProp(object, name, standin::PropValue::Double, v) ? v.d : 0.0;
}

Ref PluginTest::objectProperty(void* object, const std::string& name) {
    standin::PropValue v;
    return getProp(object, name, standin::PropValue::Handle, v) ? Ref::adopt(v.h) : Ref();
}

// ---------------------------------------------------------------- exceptions

::testing::AssertionResult PluginTest::exceptionRaised(const std::string& className) {
    standin::PendingException e = standin::takeException();
    if (e.className == className) return ::testing::AssertionSuccess();
    if (e.className.empty()) return ::testing::AssertionFailure() << "no exception was raised, expected " << className;
    return ::testing::AssertionFailure() << e.className << " was raised, expected " << className;
}

::testing::AssertionResult PluginTest::exceptionRaised(const std::string& className, const std::string& message) {
    standin::PendingException e = standin::takeException();
    if (e.className != className)
        return ::testing::AssertionFailure()
               << (e.className.empty() ? std::string("no exception") : e.className) << " was raised, expected "
               << className << " with Message \"" << message << "\"";
    if (!e.hasMessage) return ::testing::AssertionFailure() << className << " was raised without a Message";
    if (e.message != message)
        return ::testing::AssertionFailure() << className << " was raised with Message \"" << e.message
                                             << "\", expected \"" << message << "\"";
    return ::testing::AssertionSuccess();
}

}  // namespace vqztest
