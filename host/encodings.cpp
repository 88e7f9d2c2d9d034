#include "host/encodings.h"

#include <vector>

#include "plugin/abi.h"

namespace standin {
namespace {

constexpr char32_t kReplacement = U'?';

bool isScalar(uint32_t c) { return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }

uint32_t byteAt(const std::string& s, size_t i) { return static_cast<unsigned char>(s[i]); }

void decodeUTF8(const std::string& s, std::u32string& out) {
    static const uint32_t kMin[4] = {0, 0x80, 0x800, 0x10000};
    size_t i = 0, n = s.size();
    while (i < n) {
        uint32_t b = byteAt(s, i);
        if (b < 0x80) {
            out += char32_t(b);
            ++i;
            continue;
        }
        size_t extra = (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : 0;
        uint32_t c = extra ? (b & (0x3F >> extra)) : 0;
        bool ok = extra != 0 && i + extra < n;
        for (size_t k = 1; ok && k <= extra; ++k) {
            uint32_t cb = byteAt(s, i + k);
            ok = (cb & 0xC0) == 0x80;
            c = (c << 6) | (cb & 0x3F);
        }
        if (!ok || c < kMin[extra] || !isScalar(c)) {
            out += kReplacement;
            ++i;
            continue;
        }
        out += char32_t(c);
        i += extra + 1;
    }
}

void decodeUTF16(const std::string& s, std::u32string& out) {
    size_t units = s.size() / 2;
    for (size_t u = 0; u < units; ++u) {
        uint32_t c = byteAt(s, 2 * u) | (byteAt(s, 2 * u + 1) << 8);
        if (c >= 0xD800 && c <= 0xDBFF && u + 1 < units) {
            uint32_t low = byteAt(s, 2 * u + 2) | (byteAt(s, 2 * u + 3) << 8);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                out += char32_t(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00));
                ++u;
                continue;
            }
        }
        out += isScalar(c) ? char32_t(c) : kReplacement;
    }
    if (s.size() % 2) out += kReplacement;
}

void decodeUTF32(const std::string& s, std::u32string& out) {
    for (size_t i = 0; i + 4 <= s.size(); i += 4) {
        uint32_t c = byteAt(s, i) | (byteAt(s, i + 1) << 8) | (byteAt(s, i + 2) << 16) |
                     (byteAt(s, i + 3) << 24);
        out += isScalar(c) ? char32_t(c) : kReplacement;
    }
    if (s.size() % 4) out += kReplacement;
}

bool decode(const std::string& s, uint32_t encoding, std::u32string& out) {
    switch (encoding) {
        case kEncodingASCII:
            for (size_t i = 0; i < s.size(); ++i) out += byteAt(s, i) < 0x80 ? char32_t(byteAt(s, i)) : kReplacement;
            return true;
        case kEncodingLatin1:
            for (size_t i = 0; i < s.size(); ++i) out += char32_t(byteAt(s, i));
            return true;
        case kEncodingUTF8: decodeUTF8(s, out); return true;
        case kEncodingUTF16: decodeUTF16(s, out); return true;
        case kEncodingUTF32: decodeUTF32(s, out); return true;
        default: return false;
    }
}

void putLE(std::string& out, uint32_t v, int bytes) {
    for (int k = 0; k < bytes; ++k) out += char((v >> (8 * k)) & 0xFF);
}

bool encode(const std::u32string& text, uint32_t encoding, std::string& out) {
    for (char32_t ch : text) {
        uint32_t c = ch;
        switch (encoding) {
            case kEncodingASCII: out += c < 0x80 ? char(c) : '?'; break;
            case kEncodingLatin1: out += c < 0x100 ? char(c) : '?'; break;
            case kEncodingUTF8:
                if (c < 0x80) {
                    out += char(c);
                } else if (c < 0x800) {
                    out += char(0xC0 | (c >> 6));
                    out += char(0x80 | (c & 0x3F));
                } else if (c < 0x10000) {
                    out += char(0xE0 | (c >> 12));
                    out += char(0x80 | ((c >> 6) & 0x3F));
                    out += char(0x80 | (c & 0x3F));
                } else {
                    out += char(0xF0 | (c >> 18));
                    out += char(0x80 | ((c >> 12) & 0x3F));
                    out += char(0x80 | ((c >> 6) & 0x3F));
                    out += char(0x80 | (c & 0x3F));
                }
                break;
            case kEncodingUTF16:
                if (c < 0x10000) {
                    putLE(out, c, 2);
                } else {
                    putLE(out, 0xD800 + ((c - 0x10000) >> 10), 2);
                    putLE(out, 0xDC00 + ((c - 0x10000) & 0x3FF), 2);
                }
                break;
            case kEncodingUTF32: putLE(out, c, 4); break;
            default: return false;
        }
    }
    return true;
}

}  // namespace

bool knownEncoding(uint32_t encoding) {
    switch (encoding) {
        case kEncodingASCII:
        case kEncodingLatin1:
        case kEncodingUTF8:
        case kEncodingUTF16:
        case kEncodingUTF32:
        case kEncodingAsStored: return true;
        default: return false;
    }
}

bool convertText(const std::string& bytes, uint32_t from, uint32_t to, std::string& out) {
    if (!knownEncoding(from) || !knownEncoding(to)) return false;
    if (from == to || from == kEncodingAsStored || to == kEncodingAsStored) {
        out = bytes;
        return true;
    }
    std::u32string text;
    out.clear();
    return decode(bytes, from, text) && encode(text, to, out);
}

}  // namespace standin
