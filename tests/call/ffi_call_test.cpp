// Calls through libffi of small functions that this test registers through the
// resolver, the way a plugin does, with every argument and result type.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/call.h"
#include "host/host.h"

namespace {

using namespace standin;

// What the registered functions last received (a string argument as its bytes).
using AllArgs = std::tuple<int32_t, uint32_t, uint32_t, double, int8_t, std::string, void*, void*, void*>;
struct Seen {
    AllArgs all{};
    void* handle = nullptr;
    intptr_t param = 0;
    std::vector<int64_t> ints;
    std::vector<double> doubles;
    int calls = 0;
};
Seen seen;
void* const kNil = nullptr;

// ---------------------------------------------------------------- global methods
double AllTypes(int32_t i, uint32_t u, uint32_t c, double d, int8_t b, REALstringStruct* s, REALpictureStruct* p,
                REALmemoryBlockStruct* m, REALobjectStruct* o) {
    seen.all = AllArgs{i, u, c, d, b, s ? stringBytes(s) : "<nil>", p, m, o};
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
int8_t ByteOf(int32_t v) { return int8_t(v); }
uint32_t Flip(uint32_t c) { return c ^ 0x00FFFFFF; }
uint32_t Big() { return 0xFFFFFFFEu; }
void Nothing() { ++seen.calls; }
REALmemoryBlockStruct* MakeBlockSized(int32_t n) { return static_cast<REALmemoryBlockStruct*>(newMemoryBlock(n)); }
REALmemoryBlockStruct* MakeBlock() { return MakeBlockSized(16); }
void Counter(int32_t* count, int32_t step) { seen.ints = {*count}; *count += step; }
void SwapBlock(REALmemoryBlockStruct** block, int8_t make) {
    seen.handle = *block;
    if (make) *block = MakeBlockSized(8);
}
int32_t PickDouble(double) { return 1; }
int32_t PickInteger(int32_t) { return 2; }

const char* kAllTypes =
    "AllTypesVQZ(i as integer, u as UInt32, c as color, d as double, b as boolean, s as string, p as picture, m as "
    "memoryblock, o as Graphics) as double";
const char* kMany =
    "ManyVQZ(a1 as integer, d1 as double, a2 as integer, d2 as double, a3 as integer, d3 as double, a4 as integer, "
    "d4 as double, a5 as integer, d5 as double, a6 as integer, d6 as double, a7 as integer, d7 as double, a8 as "
    "integer, d8 as double, a9 as integer, d9 as double, a10 as integer, d10 as double) as integer";
// The same function with a default for every parameter.
const char* kDefaults =
    "DefaultsVQZ(i as integer = -3, u as UInt32 = &hFFFFFFFF, c as color = &c88B5C4, d as double = 2.5, b as boolean "
    "= true, s as string = \"hi\", p as picture = nil, m as memoryblock = nil, o as Graphics = nil) as double";
const char* kNegate = "NegateVQZ(v as integer) as integer";
const char* kMakeBlockSized = "MakeBlockVQZ(size as integer) as memoryblock";
const char* kCounter = "CounterVQZ(byref count as integer, step as integer = 1)";
const char* kSwapBlock = "SwapBlockVQZ(byref b as memoryblock, make as boolean)";
const char* kCell = "Cell(x as UInt32, y as UInt32) as double";

REALmethodDefinition globalTable[] = {
    {(REALproc)AllTypes, nullptr, kAllTypes, 0},
    {(REALproc)Many, nullptr, kMany, 0},
    {(REALproc)Negate, nullptr, kNegate, 0},
    {(REALproc)ByteOf, nullptr, "ByteOfVQZ(v as integer) as boolean", 0},
    {(REALproc)Flip, nullptr, "FlipVQZ(c as color) as color", 0},
    {(REALproc)Big, nullptr, "BigVQZ as UInt32", 0},
    {(REALproc)Nothing, nullptr, "NothingVQZ", 0},
    {(REALproc)MakeBlockSized, nullptr, kMakeBlockSized, 0},
    {(REALproc)MakeBlock, nullptr, "MakeBlockVQZ as memoryblock", 0},
    {(REALproc)Counter, nullptr, kCounter, 0},
    {(REALproc)SwapBlock, nullptr, kSwapBlock, 0},
    {(REALproc)AllTypes, nullptr, kDefaults, 0},
    {(REALproc)PickDouble, nullptr, "PickVQZ(v as double) as integer", 0},
    {(REALproc)PickInteger, nullptr, "PickVQZ(v as integer) as integer", 0},
    {nullptr, nullptr, "NullFunctionVQZ as integer", 0},
    {(REALproc)Nothing, nullptr, "Broken(", 0},
};

// ---------------------------------------------------------------- a class
struct ThingData {
    double factor;
    double cells[4][4];
};
REALclassDefinition thingClass;  // registered in SetUp: the host writes word 4

ThingData* thing(REALobjectStruct* self) {
    return reinterpret_cast<ThingData*>(reinterpret_cast<char*>(self) + thingClass.forSystemUse);
}
void ThingConstructor(REALobjectStruct* self) { thing(self)->cells[0][0] = 42; }
double ThingCell(REALobjectStruct* o, uint32_t x, uint32_t y) { return x < 4 && y < 4 ? thing(o)->cells[x][y] : 0; }
void ThingSetCell(REALobjectStruct* self, uint32_t x, uint32_t y, double v) {
    if (x < 4 && y < 4) thing(self)->cells[x][y] = v;
}
double ThingFactor(REALobjectStruct* self, intptr_t param) { seen.param = param; return thing(self)->factor; }
void ThingSetFactor(REALobjectStruct* self, intptr_t param, double v) { seen.param = param; thing(self)->factor = v; }
int32_t Twice(int32_t v) { return 2 * v; }
int8_t ThingSwap(REALobjectStruct* self, REALpictureStruct** pic) { seen.handle = *pic; *pic = nullptr; return 1; }

REALmethodDefinition thingMethods[] = {
    {(REALproc)ThingCell, (REALproc)ThingSetCell, kCell, 0},
    {(REALproc)ThingSwap, nullptr, "Swap(byref p as picture) as boolean", 0},
};
REALmethodDefinition thingShared[] = {{(REALproc)Twice, nullptr, "Twice(v as integer) as integer", 0}};
REALproperty thingProperties[] = {
    {nullptr, "Factor", "Double", 0, (REALproc)ThingFactor, (REALproc)ThingSetFactor, 7, 0, 0, 0},
    {nullptr, "Direct", "Integer", 0, (REALproc)kDirectAccess, (REALproc)kDirectAccess, 0, 0, 0, 0},
};

// The message of the CallError that `f` throws.
std::string errorOf(const std::function<void()>& f) {
    try { f(); } catch (const CallError& e) { return e.what(); }
    return "no error";
}

class FfiCall : public ::testing::Test {
protected:
    void SetUp() override {
        reset(HostConfig{});
        seen = Seen{};
        auto registerMethod = reinterpret_cast<void (*)(REALmethodDefinition*)>(resolve("PluginRegisterMethod"));
        for (REALmethodDefinition& m : globalTable) registerMethod(&m);
        thingClass = {9, "CallTestThing", nullptr, sizeof(ThingData), 0, (REALproc)ThingConstructor, nullptr,
                      thingProperties, 2, thingMethods, 2, {}, 0, nullptr, 0, thingShared, 1};
        reinterpret_cast<void (*)(REALclassDefinition*)>(resolve("PluginRegisterClass"))(&thingClass);
    }
    void TearDown() override {
        EXPECT_EQ(takeException().className, "");
        EXPECT_TRUE(ledger().clean()) << ledger().detail;
    }
    static Callable find(const std::string& where, const std::string& declaration) {
        auto c = findByDeclaration(where, declaration);
        EXPECT_TRUE(c.has_value()) << declaration;
        return c ? *c : Callable{};
    }
    static Value global(const std::string& declaration, std::vector<Value> args = {}) {
        return standin::call(find("", declaration), nullptr, args);
    }
};

TEST_F(FfiCall, EveryArgumentTypeAndNumberConversions) {
    Ref s = Ref::adopt(newString("text", kEncodingUTF8)), p = Ref::adopt(newGWorldPicture(3, 2, 32));
    Ref m = Ref::adopt(newMemoryBlock(4)), o = Ref::adopt(newInstance("CallTestThing"));
    ASSERT_TRUE(s && p && m && o);
    Value r = global(kAllTypes, {Value::integer(-7), Value::uint32(0xFFFFFFF0u), Value::color(0x88B5C4),
                                 Value::real(1.25), Value::boolean(true), Value::string(s.get()),
                                 Value::picture(p.get()), Value::block(m.get()), Value::object(TypeName::Object, o)});
    EXPECT_EQ(seen.all, std::make_tuple(-7, 0xFFFFFFF0u, 0x88B5C4u, 1.25, int8_t(1), "text", p.get(), m.get(),
                                        o.get()));
    EXPECT_EQ(std::make_pair(r.type, r.d), std::make_pair(TypeName::Double, 2.5 - 7));
    EXPECT_EQ(refCount(p.get()), 1);  // the call holds no reference of its own afterwards

    // nil objects; a boolean byte passes as it is; integer, color and UInt32 convert, whole numbers to double.
    Value two = Value::boolean(true);
    two.i = 2;
    global(kAllTypes, {Value::color(0xFFFFFFFF), Value::integer(-1), Value::integer(0x123456), Value::integer(3), two,
                       Value::nil(), Value::nil(), Value::nil(), Value::nil()});
    EXPECT_EQ(seen.all, std::make_tuple(-1, 0xFFFFFFFFu, 0x123456u, 3.0, int8_t(2), "<nil>", kNil, kNil, kNil));
    EXPECT_EQ(global(kNegate, {Value::uint32(5)}).i, -5);
    EXPECT_EQ(seen.calls, 2);
    // Missing trailing arguments take the declaration's defaults.
    global(kDefaults);
    EXPECT_EQ(seen.all, std::make_tuple(-3, 0xFFFFFFFFu, 0x88B5C4u, 2.5, int8_t(1), "hi", kNil, kNil, kNil));
    global(kDefaults, {Value::integer(9), Value::integer(1)});
    EXPECT_EQ(seen.all, std::make_tuple(9, 1u, 0x88B5C4u, 2.5, int8_t(1), "hi", kNil, kNil, kNil));

    // More arguments than registers.
    std::vector<Value> args;
    for (int k = 1; k <= 10; ++k) args.insert(args.end(), {Value::integer(k * 100 - 3), Value::real(k + 0.5)});
    EXPECT_EQ(global(kMany, args).i, 5500 - 30);
    EXPECT_EQ(seen.ints, (std::vector<int64_t>{97, 197, 297, 397, 497, 597, 697, 797, 897, 997}));
    EXPECT_EQ(seen.doubles, (std::vector<double>{1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 10.5}));
}

TEST_F(FfiCall, Results) {
    const std::tuple<const char*, std::vector<Value>, TypeName, int64_t> cases[] = {
        {kNegate, {Value::integer(12)}, TypeName::Integer, -12},
        {"ByteOfVQZ(v as integer) as boolean", {Value::integer(255)}, TypeName::Boolean, 1},  // a byte 0xFF is true
        {"ByteOfVQZ(v as integer) as boolean", {Value::integer(256)}, TypeName::Boolean, 0},  // only the low byte
        {"ByteOfVQZ(v as integer) as boolean", {Value::integer(0x102)}, TypeName::Boolean, 1},
        {"FlipVQZ(c as color) as color", {Value::color(0xFF102030)}, TypeName::Color, 0xFFEFDFCF},
        {"BigVQZ as UInt32", {}, TypeName::UInt32, 0xFFFFFFFE},
        {"NothingVQZ", {}, TypeName::Void, 0},
    };
    for (const auto& [declaration, args, type, i] : cases) {
        Value r = global(declaration, args);
        EXPECT_EQ(std::make_pair(r.type, r.i), std::make_pair(type, i)) << declaration;
    }
    EXPECT_EQ(seen.calls, 1);

    // An object result carries the reference the function handed over.
    Value v = global(kMakeBlockSized, {Value::integer(24)});
    ASSERT_FALSE(v.isNil());
    EXPECT_EQ(std::make_tuple(v.type, refCount(v.ref.get()), memoryBlockSize(v.ref.get())),
              std::make_tuple(TypeName::MemoryBlock, 1, 24));
    Value nil = global(kMakeBlockSized, {Value::integer(-1)});
    EXPECT_TRUE(nil.isNil() && nil.type == TypeName::MemoryBlock);
}

TEST_F(FfiCall, FindingByTextNameAndArguments) {
    // By exact text; class names without case, as the host language compares them.
    EXPECT_TRUE(findByDeclaration("", kNegate));
    EXPECT_TRUE(findByDeclaration("calltestthing", kCell));
    for (auto [where, text] : {std::pair{"", "NegateVQZ(v as integer)  as integer"},
                               {"", "negatevqz(v as integer) as integer"}, {"Picture", kNegate},
                               {"", "Broken("}})  // registered but unparsable: not callable
        EXPECT_FALSE(findByDeclaration(where, text)) << where << ": " << text;

    // By name, overloads in registration order; globals only under "".
    std::vector<Callable> overloads = findByName("", "makeblockvqz");
    ASSERT_EQ(overloads.size(), 2u);
    EXPECT_EQ(overloads[0].declarationText, kMakeBlockSized);
    std::vector<Value> none;
    EXPECT_EQ(memoryBlockSize(standin::call(overloads[1], nullptr, none).ref.get()), 16);
    EXPECT_TRUE(findByName("Picture", "MakeBlockVQZ").empty());

    // By arguments: an exact match wins over conversions, then the first registered;
    // trailing parameters with defaults may be left out.
    auto chosen = [](const char* name, std::vector<Value> args) {
        auto c = findForArguments("", name, args);
        return c ? c->declarationText : std::string("none");
    };
    EXPECT_EQ(chosen("PickVQZ", {Value::real(1)}), "PickVQZ(v as double) as integer");
    EXPECT_EQ(chosen("PickVQZ", {Value::integer(1)}), "PickVQZ(v as integer) as integer");
    EXPECT_EQ(chosen("PickVQZ", {Value::color(1)}), "PickVQZ(v as double) as integer");
    EXPECT_EQ(chosen("PickVQZ", {Value::boolean(true)}), "none");
    EXPECT_EQ(chosen("PickVQZ", {Value::integer(1), Value::integer(2)}), "none");
    EXPECT_EQ(chosen("MakeBlockVQZ", {}), "MakeBlockVQZ as memoryblock");
    EXPECT_EQ(chosen("CounterVQZ", {Value::integer(3)}), kCounter);
}

TEST_F(FfiCall, ByrefArgumentsAreWrittenBack) {
    Callable counter = find("", kCounter);
    std::vector<Value> args = {Value::integer(5), Value::integer(3)};
    standin::call(counter, nullptr, args);
    EXPECT_EQ(seen.ints, std::vector<int64_t>{5});
    EXPECT_EQ(std::make_tuple(args[0].type, args[0].i, args[1].i),  // the step is not byref
              std::make_tuple(TypeName::Integer, int64_t(8), int64_t(3)));
    std::vector<Value> one = {Value::integer(-1)};
    standin::call(counter, nullptr, one);  // the step takes its default
    EXPECT_EQ(std::make_pair(one.size(), one[0].i), std::make_pair(size_t(1), int64_t(0)));

    // An object slot: the value adopts a new handle and drops the old one.
    Callable swap = find("", kSwapBlock);
    Ref old = Ref::adopt(newMemoryBlock(4));
    std::vector<Value> block = {Value::block(old.get()), Value::boolean(true)};
    standin::call(swap, nullptr, block);
    EXPECT_EQ(seen.handle, old.get());
    ASSERT_FALSE(block[0].isNil());
    void* made = block[0].ref.get();
    EXPECT_EQ(std::make_tuple(block[0].type, memoryBlockSize(made), refCount(made), refCount(old.get())),
              std::make_tuple(TypeName::MemoryBlock, 8, 1, 1));
    block[1] = Value::boolean(false);
    standin::call(swap, nullptr, block);  // the slot stays: so does the value
    EXPECT_EQ(std::make_pair(block[0].ref.get(), refCount(made)), std::make_pair(made, 1));
    std::vector<Value> fromNil = {Value::nil(), Value::boolean(true)};
    standin::call(swap, nullptr, fromNil);
    EXPECT_EQ(seen.handle, nullptr);
    ASSERT_FALSE(fromNil[0].isNil());
    EXPECT_EQ(refCount(fromNil[0].ref.get()), 1);
}

TEST_F(FfiCall, WrongArgumentsThrow) {
    Ref block = Ref::adopt(newMemoryBlock(1));
    const Value z = Value::integer(0);
    const std::string negate = std::string("\"") + kNegate + "\"", all = std::string("\"") + kAllTypes + "\"";
    const std::string whole = ", expected a whole number (Integer, UInt32 or Color)";
    const std::tuple<const char*, std::vector<Value>, std::string> cases[] = {
        {kNegate, {Value::real(1.5)}, negate + " argument 1 (v as integer): got Double 1.5" + whole},
        {kNegate, {Value::boolean(true)}, negate + " argument 1 (v as integer): got Boolean true" + whole},
        {kNegate, {Value::nil()}, negate + " argument 1 (v as integer): got nil" + whole},
        {kNegate, {Value::integer(int64_t(1) << 33)},
         negate + " argument 1 (v as integer): got Integer 8589934592, out of 32-bit range"},
        {kNegate, {}, negate + " argument 1 (v as integer): missing, and it has no default"},
        {kNegate, {z, z}, negate + ": 2 arguments given, at most 1 declared"},
        {kAllTypes, {z, z, z, Value::real(0), Value::boolean(false), Value::nil(), Value::block(block.get())},
         all + " argument 7 (p as picture): got MemoryBlock <handle>, expected a Picture (or nil)"},
        {kAllTypes, {z, z, z, Value::real(0), Value::integer(1)},
         all + " argument 5 (b as boolean): got Integer 1, expected a Boolean"},
        {"NullFunctionVQZ as integer", {}, "\"NullFunctionVQZ as integer\": registered with a null function"},
    };
    for (const auto& [declaration, args, message] : cases) {
        std::string error = errorOf([&] { global(declaration, args); });
        size_t at = error.find(" 0x"), end = error.find(')', at);  // a handle: its address and references
        if (end != std::string::npos) error.replace(at + 1, end - at, "<handle>");
        EXPECT_EQ(error, message);
    }
    EXPECT_EQ(errorOf([&] { global(kNegate, {Value::integer(1)}); }), "no error");
}

TEST_F(FfiCall, InvokeReportsThroughTheFailureHandler) {
    std::vector<std::string> messages;
    auto previous = setCallFailureHandler([&](const std::string& m) { messages.push_back(m); });
    Value v = invoke("", "NegateVQZ(v as double) as integer", nullptr, {Value::integer(1)});
    Value w = invoke("", kNegate, nullptr, {Value::real(1)});
    Value x = invoke("NoSuchClass", "Run as boolean", nullptr);
    Value ok = invoke("", kNegate, nullptr, {Value::integer(1)});
    setCallFailureHandler(previous);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_TRUE(v.isNil() && v.type == TypeName::Void && w.isNil() && w.type == TypeName::Void);
    // The message names what was asked for and what is registered under that name.
    EXPECT_EQ(messages[0],
              "\"NegateVQZ(v as double) as integer\" is not registered under the global methods; registered with "
              "that name:\n    \"NegateVQZ(v as integer) as integer\"");
    EXPECT_EQ(messages[1], "\"NegateVQZ(v as integer) as integer\" argument 1 (v as integer): got Double 1, expected a "
                           "whole number (Integer, UInt32 or Color)");
    EXPECT_EQ(messages[2],
              "\"Run as boolean\" is not registered under class 'NoSuchClass' (nothing is registered there: is the "
              "plugin loaded?)");
    EXPECT_EQ(ok.i, -1);
}

TEST_F(FfiCall, ClassMembers) {
    // Methods take the instance first; setters take the assigned value last.
    Ref o = Ref::adopt(newInstance("CallTestThing"));
    ASSERT_TRUE(o);
    Callable cell = find("CallTestThing", kCell);
    EXPECT_TRUE(cell.method);
    std::vector<Value> at = {Value::uint32(2), Value::integer(3)}, origin = {Value::uint32(0), Value::uint32(0)};
    EXPECT_EQ(standin::call(cell, o.get(), origin).d, 42.0);  // set by the constructor
    callSetter(cell, o.get(), at, Value::real(6.75));
    EXPECT_EQ(standin::call(cell, o.get(), at).d, 6.75);
    callSetter(cell, o.get(), origin, Value::integer(2));  // converted to the declared result type
    EXPECT_EQ(standin::call(cell, o.get(), origin).d, 2.0);
    EXPECT_EQ(errorOf([&] { callSetter(cell, o.get(), at, Value::boolean(true)); }),
              "\"Cell(x as UInt32, y as UInt32) as double\" assigned value: got Boolean true, expected a Double (or a "
              "whole number)");
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    std::vector<Value> pic = {Value::picture(p.get())};
    EXPECT_EQ(standin::call(find("CallTestThing", "Swap(byref p as picture) as boolean"), o.get(), pic).i, 1);
    EXPECT_EQ(seen.handle, p.get());
    EXPECT_TRUE(pic[0].isNil());
    EXPECT_EQ(refCount(p.get()), 1);

    // Shared methods take no instance.
    Callable twice = find("CallTestThing", "Twice(v as integer) as integer");
    EXPECT_FALSE(twice.method);
    std::vector<Value> args = {Value::integer(21)}, none;
    EXPECT_EQ(standin::call(twice, nullptr, args).i, 42);
    EXPECT_EQ(errorOf([&] { callSetter(twice, nullptr, args, Value::integer(1)); }),
              "\"Twice(v as integer) as integer\": registered without a setter");

    // Accessor properties pass their parameter; direct ones are the host's own business.
    Callable factor = find("CallTestThing", "Factor as Double");
    EXPECT_TRUE(factor.property && factor.param == 7);
    callSetter(factor, o.get(), none, Value::real(0.587));
    EXPECT_EQ(seen.param, 7);
    seen.param = 0;
    EXPECT_EQ(standin::call(factor, o.get(), none).d, 0.587);
    EXPECT_EQ(seen.param, 7);
    EXPECT_EQ(errorOf([&] { standin::call(factor, o.get(), args); }),
              "\"Factor as Double\": a property takes no arguments");
    EXPECT_FALSE(findByDeclaration("CallTestThing", "Direct as Integer"));
}

TEST_F(FfiCall, AllCallablesListsEveryPlace) {
    std::map<std::string, int> count;
    for (const auto& [where, c] : allCallables()) ++count[where];
    // The globals but "Broken("; the class's methods, shared method and accessor property.
    const int globals = int(std::size(globalTable)) - 1;
    EXPECT_EQ(count, (std::map<std::string, int>{{"", globals}, {"CallTestThing", 4}}));
}

}  // namespace
