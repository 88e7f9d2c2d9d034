// The color operations given nil arguments or pictures too large for a writer: each
// gives its failure answer and leaves nothing behind. Failing host objects and locks
// are swept over every operation by the reliability tests.
#include <vector>

#include "tests/ops/color_test_support.h"

namespace {

using namespace vqztest;
using namespace colortest;

class ColorFailures : public PluginFormatTest {};

TEST_P(ColorFailures, NilArgumentsGiveTheFailureAnswer) {
    Ref p = randomPicture(3, 2, 3);
    const std::vector<uint8_t> pixels = rawPixels(p.get());
    void* nil = nullptr;
    const Value pic = Value::picture(p.get());
    EXPECT_FALSE(callGlobalPicture(kTint, {Value::nil(), Value::color(0xFFFFFF), Value::color(0xFFFFFF)}));
    EXPECT_FALSE(callPicture(kMask, nil, {Value::boolean(false)}));
    callSetter("Picture", kMask, p.get(), {Value::boolean(false)}, Value::nil());
    callSetter("Picture", kMask, nil, {Value::boolean(false)}, pic);
    EXPECT_EQ(rawPixels(p.get()), pixels);
    EXPECT_FALSE(callBool(kHasMask, nil));
    EXPECT_FALSE(callGlobalPicture(kMerge, {Value::nil(), pic}));
    EXPECT_FALSE(callGlobalPicture(kMerge, {pic, Value::nil()}));
    for (int missing = 0; missing < 3; ++missing) {
        std::vector<Value> args(3, pic);
        args[size_t(missing)] = Value::nil();
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
    const Value t = Value::block(table.get());
    for (int width : {32767, 32768}) {
        Ref p = picture(width, 1);
        void* a = p.get();
        const Value pic = Value::picture(a);
        const Ref results[] = {
            callGlobalPicture(kTint, {pic, Value::color(0xFFFFFF), Value::color(0xFFFFFF)}),
            callPicture(kMask, a, {Value::boolean(false)}),
            callGlobalPicture(kMerge, {pic, pic}),
            callGlobalPicture(kCombine, {pic, pic, pic}),
            callPicture(kTransform, a, {t, t, t}),
            callPicture(kReplace, a, {Value::color(0), Value::color(0)}),
            callPicture(kExtract, a, {Value::color(0), Value::color(0), Value::color(0)}),
        };
        for (const Ref& r : results) EXPECT_EQ(bool(r), width <= 32767) << "width " << width << ", call " << &r - results;
    }
}

VQZ_ALL_FORMATS(ColorFailures);

}  // namespace
