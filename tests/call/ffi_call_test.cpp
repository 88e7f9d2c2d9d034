// Calls through libffi of small functions that this test registers through the
// resolver, the way a plugin does, with every argument and result type.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/call.h"
#include "host/host.h"

namespace {

using standin::Callable;
using standin::CallError;
using standin::Ref;
using standin::TypeName;
using standin::Value;

// What the registered functions last received.
struct Seen {
    int32_t i = 0;
    uint32_t u = 0;
    uint32_t c = 0;
    double d = 0;
    int8_t b = 0;
    void* s = nullptr;
    void* p = nullptr;
    void* m = nullptr;
    void* o = nullptr;
    void* self = nullptr;
    intptr_t param = 0;
    std::string text;
    std::vector<int64_t> ints;
    std::vector<double> doubles;
    int calls = 0;
};
Seen seen;

template <class F>
F entry(const char* name) {
    void* p = standin::resolve(name);
    EXPECT_NE(p, nullptr) << name;
    return reinterpret_cast<F>(p);
}

REALmemoryBlockStruct* hostNewBlock(int32_t size) {
    return entry<REALmemoryBlockStruct* (*)(int32_t)>("newMemoryBlock")(size);
}

// ---------------------------------------------------------------- global methods

double AllTypes(int32_t i, uint32_t u, uint32_t c, double d, int8_t b, REALstringStruct* s, REALpictureStruct* p,
                REALmemoryBlockStruct* m, REALobjectStruct* o) {
    seen.i = i;
    seen.u = u;
    seen.c = c;
    seen.d = d;
    seen.b = b;
    seen.s = s;
    seen.p = p;
    seen.m = m;
    seen.o = o;
    ++seen.calls;
    return d * 2 + i;
}

// More arguments than registers, integers and doubles interleaved.
int32_t Many(int32_t a1, double d1, int32_t a2, double d2, int32_t a3, double d3, int32_t a4, double d4, int32_t a5,
             double d5, int32_t a6, double d6, int32_t a7, double d7, int32_t a8, double d8, int32_t a9, double d9,
             int32_t a10, double d10) {
    seen.ints = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10};
    seen.doubles = {d1, d2, d3, d4, d5, d6, d7, d8, d9, d10};
    return a1 + a2 + a3 + a4 + a5 + a6 + a7 + a8 + a9 + a10;
}

int32_t Negate(int32_t v) { return -v; }
double Half(double v) { return v / 2; }
int8_t IsOdd(int32_t v) { return (v & 1) ? int8_t(-1) : int8_t(0); }
int8_t ByteOf(int32_t v) { return int8_t(v); }
uint32_t Flip(uint32_t c) { return c ^ 0x00FFFFFF; }
uint32_t Big() { return 0xFFFFFFFEu; }
void Nothing() { ++seen.calls; }

REALmemoryBlockStruct* MakeBlockSized(int32_t size) { return hostNewBlock(size); }
REALmemoryBlockStruct* MakeBlock() { return hostNewBlock(16); }

void Counter(int32_t* count, int32_t step) {
    seen.i = *count;
    *count += step;
}

void SwapBlock(REALmemoryBlockStruct** block, int8_t make) {
    seen.m = *block;
    if (make) *block = hostNewBlock(8);
}

void ClearBlock(REALmemoryBlockStruct** block) { *block = nullptr; }

int32_t Defaults(int32_t a, uint32_t c, double d, int8_t b, REALpictureStruct* p, uint32_t u, REALstringStruct* s) {
    seen.i = a;
    seen.c = c;
    seen.d = d;
    seen.b = b;
    seen.p = p;
    seen.u = u;
    seen.s = s;
    seen.text = s ? standin::stringBytes(s) : std::string("<nil>");
    return 1;
}

int32_t PickDouble(double) { return 1; }
int32_t PickInteger(int32_t) { return 2; }

REALobjectStruct* Echo(REALobjectStruct* o) {
    if (o) standin::retain(o);  // the result carries a reference for the caller
    return o;
}

