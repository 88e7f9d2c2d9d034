// vqz: the picture plugin on the command line, through the stand-in host.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/evaluator.h"

namespace {

const char* const kGlobalHelp = R"(
Global options (anywhere on the line):
  --host desktop|console|web   the kind of host application (default desktop)
  --depth 32|24|16|8           how a desktop host makes input pictures (default 32)
  --host-version V|none        the version the host reports (default 2013.0;
                               none: a host without a version entry point)
  --plugin PATH                the plugin module to load (default: the one built with vqz)
  --quality N                  JPEG quality of written files (default 92)
  -q, --quiet                  no progress or notes
  --version                    print the version
  -h, --help                   this text; vqz COMMAND --help for a command

Exit status: 0 success, 1 error, 2 a method returned nil, 3 the plugin raised
an exception.
)";

void printHelp() {
    std::printf("usage: vqz [OPTIONS] COMMAND [ARGS]\n\nCommands:\n");
    for (const vqz::Command& c : vqz::commands()) std::printf("  %-10s %s\n", c.name, c.summary);
    std::printf("%s", kGlobalHelp);
}

int run(const std::vector<std::string>& argv) {
    vqz::GlobalOptions globals;
    size_t i = 0;
    for (; i < argv.size(); ++i) {
        const std::string& a = argv[i];
        if (a == "--version") {
            std::printf("vqz %s\n", vqz::kVersion);
            return 0;
        }
        if (a == "-h" || a == "--help") {
            printHelp();
            return 0;
        }
        if (!a.empty() && a[0] == '-') {
            if (!vqz::takeGlobalOption(argv, i, globals))
                throw vqz::ToolError("unknown option " + a + " (see vqz --help)");
            continue;
        }
        break;
    }
    if (i >= argv.size()) {
        printHelp();
        return 1;
    }
    const std::string& name = argv[i];
    const vqz::Command* command = vqz::findCommand(name);
    if (!command) {
        std::vector<std::string> names;
        for (const vqz::Command& c : vqz::commands()) names.push_back(c.name);
        std::vector<std::string> near = vqz::nearestNames(name, names);
        std::string message = "unknown command '" + name + "'";
        if (!near.empty()) message += "; did you mean " + near.front() + "?";
        throw vqz::ToolError(message + " (see vqz --help)");
    }
    std::vector<std::string> args(argv.begin() + long(i) + 1, argv.end());
    for (const std::string& a : args) {
        if (a == "--") break;
        if (a == "-h" || a == "--help") {
            std::printf("%s", command->usage);
            return 0;
        }
    }
    return command->run(args, globals);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    try {
        return run(args);
    } catch (const vqz::ToolError& e) {
        std::fprintf(stderr, "vqz: %s\n", e.what());
        return e.status;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "vqz: out of memory\n");
        return vqz::kExitError;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vqz: %s\n", e.what());
        return vqz::kExitError;
    }
}
