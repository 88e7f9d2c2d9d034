#include "tools/options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "tools/arguments.h"
#include "tools/errors.h"

namespace vqz {

namespace {

std::string needValue(const std::vector<std::string>& args, size_t& i) {
    if (i + 1 >= args.size()) throw ToolError("option " + args[i] + " needs a value");
    return args[++i];
}

// "--name=value" split into name and value.
bool splitInline(const std::string& arg, std::string& name, std::string& value) {
    if (arg.compare(0, 2, "--") != 0) return false;
    size_t eq = arg.find('=');
    if (eq == std::string::npos) return false;
    name = arg.substr(0, eq);
    value = arg.substr(eq + 1);
    return true;
}

}  // namespace

const char* hostKindName(standin::AppKind kind) {
    switch (kind) {
        case standin::AppKind::Desktop: return "desktop";
        case standin::AppKind::Console: return "console";
        case standin::AppKind::Web: return "web";
    }
    return "?";
}

bool takeGlobalOption(const std::vector<std::string>& args, size_t& i, GlobalOptions& globals) {
    std::string name = args[i], value;
    bool inlineValue = splitInline(args[i], name, value);
    auto valueOf = [&]() { return inlineValue ? value : needValue(args, i); };
    if (name == "--host") {
        std::string v = valueOf();
        if (v == "desktop") globals.host = standin::AppKind::Desktop;
        else if (v == "console") globals.host = standin::AppKind::Console;
        else if (v == "web") globals.host = standin::AppKind::Web;
        else throw ToolError("--host: '" + v + "' is not desktop, console or web");
        return true;
    }
    if (name == "--depth") {
        std::string v = valueOf();
        if (v != "32" && v != "24" && v != "16" && v != "8") throw ToolError("--depth: '" + v + "' is not 32, 24, 16 or 8");
        globals.depth = std::atoi(v.c_str());
        return true;
    }
    if (name == "--host-version") {
        std::string v = valueOf();
        globals.hostHasVersion = v != "none";
        globals.hostVersion = v == "none" ? 0.0 : parseDoubleOption("--host-version", v);
        return true;
    }
    if (name == "--plugin") {
        globals.pluginPath = valueOf();
        return true;
    }
    if (name == "--quality") {
        globals.jpegQuality = parseIntOption("--quality", valueOf(), 1, 100);
        return true;
    }
    if (name == "--quiet" || name == "-q") {
        if (inlineValue) throw ToolError(name + " takes no value");
        globals.quiet = true;
        return true;
    }
    return false;
}

ParsedArgs parseArgs(const std::string& command, const std::vector<std::string>& args,
                     const std::vector<OptionSpec>& knownOptions, GlobalOptions& globals) {
    ParsedArgs out;
    bool onlyPositional = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (onlyPositional || a.size() < 2 || a[0] != '-' || (a[1] >= '0' && a[1] <= '9') || a[1] == '.') {
            out.positional.push_back(a);
            continue;
        }
        if (a == "--") {
            onlyPositional = true;
            continue;
        }
        if (takeGlobalOption(args, i, globals)) continue;
        std::string name = a, value;
        bool inlineValue = splitInline(a, name, value);
        const OptionSpec* known = nullptr;
        for (const OptionSpec& s : knownOptions)
            if (name == s.name || (s.alias && name == s.alias)) known = &s;
        if (!known) throw ToolError("unknown option " + name + " for '" + command + "' (see vqz " + command + " --help)");
        if (known->takesValue) {
            out.values[known->name] = inlineValue ? value : needValue(args, i);
        } else {
            if (inlineValue) throw ToolError(name + " takes no value");
            out.values[known->name] = "1";
        }
    }
    return out;
}

int parseIntOption(const std::string& option, const std::string& text, int min, int max) {
    int64_t v;
    if (!parseIntegerLiteral(text, v) || v < min || v > max)
        throw ToolError(option + ": '" + text + "' is not a whole number from " + std::to_string(min) + " to " +
                        std::to_string(max));
    return int(v);
}

double parseDoubleOption(const std::string& option, const std::string& text) {
    double v;
    if (!parseDoubleLiteral(text, v)) throw ToolError(option + ": '" + text + "' is not a number");
    return v;
}

namespace {
std::vector<std::string> splitList(const std::string& option, const std::string& text, size_t count) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        size_t comma = text.find(',', start);
        parts.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (parts.size() != count)
        throw ToolError(option + ": '" + text + "' should be " + std::to_string(count) + " values separated by commas");
    return parts;
}
}  // namespace

std::vector<double> parseNumberList(const std::string& option, const std::string& text, size_t count) {
    std::vector<double> out;
    for (const std::string& p : splitList(option, text, count)) out.push_back(parseDoubleOption(option, p));
    return out;
}

std::vector<int> parseIntList(const std::string& option, const std::string& text, size_t count) {
    std::vector<int> out;
    for (const std::string& p : splitList(option, text, count))
        out.push_back(parseIntOption(option, p, INT32_MIN, INT32_MAX));
    return out;
}

uint32_t parseColorOption(const std::string& option, const std::string& text) {
    uint32_t c;
    if (parseColorLiteral(text, c)) return c;
    std::string bare = text;
    if (!bare.empty() && bare[0] == '#') bare = bare.substr(1);
    if (bare.size() == 6 && parseColorLiteral("&c" + bare, c)) return c;
    throw ToolError(option + ": '" + text + "' is not a color (write &cRRGGBB or #RRGGBB)");
}

}  // namespace vqz
