// Every color operation under every failure the host can produce along its way: each
// picture creation, description lock, pixel lock and MemoryBlock creation made to
// fail in turn. The operation must then give its failure answer or, where it found
// another way (a copy of the picture), the same result as without the fault; either
// way no reference, lock or string data may be left behind.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
using standin::Fault;

const char* const kTint = "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture";
const char* const kMask = "EmbeddedMaskVQZ(swap as boolean) as picture";
const char* const kMerge = "MergePictureVQZ(source1 as picture, source2 as picture) as picture";
const char* const kCombine = "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture";
const char* const kTransform =
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture";
const char* const kReplace = "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture";
const char* const kExtract =
    "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture";
const char* const kCountColor = "CountColorVQZ(col as color) as integer";
const char* const kCountColors =
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)";

// What an operation produced, as plain numbers; empty for its failure answer. Mask
// bytes are left out: a fallback picture may have them where the first choice has none.
using Outcome = std::vector<uint32_t>;

Outcome outcomeOf(const Ref& picture) {
    if (!picture) return {};
    const Snapshot s = snapshot(picture.get());
    Outcome o = {uint32_t(s.width), uint32_t(s.height)};
    o.insert(o.end(), s.rgb.begin(), s.rgb.end());
    return o;
}

// Writes back pixels taken with rawPixels (rows without their padding).
void restorePixels(void* pic, const std::vector<uint8_t>& pixels) {
    const int w = standin::pictureWidth(pic), h = standin::pictureHeight(pic);
    const size_t rowLength = size_t(w) * size_t(standin::bytesPerPixel(pic));
    for (int y = 0; y < h; ++y)
        std::copy_n(pixels.begin() + ptrdiff_t(rowLength * size_t(y)), rowLength, standin::pixelAddress(pic, 0, y));
}

class ColorFailures : public PluginFormatTest {
protected:
    struct Operation {
        std::string name;
        std::function<Outcome()> run;
        // False where a fallback legitimately differs: the mask getter reading a copy,
        // which carries no mask bytes over.
        bool sameOnEveryPath = true;
    };

    // Whether the setter changes pictures of this format: 32-bit pixels read in place.
    bool maskWritable() const { return format().code() == 13 || format().code() == 8; }

    // The operations on pictures `a` and `b` (same size) and a lookup table block.
    std::vector<Operation> operations(void* a, void* b, void* table) {
        return {
            {"tint",
             [=] {
                 return outcomeOf(
                     callGlobalPicture(kTint, {Value::picture(a), Value::color(0x555555), Value::color(0xFF8000)}));
             }},
            {"mask getter", [=] { return outcomeOf(callPicture(kMask, a, {Value::boolean(true)})); }, false},
            {"mask setter",
             [=] {  // its failure answer is an unchanged picture
                 const std::vector<uint8_t> before = rawPixels(a);
                 callSetter("Picture", kMask, a, {Value::boolean(false)}, Value::picture(b));
                 return rawPixels(a) == before ? Outcome{} : Outcome(before.begin(), before.end());
             }},
            {"merge",
             [=] {
                 return outcomeOf(callGlobalPicture(kMerge, {Value::picture(a), Value::picture(b)}));
             }},
            {"combine",
             [=] {
                 return outcomeOf(
                     callGlobalPicture(kCombine, {Value::picture(a), Value::picture(b), Value::picture(a)}));
             }},
            {"transform",
             [=] {
                 return outcomeOf(
                     callPicture(kTransform, a, {Value::block(table), Value::block(table), Value::block(table)}));
             }},
            {"transform into b",
             [=] {
                 return outcomeOf(
                     callPicture(kTransform, a,
                                 {Value::block(table), Value::block(table), Value::block(table), Value::picture(b)}));
             }},
            {"replace",
             [=] {
                 return outcomeOf(callPicture(kReplace, a, {Value::color(0x102030), Value::color(0xFFFFFF)}));
             }},
            {"extract",
             [=] {
                 return outcomeOf(callPicture(kExtract, a, {Value::color(0x102030), Value::color(1), Value::color(2)}));
             }},
            {"count color",
             [=] {
                 const int32_t n = callInt(kCountColor, a, {Value::color(standin::getRGB(a, 2, 2))});
                 return n == 0 ? Outcome{} : Outcome{uint32_t(n)};
             }},
            {"count colors",
             [=] {
                 Ref blocks[3] = {makeBlock(1024), makeBlock(1024), makeBlock(1024)};
                 std::vector<Value> args = {Value::block(blocks[0].get()), Value::block(blocks[1].get()),
                                            Value::block(blocks[2].get()), Value::integer(0)};
                 callMethodRef("Picture", kCountColors, a, args);
                 if (args[3].i == -1) return Outcome{};
                 Outcome o = {uint32_t(args[3].i)};
                 for (const Ref& block : blocks)
                     o.insert(o.end(), standin::memoryBlockData(block.get()),
                              standin::memoryBlockData(block.get()) + 1024);
                 return o;
             }},
        };
    }

    // Live objects and the reference counts of the test's own objects, which a
    // failing path must leave as they were.
    std::vector<int> holdings(const std::vector<void*>& objects) {
        const standin::Ledger l = standin::ledger();
        std::vector<int> h = {l.liveObjects, l.descriptionLocks, l.pixelLocks, l.stringData, int(l.errors.size())};
        for (void* o : objects) h.push_back(standin::refCount(o));
        return h;
    }
};

