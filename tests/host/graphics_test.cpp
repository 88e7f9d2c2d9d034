// Graphics: properties, DrawLine with the QuickDraw pen, DrawPicture between kinds.
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

using DrawPictureFn = void(Gfx, Pic, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t);
constexpr const char* kDrawPictureDeclaration =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

class GraphicsTest : public HostTest {
protected:
    Ref graphicsOf(const Ref& pic) { return Ref::adopt(api.graphics(pic.pic())); }
    static Gfx gfx(const Ref& g) { return static_cast<Gfx>(g.get()); }
    bool setPen(const Ref& g, uint32_t color, int32_t width, int32_t height) {
        return api.setPropUInt32(g.obj(), "ForeColor", color) && api.setPropInt(g.obj(), "PenWidth", width) &&
               api.setPropInt(g.obj(), "PenHeight", height);
    }
    Entry<DrawPictureFn> drawPictureOf(const Ref& g) {
        return Entry<DrawPictureFn>(api.loadObjectMethod(g.obj(), kDrawPictureDeclaration));
    }
};

// The picture as rows of '#' (color c) and '.' (white).
std::string drawing(void* pic, uint32_t c) {
    std::string s;
    for (int y = 0; y < pictureHeight(pic); ++y) {
        for (int x = 0; x < pictureWidth(pic); ++x) {
            uint32_t rgb = getRGB(pic, x, y);
            s += rgb == c ? '#' : rgb == 0xFFFFFF ? '.' : '?';
        }
        s += '\n';
    }
    return s;
}

TEST_F(GraphicsTest, GraphicsHoldsItsPictureAndHasPenProperties) {
    Ref p = Ref::adopt(api.newPicture(4, 4, 32));
    Ref g = graphicsOf(p);
    ASSERT_TRUE(g);
    EXPECT_EQ(refCount(p.get()), 2);
    EXPECT_STREQ(className(g.get()), "Graphics");
    EXPECT_TRUE(setPen(g, 0x00123456, 3, 2));
    int32_t color = 0, width = 0;
    EXPECT_TRUE(api.getPropInt(g.obj(), "ForeColor", &color) && api.getPropInt(g.obj(), "PenWidth", &width));
    EXPECT_EQ(std::make_pair(color, width), std::make_pair(0x123456, 3));
    EXPECT_FALSE(api.setPropInt(g.obj(), "TextSize", 3));
    // Only the exact DrawPicture declaration loads, and only on a Graphics.
    EXPECT_NE(api.loadObjectMethod(g.obj(), kDrawPictureDeclaration), nullptr);
    EXPECT_EQ(api.loadObjectMethod(g.obj(), "DrawPicture(Image as Picture, x as Integer, y as Integer)"), nullptr);
    EXPECT_EQ(api.loadObjectMethod(p.obj(), kDrawPictureDeclaration), nullptr);
    g = Ref();
    EXPECT_EQ(refCount(p.get()), 1);
}

TEST_F(GraphicsTest, DrawLineUsesTheQuickDrawPen) {
    Ref p = Ref::adopt(newGWorldPicture(8, 6, 24)), q = Ref::adopt(newBitmapPicture(8, 6));
    Ref g = graphicsOf(p), h = graphicsOf(q);
    setPen(g, 0xFF0000, 1, 1);
    api.drawLine(gfx(g), 0, 0, 5, 2);
    EXPECT_EQ(drawing(p.get(), 0xFF0000), "##......\n..##....\n....##..\n........\n........\n........\n")
        << "Bresenham points with a 1x1 pen";
    setPen(h, 0x0000FF, 3, 2);
    api.drawLine(gfx(h), 6, 4, 7, 4);  // the pen hangs right and down, clipped at the edges
    api.drawLine(gfx(h), -1, -1, -1, -1);
    EXPECT_EQ(drawing(q.get(), 0x0000FF), "##......\n........\n........\n........\n......##\n......##\n");
    EXPECT_TRUE(guardsIntact(q.get()));
    ASSERT_EQ(drawnLines().size(), 3u);
    const LineRecord& r = drawnLines()[1];
    EXPECT_EQ(std::make_tuple(r.x1, r.y1, r.x2, r.y2, r.color, r.penWidth, r.penHeight),
              std::make_tuple(6, 4, 7, 4, 0x0000FFu, 3, 2));
}

