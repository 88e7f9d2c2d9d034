// The options every command accepts, and a small parser for the rest.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/host.h"

namespace vqz {

struct GlobalOptions {
    standin::AppKind host = standin::AppKind::Desktop;
    int depth = 32;               // how input pictures are made on a desktop host
    double hostVersion = 2013.0;  // what the host answers for its version
    bool hostHasVersion = true;   // false: the host has no version entry point
    std::string pluginPath;       // empty: the module built beside the tool
    bool quiet = false;
    int jpegQuality = 92;
};

// One option of a command: "--width" with a value, or a flag.
struct OptionSpec {
    const char* name;   // "--width"
    const char* alias;  // "-w" or nullptr
    bool takesValue;
};

struct ParsedArgs {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;  // by the option's long name
    bool has(const std::string& name) const { return values.count(name) != 0; }
    std::string get(const std::string& name, const std::string& fallback = "") const {
        auto it = values.find(name);
        return it == values.end() ? fallback : it->second;
    }
};

// Parses a command's arguments; global options may appear anywhere and update
// `globals`. Throws ToolError for an unknown option or a missing value.
ParsedArgs parseArgs(const std::string& command, const std::vector<std::string>& args,
                     const std::vector<OptionSpec>& knownOptions, GlobalOptions& globals);

// Applies one global option at args[i] (advancing i past its value); false when
// args[i] is not a global option.
bool takeGlobalOption(const std::vector<std::string>& args, size_t& i, GlobalOptions& globals);

// Numbers and lists in option values; each throws ToolError naming the option.
int parseIntOption(const std::string& option, const std::string& text, int min, int max);
double parseDoubleOption(const std::string& option, const std::string& text);
std::vector<double> parseNumberList(const std::string& option, const std::string& text, size_t count);
std::vector<int> parseIntList(const std::string& option, const std::string& text, size_t count);
// "&c274C5A", "#274C5A", "274C5A" or "&h274C5A".
uint32_t parseColorOption(const std::string& option, const std::string& text);

const char* hostKindName(standin::AppKind kind);

}  // namespace vqz
