// Tetrahedral interpolation in one cell of the lookup lattice.
#include "classes/lut3d.h"

// The six cases are tested in this order with strict comparisons, so equal
// fractions fall to the later cases.
Tetrahedron TetrahedronOf(double fr, double fg, double fb) {
    constexpr uint8_t R = kCornerRed, G = kCornerGreen, B = kCornerBlue;
    if (fr > fg) {
        if (fg > fb) return Tetrahedron{{1 - fr, fr - fg, fg - fb, fb}, R, R | G};
        if (fr > fb) return Tetrahedron{{1 - fr, fr - fb, fb - fg, fg}, R, R | B};
        return Tetrahedron{{1 - fb, fb - fr, fr - fg, fg}, B, R | B};
    }
    if (fb > fg) return Tetrahedron{{1 - fb, fb - fg, fg - fr, fr}, B, G | B};
    if (fb > fr) return Tetrahedron{{1 - fg, fg - fb, fb - fr, fr}, G, G | B};
    return Tetrahedron{{1 - fg, fg - fr, fr - fb, fb}, G, R | G};
}

double SumXYZ(double fr, double fg, double fb, int r0, int g0, int b0, int r1, int g1, int b1, int channel,
              Lut3DClassData* data) {
    const Tetrahedron t = TetrahedronOf(fr, fg, fb);
    auto corner = [&](uint8_t code) {
        return data->table[LutIndex(code & kCornerRed ? r1 : r0, code & kCornerGreen ? g1 : g0,
                                    code & kCornerBlue ? b1 : b0, channel)];
    };
    return t.weight[0] * corner(0) + t.weight[1] * corner(t.first) + t.weight[2] * corner(t.second) +
           t.weight[3] * corner(kCornerRed | kCornerGreen | kCornerBlue);
}
