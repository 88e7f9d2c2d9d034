// Class registration, instances and their properties; exceptions; application kind.
#include <cstddef>
#include <cstring>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

// A small plugin class, written the way a plugin writes one.
struct WidgetData {
    REALpictureStruct* picture;
    int32_t count;
    double ratio;
    double hidden;
};

REALclassDefinition gWidgetClass;  // filled in by the fixture; the host writes word 4
int gConstructed = 0, gDestroyed = 0;
WidgetData gSeenAtConstruction;

WidgetData* dataOf(REALobjectStruct* instance) {
    return reinterpret_cast<WidgetData*>(reinterpret_cast<char*>(instance) + gWidgetClass.forSystemUse);
}
void widgetConstructor(REALobjectStruct* self) {
    ++gConstructed;
    gSeenAtConstruction = *dataOf(self);
    dataOf(self)->ratio = 0.5;
}
void widgetDestructor(REALobjectStruct* self) {
    ++gDestroyed;
    WidgetData* d = dataOf(self);
    if (d->picture) release(d->picture);
    d->picture = nullptr;
}
double getHidden(REALobjectStruct* self, intptr_t param) { return dataOf(self)->hidden + double(param); }
void setHidden(REALobjectStruct* self, intptr_t param, double v) { dataOf(self)->hidden = v * 2; }

REALproc direct() { return reinterpret_cast<REALproc>(kDirectAccess); }

REALproperty gWidgetProperties[4];

class ClassesTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        gConstructed = gDestroyed = 0;
        gWidgetProperties[0] = {nullptr, "Picture", "Picture", 0, direct(), direct(), offsetof(WidgetData, picture), 0, 0, 0};
        gWidgetProperties[1] = {nullptr, "Count", "Integer", 0, direct(), direct(), offsetof(WidgetData, count), 0, 0, 0};
        gWidgetProperties[2] = {nullptr, "Ratio", "Double", 0, direct(), direct(), offsetof(WidgetData, ratio), 0, 0, 0};
        gWidgetProperties[3] = {nullptr, "Hidden", "Double", 0, reinterpret_cast<REALproc>(&getHidden),
                                reinterpret_cast<REALproc>(&setHidden), 1, 0, 0, 0};
        gWidgetClass = REALclassDefinition{};
        gWidgetClass.version = 9;
        gWidgetClass.name = "WidgetVQZ";
        gWidgetClass.dataSize = sizeof(WidgetData);
        gWidgetClass.constructor = reinterpret_cast<REALproc>(&widgetConstructor);
        gWidgetClass.destructor = reinterpret_cast<REALproc>(&widgetDestructor);
        gWidgetClass.properties = gWidgetProperties;
        gWidgetClass.propertyCount = 4;
        api.registerClass(&gWidgetClass);
    }
};

TEST_F(ClassesTest, RegistrationWritesTheInstanceDataOffset) {
    EXPECT_NE(gWidgetClass.forSystemUse, 0u);
    EXPECT_EQ(gWidgetClass.forSystemUse % 16, 0u);
    EXPECT_EQ(findClass("WidgetVQZ"), &gWidgetClass);
    EXPECT_NE(api.objectType("WidgetVQZ"), nullptr);
    EXPECT_EQ(api.objectType("GadgetVQZ"), nullptr);

    static REALclassDefinition extension{};
    extension.version = 9;
    extension.name = "Picture";
    static REALmethodDefinition m1 = {nullptr, nullptr, "A()", 0}, m2 = {nullptr, nullptr, "B()", 0};
    api.registerExtension(&extension);
    api.registerMethod(&m1);
    api.registerMethod(&m2);
    ASSERT_EQ(registeredClasses().size(), 2u);
    EXPECT_TRUE(registeredClasses()[1].extension);
    EXPECT_EQ(extension.forSystemUse, 0u);
    ASSERT_EQ(registeredGlobalMethods().size(), 2u);
    EXPECT_EQ(registeredGlobalMethods()[1], &m2);
}

TEST_F(ClassesTest, InstancesAreZeroFilledConstructedAndDestroyed) {
    REALobjectStruct* w = api.newInstance("WidgetVQZ");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(gConstructed, 1);
    EXPECT_EQ(gSeenAtConstruction.picture, nullptr);
    EXPECT_EQ(gSeenAtConstruction.count, 0);
    EXPECT_EQ(gSeenAtConstruction.ratio, 0.0);
    EXPECT_EQ(instanceData(w), static_cast<void*>(dataOf(w)));
    EXPECT_STREQ(className(w), "WidgetVQZ");
    api.lockObject(w);
    api.unlockObject(w);
    EXPECT_EQ(gDestroyed, 0);
    api.unlockObject(w);
    EXPECT_EQ(gDestroyed, 1);
    EXPECT_EQ(api.newInstance("GadgetVQZ"), nullptr);
}