REALmethodDefinition globalTable[] = {
    {(REALproc)AllTypes, nullptr,
     "AllTypesVQZ(i as integer, u as UInt32, c as color, d as double, b as boolean, s as string, p as picture, m as "
     "memoryblock, o as Graphics) as double",
     0},
    {(REALproc)Many, nullptr,
     "ManyVQZ(a1 as integer, d1 as double, a2 as integer, d2 as double, a3 as integer, d3 as double, a4 as integer, "
     "d4 as double, a5 as integer, d5 as double, a6 as integer, d6 as double, a7 as integer, d7 as double, a8 as "
     "integer, d8 as double, a9 as integer, d9 as double, a10 as integer, d10 as double) as integer",
     0},
    {(REALproc)Negate, nullptr, "NegateVQZ(v as integer) as integer", 0},
    {(REALproc)Half, nullptr, "HalfVQZ(v as double) as double", 0},
    {(REALproc)IsOdd, nullptr, "IsOddVQZ(v as integer) as boolean", 0},
    {(REALproc)ByteOf, nullptr, "ByteOfVQZ(v as integer) as boolean", 0},
    {(REALproc)Flip, nullptr, "FlipVQZ(c as color) as color", 0},
    {(REALproc)Big, nullptr, "BigVQZ as UInt32", 0},
    {(REALproc)Nothing, nullptr, "NothingVQZ", 0},
    {(REALproc)MakeBlockSized, nullptr, "MakeBlockVQZ(size as integer) as memoryblock", 0},
    {(REALproc)MakeBlock, nullptr, "MakeBlockVQZ as memoryblock", 0},
    {(REALproc)Counter, nullptr, "CounterVQZ(byref count as integer, step as integer = 1)", 0},
    {(REALproc)SwapBlock, nullptr, "SwapBlockVQZ(byref b as memoryblock, make as boolean)", 0},
    {(REALproc)ClearBlock, nullptr, "ClearBlockVQZ(byref b as memoryblock)", 0},
    {(REALproc)Defaults, nullptr,
     "DefaultsVQZ(a as integer = -3, c as color = &c88B5C4, d as double = 2.5, b as boolean = true, p as picture = "
     "nil, u as UInt32 = &hFFFFFFFF, s as string = \"hi\") as integer",
     0},
    {(REALproc)Echo, nullptr, "EchoVQZ(o as Graphics) as Graphics", 0},
    {(REALproc)PickDouble, nullptr, "PickVQZ(v as double) as integer", 0},
    {(REALproc)PickInteger, nullptr, "PickVQZ(v as integer) as integer", 0},
    {nullptr, nullptr, "NullFunctionVQZ as integer", 0},
    {(REALproc)Nothing, nullptr, "Broken(", 0},
};

// ---------------------------------------------------------------- a class
struct ThingData {
    int32_t value;
    double factor;
    double cells[4][4];
};
REALclassDefinition thingClass;  // filled in registerAll(): the host writes word 4

ThingData* thing(REALobjectStruct* self) {
    return reinterpret_cast<ThingData*>(reinterpret_cast<char*>(self) + thingClass.forSystemUse);
}

void ThingConstructor(REALobjectStruct* self) { thing(self)->value = 42; }
int32_t ThingValue(REALobjectStruct* self) {
    seen.self = self;
    return thing(self)->value;
}
void ThingSetValue(REALobjectStruct* self, int32_t v) { thing(self)->value = v; }
double ThingCell(REALobjectStruct* self, uint32_t x, uint32_t y) {
    return (x < 4 && y < 4) ? thing(self)->cells[x][y] : 0.0;
}
void ThingSetCell(REALobjectStruct* self, uint32_t x, uint32_t y, double v) {
    if (x < 4 && y < 4) thing(self)->cells[x][y] = v;
}
double ThingFactor(REALobjectStruct* self, intptr_t param) {
    seen.param = param;
    return thing(self)->factor;
}
void ThingSetFactor(REALobjectStruct* self, intptr_t param, double v) {
    seen.param = param;
    thing(self)->factor = v;
}
int32_t Twice(int32_t v) { return 2 * v; }
int8_t ThingSwap(REALobjectStruct* self, REALpictureStruct** pic) {
    seen.p = *pic;
    *pic = nullptr;
    return 1;
}

REALmethodDefinition thingMethods[] = {
    {(REALproc)ThingValue, (REALproc)ThingSetValue, "Value as integer", 0},
    {(REALproc)ThingCell, (REALproc)ThingSetCell, "Cell(x as UInt32, y as UInt32) as double", 0},
    {(REALproc)ThingSwap, nullptr, "Swap(byref p as picture) as boolean", 0},
};
REALmethodDefinition thingShared[] = {
    {(REALproc)Twice, nullptr, "Twice(v as integer) as integer", 0},
};
REALproperty thingProperties[] = {
    {nullptr, "Factor", "Double", 0, (REALproc)ThingFactor, (REALproc)ThingSetFactor, 7, 0, 0, 0},
    {nullptr, "Direct", "Integer", 0, (REALproc)kDirectAccess, (REALproc)kDirectAccess, 0, 0, 0, 0},
};

