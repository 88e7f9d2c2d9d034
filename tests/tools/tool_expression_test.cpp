// Reading calls and literals as the host language writes them.
#ifdef VQZ_TOOL_PATH

#include <gtest/gtest.h>

#include <cstdlib>

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
    EXPECT_TRUE(parseCallExpression("InvertVQZ").args.empty());
    EXPECT_TRUE(parseCallExpression("InvertVQZ()").args.empty());
    e = parseCallExpression("EmbeddedMaskVQZ(true) = mask.png");
    EXPECT_EQ(e.args, std::vector<std::string>{"true"});
    ASSERT_TRUE(e.assigned);
    EXPECT_EQ(*e.assigned, "mask.png");
}

TEST(CallExpression, TellsCallsFromFilesAndRejectsMalformedOnes) {
    for (const char* bad : {"", "(1)", "Foo(1,", "Foo(1,,2)", "Foo(,)", "Foo(\"open)", "Foo(1) extra", "Foo =", "1Foo"})
        EXPECT_THROW(parseCallExpression(bad), vqz::ToolError) << bad;
    for (const char* call : {"InvertVQZ", "ChangeContrastVQZ(0.5)", "EmbeddedMaskVQZ(true) = m.png"})
        EXPECT_TRUE(vqz::looksLikeCall(call)) << call;
    for (const char* file : {"picture.png", "dir/picture"}) EXPECT_FALSE(vqz::looksLikeCall(file)) << file;
}

TEST(Literals, WholeNumbersColorsDoublesAndBooleans) {
    for (auto [text, value] :
         {std::pair<const char*, int64_t>{"-42", -42}, {"&hFFFFFFFF", 0xFFFFFFFFll}, {"&b101", 5}, {"&o17", 15}}) {
        int64_t i = 0;
        EXPECT_TRUE(vqz::parseIntegerLiteral(text, i)) << text;
        EXPECT_EQ(i, value) << text;
    }
    for (auto [text, value] : {std::pair<const char*, double>{"-0.25", -0.25}, {"1e3", 1000}, {"&h10", 16}}) {
        double d = 0;
        EXPECT_TRUE(vqz::parseDoubleLiteral(text, d)) << text;
        EXPECT_EQ(d, value) << text;
    }
    int64_t i = 0;
    uint32_t c = 0;
    double d = 0;
    bool b = false;
    for (const char* bad : {"", "-", "1.5", "&h", "&h1FFFFFFFF", "&b2", "12a", " 1"})
        EXPECT_FALSE(vqz::parseIntegerLiteral(bad, i)) << bad;
    for (const char* bad : {"", "nan", "inf", "1e999", "0x10", "1,5", "--1"})
        EXPECT_FALSE(vqz::parseDoubleLiteral(bad, d)) << bad;
    for (const char* bad : {"&c12345", "&c1234567", "&cGG0000", "#88B5C4"})
        EXPECT_FALSE(vqz::parseColorLiteral(bad, c)) << bad;
    EXPECT_TRUE(vqz::parseColorLiteral("&c88b5C4", c));
    EXPECT_EQ(c, 0x88B5C4u);
    EXPECT_TRUE(vqz::parseBooleanLiteral("True", b));
    EXPECT_TRUE(b);
    EXPECT_FALSE(vqz::parseBooleanLiteral("1", b));
}

TEST(Literals, DoublesPrintShortestAndReadBackExactly) {
    for (double v : {0.1, 1.0 / 3.0, 0.94102498958333, 1e-300, -2.5, 123456789.0})
        EXPECT_EQ(std::strtod(vqz::formatDouble(v).c_str(), nullptr), v) << vqz::formatDouble(v);
    EXPECT_EQ(vqz::formatDouble(0.5), "0.5");
    EXPECT_EQ(vqz::formatDouble(3.0), "3");
}

}  // namespace

#endif  // VQZ_TOOL_PATH
