// The class PictureLut3DVQZ: a lattice of 18 x 18 x 18 output colors, bounds and two
// pictures as instance data; Run maps the source picture through the lattice by
// tetrahedral interpolation into a new destination picture.
#include "classes/lut3d.h"

#include <cstddef>

#include "plugin/host_api.h"
#include "plugin/registration.h"

static Lut3DClassData* DataOf(REALobjectStruct* instance) {
    return InstanceData<Lut3DClassData>(instance, Lut3DClass);
}

// The host hands over cleared instance data: no pictures, bounds 0, every node 0.0.
static void Lut3DClassConstructor(REALobjectStruct*) {}

// Also the method Close; a second call finds both fields nil and does nothing.
static void Lut3DClassDestructor(REALobjectStruct* instance) {
    if (!instance) return;
    Lut3DClassData* data = DataOf(instance);
    ReleasePictureField(data->SourcePicture);
    ReleasePictureField(data->DestinationPicture);
}

// Indices are unsigned, so a negative number from the host is simply too large.
static bool InTable(uint32_t r, uint32_t g, uint32_t b, uint32_t x) {
    return r < kLutStoredNodes && g < kLutStoredNodes && b < kLutStoredNodes && x < 3;
}

static double GetPMX(REALobjectStruct* instance, uint32_t r, uint32_t g, uint32_t b, uint32_t x) {
    if (!instance || !InTable(r, g, b, x)) return 0.0;
    return DataOf(instance)->table[LutIndex(int(r), int(g), int(b), int(x))];
}

static void SetPMX(REALobjectStruct* instance, uint32_t r, uint32_t g, uint32_t b, uint32_t x, double value) {
    if (!instance || !InTable(r, g, b, x)) return;
    DataOf(instance)->table[LutIndex(int(r), int(g), int(b), int(x))] = value;
}

static signed char Run(REALobjectStruct* instance) {
    if (!instance) return 0;
    Lut3DClassData* data = DataOf(instance);
    // The old result goes first, so a failing Run leaves no destination.
    ReleasePictureField(data->DestinationPicture);
    if (!data->SourcePicture) return 0;

    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(data->SourcePicture)) return 0;
    if (!writer.NewPictureWriter(reader)) return 0;
    const FilterBlock block = BlockOf(data->MinX, data->MinY, data->MaxX, data->MaxY, reader.width, reader.height);
    // The only failure past this point is scratch memory for the mapping.
    if (!MapLut3DBlock(reader, writer, block, *data)) return 0;
    data->DestinationPicture = writer.RenderPictureWriter();
    return 1;
}

#define FN(function) reinterpret_cast<REALproc>(function)
#define DIRECT reinterpret_cast<REALproc>(kDirectAccess)

static REALproperty Lut3DProperties[] = {
    {nullptr, "SourcePicture", "Picture", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, SourcePicture), 0, 0, 0},
    {nullptr, "DestinationPicture", "Picture", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, DestinationPicture), 0, 0, 0},
    {nullptr, "MaxX", "Integer", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, MaxX), 0, 0, 0},
    {nullptr, "MinX", "Integer", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, MinX), 0, 0, 0},
    {nullptr, "MaxY", "Integer", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, MaxY), 0, 0, 0},
    {nullptr, "MinY", "Integer", kPluginConsoleSafe, DIRECT, DIRECT, offsetof(Lut3DClassData, MinY), 0, 0, 0},
};

static REALmethodDefinition Lut3DMethods[] = {
    {FN(Lut3DClassDestructor), nullptr, "Close", kPluginConsoleSafe},
    {FN(Run), nullptr, "Run as boolean", kPluginConsoleSafe},
    {FN(GetPMX), FN(SetPMX), "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double", kPluginConsoleSafe},
};

REALclassDefinition Lut3DClass = {
    9, "PictureLut3DVQZ", nullptr, sizeof(Lut3DClassData), 0,
    FN(Lut3DClassConstructor), FN(Lut3DClassDestructor),
    Lut3DProperties, sizeof Lut3DProperties / sizeof Lut3DProperties[0],
    Lut3DMethods, sizeof Lut3DMethods / sizeof Lut3DMethods[0],
    {0, 0, 0, 0, 0, 0, 0, 0, 0},
    kHostConsoleSafe, nullptr, 0, nullptr, 0,
};

static_assert(sizeof Lut3DProperties / sizeof Lut3DProperties[0] == 6, "six properties");
static_assert(sizeof Lut3DMethods / sizeof Lut3DMethods[0] == 3, "three methods");
#if defined(__i386__)
static_assert(sizeof(Lut3DClassData) == 139992, "i386 instance data size");
static_assert(offsetof(Lut3DClassData, SourcePicture) == 0 && offsetof(Lut3DClassData, DestinationPicture) == 4 &&
                  offsetof(Lut3DClassData, MinX) == 8 && offsetof(Lut3DClassData, MinY) == 12 &&
                  offsetof(Lut3DClassData, MaxX) == 16 && offsetof(Lut3DClassData, MaxY) == 20 &&
                  offsetof(Lut3DClassData, table) == 24,
              "i386 instance data offsets");
#endif
