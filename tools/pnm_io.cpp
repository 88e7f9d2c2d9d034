// PPM and PGM, plain (P2, P3) and binary (P5, P6), with any maxval up to 65535.
#include <cstdio>
#include <cstring>

#include "tools/image_io.h"

namespace vqz {

namespace {

struct PnmReader {
    const unsigned char* data;
    size_t size;
    size_t pos = 0;

    void skipSpaceAndComments() {
        while (pos < size) {
            unsigned char c = data[pos];
            if (c == '#') {
                while (pos < size && data[pos] != '\n' && data[pos] != '\r') ++pos;
            } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f') {
                ++pos;
            } else {
                break;
            }
        }
    }
    // A decimal number; false when there is none or it is too large.
    bool number(uint32_t& value) {
        skipSpaceAndComments();
        if (pos >= size || data[pos] < '0' || data[pos] > '9') return false;
        uint64_t v = 0;
        while (pos < size && data[pos] >= '0' && data[pos] <= '9') {
            v = v * 10 + uint64_t(data[pos++] - '0');
            if (v > 0xFFFFFFFFu) return false;
        }
        value = uint32_t(v);
        return true;
    }
};

}  // namespace

bool isPnm(const unsigned char* data, size_t size) {
    return size >= 2 && data[0] == 'P' && (data[1] == '2' || data[1] == '3' || data[1] == '5' || data[1] == '6');
}

bool decodePnm(const unsigned char* data, size_t size, Image& out, std::string& error) {
    if (!isPnm(data, size)) {
        error = "not a PPM or PGM file";
        return false;
    }
    char kind = char(data[1]);
    bool gray = kind == '2' || kind == '5';
    bool binary = kind == '5' || kind == '6';
    PnmReader r{data, size, 2};
    uint32_t w, h, maxval;
    if (!r.number(w) || !r.number(h) || !r.number(maxval)) {
        error = "broken PPM/PGM header";
        return false;
    }
    if (maxval < 1 || maxval > 65535) {
        error = "broken PPM/PGM header: maxval " + std::to_string(maxval) + " is outside 1 to 65535";
        return false;
    }
    if (w < 1 || h < 1 || w > uint32_t(kMaxSide) || h > uint32_t(kMaxSide) || size_t(w) * size_t(h) > kMaxPixels) {
        error = "a picture of " + std::to_string(w) + "x" + std::to_string(h) + " is larger than the host accepts";
        if (w < 1 || h < 1) error = "the picture is empty";
        return false;
    }
    size_t channels = gray ? 1 : 3;
    size_t samples = size_t(w) * size_t(h) * channels;
    size_t bytesPerSample = maxval > 255 ? 2 : 1;
    std::vector<uint32_t> values(samples);
    if (binary) {
        // Exactly one whitespace byte separates the header from the samples.
        if (r.pos >= size) {
            error = "the file is truncated";
            return false;
        }
        ++r.pos;
        if (size - r.pos < samples * bytesPerSample) {
            error = "the file is truncated";
            return false;
        }
        const unsigned char* p = data + r.pos;
        for (size_t i = 0; i < samples; ++i)
            values[i] = bytesPerSample == 2 ? uint32_t(p[2 * i]) << 8 | p[2 * i + 1] : p[i];
    } else {
        for (size_t i = 0; i < samples; ++i) {
            if (!r.number(values[i])) {
                error = "the file is truncated or holds something other than numbers";
                return false;
            }
        }
    }
    out = Image(int(w), int(h));
    for (size_t i = 0, n = size_t(w) * size_t(h); i < n; ++i) {
        for (size_t c = 0; c < 3; ++c) {
            uint32_t v = values[i * channels + (gray ? 0 : c)];
            if (v > maxval) v = maxval;
            out.rgba[i * 4 + c] = uint8_t((uint64_t(v) * 255 + maxval / 2) / maxval);
        }
    }
    return true;
}

Bytes encodePnm(const Image& image, bool gray) {
    char header[64];
    int n = std::snprintf(header, sizeof header, "P%c\n%d %d\n255\n", gray ? '5' : '6', image.width, image.height);
    Bytes bytes(header, header + n);
    size_t pixels = size_t(image.width) * size_t(image.height);
    bytes.reserve(bytes.size() + pixels * (gray ? 1 : 3));
    for (size_t i = 0; i < pixels; ++i) {
        const unsigned char* p = image.rgba.data() + i * 4;
        if (gray) {
            // ITU-R BT.601 luma, rounded.
            bytes.push_back(uint8_t((299u * p[0] + 587u * p[1] + 114u * p[2] + 500u) / 1000u));
        } else {
            bytes.insert(bytes.end(), p, p + 3);
        }
    }
    return bytes;
}

}  // namespace vqz
