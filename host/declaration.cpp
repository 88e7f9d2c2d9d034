// Parsing the declaration strings of registration records, the way the host
// language reads them:
//   Name [ "(" [ param { "," param } ] ")" ] [ "as" Type ]
//   param = [ "byref" | "byval" ] Name "as" Type [ "=" default ]
// Keywords and type names are case-insensitive.
#include "host/call.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace standin {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool isIdentStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool isIdentChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string trim(const std::string& s) {
    size_t b = 0, e = s.size();
    while (b < e && isSpace(s[b])) ++b;
    while (e > b && isSpace(s[e - 1])) --e;
    return s.substr(b, e - b);
}

class Scanner {
public:
    explicit Scanner(const std::string& t) : t_(t) {}
    void skip() {
        while (i_ < t_.size() && isSpace(t_[i_])) ++i_;
    }
    bool atEnd() {
        skip();
        return i_ >= t_.size();
    }
    char peek() {
        skip();
        return i_ < t_.size() ? t_[i_] : '\0';
    }
    bool accept(char c) {
        if (peek() != c) return false;
        ++i_;
        return true;
    }
    // An identifier, or "" when none starts here.
    std::string ident() {
        skip();
        if (i_ >= t_.size() || !isIdentStart(t_[i_])) return {};
        size_t b = i_;
        while (i_ < t_.size() && isIdentChar(t_[i_])) ++i_;
        return t_.substr(b, i_ - b);
    }
    // The text up to the next ',' or ')' outside quotes (not consumed).
    std::string until() {
        size_t b = i_;
        bool quoted = false;
        while (i_ < t_.size()) {
            char c = t_[i_];
            if (c == '"') quoted = !quoted;
            if (!quoted && (c == ',' || c == ')')) break;
            ++i_;
        }
        return trim(t_.substr(b, i_ - b));
    }
    size_t pos() const { return i_; }
    void seek(size_t p) { i_ = p; }

private:
    const std::string& t_;
    size_t i_ = 0;
};

bool isKeyword(const std::string& word, const char* kw) { return lower(word) == kw; }

bool parseParam(Scanner& s, Param& p) {
    std::string first = s.ident();
    if (first.empty()) return false;
    if (isKeyword(first, "byref") || isKeyword(first, "byval")) {
        // "byref as integer" would be a parameter named byref; look ahead for that.
        size_t save = s.pos();
        std::string next = s.ident();
        if (next.empty() || isKeyword(next, "as")) {
            s.seek(save);
        } else {
            p.byref = isKeyword(first, "byref");
            first = next;
        }
    }
    p.name = first;
    if (!isKeyword(s.ident(), "as")) return false;
    p.typeText = s.ident();
    if (p.typeText.empty()) return false;
    p.type = typeFromName(p.typeText);
    if (s.accept('=')) {
        std::string text = s.until();
        if (!validDefault(p.type, text)) return false;
        p.defaultText = text;
    }
    return true;
}

bool allDigits(const std::string& s, size_t from, bool hex) {
    if (from >= s.size()) return false;
    for (size_t i = from; i < s.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (hex ? !std::isxdigit(c) : !std::isdigit(c)) return false;
    }
    return true;
}

// A whole number that fits 32 bits (signed or unsigned).
bool isDecimalInteger(const std::string& s) {
    size_t from = (!s.empty() && (s[0] == '-' || s[0] == '+')) ? 1 : 0;
    if (!allDigits(s, from, false) || s.size() - from > 10) return false;
    long long v = std::strtoll(s.c_str(), nullptr, 10);
    return v >= -2147483648ll && v <= 4294967295ll;
}

bool isHexLiteral(const std::string& s, char kind) {  // &h..., &c..., at most 32 bits
    return s.size() > 2 && s.size() <= 10 && s[0] == '&' && std::tolower(static_cast<unsigned char>(s[1])) == kind &&
           allDigits(s, 2, true);
}

bool isNumber(const std::string& s) {
    if (s.empty()) return false;
    char* end = nullptr;
    std::strtod(s.c_str(), &end);
    if (end != s.c_str() + s.size()) return false;
    // strtod also takes "inf", "nan" and hex floats; the host language does not.
    for (char c : s)
        if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '+' || c == 'e' ||
              c == 'E'))
            return false;
    return true;
}

// Integer value of a decimal or &h / &c literal (validated before).
int64_t integerOf(const std::string& s) {
    if (s.size() > 2 && s[0] == '&') return static_cast<int64_t>(std::strtoull(s.c_str() + 2, nullptr, 16));
    return std::strtoll(s.c_str(), nullptr, 10);
}

}  // namespace

TypeName typeFromName(const std::string& name) {
    std::string n = lower(name);
    if (n == "integer") return TypeName::Integer;
    if (n == "uint32") return TypeName::UInt32;
    if (n == "color") return TypeName::Color;
    if (n == "double") return TypeName::Double;
    if (n == "boolean") return TypeName::Boolean;
    if (n == "string") return TypeName::String;
    if (n == "picture") return TypeName::Picture;
    if (n == "memoryblock") return TypeName::MemoryBlock;
    return TypeName::Object;
}

bool isObjectType(TypeName t) {
    return t == TypeName::String || t == TypeName::Picture || t == TypeName::MemoryBlock || t == TypeName::Object;
}

