// vqz list shows every registration; vqz gallery and demo write a page whose
// every image exists, with a tile for every method that makes a picture.
#ifdef VQZ_TOOL_PATH

#include <gmock/gmock.h>

#include <regex>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using namespace vqztool;
using ::testing::HasSubstr;

class ToolListTest : public PluginTest {};

TEST_F(ToolListTest, ShowsEveryRegisteredDeclarationOrThoseMatchingAPattern) {
    ToolRun run = runTool({"list"});
    ASSERT_EQ(run.status, 0) << describe(run);
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        for (uintptr_t i = 0; i < def->methodCount; ++i)
            EXPECT_THAT(run.out, HasSubstr(std::string("  ") + def->methods[i].declaration +
                                           (def->methods[i].setterFunction ? "    (can be assigned)\n" : "\n")));
        for (uintptr_t i = 0; i < def->propertyCount; ++i)
            EXPECT_THAT(run.out, HasSubstr(std::string("  property ") + def->properties[i].name + " as " +
                                           def->properties[i].type + "\n"));
    }
    for (const REALmethodDefinition* m : standin::registeredGlobalMethods())
        EXPECT_THAT(run.out, HasSubstr(std::string("  ") + m->declaration + "\n"));
    EXPECT_THAT(run.out, HasSubstr("EmbeddedMaskVQZ(swap as boolean) as picture    (can be assigned)"));

    run = runTool({"list", "invert"});
    ASSERT_EQ(run.status, 0) << describe(run);
    EXPECT_EQ(run.out,
              "Methods of Picture:\n"
              "  InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture\n"
              "  InvertVQZ as picture\n"
              "  InvertGrayVQZ(left as integer,top as integer,width as integer,height as integer) as picture\n"
              "  InvertGrayVQZ as picture\n");
    run = runTool({"list", "*sepia*"});
    ASSERT_EQ(run.status, 0) << describe(run);
    EXPECT_THAT(run.out, HasSubstr("Class PictureSepiaVQZ:\n  property SourcePicture as Picture\n"));
}

// Every <img> and link target of DIR/index.html exists and reads as a picture; returns the page.
std::string checkPage(const TempDir& dir, const std::string& sub) {
    std::string page = dir.read(sub + "/index.html");
    EXPECT_THAT(page, HasSubstr("</html>"));
    std::regex ref("(src|href)=\"([^\"]+)\"");
    size_t images = 0;
    for (auto it = std::sregex_iterator(page.begin(), page.end(), ref); it != std::sregex_iterator(); ++it, ++images) {
        std::string file = sub + "/" + (*it)[2].str();
        EXPECT_TRUE(dir.exists(file) && vqz::readImage(dir / file).width > 0) << file;
    }
    EXPECT_GT(images, 2u);
    return page;
}

class ToolGalleryTest : public PluginTest {};

TEST_F(ToolGalleryTest, HasATileForEveryMethodThatMakesAPicture) {
    TempDir dir;
    vqz::writeImage(dir / "in.ppm", randomImage(40, 28, 9));
    ToolRun run = runTool({"gallery", "in.ppm", "-o", "g"}, dir.path());
    ASSERT_EQ(run.status, 0) << describe(run);
    EXPECT_THAT(run.out, ::testing::StartsWith("gallery written to " + dir.path() + "/g/index.html ("));
    std::string page = checkPage(dir, "g");
    for (const auto& [where, c] : standin::allCallables()) {
        if (c.declaration.result != TypeName::Picture || (!where.empty() && where != "Picture")) continue;
        std::string escaped;
        for (char ch : c.declarationText)
            escaped += ch == '&'   ? "&amp;"
                       : ch == '<' ? "&lt;"
                       : ch == '>' ? "&gt;"
                       : ch == '"' ? "&quot;"
                                   : std::string(1, ch);
        EXPECT_THAT(page, HasSubstr(escaped));
    }
    for (const char* feature : {"PictureLut3DVQZ", "PictureSepiaVQZ", "vqz waveform tone.wav", "vqz encode source.png"})
        EXPECT_THAT(page, HasSubstr(feature));
    // Each tile links its picture and shows the thumbnail of the same name.
    std::regex tile("<a href=\"([0-9]+-[A-Za-z0-9-]+\\.png)\"><img src=\"thumbs/\\1\"");
    size_t tiles = size_t(std::distance(std::sregex_iterator(page.begin(), page.end(), tile), std::sregex_iterator()));
    size_t failed = 0;
    for (size_t at = 0; (at = page.find("<div class=\"missing\">", at)) != std::string::npos; ++at) ++failed;
    EXPECT_GE(tiles + failed, 40u);
}

TEST_F(ToolGalleryTest, DemoUsesTheBuiltInSample) {
    TempDir dir;
    ToolRun run = runTool({"--quiet", "demo", "-o", "demo"}, dir.path());
    ASSERT_EQ(run.status, 0) << describe(run);
    EXPECT_THAT(checkPage(dir, "demo"), HasSubstr("Rachel Michetti"));
    vqz::Image source = vqz::readImage(dir / "demo/source.png");
    EXPECT_EQ(source.width, 600);
    EXPECT_EQ(source.height, 400);
}

}  // namespace

#endif  // VQZ_TOOL_PATH
