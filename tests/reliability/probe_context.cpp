#include <cstring>
#include <sstream>

#include "tests/reliability/probes.h"

namespace vqzsweep {

namespace {

enum : uint32_t { kTagInteger = 'I', kTagBoolean = 'B', kTagDouble = 'D', kTagString = 'S', kTagPicture = 'P',
                  kTagBlock = 'M', kTagObject = 'O' };

// What a call that gave up at once answers for its declared result type.
Value failureValue(standin::TypeName type) {
    switch (type) {
        case standin::TypeName::Boolean: return Value::boolean(false);
        case standin::TypeName::Integer: return Value::integer(0);
        case standin::TypeName::UInt32: return Value::uint32(0);
        case standin::TypeName::Color: return Value::color(0);
        case standin::TypeName::Double: return Value::real(0.0);
        case standin::TypeName::Void: return Value::nil();
        default: return Value::object(type, Ref());
    }
}

const char* faultName(Fault f) {
    switch (f) {
        case Fault::PictureCreation: return "picture creation";
        case Fault::MemoryBlockCreation: return "MemoryBlock creation";
        case Fault::DescriptionLock: return "description lock";
        case Fault::PixelLock: return "pixel lock";
        case Fault::InstanceCreation: return "instance creation";
        case Fault::StringCreation: return "string creation";
        case Fault::GraphicsCreation: return "Graphics creation";
    }
    return "?";
}

}  // namespace

const char* const kQuickDrawLibrary = "QuickDraw library";

bool hiddenIs(const Trouble& t, std::initializer_list<const char*> names) {
    if (t.kind != Trouble::Hidden) return false;
    for (const char* n : names)
        if (t.hidden == n) return true;
    return false;
}

bool faultIs(const Trouble& t, Fault f) { return t.kind == Trouble::HostFault && t.fault == f; }

bool copiesPossible(const Expected& expected, const Trouble& trouble) {
    return expected.copiesOnDesktop || hiddenIs(trouble, {"pluginObjectType"});
}

bool matchesAny(const Outcome& got, const std::vector<Outcome>& outcomes) {
    for (const Outcome& o : outcomes)
        if (got.sameParts(o)) return true;
    return false;
}

// ---------------------------------------------------------------- outcomes

void Outcome::set(const std::string& name, std::vector<uint32_t> value) {
    for (auto& p : parts)
        if (p.first == name) {
            p.second = std::move(value);
            return;
        }
    parts.emplace_back(name, std::move(value));
}

const std::vector<uint32_t>* Outcome::part(const std::string& name) const {
    for (const auto& p : parts)
        if (p.first == name) return &p.second;
    return nullptr;
}

std::string Outcome::describe() const {
    std::ostringstream o;
    for (const auto& [name, value] : parts) {
        o << name << "=";
        if (value.empty()) {
            o << "nil ";
            continue;
        }
        o << "[";
        for (size_t i = 0; i < value.size() && i < 6; ++i) o << (i ? " " : "") << value[i];
        if (value.size() > 6) o << " ... (" << value.size() << " numbers)";
        o << "] ";
    }
    if (!exceptionClass.empty())
        o << "raised " << exceptionClass << (exceptionHasMessage ? " \"" + exceptionMessage + "\"" : " without a message");
    return o.str();
}

std::vector<uint32_t> encodeInteger(int64_t v) { return {kTagInteger, uint32_t(uint64_t(v))}; }

std::vector<uint32_t> encodePicture(void* picture) {
    if (!picture) return {};
    const vqztest::Snapshot s = vqztest::snapshot(picture);
    std::vector<uint32_t> out = {kTagPicture, uint32_t(s.width), uint32_t(s.height)};
    out.insert(out.end(), s.rgb.begin(), s.rgb.end());
    out.insert(out.end(), s.mask.begin(), s.mask.end());
    return out;
}

std::vector<uint32_t> encodeBlock(void* block) {
    if (!block) return {};
    const uint8_t* data = standin::memoryBlockData(block);
    const int32_t size = standin::memoryBlockSize(block);
    std::vector<uint32_t> out = {kTagBlock, uint32_t(size)};
    for (int32_t i = 0; i < size; ++i) out.push_back(data[i]);
    return out;
}

std::vector<uint32_t> encodeValue(const Value& v) {
    using standin::TypeName;
    switch (v.type) {
        case TypeName::Void: return {};
        case TypeName::Integer:
        case TypeName::UInt32:
        case TypeName::Color: return encodeInteger(v.i);
        case TypeName::Boolean: return {kTagBoolean, v.i != 0 ? 1u : 0u};
        case TypeName::Double: {
            uint64_t bits = 0;
            std::memcpy(&bits, &v.d, sizeof bits);
            return {kTagDouble, uint32_t(bits), uint32_t(bits >> 32)};
        }
        case TypeName::String: {
            if (v.isNil()) return {};
            const std::string bytes = standin::stringBytes(v.ref.get());
            std::vector<uint32_t> out = {kTagString, uint32_t(bytes.size())};
            for (unsigned char c : bytes) out.push_back(c);
            return out;
        }
        case TypeName::Picture: return encodePicture(v.ref.get());
        case TypeName::MemoryBlock: return encodeBlock(v.ref.get());
        default: return v.isNil() ? std::vector<uint32_t>{} : std::vector<uint32_t>{kTagObject};
    }
}

std::string Trouble::describe() const {
    switch (kind) {
        case None: return "no trouble";
        case Hidden: return "without \"" + hidden + "\"";
        case HostFault: return std::string("failing ") + faultName(fault) + " #" + std::to_string(nth);
        case Scratch: return "failing scratch allocation #" + std::to_string(nth);
    }
    return "?";
}

std::string Probe::name() const {
    std::string n = (where.empty() ? std::string() : where + ".") + declaration;
    if (setter) n += " (setter)";
    if (!label.empty()) n += " [" + label + "]";
    return n;
}

// ---------------------------------------------------------------- acceptance

bool exceptionAcceptable(const Outcome& got, const Outcome& expected, const Trouble& trouble) {
    const bool sameMessage = got.exceptionHasMessage == expected.exceptionHasMessage &&
                             got.exceptionMessage == expected.exceptionMessage;
    if (got.exceptionClass == expected.exceptionClass && sameMessage) return true;
    if (expected.exceptionClass.empty()) return false;  // raising where nothing is raised
    // Nothing at all: no exception object could be made, or the host cannot raise.
    if (got.exceptionClass.empty()) return hiddenIs(trouble, {"PluginNewInstance", "RuntimeRaiseException"});
    const bool classOk = got.exceptionClass == expected.exceptionClass ||
                         (got.exceptionClass == "RuntimeException" && faultIs(trouble, Fault::InstanceCreation));
    const bool messageOk = sameMessage || (!got.exceptionHasMessage &&
                                           (faultIs(trouble, Fault::StringCreation) ||
                                            hiddenIs(trouble, {"REALBuildString", "REALSetPropValueString"})));
    return classOk && messageOk;
}

bool acceptable(const Probe& probe, const Outcome& got, const Expected& expected, const Trouble& trouble) {
    if (probe.accept) return probe.accept(got, expected, trouble);
    if (!exceptionAcceptable(got, expected.correct, trouble)) return false;
    return got.sameParts(expected.correct) || matchesAny(got, expected.failures) ||
           matchesAny(got, expected.alternatives) || (copiesPossible(expected, trouble) && matchesAny(got, expected.inputsCopied));
}

// ---------------------------------------------------------------- the context

Ref ProbeContext::source(int width, int height, const Filler& fill) {
    const int slot = slots_++;
    Ref picture = vqztest::makePicture(format_, width, height);
    if (fill) fill(picture.get());
    if (slot != variant_.slot && variant_.slot != Variant::kAllSlots) return picture;
    // What the plugin reads when it works on a 32-bit copy: a new host picture with
    // the source drawn into it, or with nothing drawn when drawing is impossible.
    Ref copy = Ref::adopt(standin::newHostPicture(width, height));
    if (variant_.replacement == Variant::Copied)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) standin::setRGB(copy.get(), x, y, standin::getRGB(picture.get(), x, y));
    return copy;
}