const char* typeNameText(TypeName t) {
    switch (t) {
        case TypeName::Void: return "Void";
        case TypeName::Integer: return "Integer";
        case TypeName::UInt32: return "UInt32";
        case TypeName::Color: return "Color";
        case TypeName::Double: return "Double";
        case TypeName::Boolean: return "Boolean";
        case TypeName::String: return "String";
        case TypeName::Picture: return "Picture";
        case TypeName::MemoryBlock: return "MemoryBlock";
        case TypeName::Object: return "Object";
    }
    return "?";
}

bool validDefault(TypeName t, const std::string& raw) {
    std::string text = trim(raw);
    std::string l = lower(text);
    switch (t) {
        case TypeName::Integer:
        case TypeName::UInt32:
            return isDecimalInteger(text) || isHexLiteral(text, 'h');
        case TypeName::Color:
            return isDecimalInteger(text) || isHexLiteral(text, 'h') ||
                   (isHexLiteral(text, 'c') && text.size() == 8);
        case TypeName::Double:
            return isNumber(text);
        case TypeName::Boolean:
            return l == "true" || l == "false";
        case TypeName::String:
            if (text.size() >= 2 && text.front() == '"' && text.back() == '"' &&
                text.find('"', 1) == text.size() - 1)
                return true;
            return l == "nil";
        case TypeName::Picture:
        case TypeName::MemoryBlock:
        case TypeName::Object:
            return l == "nil";
        case TypeName::Void:
            return false;
    }
    return false;
}

std::optional<Declaration> parseDeclaration(const std::string& text) {
    Scanner s(text);
    Declaration d;
    d.name = s.ident();
    if (d.name.empty()) return std::nullopt;
    if (s.accept('(')) {
        if (!s.accept(')')) {
            for (;;) {
                Param p;
                if (!parseParam(s, p)) return std::nullopt;
                d.params.push_back(std::move(p));
                if (s.accept(',')) continue;
                if (s.accept(')')) break;
                return std::nullopt;
            }
        }
    }
    if (!s.atEnd()) {
        if (!isKeyword(s.ident(), "as")) return std::nullopt;
        d.resultText = s.ident();
        if (d.resultText.empty()) return std::nullopt;
        d.result = typeFromName(d.resultText);
        if (!s.atEnd()) return std::nullopt;
    }
    // Parameter names are unique; once a parameter has a default, all later ones do.
    bool defaults = false;
    for (size_t i = 0; i < d.params.size(); ++i) {
        for (size_t j = 0; j < i; ++j)
            if (lower(d.params[j].name) == lower(d.params[i].name)) return std::nullopt;
        if (d.params[i].defaultText) defaults = true;
        else if (defaults) return std::nullopt;
    }
    return d;
}

std::string formatDeclaration(const Declaration& d) {
    std::ostringstream o;
    o << d.name;
    if (!d.params.empty()) {
        o << '(';
        for (size_t i = 0; i < d.params.size(); ++i) {
            const Param& p = d.params[i];
            if (i) o << ", ";
            if (p.byref) o << "byref ";
            o << p.name << " as " << (p.typeText.empty() ? typeNameText(p.type) : p.typeText.c_str());
            if (p.defaultText) o << " = " << *p.defaultText;
        }
        o << ')';
    }
    if (d.result != TypeName::Void)
        o << " as " << (d.resultText.empty() ? typeNameText(d.result) : d.resultText.c_str());
    return o.str();
}

std::optional<Value> valueFromText(TypeName t, const std::string& raw) {
    if (!validDefault(t, raw)) return std::nullopt;
    std::string text = trim(raw);
    switch (t) {
        case TypeName::Integer:
            return Value::integer(static_cast<int32_t>(static_cast<uint32_t>(integerOf(text))));
        case TypeName::UInt32:
            return Value::uint32(static_cast<uint32_t>(integerOf(text)));
        case TypeName::Color:
            return Value::color(static_cast<uint32_t>(integerOf(text)));
        case TypeName::Double:
            return Value::real(std::strtod(text.c_str(), nullptr));
        case TypeName::Boolean:
            return Value::boolean(lower(text) == "true");
        case TypeName::String:
            if (lower(text) != "nil") {
                std::string body = text.substr(1, text.size() - 2);
                return Value::object(TypeName::String, Ref::adopt(newString(body, kEncodingUTF8)));
            }
            return Value::object(TypeName::String, Ref());
        default:
            return Value::object(t, Ref());
    }
}

std::optional<Value> defaultValue(const Param& p) {
    if (!p.defaultText) return std::nullopt;
    return valueFromText(p.type, *p.defaultText);
}

std::string describe(const Value& v) {
    std::ostringstream o;
    switch (v.type) {
        case TypeName::Void: o << "nil"; break;
        case TypeName::Integer: o << "Integer " << v.i; break;
        case TypeName::UInt32: o << "UInt32 " << v.i; break;
        case TypeName::Color: {
            char buf[16];
            std::snprintf(buf, sizeof buf, "&c%06llX", static_cast<unsigned long long>(v.i & 0xFFFFFFFF));
            o << "Color " << buf;
            break;
        }
        case TypeName::Double: o << "Double " << v.d; break;
        case TypeName::Boolean: o << "Boolean " << (v.i ? "true" : "false"); break;
        default:
            o << typeNameText(v.type);
            if (!v.ref) o << " nil";
            else o << ' ' << v.ref.get() << " (refs " << refCount(v.ref.get()) << ')';
            break;
    }
    return o.str();
}

}  // namespace standin
