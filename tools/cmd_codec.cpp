// vqz encode and vqz decode: the binary string picture format.
#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/files.h"
#include "tools/image_io.h"
#include "tools/session.h"

namespace vqz {

int runEncode(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("encode", args, {}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 2) usageError("encode", "IN and OUT are needed");
    Session session(globals);
    Ref picture = session.loadPicture(pos[0]);
    Callable encode = session.only("", "PicturetoBinaryStringVQZ");
    std::vector<Value> callArgs = {Value::picture(picture.get())};
    Value result = session.call(encode, nullptr, callArgs);
    if (result.type != TypeName::String || result.isNil())
        throw ToolError("PicturetoBinaryStringVQZ returned nil: the plugin made no string from " + pos[0], kExitNil);
    writeFileAtomically(pos[1], standin::stringBytes(result.ref.get()));
    return kExitOk;
}

int runDecode(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("decode", args, {}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 2) usageError("decode", "IN and OUT are needed");
    outputFormat(pos[1]);
    std::vector<unsigned char> bytes = readFile(pos[0]);
    if (bytes.size() > size_t(INT32_MAX)) throw ToolError(pos[0] + ": too large for a host string");
    Session session(globals);
    Callable decode = session.only("", "BinaryStringtoPictureVQZ");
    std::vector<Value> callArgs = {
        Value::object(TypeName::String,
                      Ref::adopt(standin::newString(std::string(bytes.begin(), bytes.end()), kEncodingAsStored)))};
    Value result = session.call(decode, nullptr, callArgs);
    if (result.type != TypeName::Picture || result.isNil())
        throw ToolError(pos[0] + ": BinaryStringtoPictureVQZ returned nil: not a valid binary string picture", kExitNil);
    session.savePicture(result.ref.get(), pos[1]);
    return kExitOk;
}

}  // namespace vqz
