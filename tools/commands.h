// The tool's commands. Each takes its arguments (after the command name) and the
// global options, and returns the exit status; failures throw ToolError.
#pragma once

#include <string>
#include <vector>

#include "tools/options.h"

namespace vqz {

using Args = std::vector<std::string>;

struct Command {
    const char* name;
    const char* summary;  // one line for `vqz --help`
    const char* usage;    // the text of `vqz NAME --help`
    int (*run)(const Args& args, GlobalOptions& globals);
};

const std::vector<Command>& commands();
const Command* findCommand(const std::string& name);

int runList(const Args& args, GlobalOptions& globals);
int runApply(const Args& args, GlobalOptions& globals);
int runEval(const Args& args, GlobalOptions& globals);
int runLut(const Args& args, GlobalOptions& globals);
int runSepia(const Args& args, GlobalOptions& globals);
int runWaveform(const Args& args, GlobalOptions& globals);
int runEncode(const Args& args, GlobalOptions& globals);
int runDecode(const Args& args, GlobalOptions& globals);
int runFind(const Args& args, GlobalOptions& globals);
int runHistogram(const Args& args, GlobalOptions& globals);
int runGallery(const Args& args, GlobalOptions& globals);
int runDemo(const Args& args, GlobalOptions& globals);

// The usage error every command gives for a wrong number of arguments.
[[noreturn]] void usageError(const std::string& command, const std::string& problem);

extern const char* const kVersion;

}  // namespace vqz
