// vqz list: what the plugin registered, read from the registration records.
#include <fnmatch.h>

#include <cctype>
#include <cstdio>

#include "host/call.h"
#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/session.h"

namespace vqz {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string nameOf(const char* declaration) {
    std::string d = declaration ? declaration : "";
    size_t end = d.find_first_of("( ");
    return end == std::string::npos ? d : d.substr(0, end);
}

struct Filter {
    std::string pattern;
    bool matches(const std::string& name, const std::string& owner) const {
        if (pattern.empty()) return true;
        std::string p = lower(pattern);
        bool wildcard = p.find_first_of("*?[") != std::string::npos;
        for (const std::string& n : {lower(name), lower(owner)}) {
            if (n.empty()) continue;
            if (wildcard ? fnmatch(p.c_str(), n.c_str(), 0) == 0 : n.find(p) != std::string::npos) return true;
        }
        return false;
    }
};

void listMethods(const REALmethodDefinition* table, uintptr_t count, const std::string& owner, const Filter& filter,
                 std::vector<std::string>& lines) {
    for (uintptr_t i = 0; table && i < count; ++i) {
        const REALmethodDefinition& m = table[i];
        if (!m.declaration || !filter.matches(nameOf(m.declaration), owner)) continue;
        std::string line = std::string("  ") + m.declaration;
        if (m.setterFunction) line += "    (can be assigned)";
        lines.push_back(line);
    }
}

void listProperties(const REALproperty* table, uintptr_t count, const std::string& owner, const Filter& filter,
                    std::vector<std::string>& lines) {
    for (uintptr_t i = 0; table && i < count; ++i) {
        const REALproperty& p = table[i];
        if (!p.name || !filter.matches(p.name, owner)) continue;
        lines.push_back(std::string("  property ") + p.name + " as " + (p.type ? p.type : "?"));
    }
}

void printSection(const std::string& title, const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    std::printf("%s\n", title.c_str());
    for (const std::string& l : lines) std::printf("%s\n", l.c_str());
}

}  // namespace

int runList(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("list", args, {}, globals);
    if (parsed.positional.size() > 1) usageError("list", "at most one PATTERN");
    Filter filter{parsed.positional.empty() ? "" : parsed.positional[0]};
    Session session(globals);

    size_t shown = 0;
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        if (!def || !rc.extension) continue;
        std::vector<std::string> lines;
        listMethods(def->methods, def->methodCount, def->name ? def->name : "", filter, lines);
        printSection(std::string("Methods of ") + (def->name ? def->name : "?") + ":", lines);
        shown += lines.size();
    }
    {
        std::vector<std::string> lines;
        for (const REALmethodDefinition* m : standin::registeredGlobalMethods())
            if (m) listMethods(m, 1, "", filter, lines);
        if (shown && !lines.empty()) std::printf("\n");
        printSection("Global methods:", lines);
        shown += lines.size();
    }
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        if (!def || rc.extension || !def->name) continue;
        std::vector<std::string> lines;
        listProperties(def->properties, def->propertyCount, def->name, filter, lines);
        listMethods(def->methods, def->methodCount, def->name, filter, lines);
        listProperties(def->sharedProperties, def->sharedPropertyCount, def->name, filter, lines);
        listMethods(def->sharedMethods, def->sharedMethodCount, def->name, filter, lines);
        if (shown && !lines.empty()) std::printf("\n");
        printSection(std::string("Class ") + def->name + ":", lines);
        shown += lines.size();
    }
    if (shown == 0) {
        if (!filter.pattern.empty()) throw ToolError("list: nothing registered matches '" + filter.pattern + "'");
        throw ToolError("list: the plugin registered nothing");
    }
    return kExitOk;
}

}  // namespace vqz
