// Representative calls of every registered function, for the fault sweep.
//
// A probe makes its inputs, calls one registered function (a few probes make more
// than one call), and writes down everything the call produced or changed as an
// Outcome: plain numbers, no host objects, so outcomes of different runs (and of
// different plugin instances) can be compared. The sweep runs each probe once
// untroubled and then under each host trouble, and checks that every troubled run
// gave the untroubled outcome or one of the answers that count as failure.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/support/fixture.h"

namespace vqzsweep {

using standin::Fault;
using vqztest::HostFormat;
using vqztest::Ref;
using vqztest::Value;

// What a run produced: named parts (results, byref values, pictures after the call,
// each as numbers; an empty part is nil) and the host exception it raised.
struct Outcome {
    std::vector<std::pair<std::string, std::vector<uint32_t>>> parts;
    std::string exceptionClass;  // empty: none raised
    bool exceptionHasMessage = false;
    std::string exceptionMessage;

    void set(const std::string& name, std::vector<uint32_t> value);
    const std::vector<uint32_t>* part(const std::string& name) const;
    bool sameParts(const Outcome& o) const { return parts == o.parts; }
    std::string describe() const;  // part names and sizes, for messages
};

// The numbers that stand for a value, a picture, a string or a MemoryBlock.
std::vector<uint32_t> encodeValue(const Value& v);
std::vector<uint32_t> encodePicture(void* picture);  // nil: empty
std::vector<uint32_t> encodeBlock(void* block);      // nil: empty
std::vector<uint32_t> encodeInteger(int64_t v);

// What is wrong with the host during a run.
struct Trouble {
    enum Kind { None, Hidden, HostFault, Scratch } kind = None;
    std::string hidden;            // Hidden: the entry point (or "QuickDraw library")
    Fault fault = Fault::PictureCreation;  // HostFault
    int nth = 0;                   // HostFault, Scratch: which occurrence fails
    std::string describe() const;
};

// How a run treats the inputs and the calls.
struct Variant {
    // Skip the calls: every call answers its declared type's failure value (nil,
    // false, 0) and changes nothing; the outcome is then what a call that gave up
    // at once leaves behind.
    bool skipCalls = false;
    // One read-only input picture replaced by what the plugin sees when it reads
    // that picture through a 32-bit copy: the same colors with the mask bytes of a
    // new picture (copied), or a new picture that nothing was drawn into (blank).
    // A missing host service changes every copy at once: kAllSlots replaces them all.
    static constexpr int kAllSlots = -2;
    int slot = -1;
    enum Replacement { Copied, Blank } replacement = Copied;
    // A probe's own alternative (1..Probe::alternatives): another call whose outcome
    // also counts.
    int alternative = 0;
};

// Hooks of the sweep around the calls of one run: armed just before the first call,
// disarmed by the sweep when the probe is done.
struct CallWindow {
    std::function<void()> arm;
    bool armed = false;
};

// What a probe uses to make inputs and to call the plugin.
class ProbeContext {
public:
    ProbeContext(const HostFormat& format, const Variant& variant, CallWindow& window)
        : format_(format), variant_(variant), window_(window) {}

    const HostFormat& format() const { return format_; }
    int alternative() const { return variant_.alternative; }

    using Filler = std::function<void(void* picture)>;
    // A picture that the calls only read (it may be replaced by a variant).
    Ref source(int width, int height, const Filler& fill);
    // A picture that the calls may change in place (never replaced).
    Ref target(int width, int height, const Filler& fill);
    Ref block(const std::vector<uint8_t>& bytes);
    Ref string(const std::string& bytes, uint32_t encoding);
    Ref instance(const std::string& className);
    void setProperty(void* object, const std::string& name, const standin::PropValue& value);
    void setInteger(void* object, const std::string& name, int64_t value);
    void setPicture(void* object, const std::string& name, void* picture);
    Ref pictureProperty(void* object, const std::string& name);

    // Calls a registered function (byref arguments are written back).
    Value call(const std::string& where, const std::string& declaration, void* receiver, std::vector<Value>& args);
    Value call(const std::string& where, const std::string& declaration, void* receiver,
               std::vector<Value>&& args = {}) {
        return call(where, declaration, receiver, args);
    }
    void callSetter(const std::string& where, const std::string& declaration, void* receiver,
                    std::vector<Value> args, const Value& assigned);
    int callsMade() const { return calls_; }

    // Writes down part of the outcome.
    void record(const std::string& name, const Value& v) { outcome.set(name, encodeValue(v)); }
    void recordPicture(const std::string& name, void* picture) { outcome.set(name, encodePicture(picture)); }
    void recordBlock(const std::string& name, void* block) { outcome.set(name, encodeBlock(block)); }

    Outcome outcome;
    int sourceSlots() const { return slots_; }

private:
    void enterWindow();
    const HostFormat& format_;
    Variant variant_;
    CallWindow& window_;
    int slots_ = 0;
    int calls_ = 0;
};

// Everything a troubled run may give, gathered from untroubled runs.
struct Expected {
    Outcome correct;
    std::vector<Outcome> failures;      // the failure answers
    std::vector<Outcome> alternatives;  // the probe's own alternatives
    std::vector<Outcome> inputsCopied;  // read-only inputs read through a copy
    // Whether the plugin may read through copies at all: on a desktop host, or where
    // it cannot tell what kind of host it runs in.
    bool copiesOnDesktop = false;
};

struct Probe {
    std::string where;        // "" for global methods, "Picture", or a class name
    std::string declaration;  // exactly as registered
    bool setter = false;      // the probe covers the declaration's setter
    std::string label;        // tells probes of one declaration apart
    std::function<void(ProbeContext&)> body;
    // The failure answers, from the outcome of a run whose calls were skipped and the
    // correct outcome. Unset: the skipped run's outcome alone.
    std::function<std::vector<Outcome>(const Outcome& untouched, const Outcome& correct)> failures;
    int alternatives = 0;
    // Unset: a troubled outcome must equal one of Expected's outcomes. Set: decides alone.
    std::function<bool(const Outcome& got, const Expected& expected, const Trouble& trouble)> accept;

    std::string name() const;  // declaration (+ setter, + label), for messages
};

// One probe or more for every callable the plugin registers.
const std::vector<Probe>& allProbes();

// The name under which the sweep hides the whole QuickDraw library.
extern const char* const kQuickDrawLibrary;

bool hiddenIs(const Trouble& t, std::initializer_list<const char*> names);
bool faultIs(const Trouble& t, Fault f);
bool matchesAny(const Outcome& got, const std::vector<Outcome>& outcomes);  // same parts as one of them
// Whether a troubled run may have read its inputs through copies.
bool copiesPossible(const Expected& expected, const Trouble& trouble);

// True when an outcome's exception is the expected one, or what raising it can
// degrade to under the trouble (see RaiseException: another class when the first
// cannot be made, no message when the message string cannot be built or set,
// nothing when no exception object can be made or raised).
bool exceptionAcceptable(const Outcome& got, const Outcome& expected, const Trouble& trouble);
// The default rule: the exception is acceptable and the parts equal one of the
// expected outcomes.
bool acceptable(const Probe& probe, const Outcome& got, const Expected& expected, const Trouble& trouble);

}  // namespace vqzsweep
