// Channel replacement: a new picture with the receiver's colors, except one channel
// that comes from the same place of another picture (its top-left part when larger).
#include <cstdint>

#include "picture/pixel_words.h"
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/operations.h"

namespace {

enum class Channel { Red, Green, Blue };

template <Channel which, class Keep, class Take, class Out>
void ReplaceRows(PictureReader& receiver, PictureReader& channel, PictureWriter& writer) {
    const int32_t width = receiver.width;
    const int32_t height = receiver.height;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* keep = receiver.row;
        const uint8_t* take = channel.row;
        uint8_t* target = writer.row;
        for (int32_t x = 0; x < width; ++x) {
            pixel::Channels c = pixel::LoadChannels<Keep>(keep + ptrdiff_t(x) * Keep::bytes);
            const pixel::Channels from = pixel::LoadChannels<Take>(take + ptrdiff_t(x) * Take::bytes);
            if constexpr (which == Channel::Red) c.r = from.r;
            if constexpr (which == Channel::Green) c.g = from.g;
            if constexpr (which == Channel::Blue) c.b = from.b;
            pixel::StoreChannels<Out>(target + ptrdiff_t(x) * Out::bytes, c);
        }
        writer.AddPixelRow();
        receiver.AddPixelRow();
        channel.AddPixelRow();
    }
}

template <Channel which>
REALpictureStruct* ReplaceChannel(REALpictureStruct* picture, REALpictureStruct* channelPicture) {
    if (!channelPicture) {
        RaiseException("NilObjectException", "The channel picture is nil.", 0x600);
        return nullptr;
    }
    PictureReader receiver;
    PictureReader channel;
    PictureWriter writer;
    if (!receiver.GetPictureReader(picture)) return nullptr;
    if (!channel.GetPictureReader(channelPicture)) return nullptr;
    if (channel.height < receiver.height || channel.width < receiver.width) return nullptr;
    if (!writer.NewPictureWriter(receiver.width, receiver.height)) return nullptr;
    DispatchFormat(receiver.pixelType, [&](auto keep) {
        DispatchFormats(channel.pixelType, writer.pixelType, [&](auto take, auto out) {
            ReplaceRows<which, decltype(keep), decltype(take), decltype(out)>(receiver, channel, writer);
        });
    });
    REALpictureStruct* result = writer.RenderPictureWriter();
    receiver.clear();
    channel.clear();
    return result;
}

}  // namespace

REALpictureStruct* ReplaceRedChannel(REALpictureStruct* picture, REALpictureStruct* channel) {
    return ReplaceChannel<Channel::Red>(picture, channel);
}

REALpictureStruct* ReplaceGreenChannel(REALpictureStruct* picture, REALpictureStruct* channel) {
    return ReplaceChannel<Channel::Green>(picture, channel);
}

REALpictureStruct* ReplaceBlueChannel(REALpictureStruct* picture, REALpictureStruct* channel) {
    return ReplaceChannel<Channel::Blue>(picture, channel);
}
