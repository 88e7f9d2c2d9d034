#include "bench/support.h"

#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>

namespace bench {

const std::vector<Format>& readerFormats() {
    static const std::vector<Format> formats = {
        {"code13", standin::AppKind::Desktop, 32},
        {"code12", standin::AppKind::Desktop, 24},
        {"code8", standin::AppKind::Console, 32},
    };
    return formats;
}

namespace {

// Pictures live as long as the plugin instance that their host kind needs.
struct Session {
    standin::AppKind kind;
    std::unique_ptr<standin::LoadedPlugin> plugin;
    std::map<std::string, standin::Ref> pictures;
};
std::unique_ptr<Session> current;

void fillRandom(void* picture, uint32_t seed) {
    std::mt19937 random(seed);
    const int w = standin::pictureWidth(picture), h = standin::pictureHeight(picture);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) standin::setRGB(picture, x, y, random() & 0xFFFFFF);
}

Session& session(standin::AppKind kind) {
    if (!current || current->kind != kind) {
        current.reset();  // pictures first, then the plugin
        current = std::make_unique<Session>();
        current->kind = kind;
        standin::HostConfig config;
        config.kind = kind;
        current->plugin = std::make_unique<standin::LoadedPlugin>(config);
        if (!current->plugin->ok()) {
            fprintf(stderr, "cannot load the plugin: %s\n", current->plugin->error().c_str());
            exit(1);
        }
    }
    return *current;
}

void* cachedPicture(const Format& format, int side, const char* role, uint32_t seed) {
    Session& s = session(format.kind);
    std::string key = std::string(format.name) + role + std::to_string(side);
    auto it = s.pictures.find(key);
    if (it == s.pictures.end()) {
        void* made = format.kind == standin::AppKind::Desktop ? standin::newGWorldPicture(side, side, format.depth)
                                                              : standin::newBitmapPicture(side, side);
        fillRandom(made, seed);
        it = s.pictures.emplace(key, standin::Ref::adopt(made)).first;
    }
    return it->second.get();
}

}  // namespace

void* picture(const Format& format, int side) { return cachedPicture(format, side, "/first", 1); }
void* secondPicture(const Format& format, int side) { return cachedPicture(format, side, "/second", 2); }

namespace {
struct Pending {
    std::string name;
    standin::AppKind kind;
    std::function<void(benchmark::State&)> body;
    double pixels;
};
std::vector<Pending>& pending() {
    static std::vector<Pending> list;
    return list;
}
}  // namespace

void addBenchmark(const std::string& name, std::function<void(benchmark::State&)> body, double pixelsPerIteration,
                  standin::AppKind kind) {
    pending().push_back(Pending{name, kind, std::move(body), pixelsPerIteration});
}

void registerAll() {
    std::stable_sort(pending().begin(), pending().end(), [](const Pending& a, const Pending& b) {
        auto rank = [](const Pending& p) { return int(p.kind) * 2 + (p.name.rfind("floor_", 0) == 0 ? 0 : 1); };
        return rank(a) < rank(b);
    });
    for (const Pending& p : pending()) {
        auto body = p.body;
        const double pixels = p.pixels;
        benchmark::RegisterBenchmark(p.name.c_str(), [body, pixels](benchmark::State& state) {
            body(state);
            state.counters["Mpix/s"] = benchmark::Counter(pixels * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
        })->Unit(benchmark::kMillisecond)->MinTime(0.5);
    }
}

void addPictureBenchmark(const std::string& name, std::function<void(void*, const Format&)> body, int side) {
    for (const Format& format : readerFormats()) {
        addBenchmark(name + "/" + format.name, [body, format, side](benchmark::State& state) {
            void* source = picture(format, side);
            for (auto _ : state) body(source, format);
        }, double(side) * side, format.kind);
    }
}

void run(const std::string& where, const std::string& declaration, void* receiver, std::vector<standin::Value> args) {
    standin::Value result = standin::invoke(where, declaration, receiver, std::move(args));
    benchmark::DoNotOptimize(result.i);
}

}  // namespace bench
