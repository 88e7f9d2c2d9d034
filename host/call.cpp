// Finding what the plugin registered, by declaration text, and calling it through
// libffi with arguments of the declared types (shared/host-abi.md section 1):
// integer int32_t, UInt32 and color uint32_t, double, boolean int8_t, objects as
// handles; byref arguments as pointers to a slot of their type.
#include "host/call.h"

#include <ffi.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace standin {

namespace {

bool equalsNoCase(const std::string& a, const char* b) {
    if (!b) return false;
    size_t n = a.size();
    for (size_t i = 0; i < n; ++i) {
        if (b[i] == '\0') return false;
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return b[n] == '\0';
}

bool isDirect(REALproc p) { return reinterpret_cast<uintptr_t>(p) == kDirectAccess; }

// One registration record, method or accessor property, with where it came from.
struct Entry {
    std::string where;  // "" for global methods
    const REALmethodDefinition* method = nullptr;
    const REALproperty* property = nullptr;
    bool takesReceiver = false;
    std::string text;  // the declaration text
};

std::vector<Entry> entries() {
    std::vector<Entry> out;
    for (const REALmethodDefinition* m : registeredGlobalMethods()) {
        if (!m || !m->declaration) continue;
        Entry e;
        e.method = m;
        e.text = m->declaration;
        out.push_back(std::move(e));
    }
    for (const RegisteredClass& rc : registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        if (!def || !def->name) continue;
        auto addMethods = [&](const REALmethodDefinition* table, uintptr_t count, bool receiver) {
            if (!table) return;
            for (uintptr_t i = 0; i < count; ++i) {
                if (!table[i].declaration) continue;
                Entry e;
                e.where = def->name;
                e.method = &table[i];
                e.takesReceiver = receiver;
                e.text = table[i].declaration;
                out.push_back(std::move(e));
            }
        };
        auto addProperties = [&](const REALproperty* table, uintptr_t count, bool receiver) {
            if (!table) return;
            for (uintptr_t i = 0; i < count; ++i) {
                const REALproperty& p = table[i];
                if (!p.name || !p.type || !p.getter || isDirect(p.getter)) continue;
                Entry e;
                e.where = def->name;
                e.property = &p;
                e.takesReceiver = receiver;
                e.text = std::string(p.name) + " as " + p.type;
                out.push_back(std::move(e));
            }
        };
        addMethods(def->methods, def->methodCount, true);
        addMethods(def->sharedMethods, def->sharedMethodCount, false);
        addProperties(def->properties, def->propertyCount, true);
        addProperties(def->sharedProperties, def->sharedPropertyCount, false);
    }
    return out;
}

bool whereMatches(const Entry& e, const std::string& where) {
    if (where.empty()) return e.where.empty();
    return equalsNoCase(where, e.where.c_str());
}

std::optional<Callable> makeCallable(const Entry& e) {
    Callable c;
    c.declarationText = e.text;
    c.method = e.takesReceiver;
    if (e.method) {
        auto d = parseDeclaration(e.text);
        if (!d) return std::nullopt;
        c.declaration = std::move(*d);
        c.function = e.method->function;
        c.setter = e.method->setterFunction;
    } else {
        const REALproperty& p = *e.property;
        c.declaration.name = p.name;
        c.declaration.resultText = p.type;
        c.declaration.result = typeFromName(p.type);
        c.function = p.getter;
        c.setter = (p.setter && !isDirect(p.setter)) ? p.setter : nullptr;
        c.param = p.param;
        c.property = true;
    }
    return c;
}

std::string whereText(const std::string& where) {
    return where.empty() ? std::string("the global methods") : "class '" + where + "'";
}

CallFailureHandler& failureHandler() {
    static CallFailureHandler handler;
    return handler;
}

void fail(const std::string& message) {
    CallFailureHandler& h = failureHandler();
    if (h) {
        h(message);
        return;
    }
    std::fprintf(stderr, "vqz host: %s\n", message.c_str());
    std::fflush(stderr);
    std::abort();
}

// ---------------------------------------------------------------- argument conversion

union Slot {
    int8_t i8;
    int32_t i32;
    uint32_t u32;
    intptr_t ip;
    double d;
    void* p;
};

ffi_type* ffiTypeOf(TypeName t) {
    switch (t) {
        case TypeName::Void: return &ffi_type_void;
        case TypeName::Integer: return &ffi_type_sint32;
        case TypeName::UInt32:
        case TypeName::Color: return &ffi_type_uint32;
        case TypeName::Double: return &ffi_type_double;
        case TypeName::Boolean: return &ffi_type_sint8;
        default: return &ffi_type_pointer;
    }
}

ffi_type* ffiIntptr() { return sizeof(intptr_t) == 8 ? &ffi_type_sint64 : &ffi_type_sint32; }

bool isIntegral(TypeName t) { return t == TypeName::Integer || t == TypeName::UInt32 || t == TypeName::Color; }

// `v` converted to a value of type `t` for the argument described by `what`.
Value convert(const Value& v, TypeName t, const std::string& what) {
    auto bad = [&](const std::string& why) -> CallError {
        return CallError(what + ": got " + describe(v) + ", " + why);
    };
    switch (t) {
        case TypeName::Integer:
        case TypeName::UInt32:
        case TypeName::Color: {
            if (!isIntegral(v.type)) throw bad("expected a whole number (Integer, UInt32 or Color)");
            if (v.i < INT32_MIN || v.i > int64_t(UINT32_MAX)) throw bad("out of 32-bit range");
            Value r;
            r.type = t;
            r.i = t == TypeName::Integer ? int64_t(int32_t(uint32_t(v.i))) : int64_t(uint32_t(v.i));
            return r;
        }
        case TypeName::Double:
            if (v.type == TypeName::Double) return v;
            if (isIntegral(v.type)) return Value::real(double(v.i));
            throw bad("expected a Double (or a whole number)");
        case TypeName::Boolean: {
            if (v.type != TypeName::Boolean) throw bad("expected a Boolean");
            if (v.i < -128 || v.i > 255) throw bad("a boolean is one byte");
            Value r;
            r.type = TypeName::Boolean;
            r.i = v.i;
            return r;
        }
        case TypeName::String:
        case TypeName::Picture:
        case TypeName::MemoryBlock:
        case TypeName::Object:
            if (v.type == TypeName::Void) return Value::object(t, Ref());
            if (v.type == t || (isObjectType(v.type) && (t == TypeName::Object || v.type == TypeName::Object)))
                return Value::object(t, v.ref);
            throw bad(std::string("expected a ") + typeNameText(t) + " (or nil)");
        case TypeName::Void:
            break;
    }
    throw bad("cannot pass a value of no type");
}

void store(const Value& v, TypeName t, Slot& s) {
    switch (t) {
        case TypeName::Integer: s.i32 = int32_t(v.i); break;
        case TypeName::UInt32:
        case TypeName::Color: s.u32 = uint32_t(v.i); break;
        case TypeName::Double: s.d = v.d; break;
        case TypeName::Boolean: s.i8 = int8_t(v.i); break;
        default: s.p = v.ref.get(); break;
    }
}

Value load(const Slot& s, TypeName t) {
    switch (t) {
        case TypeName::Integer: return Value::integer(s.i32);
        case TypeName::UInt32: return Value::uint32(s.u32);
        case TypeName::Color: return Value::color(s.u32);
        case TypeName::Double: return Value::real(s.d);
        case TypeName::Boolean: return Value::boolean(s.i8 != 0);
        default: return Value::object(t, Ref::adopt(s.p));
    }
}

std::string paramText(const Callable& c, size_t i) {
    const Param& p = c.declaration.params[i];
    std::ostringstream o;
    o << "\"" << c.declarationText << "\" argument " << (i + 1) << " (" << (p.byref ? "byref " : "") << p.name
      << " as " << (p.typeText.empty() ? typeNameText(p.type) : p.typeText.c_str()) << ")";
    return o.str();
}

// The call itself: `fn` with the receiver (for methods and properties), the property
// parameter (for properties), the declared arguments, and `assigned` (for setters).
Value dispatch(const Callable& c, REALproc fn, void* receiver, std::vector<Value>& args, const Value* assigned) {
    const std::vector<Param>& params = c.declaration.params;
    if (!fn)
        throw CallError("\"" + c.declarationText + "\": " +
                        (assigned ? "registered without a setter" : "registered with a null function"));
    if (args.size() > params.size()) {
        std::ostringstream o;
        o << "\"" << c.declarationText << "\": " << args.size() << " arguments given, at most " << params.size()
          << " declared";
        throw CallError(o.str());
    }

    // The values to pass, converted to the declared types, defaults filled in.
    std::vector<Value> values(params.size());
    for (size_t i = 0; i < params.size(); ++i) {
        if (i < args.size()) {
            values[i] = convert(args[i], params[i].type, paramText(c, i));
        } else if (auto d = defaultValue(params[i])) {
            values[i] = std::move(*d);
        } else {
            throw CallError(paramText(c, i) + ": missing, and it has no default");
        }
    }
    Value assignedValue;
    if (assigned) assignedValue = convert(*assigned, c.declaration.result, "\"" + c.declarationText + "\" assigned value");

    size_t n = params.size() + (c.method ? 1 : 0) + (c.property ? 1 : 0) + (assigned ? 1 : 0);
    std::vector<ffi_type*> types;
    // The argument slots, then the slots that byref pointers point to.
    std::vector<Slot> storage;
    storage.resize(n + params.size());
    Slot* slots = storage.data();
    Slot* targets = slots + n;
    std::vector<void*> pointers;
    types.reserve(n);
    pointers.reserve(n);
    size_t k = 0;
    if (c.method) {
        slots[k].p = receiver;
        types.push_back(&ffi_type_pointer);
        pointers.push_back(&slots[k++]);
    }
    if (c.property) {
        slots[k].ip = c.param;
        types.push_back(ffiIntptr());
        pointers.push_back(&slots[k++]);
    }
    for (size_t i = 0; i < params.size(); ++i) {
        if (params[i].byref) {
            store(values[i], params[i].type, targets[i]);
            slots[k].p = &targets[i];
            types.push_back(&ffi_type_pointer);
        } else {
            store(values[i], params[i].type, slots[k]);
            types.push_back(ffiTypeOf(params[i].type));
        }
        pointers.push_back(&slots[k++]);
    }
    if (assigned) {
        store(assignedValue, c.declaration.result, slots[k]);
        types.push_back(ffiTypeOf(c.declaration.result));
        pointers.push_back(&slots[k++]);
    }

    TypeName resultType = assigned ? TypeName::Void : c.declaration.result;
    ffi_cif cif;
    if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, static_cast<unsigned>(n), ffiTypeOf(resultType), types.data()) != FFI_OK)
        throw CallError("\"" + c.declarationText + "\": libffi cannot prepare the call");
    union {
        ffi_arg a;
        ffi_sarg s;
        double d;
        void* p;
        uint64_t pad[2];
    } ret;
    ret.pad[0] = ret.pad[1] = 0;
    ffi_call(&cif, reinterpret_cast<void (*)(void)>(fn), &ret, pointers.data());

