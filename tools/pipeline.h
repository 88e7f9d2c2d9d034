// A picture file through a list of calls, as `vqz apply` runs it.
#pragma once

#include <string>
#include <vector>

#include "tools/evaluator.h"
#include "tools/expression.h"
#include "tools/session.h"

namespace vqz {

// Parses every call first, so that a typo fails before any work.
std::vector<CallExpression> parseCalls(const std::vector<std::string>& texts);

// Reads IN, runs the calls on it, writes OUT. What the calls print (non-picture
// results, byref arguments) is added to `printed` as "CALL = VALUE" lines.
void runPipeline(Session& session, const std::string& in, const std::string& out,
                 const std::vector<CallExpression>& calls, std::vector<std::string>& printed);

// The same on a picture already in the host; returns the final picture.
Ref runCalls(Session& session, Evaluator& evaluator, Ref current, const std::vector<CallExpression>& calls,
             std::vector<std::string>* printed);

}  // namespace vqz
