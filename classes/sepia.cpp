// The class PictureSepiaVQZ: every pixel becomes a weighted gray, and each channel
// of the result is that gray plus the channel's own offset.
#include <cmath>
#include <cstddef>

#include "classes/filter_class.h"
#include "classes/sepia_kernel.h"
#include "picture/editor.h"
#include "plugin/host_api.h"
#include "plugin/registration.h"

// Eight-byte aligned so that the weights keep their alignment on every target
// (the 64 bytes of the record on i386 include the padding after SepiaBlue).
struct alignas(8) PictureSepiaClassData {
    double weight[3];  // red, green, blue
    REALpictureStruct* SourcePicture;
    REALpictureStruct* DestinationPicture;
    int32_t MinX;
    int32_t MinY;
    int32_t MaxX;
    int32_t MaxY;
    int32_t SepiaRed;
    int32_t SepiaGreen;
    int32_t SepiaBlue;
};

static PictureSepiaClassData* DataOf(REALobjectStruct* instance) {
    return InstanceData<PictureSepiaClassData>(instance, PictureSepiaClass);
}

// The luma weights; every other field starts cleared by the host.
static void PictureSepiaClassConstructor(REALobjectStruct* instance) {
    if (!instance) return;
    PictureSepiaClassData* data = DataOf(instance);
    data->weight[0] = 0.299;
    data->weight[1] = 0.587;
    data->weight[2] = 0.114;
}

// Also the method Close; a second call finds both fields nil and does nothing.
static void PictureSepiaClassDestructor(REALobjectStruct* instance) {
    if (!instance) return;
    PictureSepiaClassData* data = DataOf(instance);
    ReleasePictureField(data->SourcePicture);
    ReleasePictureField(data->DestinationPicture);
}

static double GetWeight(REALobjectStruct* instance, int channel) {
    return instance ? DataOf(instance)->weight[channel] : 0.0;
}

static void SetWeight(REALobjectStruct* instance, int channel, double value) {
    if (instance) DataOf(instance)->weight[channel] = value;
}

// The accessor parameter of the property record is 0 and unused.
static double GetFactorR(REALobjectStruct* instance, intptr_t) { return GetWeight(instance, 0); }
static double GetFactorG(REALobjectStruct* instance, intptr_t) { return GetWeight(instance, 1); }
static double GetFactorB(REALobjectStruct* instance, intptr_t) { return GetWeight(instance, 2); }
static void SetFactorR(REALobjectStruct* instance, intptr_t, double value) { SetWeight(instance, 0, value); }
static void SetFactorG(REALobjectStruct* instance, intptr_t, double value) { SetWeight(instance, 1, value); }
static void SetFactorB(REALobjectStruct* instance, intptr_t, double value) { SetWeight(instance, 2, value); }

// A weight in 1/1024 steps, truncated toward zero. Weights whose steps do not fit
// 32 bits (and NaN, which has no value) are settled here: NaN counts as 0 and the
// rest is held at the 32-bit limits, so the conversion is always defined. The gray
// sum itself is formed in 64 bits (see sepia_kernel.h), so no weight overflows it.
static int32_t WeightSteps(double weight) {
    const double steps = weight * 1024.0;
    if (std::isnan(steps)) return 0;
    if (steps >= 2147483647.0) return INT32_MAX;
    if (steps <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(steps);
}

static signed char Run(REALobjectStruct* instance) {
    if (!instance) return 0;
    PictureSepiaClassData* data = DataOf(instance);
    if (!data->SourcePicture) return 0;

    // A failing Run keeps the previous destination.
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(data->SourcePicture)) return 0;
    if (!writer.NewPictureWriter(reader.width, reader.height)) return 0;
    const FilterBlock block = BlockOf(data->MinX, data->MinY, data->MaxX, data->MaxY, reader.width, reader.height);
    const SepiaTone tone{{WeightSteps(data->weight[0]), WeightSteps(data->weight[1]), WeightSteps(data->weight[2])},
                         {data->SepiaRed, data->SepiaGreen, data->SepiaBlue}};
    ToneSepiaBlock(reader, writer, block, tone);
    REALpictureStruct* result = writer.RenderPictureWriter();
    ReleasePictureField(data->DestinationPicture);
    data->DestinationPicture = result;
    return 1;
}

#define FN(function) reinterpret_cast<REALproc>(function)
#define DIRECT reinterpret_cast<REALproc>(kDirectAccess)

static REALproperty SepiaProperties[] = {
    {nullptr, "SourcePicture", "Picture", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, SourcePicture), 0, 0, 0},
    {nullptr, "DestinationPicture", "Picture", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, DestinationPicture), 0, 0, 0},
    {nullptr, "MaxX", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, MaxX), 0, 0, 0},
    {nullptr, "MinX", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, MinX), 0, 0, 0},
    {nullptr, "MaxY", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, MaxY), 0, 0, 0},
    {nullptr, "MinY", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, MinY), 0, 0, 0},
    {nullptr, "SepiaRed", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, SepiaRed), 0, 0, 0},
    {nullptr, "SepiaGreen", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, SepiaGreen), 0, 0, 0},
    {nullptr, "SepiaBlue", "Integer", 0, DIRECT, DIRECT, offsetof(PictureSepiaClassData, SepiaBlue), 0, 0, 0},
    // The host program sees these two crossed: FactorBlue is the green weight and
    // FactorGreen the blue one.
    {nullptr, "FactorRed", "Double", 0, FN(GetFactorR), FN(SetFactorR), 0, 0, 0, 0},
    {nullptr, "FactorBlue", "Double", 0, FN(GetFactorG), FN(SetFactorG), 0, 0, 0, 0},
    {nullptr, "FactorGreen", "Double", 0, FN(GetFactorB), FN(SetFactorB), 0, 0, 0, 0},
};

static REALmethodDefinition SepiaMethods[] = {
    {FN(PictureSepiaClassDestructor), nullptr, "Close", 0},
    {FN(Run), nullptr, "Run as boolean", 0},
};

REALclassDefinition PictureSepiaClass = {
    9, "PictureSepiaVQZ", nullptr, sizeof(PictureSepiaClassData), 0,
    FN(PictureSepiaClassConstructor), FN(PictureSepiaClassDestructor),
    SepiaProperties, sizeof SepiaProperties / sizeof SepiaProperties[0],
    SepiaMethods, sizeof SepiaMethods / sizeof SepiaMethods[0],
    {0, 0, 0, 0, 0, 0, 0, 0, 0},
    0, nullptr, 0, nullptr, 0,
};

static_assert(sizeof SepiaProperties / sizeof SepiaProperties[0] == 12, "twelve properties");
static_assert(sizeof SepiaMethods / sizeof SepiaMethods[0] == 2, "two methods");
#if defined(__i386__)
static_assert(sizeof(PictureSepiaClassData) == 64, "i386 instance data size");
static_assert(offsetof(PictureSepiaClassData, SourcePicture) == 24 &&
                  offsetof(PictureSepiaClassData, DestinationPicture) == 28 &&
                  offsetof(PictureSepiaClassData, MinX) == 32 && offsetof(PictureSepiaClassData, MinY) == 36 &&
                  offsetof(PictureSepiaClassData, MaxX) == 40 && offsetof(PictureSepiaClassData, MaxY) == 44 &&
                  offsetof(PictureSepiaClassData, SepiaRed) == 48 &&
                  offsetof(PictureSepiaClassData, SepiaGreen) == 52 &&
                  offsetof(PictureSepiaClassData, SepiaBlue) == 56,
              "i386 instance data offsets");
#endif
