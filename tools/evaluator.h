// Runs a call written in the host language against what the plugin registered.
//
// The current picture is the receiver of a Picture method and the first picture
// argument of a global method; the other arguments come from the call, converted
// to the declared types (picture, memoryblock and string arguments may name
// files). Among overloads the one that fits the arguments given is chosen,
// preferring the fewest defaults. byref arguments may be left out; their values
// after the call are reported.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/expression.h"
#include "tools/session.h"

namespace vqz {

struct CallOutcome {
    std::string declaration;  // the declaration that was called
    bool returnsValue = false;  // false for subs and assignments
    Value result;               // an object result carries one reference
    std::vector<std::pair<std::string, Value>> outputs;  // byref arguments after the call
};

class Evaluator {
public:
    // File arguments are read relative to `baseDir` ("" for the working directory).
    explicit Evaluator(Session& session, std::string baseDir = "") : session_(session), baseDir_(std::move(baseDir)) {}

    // Runs the call. A nil object result is a ToolError with status 2, a host
    // exception one with status 3, an unknown name or arguments that fit no
    // overload one with status 1.
    CallOutcome run(const CallExpression& call, void* current);

    // What to print for an outcome: the result (unless it is a picture), then
    // "name = value" for each byref argument.
    static std::vector<std::string> report(const CallOutcome& outcome);

private:
    Session& session_;
    std::string baseDir_;
    std::string pathOf(const std::string& text) const;
};

// Registered names closest to `name` (for "did you mean").
std::vector<std::string> nearestNames(const std::string& name, const std::vector<std::string>& names);
// Every name a call can use: Picture methods and global methods.
std::vector<std::string> callableNames();

}  // namespace vqz
