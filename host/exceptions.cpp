// Host exception objects and the pending exception.
#include "host/entry_points.h"
#include "host/instances.h"

namespace standin {
namespace {

const char* const kExceptionClasses[] = {"NilObjectException", "RuntimeException"};

struct HostException : Object {
    static constexpr ObjectKind kKind = ObjectKind::Exception;
    explicit HostException(const std::string& name) : Object(kKind), cls(name) { handle = this; }
    std::string cls;
    Ref message;  // a host string, or none

    std::string className() const override { return cls; }
    std::string describe() const override {
        return cls + (message ? " with message \"" + stringUTF8(message.get()) + "\"" : std::string());
    }
    void dispose() override { message = Ref(); }
    bool getProp(const std::string& name, PropValue& out) override {
        if (!sameName(name, "Message")) return false;
        out.type = PropValue::Handle;
        out.h = message.get();
        if (out.h) retain(out.h);
        return true;
    }
    bool setProp(const std::string& name, const PropValue& value) override {
        if (!sameName(name, "Message") || value.type != PropValue::Handle) return false;
        if (value.h && !lookupKind(value.h, ObjectKind::String, "Message")) return false;
        message = Ref::share(value.h);
        return true;
    }
};

Ref& pending() {
    static Ref* r = new Ref;
    return *r;
}

}  // namespace

bool isExceptionClass(const std::string& name) {
    for (const char* c : kExceptionClasses)
        if (name == c) return true;
    return false;
}

Object* makeException(const std::string& className) {
    return registerObject(std::make_unique<HostException>(className));
}

void resetExceptions() {
    // Whatever is pending belongs to the old host; forget it without a release.
    pending().take();
}

PendingException takeException() {
    PendingException result;
    Ref raised = std::move(pending());
    Object* o = find(raised.get());
    if (!o) return result;
    result.className = o->className();
    PropValue message;
    if (o->kind == ObjectKind::Exception && o->getProp("Message", message) && message.h) {
        result.hasMessage = true;
        result.message = stringUTF8(message.h);
        release(message.h);
    }
    return result;
}

namespace entry {

void RuntimeRaiseException(REALobjectStruct* exception) {
    if (!lookup(exception, "RuntimeRaiseException")) return;
    pending() = Ref::share(exception);
}

}  // namespace entry
}  // namespace standin
