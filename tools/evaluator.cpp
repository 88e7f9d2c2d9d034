#include "tools/evaluator.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <set>
#include <sstream>

#include "tools/arguments.h"
#include "tools/errors.h"
#include "tools/files.h"

namespace vqz {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            size_t up = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = up;
        }
    }
    return row[b.size()];
}

// How one overload would take the call's arguments.
struct Plan {
    Callable callable;
    bool global = false;
    int currentParam = -1;     // the parameter that receives the current picture
    std::vector<int> argFor;   // per parameter: index into the call's arguments, or -1
    std::string problem;       // why it does not fit ("" when it does)
    int defaultsUsed = 0;
    int widenings = 0;         // whole numbers passed as doubles
};

// Why `text` cannot be a value of parameter `p` ("" when it can). No side effects.
std::string argumentProblem(const std::string& text, TypeName type, const std::string& path) {
    int64_t i;
    double d;
    uint32_t c;
    bool b;
    std::string s;
    switch (type) {
        case TypeName::Integer:
            if (!parseIntegerLiteral(text, i)) return "'" + text + "' is not a whole number";
            if (i < INT32_MIN || i > int64_t(UINT32_MAX) || (text[0] != '&' && i > INT32_MAX))
                return "'" + text + "' is outside the range of an integer";
            return "";
        case TypeName::UInt32:
            if (!parseIntegerLiteral(text, i)) return "'" + text + "' is not a whole number";
            if (i < 0 || i > int64_t(UINT32_MAX)) return "'" + text + "' is outside 0 to 4294967295";
            return "";
        case TypeName::Color:
            if (parseColorLiteral(text, c)) return "";
            if (parseIntegerLiteral(text, i) && i >= 0 && i <= int64_t(UINT32_MAX)) return "";
            return "'" + text + "' is not a color (write &cRRGGBB)";
        case TypeName::Double:
            if (!parseDoubleLiteral(text, d)) return "'" + text + "' is not a number";
            return "";
        case TypeName::Boolean:
            if (!parseBooleanLiteral(text, b)) return "'" + text + "' is not true or false";
            return "";
        case TypeName::Picture:
            if (isNilLiteral(text) || fileExists(path)) return "";
            return "'" + text + "' is not nil or a picture file";
        case TypeName::MemoryBlock:
            if (isNilLiteral(text) || fileExists(path)) return "";
            return "'" + text + "' is not nil or a file to read into a MemoryBlock";
        case TypeName::String:
            if (isNilLiteral(text) || parseStringLiteral(text, s) || fileExists(path)) return "";
            return "'" + text + "' is not a quoted string or a file";
        default:
            if (isNilLiteral(text)) return "";
            return "only nil can be passed here";
    }
}

std::string paramText(const standin::Param& p) {
    return std::string(p.byref ? "byref " : "") + p.name + " as " + typeWord(p);
}

bool isWholeNumber(const std::string& text) {
    int64_t v;
    return parseIntegerLiteral(text, v);
}

}  // namespace

std::string Evaluator::pathOf(const std::string& text) const { return joinPath(baseDir_, text); }

std::vector<std::string> callableNames() {
    std::set<std::string> seen;
    std::vector<std::string> names;
    for (const auto& [where, c] : standin::allCallables()) {
        if (!where.empty() && where != "Picture") continue;
        if (seen.insert(lower(c.declaration.name)).second) names.push_back(c.declaration.name);
    }
    return names;
}

std::vector<std::string> nearestNames(const std::string& name, const std::vector<std::string>& names) {
    std::string l = lower(name);
    size_t limit = std::max<size_t>(3, l.size() / 3);
    std::vector<std::pair<size_t, std::string>> scored;
    for (const std::string& n : names) {
        std::string ln = lower(n);
        size_t d = editDistance(l, ln);
        // A name that contains what was typed (or the reverse) is a candidate too.
        bool part = l.size() >= 3 && (ln.find(l) != std::string::npos || l.find(ln) != std::string::npos);
        if (d <= limit || part) scored.emplace_back(d, n);
    }
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> out;
    for (const auto& [d, n] : scored)
        if (out.size() < 4) out.push_back(n);
    return out;
}

