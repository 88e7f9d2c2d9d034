// Text encodings of host strings, converted through Unicode code points.
#pragma once

#include <cstdint>
#include <string>

namespace standin {

bool knownEncoding(uint32_t encoding);
// Converts bytes between encodings. From or to kEncodingAsStored, or between equal
// encodings, the bytes are kept. A character the target cannot represent becomes
// '?', and so does an invalid sequence in the source. False for an unknown encoding.
bool convertText(const std::string& bytes, uint32_t from, uint32_t to, std::string& out);

}  // namespace standin
