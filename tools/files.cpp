#include "tools/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/errors.h"

namespace vqz {

std::vector<unsigned char> readFile(const std::string& path) {
    if (isDirectory(path)) throw ToolError(path + ": cannot read: it is a directory");
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) throw ToolError(path + ": cannot read: " + std::strerror(errno));
    std::vector<unsigned char> data;
    unsigned char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) data.insert(data.end(), buffer, buffer + n);
    bool failed = std::ferror(f) != 0;
    int err = errno;
    std::fclose(f);
    if (failed) throw ToolError(path + ": cannot read: " + std::strerror(err));
    return data;
}

void writeFileAtomically(const std::string& path, const void* data, size_t size) {
    std::string dir = path.find('/') == std::string::npos ? "." : path.substr(0, path.rfind('/') + 1);
    if (dir.empty()) dir = "/";
    std::string tmp = joinPath(dir, "." + baseName(path) + ".vqz-XXXXXX");
    std::vector<char> name(tmp.begin(), tmp.end());
    name.push_back('\0');
    int fd = mkstemp(name.data());
    if (fd < 0) throw ToolError(path + ": cannot write: " + std::strerror(errno));
    const char* p = static_cast<const char*>(data);
    size_t left = size;
    int err = 0;
    while (left > 0) {
        ssize_t w = ::write(fd, p, left);
        if (w < 0) {
            if (errno == EINTR) continue;
            err = errno;
            break;
        }
        p += w;
        left -= size_t(w);
    }
    // New files get the usual permissions (mkstemp makes them private).
    mode_t mask = umask(0);
    umask(mask);
    if (!err && fchmod(fd, 0666 & ~mask) != 0) err = errno;
    if (::close(fd) != 0 && !err) err = errno;
    if (!err && std::rename(name.data(), path.c_str()) != 0) err = errno;
    if (err) {
        ::unlink(name.data());
        throw ToolError(path + ": cannot write: " + std::strerror(err));
    }
}

bool fileExists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool isDirectory(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void makeDirectories(const std::string& path) {
    if (path.empty() || isDirectory(path)) return;
    size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0) makeDirectories(path.substr(0, slash));
    if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
        throw ToolError(path + ": cannot create the directory: " + std::strerror(errno));
    if (!isDirectory(path)) throw ToolError(path + ": exists and is not a directory");
}

std::string joinPath(const std::string& dir, const std::string& name) {
    if (dir.empty() || dir == "." || (!name.empty() && name[0] == '/')) return name;
    if (dir.back() == '/') return dir + name;
    return dir + "/" + name;
}

std::string baseName(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string extensionOf(const std::string& path) {
    std::string base = baseName(path);
    size_t dot = base.find_last_of('.');
    if (dot == std::string::npos || dot == 0) return "";
    std::string ext = base.substr(dot + 1);
    for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string withoutExtension(const std::string& path) {
    std::string base = baseName(path);
    size_t dot = base.find_last_of('.');
    if (dot == std::string::npos || dot == 0) return path;
    return path.substr(0, path.size() - (base.size() - dot));
}

}  // namespace vqz
