// Color lookup tables in the .cube text format: a 3D lattice (LUT_3D_SIZE, 2 to
// 65 nodes per axis, red varying fastest) or three 1D curves (LUT_1D_SIZE), with
// an optional input domain (DOMAIN_MIN / DOMAIN_MAX, or LUT_*_INPUT_RANGE).
#pragma once

#include <string>
#include <vector>

namespace vqz {

struct CubeTable {
    std::string title;
    int size = 0;        // nodes per axis (3D) or entries per curve (1D)
    bool oneD = false;
    double domainMin[3] = {0, 0, 0};
    double domainMax[3] = {1, 1, 1};
    std::vector<double> values;  // 3 per node; 3D node (r, g, b) at r + size * (g + size * b)

    // The output color (nominally 0 to 1) for an input color on the 0 to 1 scale,
    // interpolated between the nodes (tetrahedrally in 3D); inputs outside the
    // domain take the nearest edge.
    void lookup(const double in[3], double out[3]) const;
};

constexpr int kMinCubeSize = 2;
constexpr int kMaxCubeSize = 65;

// Parses the text of a .cube file; throws ToolError "NAME:LINE: problem" (or
// "NAME: problem" for what concerns the whole file).
CubeTable parseCube(const std::string& name, const std::string& text);
CubeTable readCube(const std::string& path);

// The lattice of the lookup-table class: 18 nodes per axis, node i standing for
// the input level 17 * i (levels past 255 read as 255), values on the 0 to 255
// scale, element ((r * 18 + g) * 18 + b) * 3 + channel.
constexpr int kClassNodes = 18;
std::vector<double> classLattice(const CubeTable& table);

}  // namespace vqz
