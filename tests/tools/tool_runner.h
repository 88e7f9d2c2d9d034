// Running the built vqz executable from tests, and the small files they give it.
// Everything here exists only when the tool is built (VQZ_TOOL_PATH is defined).
#pragma once

#ifdef VQZ_TOOL_PATH

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/fixture.h"
#include "tools/image.h"
#include "tools/image_io.h"

namespace vqztool {

struct ToolRun {
    int status = -1;  // exit status, or 128 + signal
    std::string out;
    std::string err;
};

// Runs vqz with `args` in `workdir` ("" for the current directory), with the ledger
// check on: a run that leaves host objects behind fails the test.
ToolRun runTool(const std::vector<std::string>& args, const std::string& workdir = "");
// The same, with the global options that make the input pictures in the host format `f`.
ToolRun runTool(const vqztest::HostFormat& f, const std::vector<std::string>& args, const std::string& workdir);

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
    std::vector<std::string> entries() const;  // not recursive, sorted
    void write(const std::string& name, const std::string& bytes) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const;

private:
    std::string path_;
};

// Random opaque pixels.
vqz::Image randomImage(int width, int height, uint32_t seed);
// The colors of an image file, read through the tool's readers, for comparison with
// pictures from direct calls.
vqztest::Snapshot fileSnapshot(const std::string& path);

// An input picture in the current host, made as the tool makes it: a picture of
// the format with each pixel set through the host.
standin::Ref hostPicture(const vqztest::HostFormat& f, const vqz::Image& image);

// Expects `run` to have written `expected` to `path`, each channel within
// `tolerance`; a null `expected` (the plugin made no picture) expects status 2.
void expectOutput(const ToolRun& run, const standin::Ref& expected, const std::string& path, int tolerance = 0);

}  // namespace vqztool

#endif  // VQZ_TOOL_PATH
