// The embedded mask bytes of a picture as a gray picture (getter), written back from
// a gray picture (setter), and whether the host keeps a separate mask picture.
#include <cstddef>
#include <type_traits>

#include "ops/color/color_kernels.h"
#include "ops/color/color_rows.h"
#include "picture/pixel_loop.h"
#include "plugin/host_api.h"
#include "plugin/operations.h"

void MaskToGray(PictureReader& reader, PictureWriter& writer, bool swap) {
    const uint8_t flip = swap ? 255 : 0;
    const int32_t width = reader.width;
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
        WalkRows(reader, writer, [&](const uint8_t* source, uint8_t* target) {
            for (int32_t x = 0; x < width; ++x) {
                const uint8_t v = static_cast<uint8_t>(In::mask(source + static_cast<ptrdiff_t>(x) * In::bytes) ^ flip);
                if constexpr (Out::bytes == 4)
                    pixel::Word<Out>::store(target + static_cast<ptrdiff_t>(x) * 4, pixel::Word<Out>::pack(v, v, v));
                else
                    Out::store(target + static_cast<ptrdiff_t>(x) * Out::bytes, RGB{v, v, v});
            }
        });
    });
}

// Writes the mask's red values into the picture's mask bytes where both pictures
// have pixels: a mask smaller than the picture leaves the rest of the picture's mask
// bytes as they are, and nothing outside either buffer is touched. A 24-bit picture
// has no mask byte and is left unchanged. In a console bitmap the value is stored so
// that the getter reads it back (to the nearest value the 7-bit byte can hold).
void GrayToMask(PictureEditor& picture, PictureEditor& mask, bool swap) {
    const uint8_t flip = swap ? 255 : 0;
    const int32_t width = picture.width < mask.width ? picture.width : mask.width;
    const int32_t height = picture.height < mask.height ? picture.height : mask.height;
    DispatchFormats(picture.pixelType, mask.pixelType, [&](auto target, auto source) {
        using Target = decltype(target);
        using Source = decltype(source);
        if constexpr (!std::is_same_v<Target, Code12>) {
            for (int32_t y = 0; y < height; ++y) {
                uint8_t* pixels = picture.GetRow(y);
                const uint8_t* values = mask.GetRow(y);
                for (int32_t x = 0; x < width; ++x) {
                    const uint8_t red = Source::load(values + static_cast<ptrdiff_t>(x) * Source::bytes).r;
                    Target::setMask(pixels + static_cast<ptrdiff_t>(x) * Target::bytes,
                                    static_cast<uint8_t>(red ^ flip));
                }
            }
        }
    });
}

REALpictureStruct* GetEmbededMask(REALpictureStruct* picture, signed char swap) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader.width, reader.height)) return nullptr;
    MaskToGray(reader, writer, swap != 0);
    return writer.RenderPictureWriter();
}

void SetEmbededMask(REALpictureStruct* picture, signed char swap, REALpictureStruct* mask) {
    if (!mask) return;
    PictureReader target;
    PictureReader values;
    if (!target.GetPictureReader(picture)) return;
    if (!values.GetPictureReader(mask)) return;
    // A picture read through a private copy would only have the copy changed.
    if (target.picture != picture) return;
    GrayToMask(target, values, swap != 0);
}

signed char PictureHasMask(REALpictureStruct* picture) {
    if (!picture) return 0;
    REALpictureStruct* mask = REALGetPictureMask(picture, 0);
    if (!mask) return 0;
    REALUnlockObject(AsObject(mask));
    return 1;
}
