// RenderSamplesVQZ on a sample block, with its arguments found by name in the
// registered declaration (the declaration's defaults fill what is not given).
#pragma once

#include <array>
#include <optional>

#include "tools/audio_io.h"
#include "tools/session.h"

namespace vqz {

struct WaveformSettings {
    int width = 800;
    int height = 200;
    int smooth = 1;
    int outline = 1;
    std::optional<std::array<uint32_t, 3>> colors;  // background, bars, outline
    bool autoscale = false;
};

// The rendered picture; a nil result is a ToolError with status 2.
Ref renderWaveform(Session& session, const SampleBlock& samples, const WaveformSettings& settings);

}  // namespace vqz