// ---------------------------------------------------------------- the Picture extension
int32_t WidthPlus(REALpictureStruct* pic, int32_t extra) { return standin::pictureWidth(pic) + extra; }
REALpictureStruct* Tag(REALpictureStruct* pic, int8_t swap) {
    seen.p = pic;
    seen.b = swap;
    return nullptr;
}
void SetTag(REALpictureStruct* pic, int8_t swap, REALpictureStruct* value) {
    seen.self = pic;
    seen.b = swap;
    seen.p = value;
    ++seen.calls;
}

REALmethodDefinition pictureMethods[] = {
    {(REALproc)WidthPlus, nullptr, "WidthPlusVQZ(extra as integer) as integer", 0},
    {(REALproc)Tag, (REALproc)SetTag, "TagVQZ(swap as boolean) as picture", 0},
};
REALclassDefinition pictureExtension;

void registerAll() {
    auto registerMethod = entry<void (*)(REALmethodDefinition*)>("PluginRegisterMethod");
    for (REALmethodDefinition& m : globalTable) registerMethod(&m);

    thingClass = REALclassDefinition{};
    thingClass.version = 9;
    thingClass.name = "CallTestThing";
    thingClass.dataSize = sizeof(ThingData);
    thingClass.constructor = (REALproc)ThingConstructor;
    thingClass.properties = thingProperties;
    thingClass.propertyCount = 2;
    thingClass.methods = thingMethods;
    thingClass.methodCount = 3;
    thingClass.sharedMethods = thingShared;
    thingClass.sharedMethodCount = 1;
    entry<void (*)(REALclassDefinition*)>("PluginRegisterClass")(&thingClass);

    pictureExtension = REALclassDefinition{};
    pictureExtension.version = 9;
    pictureExtension.name = "Picture";
    pictureExtension.methods = pictureMethods;
    pictureExtension.methodCount = 2;
    entry<void (*)(REALclassDefinition*)>("PluginRegisterClassExtension")(&pictureExtension);
}

class FfiCall : public ::testing::Test {
protected:
    void SetUp() override {
        standin::HostConfig config;
        standin::reset(config);
        seen = Seen{};
        registerAll();
    }
    void TearDown() override {
        standin::PendingException e = standin::takeException();
        EXPECT_TRUE(e.className.empty()) << e.className;
        standin::Ledger l = standin::ledger();
        EXPECT_TRUE(l.clean()) << l.detail;
        for (const std::string& err : l.errors) ADD_FAILURE() << err;
    }

    static Callable find(const std::string& where, const std::string& declaration) {
        auto c = standin::findByDeclaration(where, declaration);
        EXPECT_TRUE(c.has_value()) << declaration;
        return c ? *c : Callable{};
    }
    static Value call(const std::string& where, const std::string& declaration, void* receiver,
                      std::vector<Value> args = {}) {
        Callable c = find(where, declaration);
        return standin::call(c, receiver, args);
    }
    static Value global(const std::string& declaration, std::vector<Value> args = {}) {
        return call("", declaration, nullptr, std::move(args));
    }
};

const char* kAllTypes =
    "AllTypesVQZ(i as integer, u as UInt32, c as color, d as double, b as boolean, s as string, p as picture, m as "
    "memoryblock, o as Graphics) as double";

TEST_F(FfiCall, EveryArgumentType) {
    Ref s = Ref::adopt(standin::newString("text", kEncodingUTF8));
    Ref p = Ref::adopt(standin::newGWorldPicture(3, 2, 32));
    Ref m = Ref::adopt(standin::newMemoryBlock(4));
    Ref o = Ref::adopt(standin::newInstance("CallTestThing"));
    ASSERT_TRUE(s && p && m && o);
    Value r = global(kAllTypes, {Value::integer(-7), Value::uint32(0xFFFFFFF0u), Value::color(0x88B5C4),
                                 Value::real(1.25), Value::boolean(true), Value::string(s.get()),
                                 Value::picture(p.get()), Value::block(m.get()),
                                 Value::object(TypeName::Object, o)});
    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.i, -7);
    EXPECT_EQ(seen.u, 0xFFFFFFF0u);
    EXPECT_EQ(seen.c, 0x88B5C4u);
    EXPECT_EQ(seen.d, 1.25);
    EXPECT_EQ(seen.b, 1);
    EXPECT_EQ(seen.s, s.get());
    EXPECT_EQ(seen.p, p.get());
    EXPECT_EQ(seen.m, m.get());
    EXPECT_EQ(seen.o, o.get());
    EXPECT_EQ(r.type, TypeName::Double);
    EXPECT_EQ(r.d, 2.5 - 7);
    // The call holds no reference of its own afterwards.
    EXPECT_EQ(standin::refCount(p.get()), 1);
}

