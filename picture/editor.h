// Pixel buffers: a host picture locked and exposed row by row in its own pixel
// format (see pixel_formats.h). A reader opens an existing picture; a writer
// creates (or takes) a picture to write and hands it back to the host.
#pragma once

#include "plugin/abi.h"

class PictureEditor {
public:
    PictureEditor() = default;
    virtual ~PictureEditor();
    PictureEditor(const PictureEditor&) = delete;
    PictureEditor& operator=(const PictureEditor&) = delete;

    bool GetPictureEditor(REALpictureStruct* pic, signed char read, signed char write);
    // Opens for changing the pixels in place.
    bool GetPictureEditor(REALpictureStruct* pic) { return GetPictureEditor(pic, 1, 1); }

    void AddPixelRow();
    uint8_t* GetRow(int y);
    REALpictureStruct* RenderPictureWriter();
    void clear();
    bool isOpen() const { return picture != nullptr; }

    int32_t rowBytes = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t bytesPerPixel = 0;
    int32_t pixelType = 0;
    uint8_t* row = nullptr;
    REALpictureDescription description = {};
    uint8_t* base = nullptr;
    int32_t rowIndex = 0;
    REALpictureStruct* picture = nullptr;
    PixMapHandle pixMap = nullptr;
    uint8_t** rowTable = nullptr;
    uint8_t clearCacheOnRelease = 0;
    uint8_t descriptionLocked = 0;

protected:
    // `copyDepth` counts the copies made on the way here: a copy is opened with the
    // same routine, and a host whose copies again need copying must not recurse.
    bool Open(REALpictureStruct* pic, signed char read, signed char write, int copyDepth);

private:
    bool OpenGWorld(REALpictureStruct* pic, signed char read, signed char write, int copyDepth);
    bool OpenCopy(REALpictureStruct* copy, signed char read, int copyDepth);
    bool OpenBitmap(REALpictureStruct* pic);
};

class PictureReader : public PictureEditor {
public:
    bool GetPictureReader(REALpictureStruct* pic) { return GetPictureEditor(pic, 1, 0); }
};

class PictureWriter : public PictureEditor {
public:
    bool NewPictureWriter(int width, int height);
    bool NewPictureWriter(PictureReader& reader) { return NewPictureWriter(reader.width, reader.height); }
    // Writes into `pic` itself when it is at least width x height and can be opened.
    bool NewPictureWriter(REALpictureStruct* pic, int width, int height);
};

// Which kind of application the host is, found on first need and never cleared.
extern uint8_t IsConsole;
extern uint8_t IsDesktop;

constexpr int kMaxWriterSize = 32767;