Ref ProbeContext::target(int width, int height, const Filler& fill) {
    Ref picture = vqztest::makePicture(format_, width, height);
    if (fill) fill(picture.get());
    return picture;
}

Ref ProbeContext::block(const std::vector<uint8_t>& bytes) {
    Ref b = Ref::adopt(standin::newMemoryBlock(int32_t(bytes.size())));
    if (!bytes.empty()) std::memcpy(standin::memoryBlockData(b.get()), bytes.data(), bytes.size());
    return b;
}

Ref ProbeContext::string(const std::string& bytes, uint32_t encoding) {
    return Ref::adopt(standin::newString(bytes, encoding));
}

Ref ProbeContext::instance(const std::string& className) {
    Ref r = Ref::adopt(standin::newInstance(className));
    EXPECT_TRUE(r) << "no instance of " << className;
    return r;
}

void ProbeContext::setProperty(void* object, const std::string& name, const standin::PropValue& value) {
    EXPECT_TRUE(standin::setProperty(object, name, value)) << "cannot set " << name;
}

void ProbeContext::setInteger(void* object, const std::string& name, int64_t value) {
    standin::PropValue v;
    v.type = standin::PropValue::Integer;
    v.i = value;
    setProperty(object, name, v);
}

void ProbeContext::setPicture(void* object, const std::string& name, void* picture) {
    standin::PropValue v;
    v.type = standin::PropValue::Handle;
    v.h = picture;
    setProperty(object, name, v);
}

Ref ProbeContext::pictureProperty(void* object, const std::string& name) {
    standin::PropValue v;
    EXPECT_TRUE(standin::getProperty(object, name, v)) << "cannot read " << name;
    return v.type == standin::PropValue::Handle ? Ref::adopt(v.h) : Ref();
}

void ProbeContext::enterWindow() {
    if (window_.armed) return;
    window_.armed = true;
    if (window_.arm) window_.arm();
}

Value ProbeContext::call(const std::string& where, const std::string& declaration, void* receiver,
                         std::vector<Value>& args) {
    ++calls_;
    if (variant_.skipCalls) {
        auto c = standin::findByDeclaration(where, declaration);
        return failureValue(c ? c->declaration.result : standin::TypeName::Void);
    }
    enterWindow();
    return standin::invokeRef(where, declaration, receiver, args);
}

void ProbeContext::callSetter(const std::string& where, const std::string& declaration, void* receiver,
                              std::vector<Value> args, const Value& assigned) {
    ++calls_;
    if (variant_.skipCalls) return;
    enterWindow();
    standin::invokeSetter(where, declaration, receiver, std::move(args), assigned);
}

}  // namespace vqzsweep