TEST_F(FfiCall, NilObjectsAndBooleanBytes) {
    Value b;
    b.type = TypeName::Boolean;
    b.i = 2;  // any non-zero byte is passed as it is
    global(kAllTypes, {Value::integer(0), Value::uint32(0), Value::color(0), Value::real(0), b, Value::nil(),
                       Value::nil(), Value::nil(), Value::nil()});
    EXPECT_EQ(seen.b, 2);
    EXPECT_EQ(seen.s, nullptr);
    EXPECT_EQ(seen.p, nullptr);
    EXPECT_EQ(seen.m, nullptr);
    EXPECT_EQ(seen.o, nullptr);
}

TEST_F(FfiCall, ArgumentsOnTheStack) {
    std::vector<Value> args;
    for (int k = 1; k <= 10; ++k) {
        args.push_back(Value::integer(k * 100 - 3));
        args.push_back(Value::real(k + 0.5));
    }
    Value r = global(
        "ManyVQZ(a1 as integer, d1 as double, a2 as integer, d2 as double, a3 as integer, d3 as double, a4 as "
        "integer, d4 as double, a5 as integer, d5 as double, a6 as integer, d6 as double, a7 as integer, d7 as "
        "double, a8 as integer, d8 as double, a9 as integer, d9 as double, a10 as integer, d10 as double) as integer",
        args);
    ASSERT_EQ(seen.ints.size(), 10u);
    for (int k = 1; k <= 10; ++k) {
        EXPECT_EQ(seen.ints[k - 1], k * 100 - 3);
        EXPECT_EQ(seen.doubles[k - 1], k + 0.5);
    }
    EXPECT_EQ(r.i, 5500 - 30);
}

TEST_F(FfiCall, ScalarResults) {
    Value n = global("NegateVQZ(v as integer) as integer", {Value::integer(12)});
    EXPECT_EQ(n.type, TypeName::Integer);
    EXPECT_EQ(n.i, -12);
    EXPECT_EQ(global("HalfVQZ(v as double) as double", {Value::real(-3)}).d, -1.5);

    Value odd = global("IsOddVQZ(v as integer) as boolean", {Value::integer(3)});
    EXPECT_EQ(odd.type, TypeName::Boolean);
    EXPECT_EQ(odd.i, 1);  // a byte of 0xFF is reduced to true
    EXPECT_EQ(global("IsOddVQZ(v as integer) as boolean", {Value::integer(4)}).i, 0);
    // Only the low byte counts: 256 is false, 0x102 true.
    EXPECT_EQ(global("ByteOfVQZ(v as integer) as boolean", {Value::integer(256)}).i, 0);
    EXPECT_EQ(global("ByteOfVQZ(v as integer) as boolean", {Value::integer(0x102)}).i, 1);

    Value c = global("FlipVQZ(c as color) as color", {Value::color(0xFF102030)});
    EXPECT_EQ(c.type, TypeName::Color);
    EXPECT_EQ(c.i, 0xFFEFDFCF);
    Value big = global("BigVQZ as UInt32");
    EXPECT_EQ(big.type, TypeName::UInt32);
    EXPECT_EQ(big.i, 0xFFFFFFFEll);

    Value none = global("NothingVQZ");
    EXPECT_EQ(none.type, TypeName::Void);
    EXPECT_EQ(seen.calls, 1);
}

