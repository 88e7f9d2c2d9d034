// Loading instances of the built plugin module.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "host/call.h"
#include "host/host.h"

namespace {

bool exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

std::string loadedFileOf(void* symbol) {
    Dl_info info;
    if (!symbol || !::dladdr(symbol, &info) || !info.dli_fname) return {};
    return info.dli_fname;
}

const std::string kFrameworks = std::string(VQZ_BINARY_DIR) + "/frameworks";

TEST(LoadedPlugin, RunsThePluginEntryPoint) {
    std::string copy;
    {
        standin::LoadedPlugin plugin(standin::HostConfig{});
        ASSERT_TRUE(plugin.ok()) << plugin.error();
        EXPECT_TRUE(plugin.error().empty());
        EXPECT_EQ(standin::registeredPluginVersion(), 9);
        EXPECT_EQ(std::string(std::getenv("VQZ_FRAMEWORKS_DIR")), kFrameworks);

        // The instance runs from its own copy of the module, which is gone afterwards.
        void* main = plugin.symbol("REALPluginMain");
        ASSERT_NE(main, nullptr);
        copy = loadedFileOf(main);
        EXPECT_NE(copy, standin::LoadedPlugin::defaultModulePath());
        EXPECT_TRUE(exists(copy)) << copy;
        EXPECT_EQ(plugin.symbol("NoSuchSymbolAnywhere"), nullptr);
    }
    EXPECT_FALSE(copy.empty());
    EXPECT_FALSE(exists(copy)) << copy;
    EXPECT_TRUE(standin::ledger().clean()) << standin::ledger().detail;
}

TEST(LoadedPlugin, EveryRegisteredDeclarationParses) {
    standin::LoadedPlugin plugin(standin::HostConfig{});
    ASSERT_TRUE(plugin.ok()) << plugin.error();
    auto check = [](const REALmethodDefinition* table, uintptr_t count, const char* where) {
        for (uintptr_t i = 0; table && i < count; ++i) {
            ASSERT_NE(table[i].declaration, nullptr) << where << " method " << i;
            EXPECT_TRUE(standin::parseDeclaration(table[i].declaration).has_value())
                << where << ": \"" << table[i].declaration << "\"";
            EXPECT_NE(table[i].function, nullptr) << table[i].declaration;
        }
    };
    for (const REALmethodDefinition* m : standin::registeredGlobalMethods()) check(m, 1, "global");
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        check(def->methods, def->methodCount, def->name);
        check(def->sharedMethods, def->sharedMethodCount, def->name);
    }
}

TEST(LoadedPlugin, InstancesAreIndependentCopies) {
    std::string first, second;
    {
        standin::LoadedPlugin a(standin::HostConfig{});
        ASSERT_TRUE(a.ok()) << a.error();
        first = loadedFileOf(a.symbol("REALPluginMain"));
    }
    {
        standin::LoadedPlugin b(standin::HostConfig{});
        ASSERT_TRUE(b.ok()) << b.error();
        second = loadedFileOf(b.symbol("REALPluginMain"));
        EXPECT_EQ(standin::registeredPluginVersion(), 9);
    }
    EXPECT_NE(first, second);
}

TEST(LoadedPlugin, FrameworkCanBeHidden) {
    standin::HostConfig config;
    config.frameworkMissing = true;
    standin::LoadedPlugin plugin(config);
    ASSERT_TRUE(plugin.ok()) << plugin.error();
    const char* dir = std::getenv("VQZ_FRAMEWORKS_DIR");
    ASSERT_NE(dir, nullptr);
    EXPECT_NE(std::string(dir), kFrameworks);
    EXPECT_FALSE(exists(dir));
}

TEST(LoadedPlugin, MissingModuleIsAnError) {
    standin::LoadedPlugin plugin(standin::HostConfig{}, "/nonexistent/vqzpicture.so");
    EXPECT_FALSE(plugin.ok());
    EXPECT_NE(plugin.error().find("/nonexistent/vqzpicture.so"), std::string::npos) << plugin.error();
    EXPECT_EQ(plugin.symbol("REALPluginMain"), nullptr);
    EXPECT_EQ(standin::registeredPluginVersion(), 0);
}

TEST(LoadedPlugin, ModuleWithoutEntryPointIsAnError) {
    // The QuickDraw library is a loadable module, but no plugin.
    std::string other = kFrameworks + "/ApplicationServices.framework/ApplicationServices";
    if (!exists(other)) GTEST_SKIP() << other << " is not built";
    standin::LoadedPlugin plugin(standin::HostConfig{}, other);
    EXPECT_FALSE(plugin.ok());
    EXPECT_NE(plugin.error().find("REALPluginMain"), std::string::npos) << plugin.error();
}

TEST(LoadedPlugin, NotAModuleIsAnError) {
    standin::LoadedPlugin plugin(standin::HostConfig{}, std::string(VQZ_SOURCE_DIR) + "/CMakeLists.txt");
    EXPECT_FALSE(plugin.ok());
    EXPECT_NE(plugin.error().find("dlopen"), std::string::npos) << plugin.error();
}

TEST(LoadedPlugin, ModulePathComesFromTheEnvironment) {
    const char* old = std::getenv("VQZ_PLUGIN");
    std::string saved = old ? old : "";
    ::setenv("VQZ_PLUGIN", "/somewhere/else.so", 1);
    EXPECT_EQ(standin::LoadedPlugin::defaultModulePath(), "/somewhere/else.so");
    ::unsetenv("VQZ_PLUGIN");
    std::string builtIn = standin::LoadedPlugin::defaultModulePath();
    EXPECT_FALSE(builtIn.empty());
    EXPECT_NE(builtIn.find("vqzpicture"), std::string::npos) << builtIn;
    if (old) ::setenv("VQZ_PLUGIN", saved.c_str(), 1);
}

}  // namespace