TEST_F(ClassesTest, DirectAndAccessorProperties) {
    Ref w = Ref::adopt(newInstance("WidgetVQZ"));
    PropValue v;
    ASSERT_TRUE(getProperty(w.get(), "Ratio", v));
    EXPECT_EQ(v.type, PropValue::Double);
    EXPECT_EQ(v.d, 0.5);

    PropValue n;
    n.type = PropValue::Integer;
    n.i = -7;
    EXPECT_TRUE(setProperty(w.get(), "count", n));  // names are case-insensitive
    EXPECT_EQ(dataOf(w.obj())->count, -7);
    EXPECT_TRUE(api.setPropInt(w.obj(), "Count", 12));
    int32_t count = 0;
    EXPECT_TRUE(api.getPropInt(w.obj(), "Count", &count));
    EXPECT_EQ(count, 12);

    PropValue d;
    d.type = PropValue::Double;
    d.d = 1.25;
    EXPECT_TRUE(setProperty(w.get(), "Hidden", d));
    EXPECT_EQ(dataOf(w.obj())->hidden, 2.5);
    ASSERT_TRUE(getProperty(w.get(), "Hidden", v));
    EXPECT_EQ(v.d, 3.5);  // the getter adds the record's parameter, 1

    EXPECT_FALSE(getProperty(w.get(), "Missing", v));
    EXPECT_FALSE(setProperty(w.get(), "Count", d));  // a double does not go into an integer
}

TEST_F(ClassesTest, PicturePropertiesHoldReferences) {
    Ref w = Ref::adopt(newInstance("WidgetVQZ"));
    Ref a = Ref::adopt(api.newPicture(2, 2, 32));
    Ref b = Ref::adopt(api.newPicture(3, 3, 32));
    PropValue v;
    v.type = PropValue::Handle;
    v.h = a.get();
    EXPECT_TRUE(setProperty(w.get(), "Picture", v));
    EXPECT_EQ(refCount(a.get()), 2);
    EXPECT_EQ(dataOf(w.obj())->picture, a.pic());
    v.h = b.get();
    EXPECT_TRUE(setProperty(w.get(), "Picture", v));
    EXPECT_EQ(refCount(a.get()), 1);
    EXPECT_EQ(refCount(b.get()), 2);

    PropValue got;
    ASSERT_TRUE(getProperty(w.get(), "Picture", got));
    EXPECT_EQ(got.h, b.get());
    EXPECT_EQ(refCount(b.get()), 3);  // reading hands out a reference
    release(got.h);

    Ref s = Ref::adopt(newString("x", kEncodingASCII));
    v.h = s.get();
    EXPECT_FALSE(setProperty(w.get(), "Picture", v));  // a string is no picture
    w = Ref();  // the destructor drops the picture
    EXPECT_EQ(refCount(b.get()), 1);
}

TEST_F(ClassesTest, ExceptionsCarryAMessageAndRaiseOnce) {
    REALobjectStruct* e = api.newInstance("NilObjectException");
    ASSERT_NE(e, nullptr);
    REALstringStruct* m = api.buildString("memoryblock is nil", 18);
    api.setEncoding(m, kEncodingASCII);
    EXPECT_TRUE(api.setPropString(e, "Message", m));
    api.unlockString(m);
    EXPECT_EQ(refCount(m), 1);  // held by the exception
    api.raise(e);
    api.unlockObject(e);
    EXPECT_EQ(ledger().liveObjects, 2);  // the pending exception and its message

    PendingException p = takeException();
    EXPECT_EQ(p.className, "NilObjectException");
    EXPECT_TRUE(p.hasMessage);
    EXPECT_EQ(p.message, "memoryblock is nil");
    EXPECT_EQ(ledger().liveObjects, 0);
    EXPECT_EQ(takeException().className, "");

    // A second raise replaces the first; a nil message stays nil.
    REALobjectStruct* first = api.newInstance("RuntimeException");
    REALobjectStruct* second = api.newInstance("RuntimeException");
    EXPECT_TRUE(api.setPropString(second, "Message", nullptr));
    api.raise(first);
    api.raise(second);
    api.unlockObject(first);
    api.unlockObject(second);
    EXPECT_EQ(ledger().liveObjects, 1);
    p = takeException();
    EXPECT_EQ(p.className, "RuntimeException");
    EXPECT_FALSE(p.hasMessage);
    EXPECT_EQ(api.newInstance("OutOfMemoryVQZ"), nullptr);
}

TEST_F(ClassesTest, ApplicationKindAnswers) {
    struct Case {
        AppKind kind;
        const char* yes;
    };
    for (Case c : {Case{AppKind::Desktop, "Application"}, Case{AppKind::Console, "ConsoleApplication"},
                   Case{AppKind::Web, "WebApplication"}}) {
        useHost(hostConfig(c.kind));
        for (const char* name : {"Application", "ConsoleApplication", "WebApplication"})
            EXPECT_EQ(api.objectType(name) != nullptr, std::strcmp(name, c.yes) == 0) << name;
        EXPECT_NE(api.objectType("NilObjectException"), nullptr);
        EXPECT_EQ(api.objectType("Picture2"), nullptr);
    }
}

}  // namespace
}  // namespace hosttest
