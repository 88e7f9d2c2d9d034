// The declaration parser on every form the plugin and the host use, and the values
// of defaults.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <tuple>
#include <utility>

#include "host/call.h"

namespace {

using namespace standin;

// A parse as "Name(byref a:Integer=default, ...) -> Result", or "rejected".
std::string parsed(const std::string& text) {
    auto d = parseDeclaration(text);
    if (!d) return "rejected";
    std::string s = d->name + "(";
    for (size_t i = 0; i < d->params.size(); ++i) {
        const Param& p = d->params[i];
        s += (i ? ", " : "") + std::string(p.byref ? "byref " : "") + p.name + ":" + typeNameText(p.type) +
             (p.defaultText ? "=" + *p.defaultText : "");
    }
    return s + ") -> " + typeNameText(d->result);
}

const char* kRenderSamples =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height "
    "as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor "
    "as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

const std::pair<const char*, const char*> kAccepted[] = {
    {"InvertVQZ as picture", "InvertVQZ() -> Picture"},
    {"Close", "Close() -> Void"},
    {"Reset()", "Reset() -> Void"},
    {"InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture",
     "InvertVQZ(left:Integer, top:Integer, width:Integer, height:Integer) -> Picture"},
    {"CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as "
     "integer)",
     "CountColorsVQZ(byref red:MemoryBlock, byref blue:MemoryBlock, byref green:MemoryBlock, byref count:Integer) -> "
     "Void"},
    {kRenderSamples,
     "RenderSamplesVQZ(Samples:MemoryBlock, SampleCount:Integer, Smooth:Integer, Width:Integer, Height:Integer, "
     "outlinewidth:Integer, BackColor:Color=&c88B5C4, ForeColor:Color=&c274C5A, OutLineColor:Color=&c203F4E, "
     "Bits:Integer=8, AutoScale:Boolean=false) -> Picture"},
    {"TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as "
     "picture",
     "TransformColorsVQZ(red:MemoryBlock, blue:MemoryBlock, green:MemoryBlock, dest:Picture=nil) -> Picture"},
    {"DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, sy "
     "as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)",
     "DrawPicture(Image:Picture, x:Integer, y:Integer, w:Integer, h:Integer, sx:Integer=0, sy:Integer=0, "
     "sw:Integer=-10000, sh:Integer=-10000) -> Void"},
    {"Outline(g as Graphics, byref w as Window) as RuntimeException",
     "Outline(g:Object, byref w:Object) -> Object"},
    {"LenB( s as string ) as integer", "LenB(s:String) -> Integer"},
    {"  Spaced ( a  as  integer ,b as double= 1.5 )  as  color  ", "Spaced(a:Integer, b:Double=1.5) -> Color"},
    {"Table(r as UInt32, g as UINT32, b as uint32, x as Uint32) AS Double",
     "Table(r:UInt32, g:UInt32, b:UInt32, x:UInt32) -> Double"},
    {"All(a AS INTEGER, b As Color, c aS DOUBLE, d as BOOLEAN, e as STRING, f as PICTURE, g as MEMORYBLOCK, BYREF "
     "h as Integer, ByRef i as MemoryBlock, byval j as integer)",
     "All(a:Integer, b:Color, c:Double, d:Boolean, e:String, f:Picture, g:MemoryBlock, byref h:Integer, "
     "byref i:MemoryBlock, j:Integer) -> Void"},
    // Parameters named like the keywords.
    {"Odd(byref as integer, byval byval as boolean, byref ref as color)",
     "Odd(byref:Integer, byval:Boolean, byref ref:Color) -> Void"},
};

TEST(Declaration, ParsesEveryForm) {
    for (auto [text, want] : kAccepted) EXPECT_EQ(parsed(text), want) << "\"" << text << "\"";
}

TEST(Declaration, MalformedTextIsRejected) {
    for (const char* text :
         {"", "   ", "(a as integer)", "1Invert as picture", "Invert(", "Invert(a as integer", "Invert(a integer)",
          "Invert(a as)", "Invert(as integer)", "Invert(a as integer,)", "Invert(,)",
          "Invert(a as integer b as integer)", "Invert as", "Invert as picture extra", "Invert picture",
          "Invert(a as integer) as", "Invert() as picture as picture", "Invert(a as integer) picture",
          "Invert(a as integer))", "Invert(a as integer = )", "Invert(a as integer = abc)",
          "Invert(a as integer = 1.5)", "Invert(a as integer = 10 20)", "Invert(a as double = 1.2.3)",
          "Invert(a as double = nan)", "Invert(a as color = &cXYZ123)", "Invert(a as color = &c12345)",
          "Invert(a as boolean = 1)", "Invert(a as boolean = yes)", "Invert(a as picture = 0)",
          "Invert(a as memoryblock = false)", "Invert(a as integer = 1, b as integer)",
          "Invert(a as integer, A as integer)", "Invert(a as integer) as picture;", "Invert.Now as picture"})
        EXPECT_EQ(parsed(text), "rejected") << "\"" << text << "\"";
}

TEST(Declaration, TypeNames) {
    const std::tuple<const char*, TypeName, bool> names[] = {  // name, type, an object type
        {"integer", TypeName::Integer, false}, {"UInt32", TypeName::UInt32, false},
        {"Color", TypeName::Color, false},     {"double", TypeName::Double, false},
        {"Boolean", TypeName::Boolean, false}, {"string", TypeName::String, true},
        {"Picture", TypeName::Picture, true},  {"MemoryBlock", TypeName::MemoryBlock, true},
        {"Graphics", TypeName::Object, true},  {"Int32", TypeName::Object, true}};
    for (auto [name, type, object] : names) {
        EXPECT_EQ(typeFromName(name), type) << name;
        EXPECT_EQ(isObjectType(type), object) << name;
    }
    EXPECT_STREQ(typeNameText(TypeName::MemoryBlock), "MemoryBlock");
}

Declaration declaration(const std::string& text) {
    auto d = parseDeclaration(text);
    EXPECT_TRUE(d) << "cannot parse " << text;
    return d ? *d : Declaration{};
}

TEST(Declaration, FormatWritesACanonicalFormThatParsesBack) {
    for (auto [text, summary] : kAccepted) {
        std::string formatted = formatDeclaration(declaration(text));
        EXPECT_EQ(parsed(formatted), summary) << formatted;
        EXPECT_EQ(formatDeclaration(declaration(formatted)), formatted);
    }
    // Type names stay as written.
    for (auto [text, want] : {std::pair{"LenB( s as string ) as integer", "LenB(s as string) as integer"},
                              {"F(byref a as color=&c010203)", "F(byref a as color = &c010203)"},
                              {"Outline(g as Graphics, byref w as Window) as RuntimeException",
                               "Outline(g as Graphics, byref w as Window) as RuntimeException"}})
        EXPECT_EQ(formatDeclaration(declaration(text)), want);
}

// A value as "Type value", or "invalid".
std::string shown(const std::optional<Value>& v) {
    if (!v) return "invalid";
    std::ostringstream o;
    o << typeNameText(v->type) << ' ' << std::uppercase;
    if (v->type == TypeName::Double) o << v->d;
    else if (v->type == TypeName::Color) o << "&c" << std::hex << std::setw(6) << std::setfill('0') << v->i;
    else if (isObjectType(v->type)) o << (v->isNil() ? "nil" : "\"" + stringBytes(v->ref.get()) + "\"");
    else o << v->i;
    return o.str();
}

struct ValueCase {
    TypeName type;
    const char* text;
    const char* value;
};
const ValueCase kValues[] = {
    {TypeName::Integer, "-3", "Integer -3"}, {TypeName::Integer, "&h10", "Integer 16"},
    {TypeName::Integer, "-10000", "Integer -10000"}, {TypeName::Integer, "&hFF", "Integer 255"},
    {TypeName::Integer, "&hFFFFFFFF", "Integer -1"},  // whole numbers wrap to 32 bits
    {TypeName::Integer, "-2147483648", "Integer -2147483648"}, {TypeName::Integer, "4294967296", "invalid"},
    {TypeName::Integer, "-2147483649", "invalid"}, {TypeName::Integer, "00000000000000000001", "invalid"},
    {TypeName::Integer, "&c000000", "invalid"}, {TypeName::Integer, "1.5", "invalid"},
    {TypeName::UInt32, "&hFFFFFFFF", "UInt32 4294967295"}, {TypeName::UInt32, "4294967295", "UInt32 4294967295"},
    {TypeName::UInt32, "&h1FFFFFFFF", "invalid"},
    {TypeName::Color, "&c88B5C4", "Color &c88B5C4"}, {TypeName::Color, "255", "Color &c0000FF"},
    {TypeName::Color, "&c000000", "Color &c000000"}, {TypeName::Color, "&c0000000", "invalid"},
    {TypeName::Double, "2.5", "Double 2.5"}, {TypeName::Double, "-1e3", "Double -1000"},
    {TypeName::Double, "7", "Double 7"}, {TypeName::Double, "-3", "Double -3"}, {TypeName::Double, "inf", "invalid"},
    {TypeName::Boolean, "TRUE", "Boolean 1"}, {TypeName::Boolean, "False", "Boolean 0"},
    {TypeName::Boolean, "0", "invalid"},
    {TypeName::String, "\"a b\"", "String \"a b\""}, {TypeName::String, "nil", "String nil"},
    {TypeName::String, "text", "invalid"}, {TypeName::Picture, "\"text\"", "invalid"},
    {TypeName::Picture, "nil", "Picture nil"}, {TypeName::MemoryBlock, "NIL", "MemoryBlock nil"},
    {TypeName::Object, "Nil", "Object nil"},
};

TEST(DeclarationDefaults, ValuesByType) {
    reset(HostConfig{});  // a quoted string makes a host string
    for (const ValueCase& c : kValues) {
        EXPECT_EQ(shown(valueFromText(c.type, c.text)), c.value) << typeNameText(c.type) << " " << c.text;
        EXPECT_EQ(validDefault(c.type, c.text), std::string(c.value) != "invalid") << c.text;
    }
    // A parameter's default is its text read as a value of its type.
    Declaration d = declaration("D(a as integer, c as color = 255, p as picture = nil, s as string = \"hi\")");
    ASSERT_EQ(d.params.size(), 4u);
    EXPECT_EQ(shown(defaultValue(d.params[0])), "invalid");  // none
    EXPECT_EQ(shown(defaultValue(d.params[1])), "Color &c0000FF");
    EXPECT_EQ(shown(defaultValue(d.params[2])), "Picture nil");
    EXPECT_EQ(shown(defaultValue(d.params[3])), "String \"hi\"");
    EXPECT_EQ(describe(Value::color(0x88B5C4)) + ", " + describe(Value::object(TypeName::Picture, Ref())),
              "Color &c88B5C4, Picture nil");
    EXPECT_TRUE(ledger().clean()) << ledger().detail;
}

}  // namespace