    // Write byref slots back.
    for (size_t i = 0; i < params.size(); ++i) {
        if (!params[i].byref) continue;
        TypeName t = params[i].type;
        if (isObjectType(t)) {
            void* now = targets[i].p;
            if (now == values[i].ref.get()) continue;  // unchanged: the caller keeps its value
            Value adopted = Value::object(t, Ref::adopt(now));  // handed over by the plugin
            if (i < args.size()) args[i] = std::move(adopted);   // drops the old reference
        } else if (i < args.size()) {
            args[i] = load(targets[i], t);
        }
    }

    switch (resultType) {
        case TypeName::Void: return Value::nil();
        case TypeName::Integer: return Value::integer(int32_t(uint32_t(ret.a)));
        case TypeName::UInt32: return Value::uint32(uint32_t(ret.a));
        case TypeName::Color: return Value::color(uint32_t(ret.a));
        case TypeName::Double: return Value::real(ret.d);
        case TypeName::Boolean: return Value::boolean(int8_t(uint8_t(ret.a & 0xFF)) != 0);
        default: return Value::object(resultType, Ref::adopt(ret.p));
    }
}

// Finds under `where`; on failure explains why in `why`.
std::optional<Callable> lookup(const std::string& where, const std::string& declaration, std::string& why) {
    std::vector<Entry> all = entries();
    bool anyWhere = false;
    for (const Entry& e : all) {
        if (!whereMatches(e, where)) continue;
        anyWhere = true;
        if (e.text != declaration) continue;
        if (auto c = makeCallable(e)) return c;
        why = "\"" + declaration + "\" is registered under " + whereText(where) + " but cannot be parsed";
        return std::nullopt;
    }
    std::ostringstream o;
    o << "\"" << declaration << "\" is not registered under " << whereText(where);
    if (!anyWhere) {
        o << " (nothing is registered there: is the plugin loaded?)";
    } else {
        auto d = parseDeclaration(declaration);
        std::string name = d ? d->name : declaration.substr(0, declaration.find_first_of("( "));
        bool first = true;
        for (const Entry& e : all) {
            if (!whereMatches(e, where)) continue;
            auto ed = e.method ? parseDeclaration(e.text) : std::nullopt;
            std::string en = ed ? ed->name : (e.property ? std::string(e.property->name) : std::string());
            if (!equalsNoCase(name, en.c_str())) continue;
            o << (first ? "; registered with that name:" : "") << "\n    \"" << e.text << "\"";
            first = false;
        }
    }
    why = o.str();
    return std::nullopt;
}

}  // namespace

