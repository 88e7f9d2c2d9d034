#ifdef VQZ_TOOL_PATH

#include "tests/tools/tool_runner.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace vqztool {

namespace fs = std::filesystem;

namespace {
std::string quoted(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}
}  // namespace

ToolRun runTool(const std::vector<std::string>& args, const std::string& workdir) {
    TempDir io;  // for stdout and stderr: files need no draining while the tool runs
    std::string command =
        "cd " + quoted(workdir.empty() ? "." : workdir) + " && VQZ_CHECK_LEDGER=1 " + quoted(VQZ_TOOL_PATH);
    for (const std::string& a : args) command += " " + quoted(a);
    int status = std::system((command + " >" + quoted(io / "out") + " 2>" + quoted(io / "err")).c_str());
    ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), io.read("out"), io.read("err")};
    // The tool gives back every host object it and the plugin took.
    EXPECT_EQ(run.err.find("host ledger not clean"), std::string::npos) << run.err;
    return run;
}

ToolRun runTool(const vqztest::HostFormat& f, const std::vector<std::string>& args, const std::string& workdir) {
    std::vector<std::string> all;
    switch (f.kind) {
        case standin::AppKind::Desktop:
            all = {"--depth", std::to_string(f.depth)};
            break;
        case standin::AppKind::Console:
            all = {"--host", "console"};
            break;
        case standin::AppKind::Web:
            all = {"--host", "web"};
            break;
    }
    all.insert(all.end(), args.begin(), args.end());
    return runTool(all, workdir);
}

std::string describe(const ToolRun& run) {
    return "exit status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "vqz-tool-test-XXXXXX").string();
    if (mkdtemp(pattern.data()))
        path_ = pattern;
    else
        ADD_FAILURE() << "cannot make a temporary directory";
}

TempDir::~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
}

std::vector<std::string> TempDir::entries() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& e : fs::directory_iterator(path_)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void TempDir::write(const std::string& name, const std::string& bytes) const {
    std::ofstream f(*this / name, std::ios::binary);
    f.write(bytes.data(), std::streamsize(bytes.size()));
    if (!f) ADD_FAILURE() << "cannot write " << (*this / name);
}

std::string TempDir::read(const std::string& name) const {
    std::ifstream f(*this / name, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

bool TempDir::exists(const std::string& name) const { return fs::exists(*this / name); }

vqz::Image randomImage(int width, int height, uint32_t seed) {
    std::mt19937 rng(seed);
    vqz::Image image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) image.set(x, y, uint32_t(rng()) & 0xFFFFFF);
    return image;
}

vqztest::Snapshot fileSnapshot(const std::string& path) {
    vqz::Image image = vqz::readImage(path);
    vqztest::Snapshot s;
    s.width = image.width;
    s.height = image.height;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) s.rgb.push_back(image.rgb(x, y));
    return s;
}

standin::Ref hostPicture(const vqztest::HostFormat& f, const vqz::Image& image) {
    standin::Ref pic = vqztest::makePicture(f, image.width, image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) standin::setRGB(pic.get(), x, y, image.rgb(x, y));
    return pic;
}

void expectOutput(const ToolRun& run, const standin::Ref& expected, const std::string& path, int tolerance) {
    if (!expected) {
        EXPECT_EQ(run.status, 2) << describe(run);
        return;
    }
    ASSERT_EQ(run.status, 0) << describe(run);
    vqztest::Snapshot want = vqztest::snapshot(expected.get()), got = fileSnapshot(path);
    if (tolerance == 0) {
        EXPECT_TRUE(vqztest::samePixels(want, got));
        return;
    }
    ASSERT_EQ(want.width, got.width);
    ASSERT_EQ(want.height, got.height);
    int worst = 0;
    for (size_t i = 0; i < want.rgb.size(); ++i)
        for (int shift : {0, 8, 16})
            worst = std::max(worst, std::abs(int(want.rgb[i] >> shift & 0xFF) - int(got.rgb[i] >> shift & 0xFF)));
    EXPECT_LE(worst, tolerance);
}

}  // namespace vqztool

#endif  // VQZ_TOOL_PATH
