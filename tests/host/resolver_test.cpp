// The resolver: exact lookup names, hidden names, the version entry points, LenB.
#include <algorithm>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

// Every lookup name a host answers, as the plugin spells them.
const std::vector<std::string> kLookupNames = {
    "RegisterPluginVersion", "REALGetRBVersion", "REALLockObject", "REALUnlockObject", "REALLockString",
    "REALUnlockString", "PluginNewInstance", "pluginObjectType", "RuntimeRaiseException", "PluginRegisterClass",
    "PluginRegisterClassExtension", "PluginRegisterMethod", "REALLoadObjectMethod", "REALLoadGlobalMethod",
    "REALGetPropValueInt", "REALSetPropValueInt", "REALSetPropValueUInt32", "REALSetPropValueString", "newPicture",
    "pluginPictureGraphicsGetter", "REALGetPictureMask", "REALPictureClearCache", "lockPictureDescription",
    "REALLockPictureDescription", "unlockPictureDescription", "RuntimeGraphicsDrawLine", "newMemoryBlock",
    "memoryBlockGetPtr", "memoryBlockGetSize", "REALBuildString", "REALGetStringEncoding", "REALSetStringEncoding",
    "REALConvertString", "PluginGetStringData", "PluginDisposeStringData", "StringGetCString"};

using ResolverTest = HostTest;

TEST_F(ResolverTest, AnswersExactlyTheHostEntryPoints) {
    std::vector<std::string> known = entryPointNames(), expected = kLookupNames;
    std::sort(known.begin(), known.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(known, expected);
    for (const std::string& name : kLookupNames) EXPECT_NE(resolve(name.c_str()), nullptr) << name;
    for (const char* name : {"REALNewPicture", "reallockobject", static_cast<const char*>(nullptr)})
        EXPECT_EQ(resolve(name), nullptr) << (name ? name : "null");  // names are exact
}

TEST_F(ResolverTest, HiddenNamesAndVersions) {
    HostConfig c = hostConfig(AppKind::Desktop, 2011.5, false);
    c.hidden = {"PluginGetStringData", "newPicture"};
    reset(c);
    for (const char* name : {"PluginGetStringData", "newPicture", "REALGetRBVersion"})
        EXPECT_EQ(resolve(name), nullptr) << name;
    EXPECT_NE(resolve("StringGetCString"), nullptr);

    reset(hostConfig(AppKind::Desktop, 2012.5));
    ASSERT_NE(resolve("REALGetRBVersion"), nullptr);
    EXPECT_EQ(Entry<double()>("REALGetRBVersion")(), 2012.5);
}

TEST_F(ResolverTest, LenBIsTheOnlyGlobalMethod) {
    auto lenB = reinterpret_cast<int32_t (*)(Str)>(api.loadGlobalMethod(nullptr, "LenB( s as string ) as integer"));
    ASSERT_NE(lenB, nullptr);
    Ref s = Ref::adopt(newString("h\xC3\xA9llo", kEncodingUTF8));
    EXPECT_EQ(lenB(s.str()), 6);
    EXPECT_EQ(lenB(nullptr), 0);
    EXPECT_EQ(api.loadGlobalMethod(nullptr, "LenB(s as string) as integer"), nullptr);
    EXPECT_EQ(api.loadGlobalMethod(nullptr, "Len( s as string ) as integer"), nullptr);
}

}  // namespace
}  // namespace hosttest
