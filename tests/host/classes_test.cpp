// Class registration, instances and their properties; exceptions; application kind.
#include <cstddef>
#include <cstring>
#include <tuple>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

// A small plugin class, written the way a plugin writes one.
struct WidgetData {
    Pic picture;
    int32_t count;
    double ratio, hidden;
};
REALclassDefinition gWidgetClass;  // registered by the fixture; the host writes word 4
int gConstructed = 0, gDestroyed = 0;
WidgetData gSeenAtConstruction;

WidgetData* dataOf(void* o) { return reinterpret_cast<WidgetData*>(static_cast<char*>(o) + gWidgetClass.forSystemUse); }
void widgetConstructor(Obj self) {
    ++gConstructed;
    gSeenAtConstruction = *dataOf(self);
    dataOf(self)->ratio = 0.5;
}
void widgetDestructor(Obj self) {
    ++gDestroyed;
    if (dataOf(self)->picture) release(dataOf(self)->picture);
}
double getHidden(Obj self, intptr_t param) { return dataOf(self)->hidden + double(param); }
void setHidden(Obj self, intptr_t, double v) { dataOf(self)->hidden = v * 2; }

const REALproc kDirect = reinterpret_cast<REALproc>(kDirectAccess);
REALproperty gWidgetProperties[] = {
    {nullptr, "Picture", "Picture", 0, kDirect, kDirect, offsetof(WidgetData, picture), 0, 0, 0},
    {nullptr, "Count", "Integer", 0, kDirect, kDirect, offsetof(WidgetData, count), 0, 0, 0},
    {nullptr, "Ratio", "Double", 0, kDirect, kDirect, offsetof(WidgetData, ratio), 0, 0, 0},
    {nullptr, "Hidden", "Double", 0, REALproc(&getHidden), REALproc(&setHidden), 1, 0, 0, 0},  // accessors
};

PropValue integerValue(int64_t i) { return PropValue{PropValue::Integer, i, 0, nullptr}; }
PropValue doubleValue(double d) { return PropValue{PropValue::Double, 0, d, nullptr}; }
PropValue handleValue(void* h) { return PropValue{PropValue::Handle, 0, 0, h}; }

class ClassesTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        gConstructed = gDestroyed = 0;
        gWidgetClass = {9, "WidgetVQZ", nullptr, sizeof(WidgetData), 0, REALproc(&widgetConstructor),
                        REALproc(&widgetDestructor), gWidgetProperties, 4, nullptr, 0, {}, 0, nullptr, 0, nullptr, 0};
        api.registerClass(&gWidgetClass);
    }
};

TEST_F(ClassesTest, RegistrationAndInstanceLifetime) {
    EXPECT_NE(gWidgetClass.forSystemUse, 0u);
    EXPECT_EQ(gWidgetClass.forSystemUse % 16, 0u);
    EXPECT_EQ(findClass("WidgetVQZ"), &gWidgetClass);
    EXPECT_NE(api.objectType("WidgetVQZ"), nullptr);
    EXPECT_EQ(api.objectType("GadgetVQZ"), nullptr);
    EXPECT_EQ(api.newInstance("GadgetVQZ"), nullptr);
    // Zero-filled data at the written offset, then the constructor; the destructor at the last release.
    Obj w = api.newInstance("WidgetVQZ");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(std::make_tuple(gConstructed, gSeenAtConstruction.picture, gSeenAtConstruction.count,
                              gSeenAtConstruction.ratio),
              std::make_tuple(1, Pic(nullptr), 0, 0.0));
    EXPECT_EQ(instanceData(w), static_cast<void*>(dataOf(w)));
    EXPECT_STREQ(className(w), "WidgetVQZ");
    api.lockObject(w);
    api.unlockObject(w);
    EXPECT_EQ(gDestroyed, 0);
    api.unlockObject(w);
    EXPECT_EQ(gDestroyed, 1);
}

