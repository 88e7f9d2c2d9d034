// The fault sweep: every registered function, through a representative call, under
// every trouble its host can give it, one trouble at a time:
//   - each host entry point that the plugin looks up missing (a fresh plugin instance
//     per entry point, since found entry points stay cached), and the QuickDraw
//     library missing;
//   - the nth picture creation, MemoryBlock creation, description lock, pixel lock,
//     instance creation, string creation and Graphics creation failing, for every n
//     up to the number the call makes;
//   - the nth scratch allocation failing, for every n up to the number the call makes
//     (in the plugin code linked into the test program, see scratch_faults.cpp).
// Each run must end with a clean ledger and give the untroubled outcome or one of
// the answers that count as failure (see probes.h). The number of runs is printed
// when the program ends.
#include <cstdio>
#include <map>
#include <set>

#include "picture/editor.h"
#include "plugin/host_api.h"
#include "tests/reliability/probes.h"
#include "tests/reliability/scratch_faults.h"

extern "C" void REALPluginMain(REALResolver resolver);

namespace vqzsweep {
namespace {

using vqztest::HostConfig;

// Entry points without which the host cannot take back what the plugin holds (or,
// for REALLockObject, without which the plugin's releases drop references it never
// took): hiding them breaks the ledger by construction, whatever the plugin does.
const std::set<std::string> kReleaseEntryPoints = {"REALLockObject", "REALUnlockObject", "REALUnlockString",
                                                   "unlockPictureDescription", "PluginDisposeStringData"};

// Entry points that a host has together or not at all: a string data copy that the
// plugin makes itself (when "PluginGetStringData" is missing) is not the host's to
// dispose of, so a host without the first is a host without the second.
const std::map<std::string, std::vector<std::string>> kMissingTogether = {
    {"PluginGetStringData", {"PluginDisposeStringData"}},
};

const Fault kFaults[] = {Fault::PictureCreation,  Fault::MemoryBlockCreation, Fault::DescriptionLock,
                         Fault::PixelLock,        Fault::InstanceCreation,    Fault::StringCreation,
                         Fault::GraphicsCreation};
constexpr int kFaultKinds = sizeof kFaults / sizeof kFaults[0];

// Run counts of the whole program, printed at its end.
struct Tally {
    long hiddenRuns = 0, hiddenRunsAsking = 0, hiddenConfigurations = 0, notRegistered = 0;
    long faultRuns = 0, scratchRuns = 0;
    long total() const { return hiddenRuns + faultRuns + scratchRuns; }
};
Tally gTally;

class SweepReport : public ::testing::Environment {
public:
    void TearDown() override {
        if (gTally.total() == 0) return;
        std::printf("[ fault sweep ] %ld troubled runs: %ld with an entry point missing (%ld host configurations, "
                    "%ld runs that asked for the missing one, %ld calls skipped as unregistered), %ld with a failing "
                    "host object or lock, %ld with a failing scratch allocation\n",
                    gTally.total(), gTally.hiddenRuns, gTally.hiddenConfigurations, gTally.hiddenRunsAsking,
                    gTally.notRegistered, gTally.faultRuns, gTally.scratchRuns);
    }
};
const auto* const gReport = ::testing::AddGlobalTestEnvironment(new SweepReport);

// What an untroubled run found out besides its outcome.
struct Usage {
    int faults[kFaultKinds] = {};
    int scratch = 0;
};

class FaultSweep : public vqztest::PluginFormatTest {
protected:
    // One run of a probe; `arm` runs just before its first call, `disarm` after the
    // probe is done. Takes the raised exception into the outcome.
    Outcome run(const Probe& probe, const Variant& variant, const std::function<void()>& arm = {},
                const std::function<void()>& disarm = {}, int* slots = nullptr) {
        CallWindow window{arm};
        Outcome outcome;
        {
            ProbeContext context(format(), variant, window);
            probe.body(context);
            if (slots) *slots = context.sourceSlots();
            outcome = std::move(context.outcome);
        }
        if (window.armed && disarm) disarm();
        const standin::PendingException e = standin::takeException();
        outcome.exceptionClass = e.className;
        outcome.exceptionHasMessage = e.hasMessage;
        outcome.exceptionMessage = e.message;
        return outcome;
    }

    // False (after reporting it) when the host holds anything after a run.
    bool ledgerClean(const Probe& probe, const Trouble& trouble) {
        const std::string problems = ledgerProblems();
        if (problems.empty()) return true;
        ADD_FAILURE() << probe.name() << " on " << format().name << ", " << trouble.describe()
                      << ", leaves the host holding:\n" << problems;
        return false;
    }

