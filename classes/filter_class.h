// What the two filter classes share: finding an instance's data, and the block of
// rows and columns that Run maps.
#pragma once

#include <algorithm>
#include <cstdint>

#include "plugin/abi.h"
#include "plugin/host_api.h"

// The instance data lies at the offset that the host wrote into word 4 of the class
// definition when it registered the class.
template <class Data>
Data* InstanceData(REALobjectStruct* instance, const REALclassDefinition& definition) {
    return reinterpret_cast<Data*>(reinterpret_cast<char*>(instance) + definition.forSystemUse);
}

// The mapped block always starts at the top-left corner; its size comes from the
// four bounds. A right or bottom bound counts only when it lies above the left or
// top bound and inside the picture; otherwise the picture's edge is the bound.
struct FilterBlock {
    int32_t columns;  // pixels mapped in each row, from column 0
    int32_t rows;     // rows mapped, from row 0
};

inline FilterBlock BlockOf(int32_t minX, int32_t minY, int32_t maxX, int32_t maxY, int32_t width, int32_t height) {
    const int64_t xEnd = maxX > minX && maxX < width ? maxX : width;
    const int64_t yEnd = maxY > minY && maxY < height ? maxY : height;
    // A negative left or top bound lengthens the block past the picture. Columns
    // beyond the row would run off the row (and off the buffer), so the count stops
    // at the row's end. Rows beyond the last would start again at row 0 and map the
    // same source rows into the same places once more, so stopping at the last row
    // gives the same picture without the repeated work.
    const int64_t columns = std::min<int64_t>(xEnd - minX, width);
    const int64_t rows = std::min<int64_t>(yEnd - minY, height);
    return FilterBlock{columns > 0 ? static_cast<int32_t>(columns) : 0, rows > 0 ? static_cast<int32_t>(rows) : 0};
}

// Drops the instance's reference to a picture field and clears it.
inline void ReleasePictureField(REALpictureStruct*& field) {
    if (!field) return;
    REALUnlockObject(AsObject(field));
    field = nullptr;
}
