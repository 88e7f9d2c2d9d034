#include "fuzz/support/session.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace fuzz {

namespace {

const Format kDesktopFormats[] = {
    {AppKind::Desktop, 32, "desktop32"}, {AppKind::Desktop, 24, "desktop24"}, {AppKind::Desktop, 16, "desktop16"},
    {AppKind::Desktop, 8, "desktop8"},   {AppKind::Desktop, 0, "vector"},
};
const Format kConsoleFormats[] = {{AppKind::Console, 32, "console"}};
const Format kWebFormats[] = {{AppKind::Web, 32, "web"}};

// Every format a session can start with, in the order the first input byte picks.
const Format* const kAllFormats[] = {&kDesktopFormats[0], &kDesktopFormats[1], &kDesktopFormats[2],
                                     &kDesktopFormats[3], &kDesktopFormats[4], &kConsoleFormats[0],
                                     &kWebFormats[0]};
constexpr int kFormatCount = sizeof kAllFormats / sizeof kAllFormats[0];

const standin::Fault kFaults[] = {standin::Fault::PictureCreation,  standin::Fault::MemoryBlockCreation,
                                  standin::Fault::DescriptionLock,  standin::Fault::PixelLock,
                                  standin::Fault::InstanceCreation, standin::Fault::StringCreation,
                                  standin::Fault::GraphicsCreation};
constexpr int kFaultCount = sizeof kFaults / sizeof kFaults[0];

// The modules stay loaded until the process ends: libFuzzer keeps reading the
// coverage counters of every module it has seen.
std::unique_ptr<standin::LoadedPlugin>& moduleOf(AppKind kind) {
    static std::unique_ptr<standin::LoadedPlugin>* modules = new std::unique_ptr<standin::LoadedPlugin>[3];
    return modules[static_cast<int>(kind)];
}

// Host versions on both sides of the gates that change what the plugin does: string
// bytes through the old string object before 2013.0, a description left locked after
// a failed lock before 2012.0. All are past 2010.029, so the registration tables are
// rewritten the same way whichever of them registers first.
const double kVersions[] = {2013.0, 2012.0, 2011.0};

bool haveHost = false;
AppKind currentKind = AppKind::Desktop;
double currentVersion = 2013.0;

standin::HostConfig configOf(AppKind kind, double version) {
    standin::HostConfig c;
    c.kind = kind;
    c.version = version;
    return c;
}

std::string ledgerAccount() {
    standin::Ledger l = standin::ledger();
    if (l.clean()) return "the ledger is clean";
    return "live objects " + std::to_string(l.liveObjects) + ", description locks " +
           std::to_string(l.descriptionLocks) + ", pixel locks " + std::to_string(l.pixelLocks) +
           ", string data " + std::to_string(l.stringData) + (l.portChanged ? ", QuickDraw port changed" : "") +
           "\n" + l.detail;
}

// A host of `kind` as new, with the module of that kind registered in it again.
void restartHost(AppKind kind, double version) {
    standin::reset(configOf(kind, version));
    using PluginMain = void (*)(void* (*)(const char*));
    auto main = reinterpret_cast<PluginMain>(moduleOf(kind)->symbol("REALPluginMain"));
    if (!main) fail("the loaded module lost REALPluginMain");
    main(&standin::resolve);
}

}  // namespace

void fail(const std::string& what) {
    std::fprintf(stderr, "\n== vqz fuzz finding: %s\n== %s\n", what.c_str(), ledgerAccount().c_str());
    std::fflush(stderr);
    std::abort();
}

void useHost(AppKind kind, double version) {
    if (haveHost && kind == currentKind && version == currentVersion) return;
    std::unique_ptr<standin::LoadedPlugin>& module = moduleOf(kind);
    if (!module) {
        module = std::make_unique<standin::LoadedPlugin>(configOf(kind, version));
        if (!module->ok()) {
            std::fprintf(stderr, "cannot load the plugin: %s\n", module->error().c_str());
            std::exit(2);
        }
    } else {
        restartHost(kind, version);
    }
    haveHost = true;
    currentKind = kind;
    currentVersion = version;
}

const Format* formatsOf(AppKind kind, int* count) {
    switch (kind) {
        case AppKind::Desktop:
            *count = sizeof kDesktopFormats / sizeof kDesktopFormats[0];
            return kDesktopFormats;
        case AppKind::Console:
            *count = 1;
            return kConsoleFormats;
        case AppKind::Web:
            *count = 1;
            return kWebFormats;
    }
    *count = 0;
    return nullptr;
}

Session::Session(FuzzedDataProvider& in) {
    format_ = kAllFormats[in.ConsumeIntegralInRange<int>(0, kFormatCount - 1)];
    // Mostly the current host; one input in eight an older one.
    const uint8_t version = in.ConsumeIntegral<uint8_t>();
    useHost(format_->kind, version < 224 ? kVersions[0] : kVersions[1 + version % 2]);
    // One input in four runs with a fault: the k-th picture creation, lock, ... fails.
    const uint8_t fault = in.ConsumeIntegral<uint8_t>();
    if (fault < 64) {
        faultKind_ = fault % kFaultCount;
        faultAt_ = 1 + (fault / kFaultCount) % 4;
    }
}

const Format& Session::otherFormat(FuzzedDataProvider& in) const {
    int count = 0;
    const Format* formats = formatsOf(format_->kind, &count);
    return formats[in.ConsumeIntegralInRange<int>(0, count - 1)];
}

void Session::armFault() {
    if (faultKind_ < 0) return;
    faultBase_ = standin::occurrences(kFaults[faultKind_]);
    standin::failNth(kFaults[faultKind_], faultAt_);
    armed_ = true;
}

bool Session::disarmFault() {
    if (!armed_) return false;
    armed_ = false;
    standin::failNth(kFaults[faultKind_], 0);
    return standin::occurrences(kFaults[faultKind_]) - faultBase_ >= faultAt_;
}

std::string Session::takeExceptionMessage(std::string* className) {
    standin::PendingException e = standin::takeException();
    if (className) *className = e.className;
    return e.message;
}

Session::~Session() {
    disarmFault();
    standin::PendingException e = standin::takeException();
    if (!e.className.empty()) fail("an unexpected " + e.className + " was raised: \"" + e.message + "\"");
    if (!standin::ledger().clean()) fail("the host ledger is not clean after the input");
    // The host keeps released objects for a while to catch late use; starting it anew
    // frees them within this input, so that the input's allocations and frees balance
    // and libFuzzer's leak check only runs when something really stays allocated.
    restartHost(currentKind, currentVersion);
}

}  // namespace fuzz
