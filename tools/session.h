// One loaded plugin in the stand-in host, configured by the global options, and
// the bridge between image files and host pictures.
//
// The host is process-wide: keep one Session at a time, and drop every Ref it
// handed out before the Session goes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/call.h"
#include "host/host.h"
#include "tools/image.h"
#include "tools/options.h"

namespace vqz {

using standin::Callable;
using standin::Ref;
using standin::TypeName;
using standin::Value;

class Session {
public:
    // Resets the host for the options and loads the plugin; throws ToolError.
    explicit Session(const GlobalOptions& options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const GlobalOptions& options() const { return options_; }

    // A new picture as this host makes input pictures: a GWorld of the chosen depth
    // on a desktop host, a bitmap on console and web hosts. Filled white.
    Ref newInputPicture(int width, int height);
    // An input picture with the image's pixels; an alpha channel becomes the
    // picture's mask picture (white where transparent, black where opaque).
    Ref pictureFromImage(const Image& image);
    Ref loadPicture(const std::string& path);
    // The picture's pixels; its mask picture, if the host holds one, becomes alpha.
    Image imageFromPicture(void* picture);
    void savePicture(void* picture, const std::string& path);
    // The mask picture the host holds for a picture (a new reference), or null.
    Ref maskOf(void* picture);

    // Calls a registered function. A host exception the call raised becomes a
    // ToolError with status 3 ("NilObjectException: message"); arguments that do
    // not fit become a ToolError with status 1.
    Value call(const Callable& c, void* receiver, std::vector<Value>& args);
    void callSetter(const Callable& c, void* receiver, std::vector<Value>& args, const Value& assigned);

    // Registered callables under `where` ("Picture", "" for global methods, a class).
    std::vector<Callable> named(const std::string& where, const std::string& name);
    // The one callable with this name under `where`; throws ToolError when the
    // plugin did not register it.
    Callable only(const std::string& where, const std::string& name);

private:
    GlobalOptions options_;
    std::unique_ptr<standin::LoadedPlugin> plugin_;
};

// Throws ToolError(3) if the plugin left a host exception pending.
void throwPendingException();

}  // namespace vqz
