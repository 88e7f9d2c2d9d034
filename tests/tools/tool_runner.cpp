#ifdef VQZ_TOOL_PATH

#include "tests/tools/tool_runner.h"

#include <dirent.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#include "tools/image_io.h"

namespace vqztool {

ToolRun runTool(const std::vector<std::string>& args, const std::string& workdir) {
    ToolRun run;
    int out[2], err[2];
    if (pipe(out) != 0 || pipe(err) != 0) {
        run.err = "pipe failed";
        return run;
    }
    std::vector<std::string> argv = {VQZ_TOOL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (std::string& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        ::close(out[0]);
        ::close(err[0]);
        ::close(out[1]);
        ::close(err[1]);
        if (!workdir.empty() && chdir(workdir.c_str()) != 0) _exit(126);
        setenv("VQZ_CHECK_LEDGER", "1", 1);
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    struct pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&run.out, &run.err};
    int open = 2;
    while (open > 0) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            char buffer[8192];
            ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[i]->append(buffer, size_t(n));
            } else if (n == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    // The tool gives back every host object it and the plugin took.
    EXPECT_EQ(run.err.find("host ledger not clean"), std::string::npos) << run.err;
    return run;
}

std::string describe(const ToolRun& run) {
    return "exit status " + std::to_string(run.status) + "\n--- stdout\n" + run.out + "--- stderr\n" + run.err;
}

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vqz-tool-test-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (mkdtemp(name.data())) path_ = name.data();
    if (path_.empty()) ADD_FAILURE() << "cannot make a temporary directory: " << std::strerror(errno);
}

namespace {
void removeTree(const std::string& path) {
    DIR* d = opendir(path.c_str());
    if (d) {
        while (dirent* e = readdir(d)) {
            std::string name = e->d_name;
            if (name == "." || name == "..") continue;
            std::string child = path + "/" + name;
            struct stat st;
            if (lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) removeTree(child);
            else ::unlink(child.c_str());
        }
        closedir(d);
    }
    ::rmdir(path.c_str());
}
}  // namespace

TempDir::~TempDir() {
    if (!path_.empty()) removeTree(path_);
}

std::vector<std::string> TempDir::entries() const {
    std::vector<std::string> names;
    DIR* d = opendir(path_.c_str());
    if (!d) return names;
    while (dirent* e = readdir(d)) {
        std::string name = e->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(d);
    std::sort(names.begin(), names.end());
    return names;
}

void TempDir::write(const std::string& name, const std::string& bytes) const {
    std::ofstream f(*this / name, std::ios::binary);
    f.write(bytes.data(), std::streamsize(bytes.size()));
    if (!f) ADD_FAILURE() << "cannot write " << (*this / name);
}

std::string TempDir::read(const std::string& name) const {
    std::ifstream f(*this / name, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

bool TempDir::exists(const std::string& name) const {
    struct stat st;
    return ::stat((*this / name).c_str(), &st) == 0;
}

std::vector<std::string> formatArgs(const vqztest::HostFormat& f) {
    switch (f.kind) {
        case standin::AppKind::Desktop: return {"--depth", std::to_string(f.depth)};
        case standin::AppKind::Console: return {"--host", "console"};
        case standin::AppKind::Web: return {"--host", "web"};
    }
    return {};
}

vqz::Image randomImage(int width, int height, uint32_t seed) {
    std::mt19937 rng(seed);
    vqz::Image image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) image.set(x, y, uint32_t(rng()) & 0xFFFFFF);
    return image;
}

void writePpm(const std::string& path, const vqz::Image& image) {
    vqz::Bytes bytes = vqz::encodePnm(image, false);
    std::ofstream f(path, std::ios::binary);
    f.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    if (!f) ADD_FAILURE() << "cannot write " << path;
}

vqz::Image readPicture(const std::string& path) {
    try {
        return vqz::readImage(path);
    } catch (const std::exception& e) {
        ADD_FAILURE() << e.what();
        return vqz::Image();
    }
}

standin::Ref hostPicture(const vqztest::HostFormat& f, const vqz::Image& image) {
    standin::Ref pic = vqztest::makePicture(f, image.width, image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) standin::setRGB(pic.get(), x, y, image.rgb(x, y));
    return pic;
}

vqztest::Snapshot snapshotOf(const vqz::Image& image) {
    vqztest::Snapshot s;
    s.width = image.width;
    s.height = image.height;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) s.rgb.push_back(image.rgb(x, y));
    return s;
}

}  // namespace vqztool

#endif  // VQZ_TOOL_PATH