TEST_F(FfiCall, ObjectResultsCarryTheHandedOverReference) {
    Value v = global("MakeBlockVQZ(size as integer) as memoryblock", {Value::integer(24)});
    EXPECT_EQ(v.type, TypeName::MemoryBlock);
    ASSERT_FALSE(v.isNil());
    EXPECT_EQ(standin::refCount(v.ref.get()), 1);
    EXPECT_EQ(standin::memoryBlockSize(v.ref.get()), 24);

    Value nil = global("MakeBlockVQZ(size as integer) as memoryblock", {Value::integer(-1)});
    EXPECT_TRUE(nil.isNil());
    EXPECT_EQ(nil.type, TypeName::MemoryBlock);

    Ref o = Ref::adopt(standin::newInstance("CallTestThing"));
    Value echo = global("EchoVQZ(o as Graphics) as Graphics", {Value::object(TypeName::Object, o)});
    EXPECT_EQ(echo.type, TypeName::Object);
    EXPECT_EQ(echo.ref.get(), o.get());
    EXPECT_EQ(standin::refCount(o.get()), 2);
}

TEST_F(FfiCall, OverloadsByName) {
    std::vector<Callable> overloads = standin::findByName("", "makeblockvqz");
    ASSERT_EQ(overloads.size(), 2u);
    EXPECT_EQ(overloads[0].declaration.params.size(), 1u);
    EXPECT_EQ(overloads[1].declaration.params.size(), 0u);
    std::vector<Value> none;
    Value v = standin::call(overloads[1], nullptr, none);
    ASSERT_FALSE(v.isNil());
    EXPECT_EQ(standin::memoryBlockSize(v.ref.get()), 16);

    EXPECT_TRUE(standin::findByName("", "NoSuchVQZ").empty());
    EXPECT_TRUE(standin::findByName("Picture", "MakeBlockVQZ").empty());  // globals only under ""
    EXPECT_EQ(standin::findByName("Picture", "TagVQZ").size(), 1u);
}

TEST_F(FfiCall, OverloadForArguments) {
    auto pick = [](std::vector<Value> args) -> int64_t {
        auto c = standin::findForArguments("", "PickVQZ", args);
        if (!c) return 0;
        return standin::call(*c, nullptr, args).i;
    };
    EXPECT_EQ(pick({Value::real(1)}), 1);
    EXPECT_EQ(pick({Value::integer(1)}), 2);  // exact match wins over conversion to double
    EXPECT_EQ(pick({Value::color(1)}), 1);    // both convert: the first registered
    EXPECT_EQ(pick({Value::boolean(true)}), 0);
    EXPECT_EQ(pick({}), 0);
    EXPECT_EQ(pick({Value::integer(1), Value::integer(2)}), 0);

    auto none = standin::findForArguments("", "MakeBlockVQZ", {});
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->declaration.params.empty());
    auto sized = standin::findForArguments("", "MakeBlockVQZ", {Value::integer(3)});
    ASSERT_TRUE(sized);
    EXPECT_EQ(sized->declaration.params.size(), 1u);
    // Trailing parameters with defaults may be left out.
    EXPECT_TRUE(standin::findForArguments("", "CounterVQZ", {Value::integer(3)}));
}

TEST_F(FfiCall, ValuesFromText) {
    auto v = standin::valueFromText(TypeName::String, "\"a b\"");
    ASSERT_TRUE(v);
    EXPECT_EQ(standin::stringBytes(v->ref.get()), "a b");
    EXPECT_EQ(standin::refCount(v->ref.get()), 1);
    EXPECT_EQ(standin::valueFromText(TypeName::Color, "&cFF0000")->i, 0xFF0000);
    EXPECT_FALSE(standin::valueFromText(TypeName::Integer, "1.5"));
}

TEST_F(FfiCall, LookupIsByExactText) {
    EXPECT_TRUE(standin::findByDeclaration("", "NegateVQZ(v as integer) as integer"));
    EXPECT_FALSE(standin::findByDeclaration("", "NegateVQZ(v as integer)  as integer"));
    EXPECT_FALSE(standin::findByDeclaration("", "negatevqz(v as integer) as integer"));
    EXPECT_FALSE(standin::findByDeclaration("Picture", "NegateVQZ(v as integer) as integer"));
    // A registered declaration that cannot be parsed is not callable.
    EXPECT_FALSE(standin::findByDeclaration("", "Broken("));
    // Class names are compared without case, as the host language does.
    EXPECT_TRUE(standin::findByDeclaration("calltestthing", "Value as integer"));
}

