#include "tools/arguments.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "host/host.h"

namespace vqz {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// Digits of `base` in text[from..]; false on an empty or bad digit string.
bool parseDigits(const std::string& text, size_t from, int base, uint64_t& value) {
    if (from >= text.size()) return false;
    uint64_t v = 0;
    for (size_t i = from; i < text.size(); ++i) {
        int c = std::tolower(static_cast<unsigned char>(text[i]));
        int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 99;
        if (d >= base) return false;
        v = v * uint64_t(base) + uint64_t(d);
        if (v > 0xFFFFFFFFull) return false;
    }
    value = v;
    return true;
}

}  // namespace

bool parseIntegerLiteral(const std::string& text, int64_t& value) {
    if (text.empty()) return false;
    if (text[0] == '&' && text.size() > 2) {
        int base = 0;
        switch (std::tolower(static_cast<unsigned char>(text[1]))) {
            case 'h': base = 16; break;
            case 'o': base = 8; break;
            case 'b': base = 2; break;
            default: return false;
        }
        uint64_t v;
        if (!parseDigits(text, 2, base, v)) return false;
        value = int64_t(v);
        return true;
    }
    size_t i = 0;
    bool negative = false;
    if (text[0] == '-' || text[0] == '+') {
        negative = text[0] == '-';
        i = 1;
    }
    uint64_t v;
    if (!parseDigits(text, i, 10, v)) return false;
    value = negative ? -int64_t(v) : int64_t(v);
    return true;
}

bool parseDoubleLiteral(const std::string& text, double& value) {
    int64_t i;
    if (parseIntegerLiteral(text, i)) {
        value = double(i);
        return true;
    }
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return false;
    for (char c : text)
        if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return false;
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(v)) return false;
    value = v;
    return true;
}

bool parseColorLiteral(const std::string& text, uint32_t& value) {
    if (text.size() != 8 || text[0] != '&' || std::tolower(static_cast<unsigned char>(text[1])) != 'c') return false;
    uint64_t v;
    if (!parseDigits(text, 2, 16, v)) return false;
    value = uint32_t(v);
    return true;
}

bool parseBooleanLiteral(const std::string& text, bool& value) {
    std::string l = lower(text);
    if (l == "true") value = true;
    else if (l == "false") value = false;
    else return false;
    return true;
}

bool isNilLiteral(const std::string& text) { return lower(text) == "nil"; }

bool parseStringLiteral(const std::string& text, std::string& value) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return false;
    std::string out;
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '"') {
            if (i + 2 < text.size() && text[i + 1] == '"') {
                out += '"';
                ++i;
                continue;
            }
            return false;
        }
        out += text[i];
    }
    value = out;
    return true;
}

std::string formatDouble(double v) {
    if (std::isnan(v)) return "nan";
    if (std::isinf(v)) return v < 0 ? "-inf" : "inf";
    char buf[40];
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(buf, sizeof buf, "%.*g", precision, v);
        if (std::strtod(buf, nullptr) == v) break;
    }
    return buf;
}

std::string formatValue(const standin::Value& v) {
    using standin::TypeName;
    char buf[64];
    switch (v.type) {
        case TypeName::Void: return "nil";
        case TypeName::Integer:
        case TypeName::UInt32: return std::to_string(v.i);
        case TypeName::Color:
            std::snprintf(buf, sizeof buf, "&c%06X", unsigned(v.i & 0xFFFFFF));
            return buf;
        case TypeName::Double: return formatDouble(v.d);
        case TypeName::Boolean: return v.i ? "true" : "false";
        default: break;
    }
    if (v.isNil()) return "nil";
    switch (v.type) {
        case TypeName::Picture:
            return "Picture " + std::to_string(standin::pictureWidth(v.ref.get())) + "x" +
                   std::to_string(standin::pictureHeight(v.ref.get()));
        case TypeName::MemoryBlock:
            return "MemoryBlock of " + std::to_string(standin::memoryBlockSize(v.ref.get())) + " bytes";
        case TypeName::String: {
            std::string bytes = standin::stringBytes(v.ref.get());
            bool text = true;
            for (unsigned char c : bytes)
                if (c < 0x20 && c != '\n' && c != '\t' && c != '\r') text = false;
            if (text) return bytes;
            std::string out = "String of " + std::to_string(bytes.size()) + " bytes:";
            for (size_t i = 0; i < bytes.size() && i < 48; ++i) {
                std::snprintf(buf, sizeof buf, " %02X", unsigned(static_cast<unsigned char>(bytes[i])));
                out += buf;
            }
            if (bytes.size() > 48) out += " ...";
            return out;
        }
        default: return std::string(standin::className(v.ref.get()) ? standin::className(v.ref.get()) : "Object");
    }
}

std::string typeWord(const standin::Param& p) {
    return p.typeText.empty() ? lower(standin::typeNameText(p.type)) : p.typeText;
}

}  // namespace vqz
