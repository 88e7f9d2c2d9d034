// Many inputs through the same calls, in one process or several, with a progress
// bar on a terminal. Each process loads its own plugin (the host is per process).
#pragma once

#include <string>
#include <vector>

#include "tools/expression.h"
#include "tools/options.h"

namespace vqz {

struct Batch {
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;  // one per input
    std::vector<CallExpression> calls;
    int jobs = 1;
};

// Runs the batch; returns 0 when every input succeeded, else the highest exit
// status among the failures (each reported on stderr as it happens).
int runBatch(const Batch& batch, const GlobalOptions& globals);

}  // namespace vqz
