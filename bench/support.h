// Benchmark support: the plugin loaded through the stand-in host, big random
// pictures per reader format, and a table of ratios against two floors measured
// in the same run (copying a picture into a new one, and reading it once), because
// absolute times on a shared machine mean little.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "host/call.h"

namespace bench {

struct Format {
    const char* name;          // "code13", "code12", "code8"
    standin::AppKind kind;     // host kind that makes pictures of this format
    int depth;                 // GWorld depth on a desktop host
};
const std::vector<Format>& readerFormats();  // code 13, 12, 8

constexpr int kSide = 4096;

// The plugin loaded for the host kind of `format` (reloaded when the kind changes)
// and a kSide x kSide random picture in that format, kept for the whole run.
void* picture(const Format& format, int side = kSide);
// Another random picture of the same format and size (for two-picture operations).
void* secondPicture(const Format& format, int side = kSide);

// Registers `name`/<format> for every reader format. `body` runs one operation on the
// picture and drops whatever it returns. `pixels` is what one iteration processes
// (default side * side).
void addPictureBenchmark(const std::string& name, std::function<void(void* picture, const Format&)> body,
                         int side = kSide);
// Registers a benchmark with its own loop (`for (auto _ : state)`), run on a host of
// `kind`. Names "Operation/format" get ratio columns against the floors of that format.
void addBenchmark(const std::string& name, std::function<void(benchmark::State&)> body, double pixelsPerIteration,
                  standin::AppKind kind = standin::AppKind::Desktop);

// Registers everything added so far with Google Benchmark, host kind by host kind, so
// that the plugin is loaded once per kind.
void registerAll();

// Calls a registered declaration the way the host would, and drops the result.
void run(const std::string& where, const std::string& declaration, void* receiver, std::vector<standin::Value> args = {});

}  // namespace bench

// Registers benchmarks at start-up: VQZ_BENCHMARKS(unique) { bench::addPictureBenchmark(...); }
#define VQZ_BENCHMARKS(tag)                                                 \
    static void vqzRegister_##tag();                                        \
    static const bool vqzRegistered_##tag = (vqzRegister_##tag(), true);   \
    static void vqzRegister_##tag()
