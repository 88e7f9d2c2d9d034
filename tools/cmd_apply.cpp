// vqz apply and vqz eval: calls in the host language on a picture file.
#include <cstdio>
#include <set>

#include "tools/arguments.h"
#include "tools/batch.h"
#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/files.h"
#include "tools/image_io.h"
#include "tools/pipeline.h"

namespace vqz {

int runApply(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("apply", args,
                                  {{"--output", "-o", true}, {"--jobs", "-j", true}, {"--format", nullptr, true}},
                                  globals);
    const std::vector<std::string>& pos = parsed.positional;

    if (!parsed.has("--output")) {
        if (parsed.has("--jobs") || parsed.has("--format")) usageError("apply", "-j and --format go with -o DIR");
        if (pos.size() < 2) usageError("apply", "IN and OUT are needed");
        std::vector<CallExpression> calls = parseCalls(std::vector<std::string>(pos.begin() + 2, pos.end()));
        Session session(globals);
        std::vector<std::string> printed;
        runPipeline(session, pos[0], pos[1], calls, printed);
        for (const std::string& line : printed) std::printf("%s\n", line.c_str());
        return kExitOk;
    }

    // Batch: the inputs come first, then the calls (the first argument that reads
    // as a call and is not a file).
    Batch batch;
    size_t i = 0;
    while (i < pos.size() && (fileExists(pos[i]) || !looksLikeCall(pos[i]))) batch.inputs.push_back(pos[i++]);
    if (batch.inputs.empty()) usageError("apply", "no input files");
    batch.calls = parseCalls(std::vector<std::string>(pos.begin() + long(i), pos.end()));
    batch.jobs = parsed.has("--jobs") ? parseIntOption("--jobs", parsed.get("--jobs"), 1, 256) : 1;
    std::string dir = parsed.get("--output");
    std::string format = parsed.get("--format");
    if (!format.empty()) {
        if (format[0] == '.') format = format.substr(1);
        if (!isImageExtension(format)) usageError("apply", "--format " + format + " is not png, jpg, ppm or pgm");
    }
    std::set<std::string> seen;
    for (const std::string& in : batch.inputs) {
        std::string name = baseName(in);
        if (!format.empty()) name = withoutExtension(name) + "." + format;
        std::string out = joinPath(dir, name);
        outputFormat(out);
        if (!seen.insert(out).second) throw ToolError("apply: two inputs would both be written to " + out);
        batch.outputs.push_back(out);
    }
    makeDirectories(dir);
    return runBatch(batch, globals);
}

int runEval(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("eval", args, {}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() < 2) usageError("eval", "IN and a CALL are needed");
    std::vector<CallExpression> calls = parseCalls(std::vector<std::string>(pos.begin() + 1, pos.end()));
    Session session(globals);
    Evaluator evaluator(session);
    Ref current = session.loadPicture(pos[0]);
    for (const CallExpression& call : calls) {
        CallOutcome outcome = evaluator.run(call, current.get());
        if (outcome.returnsValue && outcome.result.type == TypeName::Picture) {
            current = outcome.result.ref;
            std::printf("%s\n", formatValue(outcome.result).c_str());
        }
        for (const std::string& line : Evaluator::report(outcome)) std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }
    return kExitOk;
}

}  // namespace vqz
