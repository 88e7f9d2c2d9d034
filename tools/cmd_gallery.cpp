// vqz gallery and vqz demo.
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/files.h"
#include "tools/gallery.h"
#include "tools/image_io.h"

namespace vqz {

extern const unsigned char sampleData[];
extern const size_t sampleSize;

namespace {

int galleryOf(const Image& source, const std::string& name, const std::string& credit, const ParsedArgs& parsed,
              const GlobalOptions& globals) {
    std::string dir = parsed.get("--output", "gallery");
    Session session(globals);
    GalleryRun run = writeGallery(session, source, name, credit, dir);
    char* resolved = realpath(run.indexPath.c_str(), nullptr);
    std::string where = resolved ? resolved : run.indexPath;
    std::free(resolved);
    std::printf("gallery written to %s (%zu of %zu calls made a picture)\n", where.c_str(), run.tiles - run.failed,
                run.tiles);
    std::fflush(stdout);
    if (run.failed && parsed.has("--strict"))
        throw ToolError(std::to_string(run.failed) + " gallery calls failed");
    return kExitOk;
}

const std::vector<OptionSpec> kGalleryOptions = {{"--output", "-o", true}, {"--strict", nullptr, false}};

}  // namespace

int runGallery(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("gallery", args, kGalleryOptions, globals);
    if (parsed.positional.size() != 1) usageError("gallery", "one IN is needed");
    Image source = readImage(parsed.positional[0]);
    return galleryOf(source, baseName(parsed.positional[0]), "", parsed, globals);
}

int runDemo(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("demo", args, kGalleryOptions, globals);
    if (!parsed.positional.empty()) usageError("demo", "no arguments besides -o DIR");
    Image source = decodeImage("coffee.png", sampleData, sampleSize);
    return galleryOf(source, "coffee.png",
                     "Sample picture: \"Coffee\" by Rachel Michetti, CC0 (public domain), from scikit-image's "
                     "sample data.",
                     parsed, globals);
}

}  // namespace vqz
