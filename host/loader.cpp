// Loading a fresh instance of the plugin module: the host is reset, the module file
// is copied to a unique temporary file (so that the dynamic loader treats it as a new
// object with its own process-wide state) and opened with RTLD_NOW | RTLD_LOCAL, and
// REALPluginMain is called with the stand-in resolver.
#include "host/call.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#ifndef VQZ_DEFAULT_PLUGIN_PATH
#define VQZ_DEFAULT_PLUGIN_PATH ""
#endif
#ifndef VQZ_DEFAULT_FRAMEWORKS_DIR
#define VQZ_DEFAULT_FRAMEWORKS_DIR ""
#endif

namespace standin {

namespace {

std::string errnoText(const std::string& what) { return what + ": " + std::strerror(errno); }

// Copies `from` into the open file `fd`. Returns "" or an error.
std::string copyInto(const std::string& from, int fd) {
    int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return errnoText("cannot open the plugin module " + from);
    std::string error;
    char buffer[1 << 16];
    for (;;) {
        ssize_t n = ::read(in, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            error = errnoText("cannot read " + from);
            break;
        }
        if (n == 0) break;
        for (ssize_t done = 0; done < n;) {
            ssize_t w = ::write(fd, buffer + done, static_cast<size_t>(n - done));
            if (w < 0) {
                if (errno == EINTR) continue;
                error = errnoText("cannot write the module copy");
                break;
            }
            done += w;
        }
        if (!error.empty()) break;
    }
    ::close(in);
    return error;
}

std::string tempDirectory() {
    const char* t = std::getenv("TMPDIR");
    return (t && *t) ? t : "/tmp";
}

}  // namespace

std::string LoadedPlugin::defaultModulePath() {
    const char* env = std::getenv("VQZ_PLUGIN");
    if (env && *env) return env;
    return VQZ_DEFAULT_PLUGIN_PATH;
}

LoadedPlugin::LoadedPlugin(const HostConfig& config, const std::string& modulePath) {
    reset(config);
    std::string frameworks = config.frameworkMissing ? std::string("/nonexistent/vqz-frameworks-missing")
                                                     : std::string(VQZ_DEFAULT_FRAMEWORKS_DIR);
    ::setenv("VQZ_FRAMEWORKS_DIR", frameworks.c_str(), 1);

    if (modulePath.empty()) {
        error_ = "no plugin module path (set VQZ_PLUGIN)";
        return;
    }
    struct stat st;
    if (::stat(modulePath.c_str(), &st) != 0) {
        error_ = errnoText("the plugin module " + modulePath + " is not there (is vqzpicture built?)");
        return;
    }

    std::string pattern = tempDirectory() + "/vqzpicture-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int fd = ::mkstemp(name.data());
    if (fd < 0) {
        error_ = errnoText("cannot create a temporary file " + pattern);
        return;
    }
    copyPath_ = name.data();
    std::string copyError = copyInto(modulePath, fd);
    if (::close(fd) != 0 && copyError.empty()) copyError = errnoText("cannot write " + copyPath_);
    if (!copyError.empty()) {
        error_ = copyError;
        return;
    }

    ::dlerror();
    void* handle = ::dlopen(copyPath_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* e = ::dlerror();
        error_ = std::string("dlopen of ") + modulePath + " failed: " + (e ? e : "unknown error");
        return;
    }
    using PluginMain = void (*)(void* (*)(const char*));
    ::dlerror();
    auto main = reinterpret_cast<PluginMain>(::dlsym(handle, "REALPluginMain"));
    if (!main) {
        const char* e = ::dlerror();
        error_ = modulePath + " exports no REALPluginMain" + (e ? std::string(": ") + e : std::string());
        ::dlclose(handle);
        return;
    }
    handle_ = handle;
    main(&resolve);
}

LoadedPlugin::~LoadedPlugin() {
    if (handle_) ::dlclose(handle_);
    handle_ = nullptr;
    if (!copyPath_.empty()) ::unlink(copyPath_.c_str());
}

void* LoadedPlugin::symbol(const char* name) const { return handle_ ? ::dlsym(handle_, name) : nullptr; }

}  // namespace standin