CallFailureHandler setCallFailureHandler(CallFailureHandler handler) {
    CallFailureHandler old = std::move(failureHandler());
    failureHandler() = std::move(handler);
    return old;
}

std::optional<Callable> findByDeclaration(const std::string& where, const std::string& declaration) {
    std::string why;
    return lookup(where, declaration, why);
}

std::vector<Callable> findByName(const std::string& where, const std::string& name) {
    std::vector<Callable> out;
    for (const Entry& e : entries()) {
        if (!whereMatches(e, where)) continue;
        auto c = makeCallable(e);
        if (c && equalsNoCase(name, c->declaration.name.c_str())) out.push_back(std::move(*c));
    }
    return out;
}

std::optional<Callable> findForArguments(const std::string& where, const std::string& name,
                                         const std::vector<Value>& args) {
    std::optional<Callable> best;
    int bestConversions = 0;
    for (Callable& c : findByName(where, name)) {
        const std::vector<Param>& params = c.declaration.params;
        if (c.property || args.size() > params.size()) continue;
        bool fits = true;
        int conversions = 0;
        for (size_t i = 0; fits && i < params.size(); ++i) {
            if (i >= args.size()) {
                fits = params[i].defaultText.has_value();
                continue;
            }
            try {
                convert(args[i], params[i].type, std::string());
            } catch (const CallError&) {
                fits = false;
            }
            if (args[i].type != params[i].type) ++conversions;
        }
        if (fits && (!best || conversions < bestConversions)) {
            best = std::move(c);
            bestConversions = conversions;
        }
    }
    return best;
}

