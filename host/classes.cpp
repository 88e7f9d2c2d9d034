// Class registration and instances of plugin classes, with their properties as
// the host reads and writes them: directly in the instance data, or through the
// class's accessor functions.
#include <cstdlib>
#include <cstring>

#include "host/entry_points.h"
#include "host/instances.h"
#include "host/modules.h"

namespace standin {
namespace {

struct ClassState {
    std::vector<RegisteredClass> classes;
    std::vector<REALmethodDefinition*> globals;
    int pluginVersion = 0;
};
ClassState& state() {
    static ClassState* s = new ClassState;
    return *s;
}

// How a property's value is stored, from its type name.
enum class ValueType { Int32, UInt32, Bool, Double, Handle, Unsupported };

ValueType valueType(const char* type) {
    if (!type) return ValueType::Unsupported;
    std::string t(type);
    if (sameName(t, "Integer") || sameName(t, "Int32")) return ValueType::Int32;
    if (sameName(t, "UInt32") || sameName(t, "Color")) return ValueType::UInt32;
    if (sameName(t, "Boolean")) return ValueType::Bool;
    if (sameName(t, "Double")) return ValueType::Double;
    if (sameName(t, "Single") || sameName(t, "Int64") || sameName(t, "UInt64") ||
        sameName(t, "Int16") || sameName(t, "UInt16") || sameName(t, "Int8") || sameName(t, "UInt8"))
        return ValueType::Unsupported;
    return ValueType::Handle;  // Picture, String, MemoryBlock or another class
}

// A handle may be stored in a property of `type` when its kind fits the type name.
bool handleFits(const char* type, void* h) {
    if (!h) return true;
    Object* o = lookup(h, "setProperty");
    if (!o) return false;
    std::string t(type);
    if (sameName(t, "Picture")) return o->kind == ObjectKind::Picture;
    if (sameName(t, "String")) return o->kind == ObjectKind::String;
    if (sameName(t, "MemoryBlock")) return o->kind == ObjectKind::MemoryBlock;
    if (sameName(t, "Graphics")) return o->kind == ObjectKind::Graphics;
    return true;
}

const REALproperty* findProperty(const REALclassDefinition* def, const std::string& name, int depth = 0) {
    if (!def || depth > 16) return nullptr;
    for (uintptr_t i = 0; def->properties && i < def->propertyCount; ++i)
        if (sameName(name, def->properties[i].name)) return &def->properties[i];
    if (def->superName) return findProperty(findClass(def->superName), name, depth + 1);
    return nullptr;
}

template <class T>
T readField(const uint8_t* at) {
    T v;
    std::memcpy(&v, at, sizeof v);
    return v;
}
template <class T>
void writeField(uint8_t* at, T v) {
    std::memcpy(at, &v, sizeof v);
}

bool isDirect(REALproc word) { return reinterpret_cast<uintptr_t>(word) == kDirectAccess; }

}  // namespace

// ---------------------------------------------------------------- Instance

Instance::~Instance() { std::free(block); }

uint8_t* Instance::data() const { return block + definition->forSystemUse; }

std::string Instance::className() const {
    return definition->name ? definition->name : "?";
}

std::string Instance::describe() const { return "instance of " + className(); }

void Instance::dispose() {
    if (definition->destructor) {
        auto destructor = reinterpret_cast<void (*)(REALobjectStruct*)>(definition->destructor);
        destructor(static_cast<REALobjectStruct*>(handle));
    }
    // The memory stays (its address must not be reused soon); poison the data so
    // that a late use through a stale handle shows.
    std::memset(data(), 0xDD, definition->dataSize);
}

bool Instance::getProp(const std::string& name, PropValue& out) {
    const REALproperty* prop = findProperty(definition, name);
    if (!prop || !prop->getter) return false;
    ValueType type = valueType(prop->type);
    auto self = static_cast<REALobjectStruct*>(handle);
    intptr_t param = prop->param;
    if (isDirect(prop->getter)) {
        const uint8_t* at = data() + param;
        switch (type) {
            case ValueType::Int32: out.type = PropValue::Integer; out.i = readField<int32_t>(at); return true;
            case ValueType::UInt32: out.type = PropValue::Integer; out.i = readField<uint32_t>(at); return true;
            case ValueType::Bool: out.type = PropValue::Integer; out.i = readField<int8_t>(at) != 0; return true;
            case ValueType::Double: out.type = PropValue::Double; out.d = readField<double>(at); return true;
            case ValueType::Handle:
                out.type = PropValue::Handle;
                out.h = readField<void*>(at);
                if (out.h) retain(out.h);
                return true;
            case ValueType::Unsupported: return false;
        }
        return false;
    }
    REALproc g = prop->getter;
    switch (type) {
        case ValueType::Int32:
            out.type = PropValue::Integer;
            out.i = reinterpret_cast<int32_t (*)(REALobjectStruct*, intptr_t)>(g)(self, param);
            return true;
        case ValueType::UInt32:
            out.type = PropValue::Integer;
            out.i = reinterpret_cast<uint32_t (*)(REALobjectStruct*, intptr_t)>(g)(self, param);
            return true;
        case ValueType::Bool:
            out.type = PropValue::Integer;
            out.i = reinterpret_cast<int8_t (*)(REALobjectStruct*, intptr_t)>(g)(self, param) != 0;
            return true;
        case ValueType::Double:
            out.type = PropValue::Double;
            out.d = reinterpret_cast<double (*)(REALobjectStruct*, intptr_t)>(g)(self, param);
            return true;
        case ValueType::Handle:
            // An accessor hands over a reference with the object, like every getter.
            out.type = PropValue::Handle;
            out.h = reinterpret_cast<void* (*)(REALobjectStruct*, intptr_t)>(g)(self, param);
            return true;
        case ValueType::Unsupported: return false;
    }
    return false;
}

bool Instance::setProp(const std::string& name, const PropValue& value) {
    const REALproperty* prop = findProperty(definition, name);
    if (!prop || !prop->setter) return false;
    ValueType type = valueType(prop->type);
    bool numeric = value.type == PropValue::Integer || value.type == PropValue::Double;
    if (type == ValueType::Handle ? value.type != PropValue::Handle : !numeric) return false;
    if (type == ValueType::Handle && !handleFits(prop->type, value.h)) return false;
    if (value.type == PropValue::Double && type != ValueType::Double) return false;
    double d = value.type == PropValue::Double ? value.d : double(value.i);
    auto self = static_cast<REALobjectStruct*>(handle);
    intptr_t param = prop->param;
    if (isDirect(prop->setter)) {
        uint8_t* at = data() + param;
        switch (type) {
            case ValueType::Int32: writeField<int32_t>(at, int32_t(uint32_t(value.i))); return true;
            case ValueType::UInt32: writeField<uint32_t>(at, uint32_t(value.i)); return true;
            case ValueType::Bool: writeField<int8_t>(at, value.i != 0); return true;
            case ValueType::Double: writeField<double>(at, d); return true;
            case ValueType::Handle: {
                void* old = readField<void*>(at);
                if (value.h) retain(value.h);
                writeField<void*>(at, value.h);
                if (old) release(old);
                return true;
            }
            case ValueType::Unsupported: return false;
        }
        return false;
    }
    REALproc s = prop->setter;
    switch (type) {
        case ValueType::Int32:
            reinterpret_cast<void (*)(REALobjectStruct*, intptr_t, int32_t)>(s)(self, param, int32_t(uint32_t(value.i)));
            return true;
        case ValueType::UInt32:
            reinterpret_cast<void (*)(REALobjectStruct*, intptr_t, uint32_t)>(s)(self, param, uint32_t(value.i));
            return true;
        case ValueType::Bool:
            reinterpret_cast<void (*)(REALobjectStruct*, intptr_t, int8_t)>(s)(self, param, value.i != 0);
            return true;
        case ValueType::Double:
            reinterpret_cast<void (*)(REALobjectStruct*, intptr_t, double)>(s)(self, param, d);
            return true;
        case ValueType::Handle:
            reinterpret_cast<void (*)(REALobjectStruct*, intptr_t, void*)>(s)(self, param, value.h);
            return true;
        case ValueType::Unsupported: return false;
    }
    return false;
}

Instance* makeInstance(REALclassDefinition* def) {
    size_t total = def->forSystemUse + def->dataSize;
    size_t rounded = (total + 15) / 16 * 16;
    if (rounded == 0) rounded = 16;
    auto* block = static_cast<uint8_t*>(std::aligned_alloc(16, rounded));
    if (!block) return nullptr;
    std::memset(block, 0, rounded);
    auto instance = std::make_unique<Instance>(def, block, rounded);
    Instance* raw = registerAs(std::move(instance));
    if (def->constructor)
        reinterpret_cast<void (*)(REALobjectStruct*)>(def->constructor)(static_cast<REALobjectStruct*>(raw->handle));
    return raw;
}

// ---------------------------------------------------------------- registration API

void resetClasses() {
    state().classes.clear();
    state().globals.clear();
    state().pluginVersion = 0;
    resetExceptions();
}

const std::vector<RegisteredClass>& registeredClasses() { return state().classes; }
const std::vector<REALmethodDefinition*>& registeredGlobalMethods() { return state().globals; }
int registeredPluginVersion() { return state().pluginVersion; }

REALclassDefinition* findClass(const std::string& name) {
    REALclassDefinition* extension = nullptr;
    for (const RegisteredClass& c : state().classes) {
        if (!sameName(name, c.definition->name)) continue;
        if (!c.extension) return c.definition;
        if (!extension) extension = c.definition;
    }
    return extension;
}

REALclassDefinition* findPluginClass(const std::string& name) {
    for (const RegisteredClass& c : state().classes)
        if (!c.extension && sameName(name, c.definition->name)) return c.definition;
    return nullptr;
}

void* instanceData(void* instance) {
    auto* i = lookupAs<Instance>(instance, "instanceData");
    return i ? i->data() : nullptr;
}

namespace entry {

void RegisterPluginVersion(int32_t version) { state().pluginVersion = version; }

void PluginRegisterClass(REALclassDefinition* definition) {
    if (!definition) return;
    definition->forSystemUse = kInstanceDataOffset;
    state().classes.push_back(RegisteredClass{definition, false});
}

void PluginRegisterClassExtension(REALclassDefinition* definition) {
    if (definition) state().classes.push_back(RegisteredClass{definition, true});
}

void PluginRegisterMethod(REALmethodDefinition* method) {
    if (method) state().globals.push_back(method);
}

}  // namespace entry
}  // namespace standin
