// Mapping every pixel of a picture through three per-channel tables of 256 bytes:
// the shared pixel pass of the tone maps and of the MemoryBlock lookup tables.
#pragma once

#include <cstdint>

#include "picture/editor.h"

struct ChannelTables {
    uint8_t red[256];
    uint8_t green[256];
    uint8_t blue[256];
};

// Writes red[R], green[G], blue[B] for every pixel of the reader into the same place
// of the writer (the writer's own pixels beyond the reader's size are left alone).
void MapThroughTables(PictureReader& reader, PictureWriter& writer, const ChannelTables& tables);
