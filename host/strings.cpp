// Host strings. A string handle points to the OldHostString header that hosts
// before 2013.0 exposed, kept valid on every version: storage's first byte
// precedes the text, the text is followed by zero bytes, length is the byte
// length and refCount mirrors the references.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>

#include "host/encodings.h"
#include "host/entry_points.h"
#include "host/modules.h"
#include "host/objects.h"

namespace standin {
namespace {

constexpr size_t kTrailingZeros = 4;  // enough to end UTF-16 and UTF-32 text too

struct HostString : Object {
    static constexpr ObjectKind kKind = ObjectKind::String;
    // One copy of the text: a length byte, the text, then zero bytes.
    HostString(const char* text, size_t size, uint32_t enc) : Object(kKind), length(size), encoding(enc) {
        handle = &header;
        buffer.reset(new char[1 + size + kTrailingZeros]);
        buffer[0] = char(size < 255 ? size : 255);
        if (size) std::memcpy(buffer.get() + 1, text, size);
        std::memset(buffer.get() + 1 + size, 0, kTrailingZeros);
        header.storage = buffer.get();
        header.length = int32_t(size);
    }
    OldHostString header{};
    std::unique_ptr<char[]> buffer;
    size_t length;
    uint32_t encoding;

    const char* data() const { return buffer ? buffer.get() + 1 : ""; }
    std::string bytes() const { return std::string(data(), length); }

    void onRefsChanged() override { header.refCount = refs; }
    void dispose() override {
        header.storage = nullptr;
        header.length = 0;
        buffer.reset();
        length = 0;
    }
    std::string describe() const override {
        std::string shown(data(), length < 24 ? length : 24);
        for (char& c : shown)
            if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F) c = '.';
        char enc[16];
        std::snprintf(enc, sizeof enc, "0x%X", encoding);
        return std::to_string(length) + " bytes, encoding " + enc + ", \"" + shown + (length > 24 ? "...\"" : "\"");
    }
};

struct StringState {
    std::unordered_map<void*, int32_t> data;  // PluginGetStringData copies -> length
};
StringState& state() {
    static StringState* s = new StringState;
    return *s;
}

HostString* str(const void* handle, const char* who) { return lookupAs<HostString>(handle, who); }

void* makeString(const char* bytes, size_t size, uint32_t encoding) {
    return registerObject(std::make_unique<HostString>(bytes, size, encoding))->handle;
}
void* makeString(const std::string& bytes, uint32_t encoding) { return makeString(bytes.data(), bytes.size(), encoding); }

}  // namespace

void resetStrings() { state().data.clear(); }

void ledgerStrings(Ledger& ledger) {
    ledger.stringData = int(state().data.size());
    for (auto& entry : state().data)
        ledger.detail += "string data of " + std::to_string(entry.second) + " bytes not disposed\n";
}

// ---------------------------------------------------------------- test API

void* newString(const std::string& bytes, uint32_t encoding) { return makeString(bytes, encoding); }

std::string stringBytes(void* string) {
    HostString* s = str(string, "stringBytes");
    return s ? s->bytes() : std::string();
}

uint32_t stringEncoding(void* string) {
    HostString* s = str(string, "stringEncoding");
    return s ? s->encoding : 0;
}

std::string stringUTF8(void* string) {
    HostString* s = str(string, "stringUTF8");
    std::string out;
    if (s && !convertText(s->bytes(), s->encoding, kEncodingUTF8, out)) out = s->bytes();
    return out;
}

// ---------------------------------------------------------------- entry points

namespace entry {

void REALLockString(REALstringStruct* string) {
    if (str(string, "REALLockString")) retain(string);
}

void REALUnlockString(REALstringStruct* string) {
    if (str(string, "REALUnlockString")) release(string);
}

REALstringStruct* REALBuildString(const char* bytes, int32_t length) {
    if (faultHits(Fault::StringCreation)) return nullptr;
    if (length < 0 || (!bytes && length > 0)) return nullptr;
    return static_cast<REALstringStruct*>(
        makeString(bytes ? bytes : "", size_t(length), kEncodingAsStored));
}

uint32_t REALGetStringEncoding(REALstringStruct* string) {
    HostString* s = str(string, "REALGetStringEncoding");
    return s ? s->encoding : 0;
}

void REALSetStringEncoding(REALstringStruct* string, uint32_t encoding) {
    if (HostString* s = str(string, "REALSetStringEncoding")) s->encoding = encoding;
}

REALstringStruct* REALConvertString(REALstringStruct* string, uint32_t encoding) {
    HostString* s = str(string, "REALConvertString");
    if (faultHits(Fault::StringCreation) || !s) return nullptr;
    std::string out;
    if (!convertText(s->bytes(), s->encoding, encoding, out)) return nullptr;
    return static_cast<REALstringStruct*>(makeString(out, encoding));
}

uint8_t PluginGetStringData(REALstringStruct* string, uint32_t encoding, REALstringData* out) {
    HostString* s = str(string, "PluginGetStringData");
    if (!s || !out) return 0;
    // The bytes as stored need no conversion (and no second copy).
    std::string converted;
    const bool asStored = encoding == kEncodingAsStored || encoding == s->encoding;
    if (!asStored && !convertText(s->bytes(), s->encoding, encoding, converted)) return 0;
    const char* bytes = asStored ? s->data() : converted.data();
    const size_t size = asStored ? s->length : converted.size();
    auto* copy = static_cast<char*>(std::malloc(size + kTrailingZeros));
    if (!copy) return 0;
    if (size) std::memcpy(copy, bytes, size);
    std::memset(copy + size, 0, kTrailingZeros);
    out->data = copy;
    out->length = int32_t(size);
    out->encoding = encoding;
    state().data[copy] = out->length;
    return 1;
}

void PluginDisposeStringData(REALstringData* data) {
    if (!data) return;
    auto it = state().data.find(data->data);
    if (it == state().data.end()) {
        recordError("PluginDisposeStringData: " + hexHandle(data->data) + " is not string data");
        return;
    }
    state().data.erase(it);
    std::free(data->data);
    data->data = nullptr;
    data->length = 0;
}

const char* StringGetCString(REALstringStruct* string) {
    HostString* s = str(string, "StringGetCString");
    return s ? s->data() : nullptr;
}

int32_t LenB(REALstringStruct* string) {
    HostString* s = str(string, "LenB");
    return s ? int32_t(s->length) : 0;
}

}  // namespace entry
}  // namespace standin