CallOutcome Evaluator::run(const CallExpression& call, void* current) {
    std::vector<Plan> plans;
    for (const char* where : {"Picture", ""}) {
        for (Callable& c : session_.named(where, call.name)) {
            Plan p;
            p.global = where[0] == '\0';
            p.callable = std::move(c);
            plans.push_back(std::move(p));
        }
    }
    if (plans.empty()) {
        if (standin::findClass(call.name) && lower(call.name) != "picture")
            throw ToolError(call.name + " is a class, not a method: use 'vqz lut' or 'vqz sepia' (see vqz list " +
                            call.name + ")");
        std::string message = "unknown method '" + call.name + "'";
        std::vector<std::string> near = nearestNames(call.name, callableNames());
        if (!near.empty()) {
            message += "; did you mean ";
            for (size_t i = 0; i < near.size(); ++i) message += (i ? i + 1 == near.size() ? " or " : ", " : "") + near[i];
            message += "?";
        }
        throw ToolError(message + " (vqz list shows every method)");
    }

    // Fit the arguments to each overload.
    for (Plan& p : plans) {
        const std::vector<standin::Param>& params = p.callable.declaration.params;
        p.argFor.assign(params.size(), -1);
        if (call.assigned && !p.callable.setter) {
            p.problem = "cannot be assigned to";
            continue;
        }
        if (p.global) {
            for (size_t i = 0; i < params.size(); ++i)
                if (params[i].type == TypeName::Picture) {
                    p.currentParam = int(i);
                    break;
                }
        }
        size_t next = 0;
        for (size_t i = 0; i < params.size() && p.problem.empty(); ++i) {
            if (int(i) == p.currentParam) continue;
            const standin::Param& param = params[i];
            if (next < call.args.size()) {
                const std::string& text = call.args[next];
                std::string why = argumentProblem(text, param.type, pathOf(text));
                if (!why.empty()) {
                    p.problem = "argument " + std::to_string(next + 1) + " (" + paramText(param) + "): " + why;
                    break;
                }
                if (param.type == TypeName::Double && isWholeNumber(text)) ++p.widenings;
                p.argFor[i] = int(next++);
            } else if (param.defaultText || param.byref) {
                ++p.defaultsUsed;
            } else {
                p.problem = paramText(param) + " is missing and has no default";
            }
        }
        if (p.problem.empty() && next < call.args.size()) {
            size_t takes = params.size() - (p.currentParam >= 0 ? 1 : 0);
            p.problem = takes == 0 ? "takes no arguments" : "takes at most " + std::to_string(takes) + " argument" +
                                                                    (takes == 1 ? "" : "s");
            p.problem += ", " + std::to_string(call.args.size()) + " given";
            if (p.currentParam >= 0) p.problem += " (the current picture is its first picture argument)";
        }
        if (p.problem.empty() && call.assigned) {
            std::string why = argumentProblem(*call.assigned, p.callable.declaration.result, pathOf(*call.assigned));
            if (!why.empty()) p.problem = "the assigned value: " + why;
        }
    }

    const Plan* best = nullptr;
    for (const Plan& p : plans) {
        if (!p.problem.empty()) continue;
        if (!best || p.defaultsUsed < best->defaultsUsed ||
            (p.defaultsUsed == best->defaultsUsed && p.widenings < best->widenings))
            best = &p;
    }
    if (!best) {
        std::ostringstream o;
        o << "'" << call.text << "' fits no form of " << plans.front().callable.declaration.name << ":";
        for (const Plan& p : plans)
            o << "\n    " << (p.global ? "" : "Picture.") << p.callable.declarationText << "\n        " << p.problem;
        throw ToolError(o.str());
    }

    // Build the arguments; files are read now.
    const Callable& c = best->callable;
    const std::vector<standin::Param>& params = c.declaration.params;
    auto valueOf = [&](const std::string& text, TypeName type) -> Value {
        int64_t i = 0;
        double d = 0;
        uint32_t color = 0;
        bool b = false;
        std::string s;
        switch (type) {
            case TypeName::Integer:
                parseIntegerLiteral(text, i);
                return Value::integer(int64_t(int32_t(uint32_t(i))));
            case TypeName::UInt32:
                parseIntegerLiteral(text, i);
                return Value::uint32(uint32_t(i));
            case TypeName::Color:
                if (!parseColorLiteral(text, color)) {
                    parseIntegerLiteral(text, i);
                    color = uint32_t(i);
                }
                return Value::color(color);
            case TypeName::Double:
                parseDoubleLiteral(text, d);
                return Value::real(d);
            case TypeName::Boolean:
                parseBooleanLiteral(text, b);
                return Value::boolean(b);
            default: break;
        }
        if (isNilLiteral(text)) return Value::nil();
        if (type == TypeName::Picture) return Value::object(type, session_.loadPicture(pathOf(text)));
        if (type == TypeName::String) {
            if (parseStringLiteral(text, s)) return Value::object(type, Ref::adopt(standin::newString(s, kEncodingUTF8)));
            std::vector<unsigned char> bytes = readFile(pathOf(text));
            return Value::object(type, Ref::adopt(standin::newString(std::string(bytes.begin(), bytes.end()),
                                                                     kEncodingAsStored)));
        }
        if (type == TypeName::MemoryBlock) {
            std::vector<unsigned char> bytes = readFile(pathOf(text));
            if (bytes.size() > size_t(INT32_MAX)) throw ToolError(text + ": too large for a MemoryBlock");
            Ref block = Ref::adopt(standin::newMemoryBlock(int32_t(bytes.size())));
            if (!block) throw ToolError("the host cannot make a MemoryBlock of " + std::to_string(bytes.size()) + " bytes");
            if (!bytes.empty()) std::copy(bytes.begin(), bytes.end(), standin::memoryBlockData(block.get()));
            return Value::object(type, std::move(block));
        }
        return Value::nil();
    };

    std::vector<Value> args(params.size());
    for (size_t i = 0; i < params.size(); ++i) {
        const standin::Param& param = params[i];
        if (int(i) == best->currentParam) {
            args[i] = Value::picture(current);
        } else if (best->argFor[i] >= 0) {
            args[i] = valueOf(call.args[size_t(best->argFor[i])], param.type);
        } else if (auto d = standin::defaultValue(param)) {
            args[i] = std::move(*d);
        } else if (param.type == TypeName::Double) {
            args[i] = Value::real(0);
        } else if (param.type == TypeName::Boolean) {
            args[i] = Value::boolean(false);
        } else if (standin::isObjectType(param.type)) {
            args[i] = Value::object(param.type, Ref());
        } else {
            args[i] = Value::integer(0);
            args[i].type = param.type;
        }
    }

    CallOutcome out;
    out.declaration = c.declarationText;
    void* receiver = best->global ? nullptr : current;
    if (call.assigned) {
        Value assigned = valueOf(*call.assigned, c.declaration.result);
        session_.callSetter(c, receiver, args, assigned);
    } else {
        out.result = session_.call(c, receiver, args);
        out.returnsValue = c.declaration.result != TypeName::Void;
        if (out.returnsValue && standin::isObjectType(c.declaration.result) && out.result.isNil())
            throw ToolError(call.text + " returned nil: the plugin made no " + lower(typeNameText(c.declaration.result)) +
                                " (" + c.declarationText + ")",
                            kExitNil);
    }
    for (size_t i = 0; i < params.size(); ++i)
        if (params[i].byref) out.outputs.emplace_back(params[i].name, std::move(args[i]));
    return out;
}

std::vector<std::string> Evaluator::report(const CallOutcome& outcome) {
    std::vector<std::string> lines;
    if (outcome.returnsValue && outcome.result.type != TypeName::Picture) lines.push_back(formatValue(outcome.result));
    for (const auto& [name, value] : outcome.outputs) lines.push_back(name + " = " + formatValue(value));
    return lines;
}

}  // namespace vqz