std::vector<std::pair<std::string, Callable>> allCallables() {
    std::vector<std::pair<std::string, Callable>> out;
    for (const Entry& e : entries())
        if (auto c = makeCallable(e)) out.emplace_back(e.where, std::move(*c));
    return out;
}

Value call(const Callable& c, void* receiver, std::vector<Value>& args) {
    if (c.property && !args.empty())
        throw CallError("\"" + c.declarationText + "\": a property takes no arguments");
    return dispatch(c, c.function, receiver, args, nullptr);
}

void callSetter(const Callable& c, void* receiver, std::vector<Value>& args, const Value& assigned) {
    if (c.property && !args.empty())
        throw CallError("\"" + c.declarationText + "\": a property takes no arguments");
    if (c.declaration.result == TypeName::Void)
        throw CallError("\"" + c.declarationText + "\": a setter needs a declared result type");
    dispatch(c, c.setter, receiver, args, &assigned);
}

Value invokeRef(const std::string& where, const std::string& declaration, void* receiver,
                std::vector<Value>& args) {
    std::string why;
    auto c = lookup(where, declaration, why);
    if (!c) {
        fail(why);
        return Value::nil();
    }
    try {
        return call(*c, receiver, args);
    } catch (const CallError& e) {
        fail(e.what());
        return Value::nil();
    }
}

Value invoke(const std::string& where, const std::string& declaration, void* receiver, std::vector<Value> args) {
    return invokeRef(where, declaration, receiver, args);
}

void invokeSetter(const std::string& where, const std::string& declaration, void* receiver,
                  std::vector<Value> args, const Value& assigned) {
    std::string why;
    auto c = lookup(where, declaration, why);
    if (!c) {
        fail(why);
        return;
    }
    try {
        callSetter(*c, receiver, args, assigned);
    } catch (const CallError& e) {
        fail(e.what());
    }
}

}  // namespace standin
