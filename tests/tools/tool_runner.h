// Running the built vqz executable from tests, and the small files they give it.
// Everything here exists only when the tool is built (VQZ_TOOL_PATH is defined).
#pragma once

#ifdef VQZ_TOOL_PATH

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/fixture.h"
#include "tools/image.h"

namespace vqztool {

struct ToolRun {
    int status = -1;  // exit status, or 128 + signal
    std::string out;
    std::string err;
};

// Runs vqz with `args` in `workdir` ("" for the current directory).
ToolRun runTool(const std::vector<std::string>& args, const std::string& workdir = "");

// Prints a run for failure messages.
std::string describe(const ToolRun& run);

// A fresh directory, removed with its contents at the end of the test.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    // The names in the directory (not recursive), sorted.
    std::vector<std::string> entries() const;
    void write(const std::string& name, const std::string& bytes) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const;

private:
    std::string path_;
};

// The global options that make the tool's input pictures in a host format.
std::vector<std::string> formatArgs(const vqztest::HostFormat& f);

// Random pixels (opaque).
vqz::Image randomImage(int width, int height, uint32_t seed);
// Writes a binary PPM (the simplest format; the tests of other formats write their own).
void writePpm(const std::string& path, const vqz::Image& image);
// Reads any image file the tool writes (through the tool's readers).
vqz::Image readPicture(const std::string& path);

// An input picture in the current host, made as the tool makes it: a picture of
// the format with each pixel set through the host.
standin::Ref hostPicture(const vqztest::HostFormat& f, const vqz::Image& image);
// A snapshot of an image file, for comparison with pictures from direct calls.
vqztest::Snapshot snapshotOf(const vqz::Image& image);

}  // namespace vqztool

#endif  // VQZ_TOOL_PATH
