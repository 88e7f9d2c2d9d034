// Pictures, tables and sounds the gallery makes for the calls that take more
// than the source picture.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/gallery.h"

namespace vqz {

Image mirrored(const Image& image) {
    Image out(image.width, image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) out.set(x, y, image.rgb(image.width - 1 - x, y));
    return out;
}

Image gradient(int width, int height) {
    Image out(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint32_t v = width > 1 ? uint32_t(x * 255 / (width - 1)) : 0;
            out.set(x, y, v << 16 | v << 8 | v);
        }
    return out;
}

Image thumbnail(const Image& image, int maxWidth) {
    if (image.width <= maxWidth) return image;
    int w = maxWidth;
    int h = std::max(1, int(int64_t(image.height) * w / image.width));
    Image out(w, h);
    out.hasAlpha = image.hasAlpha;
    for (int y = 0; y < h; ++y) {
        int y0 = int(int64_t(y) * image.height / h), y1 = std::max(y0 + 1, int(int64_t(y + 1) * image.height / h));
        for (int x = 0; x < w; ++x) {
            int x0 = int(int64_t(x) * image.width / w), x1 = std::max(x0 + 1, int(int64_t(x + 1) * image.width / w));
            uint32_t sum[4] = {0, 0, 0, 0};
            for (int sy = y0; sy < y1; ++sy)
                for (int sx = x0; sx < x1; ++sx)
                    for (int c = 0; c < 4; ++c) sum[c] += image.at(sx, sy)[c];
            uint32_t n = uint32_t((x1 - x0) * (y1 - y0));
            for (int c = 0; c < 4; ++c) out.at(x, y)[c] = uint8_t((sum[c] + n / 2) / n);
        }
    }
    return out;
}

std::string warmCube() {
    // Shadows toward teal, highlights toward orange, a little more contrast.
    const int n = 9;
    std::string text = "TITLE \"Warm grade\"\n# made by vqz gallery\nLUT_3D_SIZE 9\n";
    char line[96];
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r) {
                double rgb[3] = {r / double(n - 1), g / double(n - 1), b / double(n - 1)};
                double luma = 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
                double out[3];
                for (int c = 0; c < 3; ++c) {
                    double v = rgb[c];
                    v = v + (v - 0.5) * 0.25;                        // contrast
                    double warm[3] = {0.10, 0.03, -0.08}, teal[3] = {-0.06, 0.02, 0.06};
                    v += luma * warm[c] + (1 - luma) * teal[c];  // split toning
                    out[c] = std::min(1.0, std::max(0.0, v));
                }
                std::snprintf(line, sizeof line, "%.6f %.6f %.6f\n", out[0], out[1], out[2]);
                text += line;
            }
    return text;
}

std::vector<int16_t> chirp(int sampleRate, double seconds) {
    size_t n = size_t(sampleRate * seconds);
    std::vector<int16_t> samples(n);
    const double pi = 3.14159265358979323846;
    double phase = 0;
    for (size_t i = 0; i < n; ++i) {
        double t = double(i) / sampleRate;
        double frequency = 3 + 40 * t / seconds;  // slow enough to see the shape
        phase += 2 * pi * frequency / sampleRate;
        double envelope = std::sin(pi * t / seconds) * (0.55 + 0.45 * std::sin(2 * pi * 0.7 * t));
        double v = envelope * (0.8 * std::sin(phase) + 0.2 * std::sin(7.3 * phase));
        samples[i] = int16_t(std::lround(std::max(-1.0, std::min(1.0, v)) * 30000));
    }
    return samples;
}

}  // namespace vqz
