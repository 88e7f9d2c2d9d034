// vqz find: FindPicture on two picture files.
#include <cstdio>

#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/session.h"

namespace vqz {

int runFind(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("find", args, {}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 2) usageError("find", "HAYSTACK and NEEDLE are needed");
    Session session(globals);
    Ref haystack = session.loadPicture(pos[0]);
    Ref needle = session.loadPicture(pos[1]);
    Callable find = session.only("Picture", "FindPicture");
    std::vector<Value> callArgs = {Value::picture(needle.get()), Value::integer(0), Value::integer(0)};
    Value found = session.call(find, haystack.get(), callArgs);
    if (found.type != TypeName::Boolean || !found.i)
        throw ToolError(pos[1] + " was not found in " + pos[0], kExitError);
    std::printf("%lld %lld\n", static_cast<long long>(callArgs[1].i), static_cast<long long>(callArgs[2].i));
    return kExitOk;
}

}  // namespace vqz
