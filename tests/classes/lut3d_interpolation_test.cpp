// The interpolation of one channel, bit for bit against the plain six cases, for
// every fraction a pixel can have (ties included) in random cells.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "classes/lut3d.h"
#include "tests/reference/lut_reference.h"

namespace {

TEST(Lut3DInterpolation, SumXYZMatchesTheSixCasesBitForBit) {
    std::mt19937 random(2024);
    std::uniform_real_distribution<double> value(-1000.0, 1000.0);
    reference::LutTable t;
    for (double& e : t.element) e = value(random);
    auto data = std::make_unique<Lut3DClassData>();
    memcpy(data->table, t.element.data(), sizeof data->table);
    for (int k = 0; k < 17 * 17 * 17; ++k) {
        const double fr = k / 289 / 17.0, fg = k / 17 % 17 / 17.0, fb = k % 17 / 17.0;
        const int r0 = int(random() % 15), g0 = int(random() % 15), b0 = int(random() % 15);
        for (int x = 0; x < 3; ++x) {
            const double want = reference::lutSum(t, fr, fg, fb, r0, g0, b0, r0 + 1, g0 + 1, b0 + 1, x);
            const double got = SumXYZ(fr, fg, fb, r0, g0, b0, r0 + 1, g0 + 1, b0 + 1, x, data.get());
            ASSERT_EQ(memcmp(&want, &got, sizeof want), 0) << "fractions " << fr << " " << fg << " " << fb << ", channel " << x;
        }
    }
}

// Ties fall to the later cases; the corners name the tetrahedron.
TEST(Lut3DInterpolation, TiesFallToLaterCases) {
    constexpr uint8_t R = kCornerRed, G = kCornerGreen, B = kCornerBlue;
    const struct { double fr, fg, fb; uint8_t first, second; } cases[] = {
        {0.5, 0.5, 0.5, G, R | G},  // all equal: case 6
        {0.7, 0.2, 0.2, R, R | B},  // fr > fg = fb: case 2
        {0.7, 0.2, 0.7, B, R | B},  // fr = fb > fg: case 3
        {0.7, 0.7, 0.2, G, R | G},  // fr = fg > fb: case 6
        {0.2, 0.7, 0.7, G, G | B},  // fg = fb > fr: case 5
        {0.2, 0.2, 0.7, B, G | B},  // fb > fr = fg: case 4
    };
    for (const auto& c : cases) {
        const Tetrahedron t = TetrahedronOf(c.fr, c.fg, c.fb);
        EXPECT_EQ(t.first * 8 + t.second, c.first * 8 + c.second) << c.fr << " " << c.fg << " " << c.fb;
    }
}

}  // namespace
