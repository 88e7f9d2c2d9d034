#include "tools/expression.h"

#include <cctype>

#include "tools/errors.h"

namespace vqz {

namespace {

bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool isNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

std::string trim(const std::string& s) {
    size_t a = s.find_first_not_of(" \t\r\n");
    if (a == std::string::npos) return "";
    size_t b = s.find_last_not_of(" \t\r\n");
    return s.substr(a, b - a + 1);
}

[[noreturn]] void bad(const std::string& text, const std::string& why) {
    throw ToolError("cannot read the call '" + text + "': " + why);
}

// Splits "a, b, (c, d)" at top-level commas, keeping quoted strings whole.
// `i` starts after "(" and ends after the matching ")".
std::vector<std::string> splitArguments(const std::string& text, size_t& i) {
    std::vector<std::string> args;
    std::string current;
    int depth = 0;
    bool sawComma = false;
    while (true) {
        if (i >= text.size()) bad(text, "missing ')'");
        char c = text[i];
        if (c == '"') {
            size_t j = i + 1;
            while (true) {
                if (j >= text.size()) bad(text, "a quoted string is not closed");
                if (text[j] == '"') {
                    if (j + 1 < text.size() && text[j + 1] == '"') {
                        j += 2;
                        continue;
                    }
                    break;
                }
                ++j;
            }
            current += text.substr(i, j - i + 1);
            i = j + 1;
            continue;
        }
        if (c == '(') ++depth;
        if (c == ')') {
            if (depth == 0) {
                ++i;
                std::string last = trim(current);
                if (!last.empty() || sawComma) {
                    if (last.empty()) bad(text, "an argument is empty");
                    args.push_back(last);
                }
                return args;
            }
            --depth;
        }
        if (c == ',' && depth == 0) {
            std::string arg = trim(current);
            if (arg.empty()) bad(text, "an argument is empty");
            args.push_back(arg);
            current.clear();
            sawComma = true;
            ++i;
            continue;
        }
        current += c;
        ++i;
    }
}

}  // namespace

bool looksLikeCall(const std::string& raw) {
    std::string text = trim(raw);
    if (text.empty() || !isNameStart(text[0])) return false;
    size_t i = 0;
    while (i < text.size() && isNameChar(text[i])) ++i;
    while (i < text.size() && text[i] == ' ') ++i;
    return i == text.size() || text[i] == '(' || text[i] == '=';
}

CallExpression parseCallExpression(const std::string& raw) {
    CallExpression e;
    e.text = trim(raw);
    const std::string& text = e.text;
    if (text.empty()) bad(raw, "it is empty");
    if (!isNameStart(text[0])) bad(text, "it should start with a method name");
    size_t i = 0;
    while (i < text.size() && isNameChar(text[i])) ++i;
    e.name = text.substr(0, i);
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    if (i < text.size() && text[i] == '(') {
        ++i;
        e.args = splitArguments(text, i);
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    }
    if (i < text.size() && text[i] == '=') {
        std::string value = trim(text.substr(i + 1));
        if (value.empty()) bad(text, "nothing after '='");
        e.assigned = value;
        i = text.size();
    }
    if (i != text.size()) bad(text, "unexpected '" + text.substr(i) + "'");
    return e;
}

}  // namespace vqz