TEST_F(GraphicsTest, DrawPictureIntoItselfReadsTheOldPixels) {
    Ref p = Ref::adopt(newGWorldPicture(4, 1, 32));
    for (int x = 0; x < 4; ++x) setRGB(p.get(), x, 0, uint32_t(x) * 0x10);
    Ref g = graphicsOf(p);
    Entry<DrawPictureFn> draw = drawPictureOf(g);
    ASSERT_NE(draw.fn, nullptr);
    draw(gfx(g), p.pic(), 1, 0, 3, 1, 0, 0, 3, 1);
    std::vector<uint32_t> row;
    for (int x = 0; x < 4; ++x) row.push_back(getRGB(p.get(), x, 0));
    EXPECT_EQ(row, (std::vector<uint32_t>{0x00, 0x00, 0x10, 0x20}));
}

// ---------------------------------------------------------------- DrawPicture between kinds

struct DrawKind {
    const char* name;
    int depth;  // 0: bitmap, -1: vector
};
void PrintTo(const DrawKind& k, std::ostream* os) { *os << k.name; }

const DrawKind kSources[] = {{"gworld32", 32}, {"gworld24", 24}, {"gworld16", 16},
                             {"gworld8", 8},   {"bitmap", 0},    {"vector", -1}};
const DrawKind kDestinations[] = {{"gworld32", 32}, {"gworld24", 24}, {"bitmap", 0}};

// Colors every format keeps exactly; a vector source draws as one of them.
const uint32_t kQuadrants[4] = {0xFF0000, 0x00FF00, 0x0000FF, 0x000000};
uint32_t sourceColor(const DrawKind& k, int x, int y) { return k.depth < 0 ? kQuadrants[2] : kQuadrants[y * 2 + x]; }

class DrawPicture : public GraphicsTest, public ::testing::WithParamInterface<std::tuple<DrawKind, DrawKind>> {};

TEST_P(DrawPicture, ScalesTheSourcePartNearestNeighbour) {
    const auto& [from, to] = GetParam();
    Ref src = Ref::adopt(from.depth < 0 ? newVectorPicture(2, 2, kQuadrants[2])
                                        : from.depth ? newGWorldPicture(2, 2, from.depth) : newBitmapPicture(2, 2));
    for (int i = 0; i < 4 && from.depth >= 0; ++i) setRGB(src.get(), i % 2, i / 2, kQuadrants[i]);
    Ref dst = Ref::adopt(to.depth ? newGWorldPicture(6, 5, to.depth) : newBitmapPicture(6, 5));
    Ref g = graphicsOf(dst);
    Entry<DrawPictureFn> draw = drawPictureOf(g);
    ASSERT_NE(draw.fn, nullptr);

    draw(gfx(g), src.pic(), 1, 1, 4, 4, 0, 0, -10000, -10000);  // the whole source doubled into (1, 1, 4, 4)
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x) {
            bool inside = x >= 1 && x < 5 && y >= 1 && y < 5;
            ASSERT_EQ(getRGB(dst.get(), x, y), inside ? sourceColor(from, x >= 3, y >= 3) : 0xFFFFFF) << x << "," << y;
        }
    draw(gfx(g), src.pic(), 4, 3, 3, 3, 1, 1, 1, 1);  // the bottom-right pixel into a rectangle leaving the picture
    EXPECT_EQ(std::make_pair(getRGB(dst.get(), 5, 4), getRGB(dst.get(), 4, 3)),
              std::make_pair(sourceColor(from, 1, 1), sourceColor(from, 1, 1)));
    EXPECT_TRUE(guardsIntact(dst.get()));
    if (to.depth == 32) { EXPECT_EQ(pixelAddress(dst.get(), 5, 4)[0], kNewPictureMaskByte); }
    EXPECT_EQ(drawPictureCalls(), 2);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DrawPicture,
                         ::testing::Combine(::testing::ValuesIn(kSources), ::testing::ValuesIn(kDestinations)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_to_" + std::get<1>(info.param).name;
                         });

}  // namespace
}  // namespace hosttest