TEST_F(ClassesTest, DirectAndAccessorProperties) {
    Ref w = Ref::adopt(newInstance("WidgetVQZ"));
    PropValue v;
    ASSERT_TRUE(getProperty(w.get(), "Ratio", v));
    EXPECT_EQ(std::make_pair(v.type, v.d), std::make_pair(PropValue::Double, 0.5));
    EXPECT_TRUE(setProperty(w.get(), "count", integerValue(-7)));  // names are case-insensitive
    EXPECT_EQ(dataOf(w.get())->count, -7);
    int32_t count = 0;
    EXPECT_TRUE(api.setPropInt(w.obj(), "Count", 12) && api.getPropInt(w.obj(), "Count", &count));
    EXPECT_EQ(count, 12);
    EXPECT_TRUE(setProperty(w.get(), "Hidden", doubleValue(1.25)));
    EXPECT_EQ(dataOf(w.get())->hidden, 2.5);
    ASSERT_TRUE(getProperty(w.get(), "Hidden", v));
    EXPECT_EQ(v.d, 3.5);  // the getter adds the record's parameter, 1
    EXPECT_FALSE(getProperty(w.get(), "Missing", v));
    EXPECT_FALSE(setProperty(w.get(), "Count", doubleValue(1.25)));  // a double does not go into an integer

    // An object property holds a reference to its value.
    Ref a = Ref::adopt(api.newPicture(2, 2, 32)), b = Ref::adopt(api.newPicture(3, 3, 32));
    EXPECT_TRUE(setProperty(w.get(), "Picture", handleValue(a.get())));
    EXPECT_EQ(std::make_pair(refCount(a.get()), dataOf(w.get())->picture), std::make_pair(2, a.pic()));
    EXPECT_TRUE(setProperty(w.get(), "Picture", handleValue(b.get())));
    EXPECT_EQ(std::make_pair(refCount(a.get()), refCount(b.get())), std::make_pair(1, 2));
    ASSERT_TRUE(getProperty(w.get(), "Picture", v));
    EXPECT_EQ(std::make_pair(v.h, refCount(b.get())), std::make_pair(b.get(), 3));  // reading hands out a reference
    release(v.h);
    Ref s = Ref::adopt(newString("x", kEncodingASCII));
    EXPECT_FALSE(setProperty(w.get(), "Picture", handleValue(s.get())));  // a string is no picture
    w = Ref();  // the destructor drops the picture
    EXPECT_EQ(refCount(b.get()), 1);
}

TEST_F(ClassesTest, ExceptionsCarryAMessageAndRaiseOnce) {
    Obj e = api.newInstance("NilObjectException");
    ASSERT_NE(e, nullptr);
    Str m = api.buildString("memoryblock is nil", 18);
    api.setEncoding(m, kEncodingASCII);
    EXPECT_TRUE(api.setPropString(e, "Message", m));
    api.unlockString(m);
    EXPECT_EQ(refCount(m), 1);  // held by the exception
    api.raise(e);
    api.unlockObject(e);
    EXPECT_EQ(ledger().liveObjects, 2);  // the pending exception and its message
    PendingException p = takeException();
    EXPECT_EQ(std::tie(p.className, p.hasMessage, p.message),
              std::make_tuple("NilObjectException", true, "memoryblock is nil"));
    EXPECT_EQ(ledger().liveObjects, 0);
    EXPECT_EQ(takeException().className, "");

    // A second raise replaces the first; a nil message stays nil.
    Obj first = api.newInstance("RuntimeException"), second = api.newInstance("RuntimeException");
    EXPECT_TRUE(api.setPropString(second, "Message", nullptr));
    for (Obj x : {first, second}) api.raise(x);
    for (Obj x : {first, second}) api.unlockObject(x);
    EXPECT_EQ(ledger().liveObjects, 1);
    p = takeException();
    EXPECT_EQ(std::tie(p.className, p.hasMessage), std::make_tuple("RuntimeException", false));
    EXPECT_EQ(api.newInstance("OutOfMemoryVQZ"), nullptr);
}

TEST_F(ClassesTest, ApplicationKindAnswers) {
    const std::pair<AppKind, const char*> kinds[] = {
        {AppKind::Desktop, "Application"}, {AppKind::Console, "ConsoleApplication"}, {AppKind::Web, "WebApplication"}};
    for (auto [kind, yes] : kinds) {
        reset(hostConfig(kind));
        for (const char* name : {"Application", "ConsoleApplication", "WebApplication"})
            EXPECT_EQ(api.objectType(name) != nullptr, std::strcmp(name, yes) == 0) << name;
        EXPECT_NE(api.objectType("NilObjectException"), nullptr);
        EXPECT_EQ(api.objectType("Picture2"), nullptr);
    }
}

}  // namespace
}  // namespace hosttest
