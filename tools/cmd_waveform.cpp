// vqz waveform: an audio file drawn by RenderSamplesVQZ.
#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/image_io.h"
#include "tools/waveform.h"

namespace vqz {

int runWaveform(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("waveform", args,
                                  {{"--width", nullptr, true},
                                   {"--height", nullptr, true},
                                   {"--smooth", nullptr, true},
                                   {"--outline", nullptr, true},
                                   {"--colors", nullptr, true},
                                   {"--autoscale", nullptr, false}},
                                  globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 2) usageError("waveform", "AUDIO and OUT are needed");
    WaveformSettings settings;
    if (parsed.has("--width")) settings.width = parseIntOption("--width", parsed.get("--width"), 0, 32767);
    if (parsed.has("--height")) settings.height = parseIntOption("--height", parsed.get("--height"), 0, 32767);
    if (parsed.has("--smooth")) settings.smooth = parseIntOption("--smooth", parsed.get("--smooth"), INT32_MIN, INT32_MAX);
    if (parsed.has("--outline"))
        settings.outline = parseIntOption("--outline", parsed.get("--outline"), INT32_MIN, INT32_MAX);
    if (parsed.has("--colors")) {
        std::string text = parsed.get("--colors");
        std::vector<std::string> parts;
        size_t start = 0;
        for (size_t comma; (comma = text.find(',', start)) != std::string::npos; start = comma + 1)
            parts.push_back(text.substr(start, comma - start));
        parts.push_back(text.substr(start));
        if (parts.size() != 3) throw ToolError("--colors: give three colors, BACK,FORE,OUTLINE");
        settings.colors = std::array<uint32_t, 3>{{parseColorOption("--colors", parts[0]),
                                                   parseColorOption("--colors", parts[1]),
                                                   parseColorOption("--colors", parts[2])}};
    }
    settings.autoscale = parsed.has("--autoscale");
    outputFormat(pos[1]);
    SampleBlock samples = readAudio(pos[0]);
    Session session(globals);
    Ref picture = renderWaveform(session, samples, settings);
    session.savePicture(picture.get(), pos[1]);
    return kExitOk;
}

}  // namespace vqz
