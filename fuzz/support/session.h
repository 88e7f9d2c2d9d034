// What every fuzz target shares: the plugin module of each host kind, loaded once per
// process and kept, and the check that closes every input.
//
//   extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
//       FuzzedDataProvider in(data, size);
//       fuzz::Session session(in);          // picks the host kind, arms a fault or not
//       Ref pic = fuzz::makePicture(in, session.format(), 40, 40);
//       ...                                 // calls through host/call.h
//       return 0;                           // Refs die first, then the session checks
//   }
//
// A finding is reported by aborting with a message, which libFuzzer records as a crash.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "host/call.h"
#include "host/host.h"

namespace fuzz {

using standin::AppKind;
using standin::Ref;
using standin::TypeName;
using standin::Value;

// A picture format as a host makes it. Desktop hosts hold GWorlds of four depths and
// pictures without pixels of their own; console and web hosts hold bitmaps.
struct Format {
    AppKind kind;
    int depth;    // 32, 24, 16, 8 (GWorld or bitmap); 0 for a picture without pixels
    const char* name;

    bool desktop() const { return kind == AppKind::Desktop; }
    bool vector() const { return depth == 0; }
    // Pixels that the plugin can change in place (the scroll methods, writers).
    bool editable() const { return !desktop() || depth == 32 || depth == 24; }
};

// Makes a host of `kind` and `version` the current one. The first time a kind is used
// its module is loaded; later switches reset the host and let the already loaded
// module register again, as a host started anew would see it. Coverage counters stay
// valid because no module is ever unloaded.
void useHost(AppKind kind, double version);

// Aborts with `what` (and the ledger's account when it is not clean).
[[noreturn]] void fail(const std::string& what);

class Session {
public:
    // Reads the host format (and so the host kind), the host version and, if the input
    // asks for it, a fault to arm just before the call under test (armFault()).
    explicit Session(FuzzedDataProvider& in);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Format& format() const { return *format_; }
    // Another format of the same host (for second pictures).
    const Format& otherFormat(FuzzedDataProvider& in) const;

    // Arms the fault that the input chose (if any), counted from now, for the call
    // under test; disarmFault() ends it and tells whether it was hit (then results
    // may be the failure answers, and checks of exact results are skipped).
    void armFault();
    bool disarmFault();
    // The exception that the call under test may raise is taken by the target; any
    // other one left pending when the session ends is a finding.
    std::string takeExceptionMessage(std::string* className = nullptr);

private:
    const Format* format_;
    int faultKind_ = -1;
    int faultAt_ = 0;
    int faultBase_ = 0;
    bool armed_ = false;
};

// Formats of one host kind.
const Format* formatsOf(AppKind kind, int* count);

}  // namespace fuzz

// Fails with the message when the condition does not hold; the message is only
// built then, so checks cost nothing on the way through.
#define FUZZ_CHECK(condition, message)          \
    do {                                        \
        if (!(condition)) ::fuzz::fail(message); \
    } while (0)