TEST_P(ColorFailures, EachHostFaultGivesTheFailureAnswerOrTheSameResult) {
    Ref a = picture(6, 5), b = picture(6, 5), table = makeBlock(256);
    fillRandom(a.get(), 1);
    fillRandom(b.get(), 2);
    standin::setRGB(a.get(), 2, 2, 0x102030);
    for (int i = 0; i < 256; ++i) standin::memoryBlockData(table.get())[i] = uint8_t(255 - i);
    const std::vector<void*> mine = {a.get(), b.get(), table.get()};
    const std::vector<uint8_t> pixelsA = rawPixels(a.get()), pixelsB = rawPixels(b.get());

    // The setter and a transform into b change a picture: put both back after each run.
    auto restore = [&] {
        restorePixels(a.get(), pixelsA);
        restorePixels(b.get(), pixelsB);
    };
    for (const Operation& op : operations(a.get(), b.get(), table.get())) {
        for (Fault kind :
             {Fault::PictureCreation, Fault::DescriptionLock, Fault::PixelLock, Fault::MemoryBlockCreation}) {
            const int before = standin::occurrences(kind);
            const Outcome expected = op.run();
            restore();
            if (op.name != "mask setter" || maskWritable()) {
                ASSERT_FALSE(expected.empty()) << op.name << " fails without a fault";
            }
            const int uses = standin::occurrences(kind) - before;
            const std::vector<int> held = holdings(mine);
            for (int n = 1; n <= uses; ++n) {
                SCOPED_TRACE(::testing::Message() << op.name << ", fault " << int(kind) << " at use " << n);
                standin::failNth(kind, n);
                const Outcome got = op.run();
                standin::failNth(kind, 0);
                restore();
                if (!got.empty() && op.sameOnEveryPath) {
                    EXPECT_EQ(got, expected);
                }
                EXPECT_EQ(holdings(mine), held);
            }
        }
    }
}

TEST_P(ColorFailures, NilArgumentsGiveTheFailureAnswer) {
    Ref p = picture(3, 2), table = makeBlock(256);
    fillRandom(p.get(), 3);
    const std::vector<uint8_t> pixels = rawPixels(p.get());
    void* nil = nullptr;
    EXPECT_FALSE(callGlobalPicture(kTint, {Value::nil(), Value::color(0xFFFFFF), Value::color(0xFFFFFF)}));
    EXPECT_FALSE(callPicture(kMask, nil, {Value::boolean(false)}));
    callSetter("Picture", kMask, p.get(), {Value::boolean(false)}, Value::nil());
    callSetter("Picture", kMask, nil, {Value::boolean(false)}, Value::picture(p.get()));
    EXPECT_EQ(rawPixels(p.get()), pixels);
    EXPECT_FALSE(callBool("HasMaskVQZ as boolean", nil));
    EXPECT_FALSE(callGlobalPicture(kMerge, {Value::nil(), Value::picture(p.get())}));
    EXPECT_FALSE(callGlobalPicture(kMerge, {Value::picture(p.get()), Value::nil()}));
    for (int missing = 0; missing < 3; ++missing) {
        std::vector<Value> args;
        for (int i = 0; i < 3; ++i) args.push_back(i == missing ? Value::nil() : Value::picture(p.get()));
        EXPECT_FALSE(callGlobalPicture(kCombine, args)) << "argument " << missing << " nil";
    }
    EXPECT_FALSE(callPicture(kReplace, nil, {Value::color(0), Value::color(0)}));
    EXPECT_FALSE(callPicture(kExtract, nil, {Value::color(0), Value::color(0), Value::color(0)}));
    EXPECT_EQ(callInt(kCountColor, nil, {Value::color(0)}), 0);
    std::vector<Value> args = {Value::nil(), Value::nil(), Value::nil(), Value::integer(7)};
    callMethodRef("Picture", kCountColors, nil, args);
    EXPECT_EQ(args[3].i, -1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(standin::memoryBlockSize(args[size_t(i)].ref.get()), 1024) << "block " << i;
}

// A writer holds at most 32767 pixels each way: a wider source gives the failure
// answer, one of exactly that width a result.
TEST_P(ColorFailures, WriterSizeLimits) {
    Ref table = makeBlock(256);
    for (int width : {32767, 32768}) {
        SCOPED_TRACE(::testing::Message() << "width " << width);
        Ref p = picture(width, 1);
        void* a = p.get();
        const bool fits = width <= 32767;
        EXPECT_EQ(bool(callGlobalPicture(kTint, {Value::picture(a), Value::color(0xFFFFFF), Value::color(0xFFFFFF)})),
                  fits);
        EXPECT_EQ(bool(callPicture(kMask, a, {Value::boolean(false)})), fits);
        EXPECT_EQ(bool(callGlobalPicture(kMerge, {Value::picture(a), Value::picture(a)})), fits);
        EXPECT_EQ(bool(callGlobalPicture(kCombine, {Value::picture(a), Value::picture(a), Value::picture(a)})), fits);
        EXPECT_EQ(bool(callPicture(kTransform, a,
                                   {Value::block(table.get()), Value::block(table.get()), Value::block(table.get())})),
                  fits);
        EXPECT_EQ(bool(callPicture(kReplace, a, {Value::color(0), Value::color(0)})), fits);
        EXPECT_EQ(bool(callPicture(kExtract, a, {Value::color(0), Value::color(0), Value::color(0)})), fits);
    }
}

VQZ_ALL_FORMATS(ColorFailures);

}  // namespace
