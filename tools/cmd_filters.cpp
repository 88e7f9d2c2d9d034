// vqz lut and vqz sepia: the two filter classes on a picture file.
#include "tools/commands.h"
#include "tools/cube.h"
#include "tools/errors.h"
#include "tools/filters.h"
#include "tools/image_io.h"

namespace vqz {

namespace {

ClassBounds boundsOption(const ParsedArgs& parsed) {
    ClassBounds b;
    if (parsed.has("--rect")) {
        std::vector<int> v = parseIntList("--rect", parsed.get("--rect"), 4);
        b.minX = v[0];
        b.minY = v[1];
        b.maxX = v[2];
        b.maxY = v[3];
    }
    return b;
}

}  // namespace

int runLut(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("lut", args, {{"--rect", nullptr, true}}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 3) usageError("lut", "IN, CUBE and OUT are needed");
    ClassBounds bounds = boundsOption(parsed);
    outputFormat(pos[2]);
    std::vector<double> lattice = classLattice(readCube(pos[1]));
    Session session(globals);
    Ref source = session.loadPicture(pos[0]);
    Ref result = runLutClass(session, source.get(), lattice, bounds);
    session.savePicture(result.get(), pos[2]);
    return kExitOk;
}

int runSepia(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("sepia", args,
                                  {{"--weights", nullptr, true}, {"--offsets", nullptr, true}, {"--rect", nullptr, true}},
                                  globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 2) usageError("sepia", "IN and OUT are needed");
    SepiaSettings settings;
    settings.bounds = boundsOption(parsed);
    if (parsed.has("--weights")) {
        std::vector<double> w = parseNumberList("--weights", parsed.get("--weights"), 3);
        settings.weights = std::array<double, 3>{{w[0], w[1], w[2]}};
    }
    if (parsed.has("--offsets")) {
        std::vector<int> o = parseIntList("--offsets", parsed.get("--offsets"), 3);
        settings.offsets = {{o[0], o[1], o[2]}};
    }
    outputFormat(pos[1]);
    Session session(globals);
    Ref source = session.loadPicture(pos[0]);
    Ref result = runSepiaClass(session, source.get(), settings);
    session.savePicture(result.get(), pos[1]);
    return kExitOk;
}

}  // namespace vqz
