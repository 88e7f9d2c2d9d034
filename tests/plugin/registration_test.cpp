// What a host receives when it loads the plugin: the records, their flag words for
// its version, the rounded instance sizes, and only one exported symbol.
#include <cmath>
#include <cstdio>
#include <set>
#include <string>

#include "plugin/host_api.h"
#include "plugin/registration.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

struct VersionCase {
    const char* name;
    bool hasVersion;
    double version;
    bool newFlags;  // the host understands console flags
};

const VersionCase kVersions[] = {
    {"none", false, 0, false},       {"v2010_028", true, 2010.028, false}, {"v2010_029", true, 2010.029, true},
    {"v2012", true, 2012.0, true},   {"v2013", true, 2013.0, true},        {"nan", true, NAN, false},
};

// Methods of the Picture extension registered without the console flag.
const std::set<std::string> kUnflaggedPictureMethods = {
    "ColornessVQZ(threshold as integer = 10) as double",
    "ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
    "ScrollHorizontalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
    "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean",
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)",
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture",
    "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture",
    "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture",
};

class RegistrationTest : public PluginTest, public ::testing::WithParamInterface<VersionCase> {
protected:
    HostConfig initialConfig() const override {
        HostConfig config;
        config.hasVersion = GetParam().hasVersion;
        config.version = GetParam().version;
        return config;
    }
    uintptr_t consoleFlag() const { return GetParam().newFlags ? kHostConsoleSafe : 0; }
};

TEST_P(RegistrationTest, PictureExtensionFlagsFollowTheHostVersion) {
    EXPECT_EQ(standin::registeredPluginVersion(), 9);
    REALclassDefinition* picture = standin::findClass("Picture");
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(picture->methodCount, 39u);
    EXPECT_EQ(picture->mFlags, kHostConsoleSafe);  // written in host form, kept on every host
    EXPECT_STREQ(picture->methods[0].declaration, "ColornessVQZ(threshold as integer = 10) as double");
    EXPECT_STREQ(picture->methods[38].declaration,
                 "isGrayVQZ(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean");
    int setters = 0;
    for (uintptr_t i = 0; i < picture->methodCount; ++i) {
        const REALmethodDefinition& m = picture->methods[i];
        const bool flagged = !kUnflaggedPictureMethods.count(m.declaration);
        EXPECT_EQ(m.mFlags, flagged ? consoleFlag() : 0u) << m.declaration;
        ASSERT_NE(m.function, nullptr) << m.declaration;
        setters += m.setterFunction != nullptr;
    }
    EXPECT_EQ(setters, 1);  // only EmbeddedMaskVQZ can be assigned to
}

TEST_P(RegistrationTest, GlobalMethodsInOrder) {
    const auto& globals = standin::registeredGlobalMethods();
    ASSERT_EQ(globals.size(), 6u);
    const char* const names[] = {"BinaryStringtoPictureVQZ(", "PicturetoBinaryStringVQZ(", "CombinePicturesVQZ(",
                                 "MergePictureVQZ(", "TintPictureVQZ(", "RenderSamplesVQZ("};
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(std::string(globals[i]->declaration).rfind(names[i], 0), 0u) << globals[i]->declaration;
        EXPECT_EQ(globals[i]->mFlags, consoleFlag());
        EXPECT_EQ(globals[i]->setterFunction, nullptr);
    }
}

TEST_P(RegistrationTest, ClassesWithRoundedSizesAndRewrittenFlags) {
    REALclassDefinition* lut = standin::findClass("PictureLut3DVQZ");
    REALclassDefinition* sepia = standin::findClass("PictureSepiaVQZ");
    ASSERT_NE(lut, nullptr);
    ASSERT_NE(sepia, nullptr);
    EXPECT_EQ(lut->version, 9u);
    EXPECT_EQ(lut->mFlags, kHostConsoleSafe);
    EXPECT_EQ(sepia->mFlags, 0u);
    for (REALclassDefinition* c : {lut, sepia}) {
        EXPECT_EQ(c->dataSize % 16, 0u) << c->name;
        EXPECT_NE(c->forSystemUse, 0u) << "the host writes the data offset";
        const uintptr_t expected = c == lut ? consoleFlag() : 0;
        for (uintptr_t i = 0; i < c->methodCount; ++i) EXPECT_EQ(c->methods[i].mFlags, expected) << c->methods[i].declaration;
        for (uintptr_t i = 0; i < c->propertyCount; ++i) EXPECT_EQ(c->properties[i].flags, expected) << c->properties[i].name;
    }
#if defined(__i386__)
    EXPECT_EQ(lut->dataSize, 140000u);
    EXPECT_EQ(sepia->dataSize, 64u);
#endif
}

