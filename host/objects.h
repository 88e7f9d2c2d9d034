// Host objects and their registry: every handle the plugin can hold maps to one
// Object here, so that an unknown handle, a double release or an unbalanced unlock
// is recorded as a ledger error instead of crashing.
// The stand-in host is single-threaded, like the host the plugin was written for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/host.h"

namespace standin {

enum class ObjectKind { Picture, Graphics, String, MemoryBlock, Exception, Instance, Region };
const char* kindName(ObjectKind kind);

struct Object {
    explicit Object(ObjectKind k) : kind(k) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    const ObjectKind kind;
    int refs = 1;
    bool dying = false;      // the last reference went; dispose() is running or has run
    uint64_t serial = 0;     // creation order, for stable ledger messages
    void* handle = nullptr;  // the address the plugin sees

    // One line for the ledger (without kind, serial and refs).
    virtual std::string describe() const = 0;
    // Runs when the last reference goes: frees pixels, calls class destructors,
    // drops references to other objects. The object itself is kept as a shell for
    // a while so that its handle address is not reused and a late release shows.
    virtual void dispose() {}
    // Bytes the shell keeps after dispose() (for the quarantine budget).
    virtual size_t shellBytes() const { return 128; }
    virtual void onRefsChanged() {}
    virtual std::string className() const { return kindName(kind); }
    virtual bool getProp(const std::string& name, PropValue& out) { return false; }
    virtual bool setProp(const std::string& name, const PropValue& value) { return false; }
};

// Takes ownership of a new object (one reference, `handle` already set) and returns it.
Object* registerObject(std::unique_ptr<Object> object);
template <class T>
T* registerAs(std::unique_ptr<T> object) {
    return static_cast<T*>(registerObject(std::move(object)));
}

// The live object behind a handle; null (and a ledger error naming `who`) for an
// unknown or dead handle. A null handle gives null without an error.
Object* lookup(const void* handle, const char* who);
// The same, also requiring a kind.
Object* lookupKind(const void* handle, ObjectKind kind, const char* who);
template <class T>
T* lookupAs(const void* handle, const char* who) {
    return static_cast<T*>(lookupKind(handle, T::kKind, who));
}
// Without recording anything (for queries such as refCount).
Object* find(const void* handle);

void recordError(const std::string& message);
// Counts one occurrence of `kind`; true when this one is the armed failure.
bool faultHits(Fault kind);

// Case-insensitive comparison, as the host language compares names.
bool sameName(const std::string& a, const char* b);

std::string hexHandle(const void* p);

}  // namespace standin
