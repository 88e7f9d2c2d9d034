#include "tools/session.h"

#include <cstdio>
#include <cstdlib>

#include "tools/errors.h"
#include "tools/files.h"
#include "tools/image_io.h"

namespace vqz {

namespace {

using GetPictureMask = REALpictureStruct* (*)(REALpictureStruct*, uint8_t);

}  // namespace

Session::Session(const GlobalOptions& options) : options_(options) {
    standin::HostConfig config;
    config.kind = options.host;
    config.version = options.hostVersion;
    config.hasVersion = options.hostHasVersion;
    std::string path = options.pluginPath.empty() ? standin::LoadedPlugin::defaultModulePath() : options.pluginPath;
    if (!fileExists(path)) throw ToolError(path + ": the plugin module does not exist (build it, or pass --plugin PATH)");
    plugin_ = std::make_unique<standin::LoadedPlugin>(config, path);
    if (!plugin_->ok()) throw ToolError(path + ": cannot load the plugin: " + plugin_->error());
}

Session::~Session() {
    standin::takeException();
    // Tests run the tool with VQZ_CHECK_LEDGER set: everything the tool and the
    // plugin took from the host must have been given back by now.
    if (std::getenv("VQZ_CHECK_LEDGER")) {
        standin::Ledger ledger = standin::ledger();
        if (!ledger.clean()) {
            std::fprintf(stderr, "vqz: host ledger not clean at exit:\n%s\n", ledger.detail.c_str());
            for (const std::string& e : ledger.errors) std::fprintf(stderr, "    %s\n", e.c_str());
        }
    }
    plugin_.reset();
}

Ref Session::newInputPicture(int width, int height) {
    void* p = options_.host == standin::AppKind::Desktop ? standin::newGWorldPicture(width, height, options_.depth)
                                                         : standin::newBitmapPicture(width, height);
    if (!p)
        throw ToolError("the host cannot make a picture of " + std::to_string(width) + "x" + std::to_string(height));
    return Ref::adopt(p);
}

Ref Session::pictureFromImage(const Image& image) {
    Ref pic = newInputPicture(image.width, image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) standin::setRGB(pic.get(), x, y, image.rgb(x, y));
    if (image.hasAlpha) {
        Ref mask = newInputPicture(image.width, image.height);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                uint32_t v = 255u - image.alpha(x, y);
                standin::setRGB(mask.get(), x, y, v << 16 | v << 8 | v);
            }
        standin::setMask(pic.get(), mask.get());
    }
    return pic;
}

Ref Session::loadPicture(const std::string& path) { return pictureFromImage(readImage(path)); }

Ref Session::maskOf(void* picture) {
    auto get = reinterpret_cast<GetPictureMask>(standin::resolve("REALGetPictureMask"));
    if (!get || !picture) return Ref();
    return Ref::adopt(get(static_cast<REALpictureStruct*>(picture), 0));
}

Image Session::imageFromPicture(void* picture) {
    int w = standin::pictureWidth(picture), h = standin::pictureHeight(picture);
    if (w < 1 || h < 1) throw ToolError("the picture is empty (" + std::to_string(w) + "x" + std::to_string(h) + ")");
    Image image(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) image.set(x, y, standin::getRGB(picture, x, y));
    Ref mask = maskOf(picture);
    if (mask && standin::pictureWidth(mask.get()) >= w && standin::pictureHeight(mask.get()) >= h) {
        image.hasAlpha = true;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                uint32_t m = standin::getRGB(mask.get(), x, y);
                unsigned gray = ((m >> 16 & 0xFF) + (m >> 8 & 0xFF) + (m & 0xFF) + 1) / 3;
                image.at(x, y)[3] = uint8_t(255 - gray);
            }
    }
    return image;
}

void Session::savePicture(void* picture, const std::string& path) {
    outputFormat(path);  // an unknown extension fails before any work
    writeImage(path, imageFromPicture(picture), options_.jpegQuality);
}

void throwPendingException() {
    standin::PendingException e = standin::takeException();
    if (e.className.empty()) return;
    std::string message = e.className;
    if (e.hasMessage) message += ": " + e.message;
    else message += " (without a message)";
    throw ToolError(message, kExitException);
}

Value Session::call(const Callable& c, void* receiver, std::vector<Value>& args) {
    standin::takeException();
    Value result;
    try {
        result = standin::call(c, receiver, args);
    } catch (const standin::CallError& e) {
        throw ToolError(e.what());
    }
    throwPendingException();
    return result;
}

void Session::callSetter(const Callable& c, void* receiver, std::vector<Value>& args, const Value& assigned) {
    standin::takeException();
    try {
        standin::callSetter(c, receiver, args, assigned);
    } catch (const standin::CallError& e) {
        throw ToolError(e.what());
    }
    throwPendingException();
}

std::vector<Callable> Session::named(const std::string& where, const std::string& name) {
    return standin::findByName(where, name);
}

Callable Session::only(const std::string& where, const std::string& name) {
    std::vector<Callable> found = named(where, name);
    if (found.empty())
        throw ToolError("the plugin did not register " + (where.empty() ? name : where + "." + name) +
                        " (is the plugin up to date?)");
    return found.front();
}

}  // namespace vqz
