// Object-level entry points: references, instances by class name, class
// references, and properties by name for every kind of host object.
#include <cstring>

#include "host/entry_points.h"
#include "host/instances.h"

namespace standin {
namespace {

const char kLenBDeclaration[] = "LenB( s as string ) as integer";

// Distinct non-null answers of "pluginObjectType" for host classes.
char gApplicationTag, gExceptionTag;

}  // namespace

const char* className(void* object) {
    static std::string name;  // valid until the next call
    Object* o = lookup(object, "className");
    name = o ? o->className() : std::string();
    return name.c_str();
}

void* newInstance(const std::string& name) {
    if (isExceptionClass(name)) return makeException(name)->handle;
    REALclassDefinition* def = findPluginClass(name);
    if (!def) return nullptr;
    Instance* i = makeInstance(def);
    return i ? i->handle : nullptr;
}

bool getProperty(void* object, const std::string& name, PropValue& out) {
    Object* o = lookup(object, "getProperty");
    out = PropValue{};
    return o && o->getProp(name, out);
}

bool setProperty(void* object, const std::string& name, const PropValue& value) {
    Object* o = lookup(object, "setProperty");
    return o && o->setProp(name, value);
}

namespace entry {

double REALGetRBVersion() { return config().version; }

void REALLockObject(REALobjectStruct* object) { retain(object); }
void REALUnlockObject(REALobjectStruct* object) { release(object); }

REALobjectStruct* PluginNewInstance(const char* name) {
    if (faultHits(Fault::InstanceCreation) || !name) return nullptr;
    return static_cast<REALobjectStruct*>(newInstance(name));
}

void* pluginObjectType(const char* name) {
    if (!name) return nullptr;
    std::string n(name);
    switch (config().kind) {
        case AppKind::Desktop: if (n == "Application") return &gApplicationTag; break;
        case AppKind::Console: if (n == "ConsoleApplication") return &gApplicationTag; break;
        case AppKind::Web: if (n == "WebApplication") return &gApplicationTag; break;
    }
    if (isExceptionClass(n)) return &gExceptionTag;
    return findPluginClass(n);
}

void* REALLoadGlobalMethod(const char* module, const char* declaration) {
    if (declaration && std::strcmp(declaration, kLenBDeclaration) == 0)
        return reinterpret_cast<void*>(&LenB);
    return nullptr;
}

uint8_t REALGetPropValueInt(REALobjectStruct* object, const char* name, int32_t* value) {
    PropValue v;
    if (!name || !value || !getProperty(object, name, v)) return 0;
    if (v.type == PropValue::Handle) {
        if (v.h) release(v.h);
        return 0;
    }
    if (v.type != PropValue::Integer) return 0;
    *value = int32_t(uint32_t(v.i));
    return 1;
}

uint8_t REALSetPropValueInt(REALobjectStruct* object, const char* name, int32_t value) {
    PropValue v;
    v.type = PropValue::Integer;
    v.i = value;
    return name && setProperty(object, name, v);
}

uint8_t REALSetPropValueUInt32(REALobjectStruct* object, const char* name, uint32_t value) {
    PropValue v;
    v.type = PropValue::Integer;
    v.i = value;
    return name && setProperty(object, name, v);
}

uint8_t REALSetPropValueString(REALobjectStruct* object, const char* name, REALstringStruct* value) {
    if (value && !lookupKind(value, ObjectKind::String, "REALSetPropValueString")) return 0;
    PropValue v;
    v.type = PropValue::Handle;
    v.h = value;
    return name && setProperty(object, name, v);
}

}  // namespace entry
}  // namespace standin
