#include "tools/pipeline.h"

#include "tools/arguments.h"
#include "tools/image_io.h"

namespace vqz {

std::vector<CallExpression> parseCalls(const std::vector<std::string>& texts) {
    std::vector<CallExpression> calls;
    for (const std::string& t : texts) calls.push_back(parseCallExpression(t));
    return calls;
}

Ref runCalls(Session& session, Evaluator& evaluator, Ref current, const std::vector<CallExpression>& calls,
             std::vector<std::string>* printed) {
    for (const CallExpression& call : calls) {
        CallOutcome outcome = evaluator.run(call, current.get());
        if (outcome.returnsValue && outcome.result.type == TypeName::Picture) {
            current = outcome.result.ref;
        } else if (printed) {
            if (outcome.returnsValue) printed->push_back(call.text + " = " + formatValue(outcome.result));
            for (const auto& [name, value] : outcome.outputs)
                printed->push_back(call.text + ": " + name + " = " + formatValue(value));
        }
    }
    return current;
}

void runPipeline(Session& session, const std::string& in, const std::string& out,
                 const std::vector<CallExpression>& calls, std::vector<std::string>& printed) {
    outputFormat(out);  // an unknown extension fails before any work
    Evaluator evaluator(session);
    Ref picture = runCalls(session, evaluator, session.loadPicture(in), calls, &printed);
    session.savePicture(picture.get(), out);
}

}  // namespace vqz