TEST_F(FfiCall, ByrefIntegerIsWrittenBack) {
    std::vector<Value> args = {Value::integer(5), Value::integer(3)};
    Callable c = find("", "CounterVQZ(byref count as integer, step as integer = 1)");
    standin::call(c, nullptr, args);
    EXPECT_EQ(seen.i, 5);
    EXPECT_EQ(args[0].type, TypeName::Integer);
    EXPECT_EQ(args[0].i, 8);
    EXPECT_EQ(args[1].i, 3);  // not byref: unchanged

    std::vector<Value> one = {Value::integer(-1)};
    standin::call(c, nullptr, one);  // the step takes its default
    EXPECT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].i, 0);
}

TEST_F(FfiCall, ByrefObjectAdoptsTheNewHandleAndDropsTheOld) {
    Callable c = find("", "SwapBlockVQZ(byref b as memoryblock, make as boolean)");
    Ref old = Ref::adopt(standin::newMemoryBlock(4));
    std::vector<Value> args = {Value::block(old.get()), Value::boolean(true)};
    EXPECT_EQ(standin::refCount(old.get()), 2);
    standin::call(c, nullptr, args);
    EXPECT_EQ(seen.m, old.get());
    ASSERT_FALSE(args[0].isNil());
    EXPECT_NE(args[0].ref.get(), old.get());
    EXPECT_EQ(args[0].type, TypeName::MemoryBlock);
    EXPECT_EQ(standin::memoryBlockSize(args[0].ref.get()), 8);
    EXPECT_EQ(standin::refCount(args[0].ref.get()), 1);
    EXPECT_EQ(standin::refCount(old.get()), 1);

    // Unchanged slot: the value stays as it was.
    void* current = args[0].ref.get();
    args[1] = Value::boolean(false);
    standin::call(c, nullptr, args);
    EXPECT_EQ(args[0].ref.get(), current);
    EXPECT_EQ(standin::refCount(current), 1);

    // nil in, new block out.
    std::vector<Value> fromNil = {Value::nil(), Value::boolean(true)};
    standin::call(c, nullptr, fromNil);
    EXPECT_EQ(seen.m, nullptr);
    ASSERT_FALSE(fromNil[0].isNil());
    EXPECT_EQ(standin::refCount(fromNil[0].ref.get()), 1);

    // The plugin stores nil: the value lets go of its reference.
    std::vector<Value> cleared = {Value::block(old.get())};
    standin::call(find("", "ClearBlockVQZ(byref b as memoryblock)"), nullptr, cleared);
    EXPECT_TRUE(cleared[0].isNil());
    EXPECT_EQ(standin::refCount(old.get()), 1);
}

TEST_F(FfiCall, DefaultsFillMissingTrailingArguments) {
    const char* decl =
        "DefaultsVQZ(a as integer = -3, c as color = &c88B5C4, d as double = 2.5, b as boolean = true, p as picture = "
        "nil, u as UInt32 = &hFFFFFFFF, s as string = \"hi\") as integer";
    global(decl);
    EXPECT_EQ(seen.i, -3);
    EXPECT_EQ(seen.c, 0x88B5C4u);
    EXPECT_EQ(seen.d, 2.5);
    EXPECT_EQ(seen.b, 1);
    EXPECT_EQ(seen.p, nullptr);
    EXPECT_EQ(seen.u, 0xFFFFFFFFu);
    EXPECT_EQ(seen.text, "hi");

    global(decl, {Value::integer(9), Value::color(1)});
    EXPECT_EQ(seen.i, 9);
    EXPECT_EQ(seen.c, 1u);
    EXPECT_EQ(seen.d, 2.5);
}

TEST_F(FfiCall, ConvertsBetweenNumberTypes) {
    // integer <-> color <-> UInt32, and whole numbers to double.
    global(kAllTypes, {Value::color(0xFFFFFFFF), Value::integer(-1), Value::integer(0x123456), Value::integer(3),
                       Value::boolean(false), Value::nil(), Value::nil(), Value::nil(), Value::nil()});
    EXPECT_EQ(seen.i, -1);
    EXPECT_EQ(seen.u, 0xFFFFFFFFu);
    EXPECT_EQ(seen.c, 0x123456u);
    EXPECT_EQ(seen.d, 3.0);
    EXPECT_EQ(global("NegateVQZ(v as integer) as integer", {Value::uint32(5)}).i, -5);
}

