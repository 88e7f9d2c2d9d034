// vqz list shows every registration; vqz gallery and demo write a page whose
// every image exists, with a tile for every method that makes a picture.
#ifdef VQZ_TOOL_PATH

#include <regex>
#include <set>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

std::string htmlEscape(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '&') out += "&amp;";
        else if (c == '<') out += "&lt;";
        else if (c == '>') out += "&gt;";
        else if (c == '"') out += "&quot;";
        else out += c;
    }
    return out;
}

class ToolListTest : public PluginTest {};

TEST_F(ToolListTest, ShowsEveryRegisteredDeclaration) {
    vqztool::ToolRun run = runTool({"list"});
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    for (const standin::RegisteredClass& rc : standin::registeredClasses()) {
        const REALclassDefinition* def = rc.definition;
        for (uintptr_t i = 0; i < def->methodCount; ++i) {
            std::string line = std::string("  ") + def->methods[i].declaration;
            if (def->methods[i].setterFunction) line += "    (can be assigned)";
            EXPECT_NE(run.out.find(line + "\n"), std::string::npos) << line;
        }
        for (uintptr_t i = 0; i < def->propertyCount; ++i)
            EXPECT_NE(run.out.find(std::string("  property ") + def->properties[i].name + " as " +
                                   def->properties[i].type + "\n"),
                      std::string::npos)
                << def->properties[i].name;
    }
    for (const REALmethodDefinition* m : standin::registeredGlobalMethods())
        EXPECT_NE(run.out.find(std::string("  ") + m->declaration + "\n"), std::string::npos) << m->declaration;
    EXPECT_NE(run.out.find("EmbeddedMaskVQZ(swap as boolean) as picture    (can be assigned)"), std::string::npos);
}

TEST(ToolList, PatternKeepsMatchingNames) {
    vqztool::ToolRun run = runTool({"list", "invert"});
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    EXPECT_EQ(run.out,
              "Methods of Picture:\n"
              "  InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture\n"
              "  InvertVQZ as picture\n"
              "  InvertGrayVQZ(left as integer,top as integer,width as integer,height as integer) as picture\n"
              "  InvertGrayVQZ as picture\n");
    run = runTool({"list", "*sepia*"});
    ASSERT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("Class PictureSepiaVQZ:\n  property SourcePicture as Picture\n"), std::string::npos) << run.out;
    run = runTool({"list", "nothing-like-this"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vqz: list: nothing registered matches 'nothing-like-this'\n");
}

class ToolGalleryTest : public PluginTest {
protected:
    // Every <img> and link target exists and reads as a picture; returns the page.
    std::string checkPage(const TempDir& dir, const std::string& sub) {
        std::string page = dir.read(sub + "/index.html");
        EXPECT_NE(page.find("</html>"), std::string::npos);
        std::regex ref("(src|href)=\"([^\"]+)\"");
        size_t images = 0;
        for (auto it = std::sregex_iterator(page.begin(), page.end(), ref); it != std::sregex_iterator(); ++it) {
            std::string file = (*it)[2];
            SCOPED_TRACE(file);
            if (!dir.exists(sub + "/" + file)) {
                ADD_FAILURE() << "missing";
                continue;
            }
            vqz::Image image = vqztool::readPicture(dir / (sub + "/" + file));
            EXPECT_GT(image.width, 0);
            ++images;
        }
        EXPECT_GT(images, 2u);
        return page;
    }
};

TEST_F(ToolGalleryTest, HasATileForEveryMethodThatMakesAPicture) {
    TempDir dir;
    vqztool::writePpm(dir / "in.ppm", vqztool::randomImage(40, 28, 9));
    vqztool::ToolRun run = runTool({"gallery", "in.ppm", "-o", "g"}, dir.path());
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    EXPECT_EQ(run.out.rfind("gallery written to " + dir.path() + "/g/index.html (", 0), 0u) << run.out;
    std::string page = checkPage(dir, "g");
    for (const auto& [where, c] : standin::allCallables()) {
        if (c.declaration.result != TypeName::Picture || (!where.empty() && where != "Picture")) continue;
        EXPECT_NE(page.find(htmlEscape(c.declarationText)), std::string::npos) << c.declarationText;
    }
    for (const char* feature : {"PictureLut3DVQZ", "PictureSepiaVQZ", "vqz waveform tone.wav", "vqz encode source.png"})
        EXPECT_NE(page.find(feature), std::string::npos) << feature;
    // Each tile's command names the file it made.
    std::regex tile("<a href=\"([0-9]+-[A-Za-z0-9-]+\\.png)\"><img src=\"thumbs/\\1\"");
    size_t tiles = std::distance(std::sregex_iterator(page.begin(), page.end(), tile), std::sregex_iterator());
    size_t failed = 0;
    for (size_t at = 0; (at = page.find("<div class=\"missing\">", at)) != std::string::npos; ++at) ++failed;
    EXPECT_GE(tiles + failed, 40u);
}

TEST_F(ToolGalleryTest, DemoUsesTheBuiltInSample) {
    TempDir dir;
    vqztool::ToolRun run = runTool({"--quiet", "demo", "-o", "demo"}, dir.path());
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    std::string page = checkPage(dir, "demo");
    EXPECT_NE(page.find("Rachel Michetti"), std::string::npos);
    vqz::Image source = vqztool::readPicture(dir / "demo/source.png");
    EXPECT_EQ(source.width, 600);
    EXPECT_EQ(source.height, 400);
}

}  // namespace

#endif  // VQZ_TOOL_PATH
