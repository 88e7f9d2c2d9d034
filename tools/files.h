// Whole-file reads and all-or-nothing writes: an output file either appears
// complete or not at all (written to a temporary file beside it, then renamed).
#pragma once

#include <string>
#include <vector>

namespace vqz {

// The bytes of a file; throws ToolError "PATH: cannot read: REASON".
std::vector<unsigned char> readFile(const std::string& path);
// Writes `data` to `path` through a temporary file in the same directory.
void writeFileAtomically(const std::string& path, const void* data, size_t size);
inline void writeFileAtomically(const std::string& path, const std::vector<unsigned char>& data) {
    writeFileAtomically(path, data.data(), data.size());
}
inline void writeFileAtomically(const std::string& path, const std::string& data) {
    writeFileAtomically(path, data.data(), data.size());
}

bool fileExists(const std::string& path);  // a regular file (or a link to one)
bool isDirectory(const std::string& path);
// Creates a directory and its parents; throws ToolError on failure.
void makeDirectories(const std::string& path);
std::string joinPath(const std::string& dir, const std::string& name);
std::string baseName(const std::string& path);
// The lower-case extension without the dot ("png"), "" when none.
std::string extensionOf(const std::string& path);
std::string withoutExtension(const std::string& path);

}  // namespace vqz
