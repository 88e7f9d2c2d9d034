// The two filter classes, driven as a host program drives them: make an instance,
// set its properties, call Run, read DestinationPicture.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "tools/session.h"

namespace vqz {

// MinX, MinY, MaxX, MaxY of either class (all 0: the whole picture).
struct ClassBounds {
    int minX = 0, minY = 0, maxX = 0, maxY = 0;
};

// PictureLut3DVQZ with `lattice` (see classLattice) on `source`. A Run that
// answers false or leaves no picture is a ToolError with status 2.
Ref runLutClass(Session& session, void* source, const std::vector<double>& lattice, const ClassBounds& bounds);

struct SepiaSettings {
    std::optional<std::array<double, 3>> weights;  // red, green, blue; unset: the class's own
    std::array<int, 3> offsets{{0, 0, 0}};         // SepiaRed, SepiaGreen, SepiaBlue
    ClassBounds bounds;
};
Ref runSepiaClass(Session& session, void* source, const SepiaSettings& settings);

}  // namespace vqz
