// The object registry, reference counting, faults, configuration and the ledger.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <unordered_map>
#include <vector>

#include "host/modules.h"
#include "host/objects.h"

namespace standin {
namespace {

constexpr int kFaultKinds = 7;
// Dead objects are kept (as shells) so that their addresses are not handed out
// again while a stale handle may still be used; this bounds what they keep.
constexpr size_t kQuarantineBytes = 64u << 20;

struct FaultState {
    int count = 0;
    int target = 0;  // 0: disarmed
};

struct Registry {
    HostConfig config;
    std::unordered_map<const void*, std::unique_ptr<Object>> live;
    std::unordered_map<const void*, std::string> deadNames;  // handle -> description
    std::deque<std::unique_ptr<Object>> quarantine;
    size_t quarantineBytes = 0;
    std::vector<std::unique_ptr<Object>> leaked;  // left at a reset; never freed
    std::vector<std::string> errors;
    FaultState faults[kFaultKinds];
    uint64_t nextSerial = 1;
    bool frameworkEnvOverridden = false;
    bool frameworkEnvHad = false;
    std::string frameworkEnv;
};

// Never destroyed: objects may still be released while the process exits.
Registry& reg() {
    static Registry* r = new Registry;
    return *r;
}

void bury(std::unique_ptr<Object> object) {
    Registry& r = reg();
    r.deadNames[object->handle] = std::string(kindName(object->kind)) + " #" +
                                  std::to_string(object->serial);
    r.quarantineBytes += object->shellBytes();
    r.quarantine.push_back(std::move(object));
    while (r.quarantineBytes > kQuarantineBytes && r.quarantine.size() > 1) {
        std::unique_ptr<Object>& oldest = r.quarantine.front();
        r.quarantineBytes -= oldest->shellBytes();
        r.deadNames.erase(oldest->handle);
        r.quarantine.pop_front();
    }
}

// A host without the QuickDraw library points the plugin's frameworks folder
// at nothing; the next reset puts back what was there before.
void applyFrameworkSetting(const HostConfig& config) {
    Registry& r = reg();
    if (r.frameworkEnvOverridden) {
        if (r.frameworkEnvHad) setenv("VQZ_FRAMEWORKS_DIR", r.frameworkEnv.c_str(), 1);
        else unsetenv("VQZ_FRAMEWORKS_DIR");
        r.frameworkEnvOverridden = false;
    }
    if (config.frameworkMissing) {
        const char* value = std::getenv("VQZ_FRAMEWORKS_DIR");
        r.frameworkEnvHad = value != nullptr;
        r.frameworkEnv = value ? value : "";
        setenv("VQZ_FRAMEWORKS_DIR", "/nonexistent/vqz-standin-frameworks", 1);
        r.frameworkEnvOverridden = true;
    }
}

}  // namespace

const char* kindName(ObjectKind kind) {
    switch (kind) {
        case ObjectKind::Picture: return "Picture";
        case ObjectKind::Graphics: return "Graphics";
        case ObjectKind::String: return "String";
        case ObjectKind::MemoryBlock: return "MemoryBlock";
        case ObjectKind::Exception: return "Exception";
        case ObjectKind::Instance: return "Instance";
        case ObjectKind::Region: return "Region";
    }
    return "?";
}

std::string hexHandle(const void* p) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", p);
    return text;
}

