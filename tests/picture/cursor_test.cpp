// Row cursors and writer targets of the pixel buffers, and the console row copy.
#include "picture/copy.h"
#include "picture/editor.h"
#include "picture/quickdraw.h"
#include "tests/support/linked_plugin.h"

namespace {

using namespace vqztest;

class CursorTest : public LinkedPluginTest {};

TEST_F(CursorTest, RowsWrapToTheFirstAfterTheLast) {
    for (const char* name : {"desktop32", "desktop24", "console"}) {
        load(configFor(formatNamed(name)));
        Ref pic = makePicture(formatNamed(name), 5, 3);
        PictureReader reader;
        ASSERT_TRUE(reader.GetPictureReader(pic.pic())) << name;
        EXPECT_EQ(reader.pixelType, formatNamed(name).code());
        uint8_t* first = reader.row;
        EXPECT_EQ(first, standin::pixelAddress(pic.get(), 0, 0));
        reader.AddPixelRow();
        EXPECT_EQ(reader.row, standin::pixelAddress(pic.get(), 0, 1));
        reader.AddPixelRow();
        reader.AddPixelRow();
        EXPECT_EQ(reader.row, first);
        reader.AddPixelRow();
        EXPECT_EQ(reader.row, standin::pixelAddress(pic.get(), 0, 1)) << "the next pass starts over";
        EXPECT_EQ(reader.GetRow(2), standin::pixelAddress(pic.get(), 0, 2));
        EXPECT_EQ(reader.GetRow(3), first);
        EXPECT_EQ(reader.GetRow(-1), first);
        reader.clear();
        reader.clear();
        EXPECT_FALSE(reader.isOpen());
    }
}

TEST_F(CursorTest, WriterTakesAGivenPictureOnlyWhenItIsLargeEnough) {
    Ref big = makePicture(formatNamed("desktop32"), 20, 20);
    Ref narrow = makePicture(formatNamed("desktop32"), 5, 20);
    PictureWriter writer;
    ASSERT_TRUE(writer.NewPictureWriter(big.pic(), 10, 10));
    EXPECT_EQ(writer.picture, big.pic());
    EXPECT_EQ(writer.width, 20);
    EXPECT_EQ(writer.height, 20);
    ASSERT_TRUE(writer.NewPictureWriter(narrow.pic(), 10, 10));
    EXPECT_NE(writer.picture, narrow.pic());
    EXPECT_EQ(writer.width, 10);
    Ref rendered = Ref::adopt(writer.RenderPictureWriter());
    EXPECT_TRUE(rendered);
    EXPECT_EQ(standin::refCount(rendered.get()), 1) << "the caller's reference only";
    EXPECT_EQ(writer.RenderPictureWriter(), nullptr) << "a closed writer renders nothing";
}

TEST_F(CursorTest, WriterLimits) {
    PictureWriter writer;
    EXPECT_TRUE(writer.NewPictureWriter(32767, 1));
    EXPECT_EQ(writer.pixelType, 13);
    EXPECT_FALSE(writer.NewPictureWriter(32768, 1));
    EXPECT_FALSE(writer.NewPictureWriter(0, 5));
    EXPECT_FALSE(writer.NewPictureWriter(-1, 5));
    EXPECT_FALSE(writer.isOpen());
}

TEST_F(CursorTest, ConsoleWritersWriteCode8) {
    load(configFor(AppKind::Console));
    PictureWriter writer;
    ASSERT_TRUE(writer.NewPictureWriter(2, 2));
    EXPECT_EQ(writer.pixelType, 8);
    EXPECT_EQ(writer.rowBytes, 8);
}

TEST_F(CursorTest, OwnCopyCopiesWholeBitmapsOfEqualSize) {
    load(configFor(AppKind::Console));
    const HostFormat& console = formatNamed("console");
    Ref source = makePicture(console, 3, 2), same = makePicture(console, 3, 2), other = makePicture(console, 2, 3);
    fillRandom(source.get(), 11);
    EXPECT_FALSE(OwnCopy(same.pic(), source.pic(), 1, 0, 3, 2, 0, 0, 3, 2));
    EXPECT_FALSE(OwnCopy(same.pic(), source.pic(), 0, 0, 3, 2, 0, 0, 3, 1));
    EXPECT_EQ(standin::clearCacheCount(same.get()), 0) << "refused before locking anything";
    ASSERT_TRUE(OwnCopy(same.pic(), source.pic(), 0, 0, 3, 2, 0, 0, 3, 2));
    EXPECT_EQ(rawPixels(same.get()), rawPixels(source.get()));
    const std::vector<uint8_t> before = rawPixels(other.get());
    EXPECT_FALSE(OwnCopy(other.pic(), source.pic(), 0, 0, 3, 2, 0, 0, 3, 2));
    EXPECT_EQ(rawPixels(other.get()), before);
    EXPECT_EQ(standin::clearCacheCount(other.get()), 1);
}

TEST_F(CursorTest, ClonePictureOfNothing) {
    EXPECT_EQ(ClonePicture(nullptr), nullptr);
}

TEST(QuickDrawRect, SetRectStoresTopLeftBottomRight) {
    Rect r;
    SetRect(&r, 1, 2, 3, 4);
    EXPECT_EQ(r.top, 2);
    EXPECT_EQ(r.left, 1);
    EXPECT_EQ(r.bottom, 4);
    EXPECT_EQ(r.right, 3);
}

}  // namespace
