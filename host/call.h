// Calling what a plugin registered, the way the host language does: by the
// declaration strings of the registration records, with arguments of the
// declared types, through libffi.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/host.h"

namespace standin {

// ---------------------------------------------------------------- declarations
enum class TypeName { Void, Integer, UInt32, Color, Double, Boolean, String, Picture, MemoryBlock, Object };

struct Param {
    std::string name;
    TypeName type = TypeName::Integer;
    bool byref = false;
    std::optional<std::string> defaultText;  // as written, e.g. "&c88B5C4", "nil", "false", "10"
    std::string typeText;                    // the type name as written ("Graphics" for an Object)
};

struct Declaration {
    std::string name;
    std::vector<Param> params;
    TypeName result = TypeName::Void;
    std::string resultText;  // the result type name as written ("" when none)
};

// Parses "Name(a as integer, byref b as memoryblock, c as color=&c88B5C4) as picture".
// Type names are case-insensitive. Returns nullopt on malformed text.
std::optional<Declaration> parseDeclaration(const std::string& text);
const char* typeNameText(TypeName t);
// The TypeName of a host type name ("integer", "UInt32", "Picture", ...): any name that is
// not one of the known ones is an Object.
TypeName typeFromName(const std::string& name);
bool isObjectType(TypeName t);  // String, Picture, MemoryBlock, Object
// True when `text` is a valid default for a parameter of type `t`: an integer (also
// negative, or &hXXXX) for integer and UInt32; those or &cRRGGBB for color; a number for
// double; true/false for boolean; nil (or a quoted text for string) for objects.
bool validDefault(TypeName t, const std::string& text);
// The declaration written back in a canonical form: "Name(a as Integer, byref b as
// MemoryBlock = nil) as Picture".
std::string formatDeclaration(const Declaration& d);

// ---------------------------------------------------------------- values
struct Value {
    TypeName type = TypeName::Void;  // Void also stands for nil of any object type
    int64_t i = 0;                   // Integer, UInt32, Color, Boolean (0/1)
    double d = 0;                    // Double
    Ref ref;                         // String, Picture, MemoryBlock, Object (may be null: nil)

    static Value nil() { return Value{}; }
    static Value integer(int64_t v) { Value x; x.type = TypeName::Integer; x.i = v; return x; }
    static Value uint32(uint32_t v) { Value x; x.type = TypeName::UInt32; x.i = v; return x; }
    static Value color(uint32_t v) { Value x; x.type = TypeName::Color; x.i = v; return x; }
    static Value real(double v) { Value x; x.type = TypeName::Double; x.d = v; return x; }
    static Value boolean(bool v) { Value x; x.type = TypeName::Boolean; x.i = v; return x; }
    static Value object(TypeName t, Ref r) { Value x; x.type = t; x.ref = std::move(r); return x; }
    static Value picture(void* p) { return object(TypeName::Picture, Ref::share(p)); }
    static Value block(void* b) { return object(TypeName::MemoryBlock, Ref::share(b)); }
    static Value string(void* s) { return object(TypeName::String, Ref::share(s)); }

    bool isNil() const { return !ref; }
};

// The value of a parameter's default (nullopt when the parameter has none). A quoted
// string default makes a new host string.
std::optional<Value> defaultValue(const Param& p);
// A value of type `t` written as in a declaration's default (also how a tool can read
// arguments from text): "-3", "&hFF", "&c88B5C4", "2.5", "true", "nil", "\"text\"".
// nullopt when the text is not a value of that type.
std::optional<Value> valueFromText(TypeName t, const std::string& text);
// "Integer 5", "Color &c88B5C4", "Picture 0x55d0... (refs 2)", "nil", for messages.
std::string describe(const Value& v);

// What call() and callSetter() throw when the arguments do not fit the declaration
// (wrong type, missing argument without default, too many arguments) or the callable
// cannot be called. The message names the declaration and the argument.
struct CallError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What invoke() does when it cannot call: the declaration is not registered, or the
// arguments do not fit. The default handler prints the message to stderr and aborts;
// the test fixture installs one that fails the running test (and returns, after which
// invoke() answers nil). Returns the previous handler.
using CallFailureHandler = std::function<void(const std::string& message)>;
CallFailureHandler setCallFailureHandler(CallFailureHandler handler);

// One registered function found by declaration.
struct Callable {
    Declaration declaration;
    std::string declarationText;
    REALproc function = nullptr;
    REALproc setter = nullptr;
    bool method = false;  // the receiver (picture or instance) is passed first
    intptr_t param = 0;   // for accessor properties
    bool property = false;  // an accessor property "Name as Type": getter(receiver, param),
                            // setter(receiver, param, value)
};

// Finds registered functions. `where` is "Picture" for the extension, a class name,
// or "" for global methods. By exact declaration text, or by name with overloads.
std::optional<Callable> findByDeclaration(const std::string& where, const std::string& declaration);
std::vector<Callable> findByName(const std::string& where, const std::string& name);
// The overload of `name` that takes `args` (count within the declared and required
// parameters, every argument convertible); one whose argument types all match exactly
// wins over one that needs conversions, then the first registered.
std::optional<Callable> findForArguments(const std::string& where, const std::string& name,
                                         const std::vector<Value>& args);
// Accessor properties (getter and setter functions, not direct access) are found as
// "Name as Type" with the type as registered, e.g. "FactorRed as Double".
// Every registered callable: where, and the callable.
std::vector<std::pair<std::string, Callable>> allCallables();

// Calls `c` with the receiver (null for global methods) and args in declared order.
// Missing trailing args take the declaration's defaults. byref args are written back
// into `args`. An object result carries the reference the plugin handed over.
Value call(const Callable& c, void* receiver, std::vector<Value>& args);
// Calls the setter of `c` (declared args, then the assigned value).
void callSetter(const Callable& c, void* receiver, std::vector<Value>& args, const Value& assigned);

// Convenience: find by exact declaration under `where` and call. When the declaration
// is not registered or the arguments do not fit, reports through the failure handler
// (aborts by default; fails the running test in the test fixture) and answers nil.
Value invoke(const std::string& where, const std::string& declaration, void* receiver,
             std::vector<Value> args = {});
// The same, writing byref arguments back into `args`.
Value invokeRef(const std::string& where, const std::string& declaration, void* receiver,
                std::vector<Value>& args);
// Finds by exact declaration and calls its setter (declared args, then `assigned`).
void invokeSetter(const std::string& where, const std::string& declaration, void* receiver,
                  std::vector<Value> args, const Value& assigned);

// ---------------------------------------------------------------- plugin loading
// One loaded instance of the plugin module, with the host configured for it.
// The module file is copied to a unique temporary file and opened with
// RTLD_NOW | RTLD_LOCAL, so every instance starts with fresh process-wide state.
class LoadedPlugin {
public:
    // Resets the host with `config`, loads the module and calls REALPluginMain.
    explicit LoadedPlugin(const HostConfig& config, const std::string& modulePath = defaultModulePath());
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    bool ok() const { return handle_ != nullptr; }
    const std::string& error() const { return error_; }
    void* symbol(const char* name) const;  // dlsym in this instance

    // The built plugin module: $VQZ_PLUGIN or the path fixed at build time.
    static std::string defaultModulePath();

private:
    void* handle_ = nullptr;
    std::string copyPath_;
    std::string error_;
};

}  // namespace standin
