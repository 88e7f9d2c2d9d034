// How the tool fails: one message for stderr and the exit status that goes with it.
#pragma once

#include <stdexcept>
#include <string>

namespace vqz {

enum ExitStatus {
    kExitOk = 0,
    kExitError = 1,      // bad usage, unreadable file, not found
    kExitNil = 2,        // a method answered nil
    kExitException = 3,  // the plugin raised a host exception
};

struct ToolError : std::runtime_error {
    explicit ToolError(const std::string& message, int status = kExitError)
        : std::runtime_error(message), status(status) {}
    int status;
};

}  // namespace vqz