TEST_F(FfiCall, WrongArgumentsThrow) {
    auto throwsWith = [](std::vector<Value> args, const std::string& declaration) {
        try {
            global(declaration, std::move(args));
        } catch (const CallError& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    const std::string negate = "NegateVQZ(v as integer) as integer";
    EXPECT_NE(throwsWith({Value::real(1.5)}, negate).find("argument 1 (v as integer)"), std::string::npos);
    EXPECT_NE(throwsWith({Value::boolean(true)}, negate).find("expected a whole number"), std::string::npos);
    EXPECT_NE(throwsWith({Value::nil()}, negate).find("got nil"), std::string::npos);
    EXPECT_NE(throwsWith({Value::integer(int64_t(1) << 33)}, negate).find("range"), std::string::npos);
    EXPECT_NE(throwsWith({}, negate).find("missing"), std::string::npos);
    EXPECT_NE(throwsWith({Value::integer(1), Value::integer(2)}, negate).find("2 arguments given"),
              std::string::npos);
    EXPECT_EQ(throwsWith({Value::integer(1)}, negate), "no error");

    Ref block = Ref::adopt(standin::newMemoryBlock(1));
    EXPECT_NE(throwsWith({Value::integer(0), Value::integer(0), Value::integer(0), Value::real(0),
                          Value::boolean(false), Value::nil(), Value::block(block.get())},
                         kAllTypes)
                  .find("expected a Picture"),
              std::string::npos);
    EXPECT_NE(throwsWith({Value::integer(0), Value::integer(0), Value::integer(0), Value::real(0), Value::integer(1)},
                         kAllTypes)
                  .find("expected a Boolean"),
              std::string::npos);
    EXPECT_NE(throwsWith({}, "NullFunctionVQZ as integer").find("null function"), std::string::npos);
}

TEST_F(FfiCall, InvokeReportsThroughTheFailureHandler) {
    std::vector<std::string> messages;
    auto previous = standin::setCallFailureHandler([&](const std::string& m) { messages.push_back(m); });
    Value v = standin::invoke("", "NegateVQZ(v as double) as integer", nullptr, {Value::integer(1)});
    Value w = standin::invoke("", "NegateVQZ(v as integer) as integer", nullptr, {Value::real(1)});
    Value x = standin::invoke("NoSuchClass", "Run as boolean", nullptr);
    Value ok = standin::invoke("", "NegateVQZ(v as integer) as integer", nullptr, {Value::integer(1)});
    standin::setCallFailureHandler(previous);

    ASSERT_EQ(messages.size(), 3u);
    EXPECT_TRUE(v.isNil() && v.type == TypeName::Void);
    EXPECT_TRUE(w.isNil() && w.type == TypeName::Void);
    // The message names what was asked for and what is registered under that name.
    EXPECT_NE(messages[0].find("\"NegateVQZ(v as double) as integer\" is not registered"), std::string::npos);
    EXPECT_NE(messages[0].find("\"NegateVQZ(v as integer) as integer\""), std::string::npos);
    EXPECT_NE(messages[1].find("argument 1"), std::string::npos);
    EXPECT_NE(messages[2].find("nothing is registered"), std::string::npos);
    EXPECT_EQ(ok.i, -1);
}

TEST_F(FfiCall, ClassMethodsTakeTheInstanceFirst) {
    Ref o = Ref::adopt(standin::newInstance("CallTestThing"));
    ASSERT_TRUE(o);
    Value v = call("CallTestThing", "Value as integer", o.get());
    EXPECT_EQ(seen.self, o.get());
    EXPECT_EQ(v.i, 42);  // set by the constructor

    Callable value = find("CallTestThing", "Value as integer");
    EXPECT_TRUE(value.method);
    std::vector<Value> none;
    standin::callSetter(value, o.get(), none, Value::integer(-5));
    EXPECT_EQ(call("CallTestThing", "Value as integer", o.get()).i, -5);

    Callable cell = find("CallTestThing", "Cell(x as UInt32, y as UInt32) as double");
    std::vector<Value> at = {Value::uint32(2), Value::integer(3)};
    standin::callSetter(cell, o.get(), at, Value::real(6.75));
    EXPECT_EQ(standin::call(cell, o.get(), at).d, 6.75);
    std::vector<Value> other = {Value::uint32(3), Value::uint32(2)};
    EXPECT_EQ(standin::call(cell, o.get(), other).d, 0.0);
    // The assigned value is converted to the declaration's result type.
    standin::callSetter(cell, o.get(), other, Value::integer(2));
    EXPECT_EQ(standin::call(cell, o.get(), other).d, 2.0);
    EXPECT_THROW(standin::callSetter(cell, o.get(), other, Value::boolean(true)), CallError);
}

TEST_F(FfiCall, SharedMethodsTakeNoInstance) {
    Callable twice = find("CallTestThing", "Twice(v as integer) as integer");
    EXPECT_FALSE(twice.method);
    std::vector<Value> args = {Value::integer(21)};
    EXPECT_EQ(standin::call(twice, nullptr, args).i, 42);
    EXPECT_THROW(standin::callSetter(twice, nullptr, args, Value::integer(1)), CallError);  // no setter
}

TEST_F(FfiCall, AccessorPropertiesPassTheirParameter) {
    Ref o = Ref::adopt(standin::newInstance("CallTestThing"));
    Callable factor = find("CallTestThing", "Factor as Double");
    EXPECT_TRUE(factor.property);
    EXPECT_EQ(factor.param, 7);
    std::vector<Value> none;
    standin::callSetter(factor, o.get(), none, Value::real(0.587));
    EXPECT_EQ(seen.param, 7);
    seen.param = 0;
    EXPECT_EQ(standin::call(factor, o.get(), none).d, 0.587);
    EXPECT_EQ(seen.param, 7);
    std::vector<Value> one = {Value::integer(1)};
    EXPECT_THROW(standin::call(factor, o.get(), one), CallError);
    // Properties the host reads and writes directly are not callables.
    EXPECT_FALSE(standin::findByDeclaration("CallTestThing", "Direct as Integer"));
}

TEST_F(FfiCall, ByrefObjectOfAMethod) {
    Ref o = Ref::adopt(standin::newInstance("CallTestThing"));
    Ref p = Ref::adopt(standin::newGWorldPicture(2, 2, 32));
    std::vector<Value> args = {Value::picture(p.get())};
    Value r = standin::call(find("CallTestThing", "Swap(byref p as picture) as boolean"), o.get(), args);
    EXPECT_EQ(r.i, 1);
    EXPECT_EQ(seen.p, p.get());
    EXPECT_TRUE(args[0].isNil());
    EXPECT_EQ(standin::refCount(p.get()), 1);
}

TEST_F(FfiCall, PictureExtensionTakesThePictureFirst) {
    Ref p = Ref::adopt(standin::newGWorldPicture(5, 3, 32));
    EXPECT_EQ(call("Picture", "WidthPlusVQZ(extra as integer) as integer", p.get(), {Value::integer(10)}).i, 15);

    Value tag = call("Picture", "TagVQZ(swap as boolean) as picture", p.get(), {Value::boolean(true)});
    EXPECT_TRUE(tag.isNil());
    EXPECT_EQ(seen.p, p.get());

    // The setter: picture, the declared argument, then the assigned picture.
    Ref q = Ref::adopt(standin::newGWorldPicture(1, 1, 32));
    standin::invokeSetter("Picture", "TagVQZ(swap as boolean) as picture", p.get(), {Value::boolean(false)},
                          Value::picture(q.get()));
    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.self, p.get());
    EXPECT_EQ(seen.b, 0);
    EXPECT_EQ(seen.p, q.get());
    EXPECT_EQ(standin::refCount(q.get()), 1);
}

TEST_F(FfiCall, AllCallablesListsEveryPlace) {
    int globals = 0, things = 0, pictures = 0;
    for (const auto& [where, c] : standin::allCallables()) {
        if (where.empty()) ++globals;
        else if (where == "CallTestThing") ++things;
        else if (where == "Picture") ++pictures;
    }
    EXPECT_EQ(globals, int(sizeof globalTable / sizeof globalTable[0]) - 1);  // "Broken(" is left out
    EXPECT_EQ(things, 3 + 1 + 1);  // methods, shared method, accessor property
    EXPECT_EQ(pictures, 2);
}

TEST_F(FfiCall, DescribeValues) {
    EXPECT_EQ(standin::describe(Value::nil()), "nil");
    EXPECT_EQ(standin::describe(Value::integer(-4)), "Integer -4");
    EXPECT_EQ(standin::describe(Value::color(0x88B5C4)), "Color &c88B5C4");
    EXPECT_EQ(standin::describe(Value::boolean(true)), "Boolean true");
    EXPECT_EQ(standin::describe(Value::object(TypeName::Picture, Ref())), "Picture nil");
}

}  // namespace
