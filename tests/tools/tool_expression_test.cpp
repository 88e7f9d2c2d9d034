// Reading calls and literals as the host language writes them.
#ifdef VQZ_TOOL_PATH

#include <gtest/gtest.h>

#include "tools/arguments.h"
#include "tools/errors.h"
#include "tools/expression.h"

namespace {

using vqz::CallExpression;
using vqz::parseCallExpression;

TEST(CallExpression, SplitsArgumentsAtTopLevelCommasOnly) {
    CallExpression e = parseCallExpression("  Foo( 1, \"a, (b)\"\"c\" , dir(x,y)/p.png ,&cFF0000 ) ");
    EXPECT_EQ(e.name, "Foo");
    EXPECT_EQ(e.args, (std::vector<std::string>{"1", "\"a, (b)\"\"c\"", "dir(x,y)/p.png", "&cFF0000"}));
    EXPECT_FALSE(e.assigned);
    std::string text;
    ASSERT_TRUE(vqz::parseStringLiteral(e.args[1], text));
    EXPECT_EQ(text, "a, (b)\"c");
}

TEST(CallExpression, NamesAloneEmptyParenthesesAndAssignments) {
    EXPECT_TRUE(parseCallExpression("InvertVQZ").args.empty());
    EXPECT_TRUE(parseCallExpression("InvertVQZ()").args.empty());
    CallExpression e = parseCallExpression("EmbeddedMaskVQZ(true) = mask.png");
    EXPECT_EQ(e.args, std::vector<std::string>{"true"});
    ASSERT_TRUE(e.assigned);
    EXPECT_EQ(*e.assigned, "mask.png");
}

TEST(CallExpression, RejectsMalformedCalls) {
    for (const char* bad : {"", "(1)", "Foo(1,", "Foo(1,,2)", "Foo(,)", "Foo(\"open)", "Foo(1) extra", "Foo =", "1Foo"}) {
        SCOPED_TRACE(bad);
        EXPECT_THROW(parseCallExpression(bad), vqz::ToolError);
    }
    EXPECT_TRUE(vqz::looksLikeCall("InvertVQZ"));
    EXPECT_TRUE(vqz::looksLikeCall("ChangeContrastVQZ(0.5)"));
    EXPECT_TRUE(vqz::looksLikeCall("EmbeddedMaskVQZ(true) = m.png"));
    EXPECT_FALSE(vqz::looksLikeCall("picture.png"));
    EXPECT_FALSE(vqz::looksLikeCall("dir/picture"));
}

TEST(Literals, WholeNumbersColorsAndDoubles) {
    int64_t i = 0;
    EXPECT_TRUE(vqz::parseIntegerLiteral("-42", i));
    EXPECT_EQ(i, -42);
    EXPECT_TRUE(vqz::parseIntegerLiteral("&hFFFFFFFF", i));
    EXPECT_EQ(i, 0xFFFFFFFFll);
    EXPECT_TRUE(vqz::parseIntegerLiteral("&b101", i));
    EXPECT_EQ(i, 5);
    EXPECT_TRUE(vqz::parseIntegerLiteral("&o17", i));
    EXPECT_EQ(i, 15);
    for (const char* bad : {"", "-", "1.5", "&h", "&h1FFFFFFFF", "&b2", "12a", " 1"}) EXPECT_FALSE(vqz::parseIntegerLiteral(bad, i)) << bad;

    uint32_t c = 0;
    EXPECT_TRUE(vqz::parseColorLiteral("&c88b5C4", c));
    EXPECT_EQ(c, 0x88B5C4u);
    for (const char* bad : {"&c12345", "&c1234567", "&cGG0000", "#88B5C4"}) EXPECT_FALSE(vqz::parseColorLiteral(bad, c)) << bad;

    double d = 0;
    EXPECT_TRUE(vqz::parseDoubleLiteral("-0.25", d));
    EXPECT_EQ(d, -0.25);
    EXPECT_TRUE(vqz::parseDoubleLiteral("1e3", d));
    EXPECT_EQ(d, 1000);
    EXPECT_TRUE(vqz::parseDoubleLiteral("&h10", d));
    EXPECT_EQ(d, 16);
    for (const char* bad : {"", "nan", "inf", "1e999", "0x10", "1,5", "--1"}) EXPECT_FALSE(vqz::parseDoubleLiteral(bad, d)) << bad;

    bool b = false;
    EXPECT_TRUE(vqz::parseBooleanLiteral("True", b));
    EXPECT_TRUE(b);
    EXPECT_FALSE(vqz::parseBooleanLiteral("1", b));
}

TEST(Literals, DoublesPrintShortestAndReadBackExactly) {
    for (double v : {0.1, 1.0 / 3.0, 0.94102498958333, 1e-300, -2.5, 123456789.0}) {
        std::string text = vqz::formatDouble(v);
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), v) << text;
    }
    EXPECT_EQ(vqz::formatDouble(0.5), "0.5");
    EXPECT_EQ(vqz::formatDouble(3.0), "3");
}

}  // namespace

#endif  // VQZ_TOOL_PATH