bool sameName(const std::string& a, const char* b) {
    if (!b) return false;
    size_t n = a.size();
    for (size_t i = 0; i < n; ++i) {
        if (b[i] == 0) return false;
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return b[n] == 0;
}

Object* registerObject(std::unique_ptr<Object> object) {
    Registry& r = reg();
    object->serial = r.nextSerial++;
    object->refs = 1;
    object->onRefsChanged();
    Object* raw = object.get();
    r.deadNames.erase(raw->handle);
    r.live[raw->handle] = std::move(object);
    return raw;
}

Object* find(const void* handle) {
    if (!handle) return nullptr;
    Registry& r = reg();
    auto it = r.live.find(handle);
    if (it == r.live.end() || it->second->dying) return nullptr;
    return it->second.get();
}

Object* lookup(const void* handle, const char* who) {
    if (!handle) return nullptr;
    if (Object* o = find(handle)) return o;
    Registry& r = reg();
    auto dead = r.deadNames.find(handle);
    if (dead != r.deadNames.end()) {
        recordError(std::string(who) + ": " + dead->second + " used after its last release");
    } else if (r.live.count(handle)) {
        recordError(std::string(who) + ": object " + hexHandle(handle) + " used while being destroyed");
    } else {
        recordError(std::string(who) + ": unknown handle " + hexHandle(handle));
    }
    return nullptr;
}

Object* lookupKind(const void* handle, ObjectKind kind, const char* who) {
    Object* o = lookup(handle, who);
    if (o && o->kind != kind) {
        recordError(std::string(who) + ": expected a " + kindName(kind) + ", got " +
                    kindName(o->kind) + " #" + std::to_string(o->serial));
        return nullptr;
    }
    return o;
}

void recordError(const std::string& message) { reg().errors.push_back(message); }

bool faultHits(Fault kind) {
    FaultState& f = reg().faults[static_cast<int>(kind)];
    ++f.count;
    if (f.target != 0 && f.count == f.target) {
        f.target = 0;
        return true;
    }
    return false;
}

void failNth(Fault kind, int n) {
    FaultState& f = reg().faults[static_cast<int>(kind)];
    f.target = n > 0 ? f.count + n : 0;
}

int occurrences(Fault kind) { return reg().faults[static_cast<int>(kind)].count; }

void retain(void* handle) {
    if (Object* o = lookup(handle, "retain")) {
        ++o->refs;
        o->onRefsChanged();
    }
}

void release(void* handle) {
    Object* o = lookup(handle, "release");
    if (!o) return;
    --o->refs;
    o->onRefsChanged();
    if (o->refs > 0) return;
    o->dying = true;
    o->dispose();  // may release other objects; `o` stays put in the map meanwhile
    Registry& r = reg();
    auto it = r.live.find(handle);
    std::unique_ptr<Object> owned = std::move(it->second);
    r.live.erase(it);
    bury(std::move(owned));
}

int refCount(void* handle) {
    Object* o = find(handle);
    return o ? o->refs : 0;
}

const HostConfig& config() { return reg().config; }

void reset(const HostConfig& newConfig) {
    Registry& r = reg();
    // Leaked objects stay allocated (their handles must never be reused), but they
    // are no longer part of the new host.
    for (auto& entry : r.live) r.leaked.push_back(std::move(entry.second));
    r.live.clear();
    r.quarantine.clear();
    r.quarantineBytes = 0;
    r.deadNames.clear();
    r.errors.clear();
    for (FaultState& f : r.faults) f = FaultState{};
    r.config = newConfig;
    applyFrameworkSetting(newConfig);
    resetPictures();
    resetGraphics();
    resetStrings();
    resetClasses();
    resetQuickDraw();
    resetResolverAsks();
}

Ledger ledger() {
    Registry& r = reg();
    Ledger l;
    std::vector<Object*> objects;
    for (auto& entry : r.live)
        if (!entry.second->dying) objects.push_back(entry.second.get());
    std::sort(objects.begin(), objects.end(),
              [](Object* a, Object* b) { return a->serial < b->serial; });
    l.liveObjects = static_cast<int>(objects.size());
    for (Object* o : objects) {
        l.detail += std::string(kindName(o->kind)) + " #" + std::to_string(o->serial) + " " +
                    o->describe() + ", refs " + std::to_string(o->refs) + "\n";
    }
    ledgerPictures(l);
    ledgerStrings(l);
    ledgerQuickDraw(l);
    l.errors = r.errors;
    for (const std::string& e : r.errors) l.detail += "error: " + e + "\n";
    return l;
}

}  // namespace standin
