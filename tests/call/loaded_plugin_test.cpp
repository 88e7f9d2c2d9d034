// Loading instances of the built plugin module.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "host/call.h"
#include "host/host.h"

namespace {

using standin::LoadedPlugin;

bool exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

// The file the instance's REALPluginMain was loaded from.
std::string loadedFile(const LoadedPlugin& plugin) {
    Dl_info info;
    void* main = plugin.symbol("REALPluginMain");
    return main && ::dladdr(main, &info) && info.dli_fname ? info.dli_fname : "";
}

const std::string kFrameworks = std::string(VQZ_BINARY_DIR) + "/frameworks";

TEST(LoadedPlugin, EachInstanceRunsFromItsOwnCopy) {
    std::string first;
    {
        LoadedPlugin plugin(standin::HostConfig{});
        ASSERT_TRUE(plugin.ok()) << plugin.error();
        EXPECT_EQ(standin::registeredPluginVersion(), 9);
        EXPECT_EQ(std::string(std::getenv("VQZ_FRAMEWORKS_DIR")), kFrameworks);
        first = loadedFile(plugin);
        EXPECT_NE(first, LoadedPlugin::defaultModulePath());
        EXPECT_TRUE(exists(first)) << first;
    }
    EXPECT_FALSE(first.empty() || exists(first)) << first;  // the copy is gone with the instance
    EXPECT_TRUE(standin::ledger().clean()) << standin::ledger().detail;
    LoadedPlugin again(standin::HostConfig{});
    ASSERT_TRUE(again.ok()) << again.error();
    EXPECT_NE(loadedFile(again), first);
    EXPECT_EQ(standin::registeredPluginVersion(), 9);
}

TEST(LoadedPlugin, EveryRegisteredDeclarationParses) {
    LoadedPlugin plugin(standin::HostConfig{});
    ASSERT_TRUE(plugin.ok()) << plugin.error();
    auto check = [](const REALmethodDefinition* table, uintptr_t count, const char* where) {
        for (uintptr_t i = 0; table && i < count; ++i) {
            ASSERT_NE(table[i].declaration, nullptr) << where << " method " << i;
            EXPECT_TRUE(standin::parseDeclaration(table[i].declaration)) << where << ": " << table[i].declaration;
            EXPECT_NE(table[i].function, nullptr) << table[i].declaration;
        }
    };
    for (const REALmethodDefinition* m : standin::registeredGlobalMethods()) check(m, 1, "global");
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        check(rc.definition->methods, rc.definition->methodCount, rc.definition->name);
        check(rc.definition->sharedMethods, rc.definition->sharedMethodCount, rc.definition->name);
    }
}

TEST(LoadedPlugin, FrameworkCanBeHidden) {
    standin::HostConfig config;
    config.frameworkMissing = true;
    LoadedPlugin plugin(config);
    ASSERT_TRUE(plugin.ok()) << plugin.error();
    const char* dir = std::getenv("VQZ_FRAMEWORKS_DIR");
    ASSERT_NE(dir, nullptr);
    EXPECT_NE(std::string(dir), kFrameworks);
    EXPECT_FALSE(exists(dir));
}

TEST(LoadedPlugin, ModulesThatCannotBeLoaded) {
    // Missing; a loadable module that is no plugin (the QuickDraw library); no module at all.
    const std::pair<std::string, const char*> cases[] = {
        {"/nonexistent/vqzpicture.so", "/nonexistent/vqzpicture.so"},
        {kFrameworks + "/ApplicationServices.framework/ApplicationServices", "REALPluginMain"},
        {std::string(VQZ_SOURCE_DIR) + "/CMakeLists.txt", "dlopen"}};
    for (const auto& [path, named] : cases) {
        LoadedPlugin plugin(standin::HostConfig{}, path);
        EXPECT_FALSE(plugin.ok()) << path;
        EXPECT_NE(plugin.error().find(named), std::string::npos) << plugin.error();
        EXPECT_EQ(plugin.symbol("REALPluginMain"), nullptr);
        EXPECT_EQ(standin::registeredPluginVersion(), 0);
    }
}

TEST(LoadedPlugin, ModulePathComesFromTheEnvironment) {
    const char* old = std::getenv("VQZ_PLUGIN");
    const std::string saved = old ? old : "";
    ::setenv("VQZ_PLUGIN", "/somewhere/else.so", 1);
    EXPECT_EQ(LoadedPlugin::defaultModulePath(), "/somewhere/else.so");
    ::unsetenv("VQZ_PLUGIN");
    EXPECT_NE(LoadedPlugin::defaultModulePath().find("vqzpicture"), std::string::npos);  // the one built alongside
    if (old) ::setenv("VQZ_PLUGIN", saved.c_str(), 1);
}

}  // namespace
