#include "tools/cube.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "tools/errors.h"
#include "tools/files.h"

namespace vqz {

namespace {

std::string trim(const std::string& s) {
    size_t a = s.find_first_not_of(" \t\r\n");
    if (a == std::string::npos) return "";
    size_t b = s.find_last_not_of(" \t\r\n");
    return s.substr(a, b - a + 1);
}

std::vector<std::string> words(const std::string& s) {
    std::istringstream in(s);
    std::vector<std::string> out;
    std::string w;
    while (in >> w) out.push_back(w);
    return out;
}

bool number(const std::string& text, double& v) {
    if (text.empty()) return false;
    char* end = nullptr;
    v = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() && std::isfinite(v);
}

// Position of x between lo and hi on an axis of n nodes: the lower node and the fraction.
void axisPosition(double x, double lo, double hi, int n, int& i0, double& f) {
    double p = (x - lo) / (hi - lo) * double(n - 1);
    // Inputs that fall on a node (up to rounding) read that node exactly.
    double nearest = std::floor(p + 0.5);
    if (std::fabs(p - nearest) < 1e-9) p = nearest;
    if (!(p > 0)) p = 0;  // also catches NaN
    if (p > double(n - 1)) p = double(n - 1);
    i0 = std::min(int(p), n - 2);
    f = p - double(i0);
}

}  // namespace

CubeTable parseCube(const std::string& name, const std::string& text) {
    CubeTable t;
    std::istringstream in(text);
    std::string raw;
    int lineNo = 0;
    size_t expected = 0;  // table lines the size announces
    size_t rows = 0;
    int sizeLine = 0;
    int domainLine = 0;
    auto fail = [&](const std::string& why) -> ToolError {
        return ToolError(name + ":" + std::to_string(lineNo) + ": " + why);
    };
    while (std::getline(in, raw)) {
        ++lineNo;
        std::string line = raw;
        size_t hash = line.find('#');
        if (hash != std::string::npos) line.resize(hash);
        line = trim(line);
        if (line.empty()) continue;
        char first = line[0];
        bool data = std::isdigit(static_cast<unsigned char>(first)) || first == '-' || first == '+' || first == '.';
        if (!data) {
            std::vector<std::string> w = words(line);
            const std::string& key = w[0];
            if (rows > 0 && key != "TITLE") throw fail("'" + key + "' after the table lines began");
            if (key == "TITLE") {
                size_t q = line.find('"');
                t.title = q == std::string::npos ? trim(line.substr(5)) : line.substr(q + 1, line.rfind('"') - q - 1);
            } else if (key == "LUT_3D_SIZE" || key == "LUT_1D_SIZE") {
                if (t.size) throw fail("a second size line (the first is line " + std::to_string(sizeLine) + ")");
                double v;
                if (w.size() != 2 || !number(w[1], v) || v != std::floor(v))
                    throw fail(key + " needs one whole number");
                if (v < kMinCubeSize || v > kMaxCubeSize)
                    throw fail(key + " " + w[1] + " is outside " + std::to_string(kMinCubeSize) + " to " +
                               std::to_string(kMaxCubeSize));
                t.size = int(v);
                t.oneD = key == "LUT_1D_SIZE";
                sizeLine = lineNo;
                expected = t.oneD ? size_t(t.size) : size_t(t.size) * size_t(t.size) * size_t(t.size);
            } else if (key == "DOMAIN_MIN" || key == "DOMAIN_MAX") {
                double* dst = key == "DOMAIN_MIN" ? t.domainMin : t.domainMax;
                if (w.size() != 4) throw fail(key + " needs three numbers");
                for (int c = 0; c < 3; ++c)
                    if (!number(w[size_t(c) + 1], dst[c])) throw fail(key + ": '" + w[size_t(c) + 1] + "' is not a number");
            } else if (key == "LUT_3D_INPUT_RANGE" || key == "LUT_1D_INPUT_RANGE") {
                double lo, hi;
                if (w.size() != 3 || !number(w[1], lo) || !number(w[2], hi)) throw fail(key + " needs two numbers");
                for (int c = 0; c < 3; ++c) {
                    t.domainMin[c] = lo;
                    t.domainMax[c] = hi;
                }
            }
            // Other keywords (written by some editors) carry nothing the table needs.
            if (key.compare(0, 6, "DOMAIN") == 0 || key.find("INPUT_RANGE") != std::string::npos) domainLine = lineNo;
            continue;
        }
        if (!t.size) throw fail("a table line before LUT_3D_SIZE or LUT_1D_SIZE");
        std::vector<std::string> w = words(line);
        double v[3];
        if (w.size() != 3) throw fail("expected three numbers, found '" + line + "'");
        for (int c = 0; c < 3; ++c)
            if (!number(w[size_t(c)], v[c])) throw fail("'" + w[size_t(c)] + "' is not a number");
        if (rows == expected)
            throw fail("more table lines than the size announces (" + std::to_string(expected) + ")");
        t.values.insert(t.values.end(), v, v + 3);
        ++rows;
    }
    for (int c = 0; c < 3; ++c)
        if (!(t.domainMin[c] < t.domainMax[c]))
            throw ToolError(name + ":" + std::to_string(domainLine) +
                            ": the domain's minimum must be below its maximum in every channel");
    if (!t.size) throw ToolError(name + ": not a .cube file (no LUT_3D_SIZE or LUT_1D_SIZE line)");
    if (rows != expected)
        throw ToolError(name + ":" + std::to_string(lineNo) + ": the file ends after " + std::to_string(rows) +
                        " table lines; size " + std::to_string(t.size) + " needs " + std::to_string(expected));
    return t;
}

CubeTable readCube(const std::string& path) {
    std::vector<unsigned char> bytes = readFile(path);
    return parseCube(path, std::string(bytes.begin(), bytes.end()));
}

void CubeTable::lookup(const double in[3], double out[3]) const {
    int i0[3];
    double f[3];
    for (int c = 0; c < 3; ++c) axisPosition(in[c], domainMin[c], domainMax[c], size, i0[c], f[c]);
    if (oneD) {
        for (int c = 0; c < 3; ++c) {
            double a = values[size_t(i0[c]) * 3 + size_t(c)], b = values[size_t(i0[c] + 1) * 3 + size_t(c)];
            out[c] = a + (b - a) * f[c];
        }
        return;
    }
    size_t n = size_t(size);
    auto node = [&](int dr, int dg, int db, int c) {
        size_t index = size_t(i0[0] + dr) + n * (size_t(i0[1] + dg) + n * size_t(i0[2] + db));
        return values[index * 3 + size_t(c)];
    };
    double fr = f[0], fg = f[1], fb = f[2];
    for (int c = 0; c < 3; ++c) {
        double c000 = node(0, 0, 0, c), c111 = node(1, 1, 1, c);
        if (fr >= fg && fg >= fb)
            out[c] = (1 - fr) * c000 + (fr - fg) * node(1, 0, 0, c) + (fg - fb) * node(1, 1, 0, c) + fb * c111;
        else if (fr >= fb && fb >= fg)
            out[c] = (1 - fr) * c000 + (fr - fb) * node(1, 0, 0, c) + (fb - fg) * node(1, 0, 1, c) + fg * c111;
        else if (fb >= fr && fr >= fg)
            out[c] = (1 - fb) * c000 + (fb - fr) * node(0, 0, 1, c) + (fr - fg) * node(1, 0, 1, c) + fg * c111;
        else if (fb >= fg && fg >= fr)
            out[c] = (1 - fb) * c000 + (fb - fg) * node(0, 0, 1, c) + (fg - fr) * node(0, 1, 1, c) + fr * c111;
        else if (fg >= fb && fb >= fr)
            out[c] = (1 - fg) * c000 + (fg - fb) * node(0, 1, 0, c) + (fb - fr) * node(0, 1, 1, c) + fr * c111;
        else
            out[c] = (1 - fg) * c000 + (fg - fr) * node(0, 1, 0, c) + (fr - fb) * node(1, 1, 0, c) + fb * c111;
    }
}

std::vector<double> classLattice(const CubeTable& table) {
    std::vector<double> lattice(size_t(kClassNodes) * kClassNodes * kClassNodes * 3);
    for (int r = 0; r < kClassNodes; ++r)
        for (int g = 0; g < kClassNodes; ++g)
            for (int b = 0; b < kClassNodes; ++b) {
                double in[3] = {std::min(17 * r, 255) / 255.0, std::min(17 * g, 255) / 255.0,
                                std::min(17 * b, 255) / 255.0};
                double out[3];
                table.lookup(in, out);
                size_t at = ((size_t(r) * kClassNodes + size_t(g)) * kClassNodes + size_t(b)) * 3;
                for (int c = 0; c < 3; ++c) lattice[at + size_t(c)] = out[c] * 255.0;
            }
    return lattice;
}

}  // namespace vqz