    // The untroubled outcome of each probe and the outcomes that count as failure.
    bool expectations(const std::vector<Probe>& probes, std::vector<Expected>& expected, std::vector<Usage>& usage) {
        const Trouble none;
        for (const Probe& probe : probes) {
            Expected e;
            e.copiesOnDesktop = format().desktop();
            Usage u;
            int before[kFaultKinds] = {};
            int scratchBefore = 0;
            int slots = 0;
            e.correct = run(
                probe, Variant{},
                [&] {
                    for (int k = 0; k < kFaultKinds; ++k) before[k] = standin::occurrences(kFaults[k]);
                    scratchBefore = scratchAllocations();
                },
                [&] {
                    for (int k = 0; k < kFaultKinds; ++k) u.faults[k] = standin::occurrences(kFaults[k]) - before[k];
                    u.scratch = scratchAllocations() - scratchBefore;
                },
                &slots);
            if (!ledgerClean(probe, none)) return false;
            Variant skip;
            skip.skipCalls = true;
            const Outcome untouched = run(probe, skip);
            e.failures = probe.failures ? probe.failures(untouched, e.correct) : std::vector<Outcome>{untouched};
            for (int a = 1; a <= probe.alternatives; ++a) {
                Variant v;
                v.alternative = a;
                e.alternatives.push_back(run(probe, v));
            }
            for (int slot = slots > 1 ? Variant::kAllSlots : 0; slot < slots; ++slot) {
                if (slot == -1) continue;
                for (Variant::Replacement r : {Variant::Copied, Variant::Blank}) {
                    Variant v;
                    v.slot = slot;
                    v.replacement = r;
                    e.inputsCopied.push_back(run(probe, v));
                }
            }
            if (!ledgerClean(probe, none)) return false;
            // Where everything works, a probe whose correct outcome is also a failure
            // answer would prove nothing.
            if (format().code() == 13 && e.correct.exceptionClass.empty()) {
                for (const Outcome& f : e.failures)
                    EXPECT_FALSE(f.sameParts(e.correct)) << probe.name() << " gives a failure answer untroubled: "
                                                         << e.correct.describe();
            }
            expected.push_back(std::move(e));
            usage.push_back(u);
        }
        return true;
    }

    // Checks one troubled run; false when the sweep cannot go on (dirty ledger, or too
    // many failures to be worth reporting one by one).
    bool check(const Probe& probe, const Outcome& got, const Expected& expected, const Trouble& trouble) {
        if (!ledgerClean(probe, trouble)) return false;
        if (acceptable(probe, got, expected, trouble)) return true;
        ADD_FAILURE() << probe.name() << " on " << format().name << ", " << trouble.describe()
                      << ", gives neither its result nor a failure answer:\n  got      " << got.describe()
                      << "\n  expected " << expected.correct.describe() << "\n  or failure "
                      << expected.failures.at(0).describe();
        return ++failures_ < 20;
    }

    static bool registered(const Probe& probe) {
        auto c = standin::findByDeclaration(probe.where, probe.declaration);
        return c && (!probe.setter || c->setter);
    }

    // Registers the plugin code linked into the test program with a freshly reset host
    // of the same configuration, in place of the loaded module.
    void useLinkedCopy() {
        linked_ = true;
        standin::reset(hostConfig());
        IsConsole = IsDesktop = 0;
        REALPluginMain(&standin::resolve);
    }
    void forgetLinkedCopy() {
        gResolver = nullptr;
        rbversion_rbversion = 0.0;
        IsConsole = IsDesktop = 0;
    }

    void TearDown() override {
        vqztest::PluginFormatTest::TearDown();
        if (linked_) forgetLinkedCopy();
    }

