// The declaration parser, on every form the plugin and the host use.
#include <gtest/gtest.h>

#include "host/call.h"

namespace {

using standin::Declaration;
using standin::Param;
using standin::parseDeclaration;
using standin::TypeName;

Declaration parsed(const std::string& text) {
    auto d = parseDeclaration(text);
    EXPECT_TRUE(d.has_value()) << "cannot parse \"" << text << "\"";
    return d ? *d : Declaration{};
}

void expectParam(const Param& p, const char* name, TypeName type, bool byref = false,
                 const char* defaultText = nullptr) {
    SCOPED_TRACE(name);
    EXPECT_EQ(p.name, name);
    EXPECT_EQ(p.type, type) << standin::typeNameText(p.type);
    EXPECT_EQ(p.byref, byref);
    if (defaultText) {
        ASSERT_TRUE(p.defaultText.has_value());
        EXPECT_EQ(*p.defaultText, defaultText);
    } else {
        EXPECT_FALSE(p.defaultText.has_value()) << *p.defaultText;
    }
}

TEST(Declaration, NameAndResultOnly) {
    Declaration d = parsed("InvertVQZ as picture");
    EXPECT_EQ(d.name, "InvertVQZ");
    EXPECT_TRUE(d.params.empty());
    EXPECT_EQ(d.result, TypeName::Picture);
    EXPECT_EQ(d.resultText, "picture");
}

TEST(Declaration, NameOnlyHasNoResult) {
    Declaration d = parsed("Close");
    EXPECT_EQ(d.name, "Close");
    EXPECT_TRUE(d.params.empty());
    EXPECT_EQ(d.result, TypeName::Void);

    Declaration run = parsed("Run as boolean");
    EXPECT_EQ(run.name, "Run");
    EXPECT_EQ(run.result, TypeName::Boolean);

    Declaration empty = parsed("Reset()");
    EXPECT_EQ(empty.name, "Reset");
    EXPECT_TRUE(empty.params.empty());
}

TEST(Declaration, ParametersWithoutSpaces) {
    Declaration d = parsed("InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture");
    EXPECT_EQ(d.name, "InvertVQZ");
    ASSERT_EQ(d.params.size(), 4u);
    expectParam(d.params[0], "left", TypeName::Integer);
    expectParam(d.params[1], "top", TypeName::Integer);
    expectParam(d.params[2], "width", TypeName::Integer);
    expectParam(d.params[3], "height", TypeName::Integer);
    EXPECT_EQ(d.result, TypeName::Picture);
}

TEST(Declaration, ByrefParametersAndNoResult) {
    Declaration d = parsed(
        "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count "
        "as integer)");
    ASSERT_EQ(d.params.size(), 4u);
    expectParam(d.params[0], "red", TypeName::MemoryBlock, true);
    expectParam(d.params[1], "blue", TypeName::MemoryBlock, true);
    expectParam(d.params[2], "green", TypeName::MemoryBlock, true);
    expectParam(d.params[3], "count", TypeName::Integer, true);
    EXPECT_EQ(d.result, TypeName::Void);

    Declaration f = parsed("FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean");
    ASSERT_EQ(f.params.size(), 3u);
    expectParam(f.params[0], "pic", TypeName::Picture);
    expectParam(f.params[1], "x", TypeName::Integer, true);
    expectParam(f.params[2], "y", TypeName::Integer, true);
}

TEST(Declaration, DefaultsOfEveryKind) {
    Declaration d = parsed(
        "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height "
        "as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor "
        "as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture");
    EXPECT_EQ(d.name, "RenderSamplesVQZ");
    ASSERT_EQ(d.params.size(), 11u);
    expectParam(d.params[0], "Samples", TypeName::MemoryBlock);
    expectParam(d.params[5], "outlinewidth", TypeName::Integer);
    expectParam(d.params[6], "BackColor", TypeName::Color, false, "&c88B5C4");
    expectParam(d.params[7], "ForeColor", TypeName::Color, false, "&c274C5A");
    expectParam(d.params[8], "OutLineColor", TypeName::Color, false, "&c203F4E");
    expectParam(d.params[9], "Bits", TypeName::Integer, false, "8");
    expectParam(d.params[10], "AutoScale", TypeName::Boolean, false, "false");
    EXPECT_EQ(d.result, TypeName::Picture);
    EXPECT_EQ(d.resultText, "Picture");

    Declaration t = parsed(
        "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as "
        "picture");
    ASSERT_EQ(t.params.size(), 4u);
    expectParam(t.params[3], "dest", TypeName::Picture, false, "nil");

    Declaration c = parsed("ColornessVQZ(threshold as integer = 10) as double");
    ASSERT_EQ(c.params.size(), 1u);
    expectParam(c.params[0], "threshold", TypeName::Integer, false, "10");
    EXPECT_EQ(c.result, TypeName::Double);
}

TEST(Declaration, NegativeDefaultsAndObjectTypes) {
    Declaration d = parsed(
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, sy "
        "as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)");
    ASSERT_EQ(d.params.size(), 9u);
    expectParam(d.params[0], "Image", TypeName::Picture);
    expectParam(d.params[5], "sx", TypeName::Integer, false, "0");
    expectParam(d.params[7], "sw", TypeName::Integer, false, "-10000");
    expectParam(d.params[8], "sh", TypeName::Integer, false, "-10000");
    EXPECT_EQ(standin::defaultValue(d.params[8])->i, -10000);

    Declaration g = parsed("Outline(g as Graphics, byref w as Window) as RuntimeException");
    ASSERT_EQ(g.params.size(), 2u);
    expectParam(g.params[0], "g", TypeName::Object);
    EXPECT_EQ(g.params[0].typeText, "Graphics");
    expectParam(g.params[1], "w", TypeName::Object, true);
    EXPECT_EQ(g.result, TypeName::Object);
    EXPECT_EQ(g.resultText, "RuntimeException");
}

TEST(Declaration, SpacesInsideParentheses) {
    Declaration d = parsed("LenB( s as string ) as integer");
    EXPECT_EQ(d.name, "LenB");
    ASSERT_EQ(d.params.size(), 1u);
    expectParam(d.params[0], "s", TypeName::String);
    EXPECT_EQ(d.result, TypeName::Integer);

    Declaration spaced = parsed("  Spaced ( a  as  integer ,b as double= 1.5 )  as  color  ");
    EXPECT_EQ(spaced.name, "Spaced");
    ASSERT_EQ(spaced.params.size(), 2u);
    expectParam(spaced.params[1], "b", TypeName::Double, false, "1.5");
    EXPECT_EQ(spaced.result, TypeName::Color);
}

TEST(Declaration, TypeNamesAndKeywordsIgnoreCase) {
    Declaration d = parsed(
        "Table(r as UInt32, g as UINT32, b as uint32, x as Uint32) AS Double");
    ASSERT_EQ(d.params.size(), 4u);
    for (const Param& p : d.params) EXPECT_EQ(p.type, TypeName::UInt32) << p.name;
    EXPECT_EQ(d.result, TypeName::Double);

    Declaration all = parsed(
        "All(a AS INTEGER, b As Color, c aS DOUBLE, d as BOOLEAN, e as STRING, f as PICTURE, g as MEMORYBLOCK, BYREF "
        "h as Integer, ByRef i as MemoryBlock, byval j as integer)");
    ASSERT_EQ(all.params.size(), 10u);
    expectParam(all.params[0], "a", TypeName::Integer);
    expectParam(all.params[1], "b", TypeName::Color);
    expectParam(all.params[2], "c", TypeName::Double);
    expectParam(all.params[3], "d", TypeName::Boolean);
    expectParam(all.params[4], "e", TypeName::String);
    expectParam(all.params[5], "f", TypeName::Picture);
    expectParam(all.params[6], "g", TypeName::MemoryBlock);
    expectParam(all.params[7], "h", TypeName::Integer, true);
    expectParam(all.params[8], "i", TypeName::MemoryBlock, true);
    expectParam(all.params[9], "j", TypeName::Integer, false);
}

TEST(Declaration, ParameterNamedLikeAKeyword) {
    Declaration d = parsed("Odd(byref as integer, byval byval as boolean, byref ref as color)");
    ASSERT_EQ(d.params.size(), 3u);
    expectParam(d.params[0], "byref", TypeName::Integer, false);
    expectParam(d.params[1], "byval", TypeName::Boolean, false);
    expectParam(d.params[2], "ref", TypeName::Color, true);
}

TEST(Declaration, SetterDeclarationsParseLikeOthers) {
    Declaration d = parsed("EmbeddedMaskVQZ(swap as boolean) as picture");
    ASSERT_EQ(d.params.size(), 1u);
    expectParam(d.params[0], "swap", TypeName::Boolean);
    EXPECT_EQ(d.result, TypeName::Picture);
}

TEST(Declaration, MalformedTextIsRejected) {
    const char* bad[] = {
        "",
        "   ",
        "(a as integer)",
        "1Invert as picture",
        "Invert(",
        "Invert(a as integer",
        "Invert(a integer)",
        "Invert(a as)",
        "Invert(as integer)",
        "Invert(a as integer,)",
        "Invert(,)",
        "Invert(a as integer b as integer)",
        "Invert as",
        "Invert as picture extra",
        "Invert picture",
        "Invert(a as integer) as",
        "Invert() as picture as picture",
        "Invert(a as integer) picture",
        "Invert(a as integer))",
        "Invert(a as integer = )",
        "Invert(a as integer = abc)",
        "Invert(a as integer = 1.5)",
        "Invert(a as integer = 10 20)",
        "Invert(a as double = 1.2.3)",
        "Invert(a as double = nan)",
        "Invert(a as color = &cXYZ123)",
        "Invert(a as color = &c12345)",
        "Invert(a as boolean = 1)",
        "Invert(a as boolean = yes)",
        "Invert(a as picture = 0)",
        "Invert(a as memoryblock = false)",
        "Invert(a as integer = 1, b as integer)",
        "Invert(a as integer, A as integer)",
        "Invert(a as integer) as picture;",
        "Invert.Now as picture",
    };
    for (const char* text : bad) EXPECT_FALSE(parseDeclaration(text).has_value()) << "accepted \"" << text << "\"";
}

TEST(Declaration, TypeNames) {
    EXPECT_EQ(standin::typeFromName("integer"), TypeName::Integer);
    EXPECT_EQ(standin::typeFromName("UInt32"), TypeName::UInt32);
    EXPECT_EQ(standin::typeFromName("Color"), TypeName::Color);
    EXPECT_EQ(standin::typeFromName("double"), TypeName::Double);
    EXPECT_EQ(standin::typeFromName("Boolean"), TypeName::Boolean);
    EXPECT_EQ(standin::typeFromName("string"), TypeName::String);
    EXPECT_EQ(standin::typeFromName("Picture"), TypeName::Picture);
    EXPECT_EQ(standin::typeFromName("MemoryBlock"), TypeName::MemoryBlock);
    EXPECT_EQ(standin::typeFromName("Graphics"), TypeName::Object);
    EXPECT_EQ(standin::typeFromName("Int32"), TypeName::Object);
    EXPECT_STREQ(standin::typeNameText(TypeName::MemoryBlock), "MemoryBlock");
    EXPECT_TRUE(standin::isObjectType(TypeName::String));
    EXPECT_FALSE(standin::isObjectType(TypeName::Color));
}

TEST(Declaration, FormatWritesACanonicalFormThatParsesBack) {
    const char* texts[] = {
        "InvertVQZ as picture",
        "Close",
        "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count "
        "as integer)",
        "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height "
        "as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor "
        "as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture",
        "LenB( s as string ) as integer",
    };
    for (const char* text : texts) {
        Declaration d = parsed(text);
        std::string formatted = standin::formatDeclaration(d);
        Declaration again = parsed(formatted);
        EXPECT_EQ(standin::formatDeclaration(again), formatted);
        EXPECT_EQ(again.params.size(), d.params.size());
    }
    EXPECT_EQ(standin::formatDeclaration(parsed("LenB( s as string ) as integer")), "LenB(s as string) as integer");
    EXPECT_EQ(standin::formatDeclaration(parsed("F(byref a as color=&c010203)")), "F(byref a as color = &c010203)");
}

// Defaults that need no host object.
TEST(DeclarationDefaults, ScalarValues) {
    Declaration d = parsed(
        "D(a as integer = -3, b as integer = &h10, c as color = &c88B5C4, e as color = 255, f as UInt32 = "
        "&hFFFFFFFF, g as double = 2.5, h as double = -1e3, i as double = 7, j as boolean = TRUE, k as boolean = "
        "false)");
    ASSERT_EQ(d.params.size(), 10u);
    auto value = [&](size_t i) { return *standin::defaultValue(d.params[i]); };
    EXPECT_EQ(value(0).type, TypeName::Integer);
    EXPECT_EQ(value(0).i, -3);
    EXPECT_EQ(value(1).i, 16);
    EXPECT_EQ(value(2).type, TypeName::Color);
    EXPECT_EQ(value(2).i, 0x88B5C4);
    EXPECT_EQ(value(3).i, 255);
    EXPECT_EQ(value(4).type, TypeName::UInt32);
    EXPECT_EQ(value(4).i, 0xFFFFFFFFll);
    EXPECT_EQ(value(5).type, TypeName::Double);
    EXPECT_EQ(value(5).d, 2.5);
    EXPECT_EQ(value(6).d, -1000.0);
    EXPECT_EQ(value(7).d, 7.0);
    EXPECT_EQ(value(8).type, TypeName::Boolean);
    EXPECT_EQ(value(8).i, 1);
    EXPECT_EQ(value(9).i, 0);
}

TEST(DeclarationDefaults, IntegersWrapTo32Bits) {
    EXPECT_EQ(standin::valueFromText(TypeName::Integer, "&hFFFFFFFF")->i, -1);
    EXPECT_EQ(standin::valueFromText(TypeName::Integer, "-2147483648")->i, -2147483648ll);
    EXPECT_EQ(standin::valueFromText(TypeName::UInt32, "4294967295")->i, 4294967295ll);
    EXPECT_EQ(standin::valueFromText(TypeName::Boolean, "False")->i, 0);
    EXPECT_FALSE(standin::valueFromText(TypeName::Boolean, "0"));
}

TEST(DeclarationDefaults, NilObjectsAndNone) {
    Declaration d = parsed("D(a as integer, p as picture = nil, m as MemoryBlock = NIL, o as Graphics = nil)");
    EXPECT_FALSE(standin::defaultValue(d.params[0]).has_value());
    for (size_t i = 1; i < 4; ++i) {
        auto v = standin::defaultValue(d.params[i]);
        ASSERT_TRUE(v.has_value());
        EXPECT_TRUE(v->isNil());
        EXPECT_EQ(v->type, d.params[i].type);
    }
}

TEST(DeclarationDefaults, ValidityByType) {
    EXPECT_TRUE(standin::validDefault(TypeName::Integer, "-10000"));
    EXPECT_TRUE(standin::validDefault(TypeName::Integer, "&hFF"));
    EXPECT_FALSE(standin::validDefault(TypeName::Integer, "&c000000"));
    EXPECT_TRUE(standin::validDefault(TypeName::Color, "&c000000"));
    EXPECT_FALSE(standin::validDefault(TypeName::Color, "&c0000000"));
    EXPECT_TRUE(standin::validDefault(TypeName::Double, "0.25"));
    EXPECT_TRUE(standin::validDefault(TypeName::Double, "-3"));
    EXPECT_FALSE(standin::validDefault(TypeName::Double, "inf"));
    EXPECT_TRUE(standin::validDefault(TypeName::Boolean, "False"));
    EXPECT_TRUE(standin::validDefault(TypeName::String, "\"text\""));
    EXPECT_TRUE(standin::validDefault(TypeName::String, "nil"));
    EXPECT_FALSE(standin::validDefault(TypeName::String, "text"));
    EXPECT_FALSE(standin::validDefault(TypeName::Picture, "\"text\""));
    EXPECT_TRUE(standin::validDefault(TypeName::Object, "Nil"));
    // Whole numbers must fit 32 bits.
    EXPECT_TRUE(standin::validDefault(TypeName::Integer, "-2147483648"));
    EXPECT_TRUE(standin::validDefault(TypeName::UInt32, "4294967295"));
    EXPECT_FALSE(standin::validDefault(TypeName::Integer, "4294967296"));
    EXPECT_FALSE(standin::validDefault(TypeName::Integer, "-2147483649"));
    EXPECT_FALSE(standin::validDefault(TypeName::Integer, "00000000000000000001"));
    EXPECT_TRUE(standin::validDefault(TypeName::UInt32, "&hFFFFFFFF"));
    EXPECT_FALSE(standin::validDefault(TypeName::UInt32, "&h1FFFFFFFF"));
}

}  // namespace