INSTANTIATE_TEST_SUITE_P(HostVersions, RegistrationTest, ::testing::ValuesIn(kVersions),
                         [](const ::testing::TestParamInfo<VersionCase>& info) { return std::string(info.param.name); });

// Hosts that lack start-up or registration entry points.
class StartUpTest : public PluginTest {};

TEST_F(StartUpTest, HostWithoutVersionEntryPointsStillLoads) {
    HostConfig config;
    config.hidden = {"RegisterPluginVersion", "REALGetRBVersion"};
    load(config);
    EXPECT_EQ(standin::registeredPluginVersion(), 0);
    ASSERT_NE(standin::findClass("Picture"), nullptr);
    EXPECT_EQ(standin::findClass("Picture")->methods[4].mFlags, 0u) << "no version: an older host";
}

TEST_F(StartUpTest, MissingRegistrationEntryPointsAreSkipped) {
    HostConfig config;
    config.hidden = {"PluginRegisterClass"};
    load(config);
    EXPECT_EQ(standin::findClass("PictureLut3DVQZ"), nullptr);
    EXPECT_NE(standin::findClass("Picture"), nullptr);
    EXPECT_EQ(standin::registeredGlobalMethods().size(), 6u);

    config.hidden = {"PluginRegisterClassExtension", "PluginRegisterMethod"};
    load(config);
    EXPECT_EQ(standin::findClass("Picture"), nullptr);
    EXPECT_NE(standin::findClass("PictureSepiaVQZ"), nullptr);
    EXPECT_TRUE(standin::registeredGlobalMethods().empty());
}

TEST(PluginModule, ExportsOnlyItsEntryPoint) {
    const std::string command = "nm -D --defined-only '" + standin::LoadedPlugin::defaultModulePath() + "'";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> symbols;
    char line[512];
    while (fgets(line, sizeof line, pipe)) {
        char type = 0;
        char name[400] = {};
        if (sscanf(line, "%*s %c %399s", &type, name) == 2) symbols.insert(name);
    }
    ASSERT_EQ(pclose(pipe), 0);
    EXPECT_EQ(symbols, std::set<std::string>{"REALPluginMain"});
}

// The rewrite itself, on the plugin's code linked into the tests.
class FlagRewrite : public ::testing::Test {
protected:
    void TearDown() override { rbversion_rbversion = 0.0; }
};

TEST_F(FlagRewrite, PluginBitsBecomeHostBitsOnlyOnNewHosts) {
    rbversion_rbversion = 2010.029;
    EXPECT_EQ(RewriteFlagWord(0x40000), 0x4u);
    EXPECT_EQ(RewriteFlagWord(0x80000), 0x8u);
    EXPECT_EQ(RewriteFlagWord(0xC0000), 0xCu);
    EXPECT_EQ(RewriteFlagWord(0x100000), 0u);
    EXPECT_EQ(RewriteFlagWord(4), 4u);
    rbversion_rbversion = 2010.0289;
    EXPECT_EQ(RewriteFlagWord(0x40000), 0u);
    EXPECT_EQ(RewriteFlagWord(0xC0000), 0u);
    EXPECT_EQ(RewriteFlagWord(0x1C0004), 4u);
}

TEST_F(FlagRewrite, EmptyAndNullTablesAreSkipped) {
    rbversion_rbversion = 2013.0;
    FixConsoleFlags(static_cast<REALmethodDefinition*>(nullptr), 5);
    REALmethodDefinition one = {nullptr, nullptr, "x", 0x40000};
    FixConsoleFlags(&one, 0);
    EXPECT_EQ(one.mFlags, 0x40000u);
    FixConsoleFlags(&one, 1);
    EXPECT_EQ(one.mFlags, 4u);

    REALproperty property = {};
    property.flags = 0x80000;
    REALclassDefinition definition = {};
    definition.mFlags = 0x40000;
    definition.methodCount = 3;  // with a null table
    definition.sharedProperties = &property;
    definition.sharedPropertyCount = 1;
    FixConsoleFlags(&definition);
    EXPECT_EQ(definition.mFlags, 4u);
    EXPECT_EQ(property.flags, 8u);
}

TEST(InstanceSize, RoundedUpToSixteenBeforeRegistration) {
    for (auto [size, rounded] : {std::pair<uintptr_t, uintptr_t>{64, 64}, {65, 80}, {139992, 140000}, {0, 0}}) {
        REALclassDefinition definition = {};
        definition.dataSize = size;
        MyREALRegisterClass(&definition);  // no resolver here: rounds, registers nothing
        EXPECT_EQ(definition.dataSize, rounded);
    }
}

}  // namespace