    int failures_ = 0;
    bool linked_ = false;
};

TEST_P(FaultSweep, EveryMissingEntryPointGivesTheResultOrTheFailureAnswer) {
    const std::vector<Probe>& probes = allProbes();
    std::vector<Expected> expected;
    std::vector<Usage> usage;
    ASSERT_TRUE(expectations(probes, expected, usage));

    std::vector<std::string> names;
    for (const std::string& name : standin::entryPointNames())
        if (!kReleaseEntryPoints.count(name)) names.push_back(name);
    names.push_back(kQuickDrawLibrary);
    for (const std::string& name : names) {
        HostConfig config = vqztest::configFor(format());
        if (name == kQuickDrawLibrary)
            config.frameworkMissing = true;
        else if (name == "REALGetRBVersion")
            config.hasVersion = false;  // a host without a version is an old host throughout
        else
            config.hidden.insert(name);
        auto together = kMissingTogether.find(name);
        if (together != kMissingTogether.end()) config.hidden.insert(together->second.begin(), together->second.end());
        load(config);
        if (!loaded()) return;
        ++gTally.hiddenConfigurations;
        Trouble trouble;
        trouble.kind = Trouble::Hidden;
        trouble.hidden = name;
        for (size_t i = 0; i < probes.size(); ++i) {
            if (!registered(probes[i])) {  // the host never learned of it: nothing can call it
                ++gTally.notRegistered;
                continue;
            }
            int asksBefore = 0;
            bool asked = false;
            const Outcome got = run(
                probes[i], Variant{}, [&] { asksBefore = standin::resolverAsks(name); },
                [&] { asked = standin::resolverAsks(name) > asksBefore; });
            ++gTally.hiddenRuns;
            if (asked) ++gTally.hiddenRunsAsking;
            if (!check(probes[i], got, expected[i], trouble)) return;
        }
    }
}

TEST_P(FaultSweep, EachFailingHostObjectOrLockGivesTheResultOrTheFailureAnswer) {
    const std::vector<Probe>& probes = allProbes();
    std::vector<Expected> expected;
    std::vector<Usage> usage;
    ASSERT_TRUE(expectations(probes, expected, usage));
    for (size_t i = 0; i < probes.size(); ++i) {
        for (int k = 0; k < kFaultKinds; ++k) {
            for (int n = 1; n <= usage[i].faults[k]; ++n) {
                Trouble trouble;
                trouble.kind = Trouble::HostFault;
                trouble.fault = kFaults[k];
                trouble.nth = n;
                int before = 0, after = 0;
                const Outcome got = run(
                    probes[i], Variant{},
                    [&] {
                        before = standin::occurrences(kFaults[k]);
                        standin::failNth(kFaults[k], n);
                    },
                    [&] {
                        standin::failNth(kFaults[k], 0);
                        after = standin::occurrences(kFaults[k]);
                    });
                ++gTally.faultRuns;
                // The runs are deterministic: the untroubled run reached the nth
                // occurrence, so this one did too.
                EXPECT_GE(after - before, n) << probes[i].name() << ", " << trouble.describe() << " never happened";
                if (!check(probes[i], got, expected[i], trouble)) return;
            }
        }
    }
}

TEST_P(FaultSweep, EachFailingScratchAllocationGivesTheResultOrTheFailureAnswer) {
    if (!scratchFaultsAvailable()) GTEST_SKIP() << "the test program was linked without the allocation hook";
    useLinkedCopy();
    const std::vector<Probe>& probes = allProbes();
    std::vector<Expected> expected;
    std::vector<Usage> usage;
    const bool ready = expectations(probes, expected, usage);
    EXPECT_TRUE(ready);
    int allocatingProbes = 0;
    for (size_t i = 0; ready && i < probes.size(); ++i) {
        if (usage[i].scratch > 0) ++allocatingProbes;
        bool more = true;
        for (int n = 1; more && n <= usage[i].scratch; ++n) {
            Trouble trouble;
            trouble.kind = Trouble::Scratch;
            trouble.nth = n;
            const Outcome got = run(
                probes[i], Variant{}, [&] { failScratchNth(n); }, [] { failScratchNth(0); });
            ++gTally.scratchRuns;
            more = check(probes[i], got, expected[i], trouble);
        }
        if (!more) break;
    }
    // Scrolling with wrap, the color rectangle mask, the waveform and the binary
    // string all take scratch memory: a sweep that saw none sweeps nothing.
    EXPECT_GT(allocatingProbes, 0);
}

VQZ_ALL_FORMATS(FaultSweep);

// Every registered callable (table row, class method, accessor, setter) must have a
// probe, so that a new method cannot escape the sweep; and every probe must call
// something that is registered.
class FaultSweepCoverage : public vqztest::PluginTest {};

TEST_F(FaultSweepCoverage, EveryRegisteredCallableHasARepresentativeCall) {
    const std::vector<Probe>& probes = allProbes();
    auto covered = [&](const std::string& where, const std::string& declaration, bool setter) {
        for (const Probe& p : probes)
            if (p.where == where && p.declaration == declaration && p.setter == setter) return true;
        return false;
    };
    size_t callables = 0;
    for (const auto& [where, c] : standin::allCallables()) {
        ++callables;
        EXPECT_TRUE(covered(where, c.declarationText, false))
            << "no representative call of \"" << c.declarationText << "\" (" << (where.empty() ? "global" : where) << ")";
        if (c.setter) {
            EXPECT_TRUE(covered(where, c.declarationText, true))
                << "no representative call of the setter of \"" << c.declarationText << "\"";
        }
    }
    EXPECT_GE(callables, 45u + 2u + 3u + 3u);  // 45 methods, Close and Run of each class, Table, three factors
    for (const Probe& p : probes) {
        auto c = standin::findByDeclaration(p.where, p.declaration);
        EXPECT_TRUE(c && (!p.setter || c->setter)) << "the probe " << p.name() << " calls nothing registered";
    }
}

}  // namespace
}  // namespace vqzsweep
