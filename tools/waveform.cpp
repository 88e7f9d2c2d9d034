#include "tools/waveform.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "tools/errors.h"

namespace vqz {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

}  // namespace

Ref renderWaveform(Session& session, const SampleBlock& samples, const WaveformSettings& settings) {
    Callable render = session.only("", "RenderSamplesVQZ");
    Ref block = Ref::adopt(standin::newMemoryBlock(int32_t(samples.bytes.size())));
    if (!block) throw ToolError("the host cannot make a MemoryBlock of " + std::to_string(samples.bytes.size()) + " bytes");
    if (!samples.bytes.empty())
        std::copy(samples.bytes.begin(), samples.bytes.end(), standin::memoryBlockData(block.get()));

    std::map<std::string, Value> given;
    given["samples"] = Value::block(block.get());
    given["samplecount"] = Value::integer(samples.count);
    given["smooth"] = Value::integer(settings.smooth);
    given["width"] = Value::integer(settings.width);
    given["height"] = Value::integer(settings.height);
    given["outlinewidth"] = Value::integer(settings.outline);
    given["bits"] = Value::integer(samples.bits);
    given["autoscale"] = Value::boolean(settings.autoscale);
    if (settings.colors) {
        given["backcolor"] = Value::color((*settings.colors)[0]);
        given["forecolor"] = Value::color((*settings.colors)[1]);
        given["outlinecolor"] = Value::color((*settings.colors)[2]);
    }
    std::vector<Value> args;
    for (const standin::Param& p : render.declaration.params) {
        auto it = given.find(lower(p.name));
        if (it != given.end()) {
            args.push_back(it->second);
        } else if (auto d = standin::defaultValue(p)) {
            args.push_back(std::move(*d));
        } else {
            throw ToolError("RenderSamplesVQZ has a parameter the tool does not know: " + p.name);
        }
    }
    Value result = session.call(render, nullptr, args);
    if (result.type != TypeName::Picture || result.isNil())
        throw ToolError("RenderSamplesVQZ returned nil: the plugin made no picture (" + render.declarationText + ")",
                        kExitNil);
    return result.ref;
}

}  // namespace vqz
