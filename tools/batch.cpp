#include "tools/batch.h"

#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/errors.h"
#include "tools/pipeline.h"
#include "tools/session.h"

namespace vqz {

namespace {

// The outcome of one input.
struct Report {
    size_t index = 0;
    int status = 0;
    std::string message;            // for a failure
    std::vector<std::string> lines;  // what the calls printed
};

// Processes one input in `session`; never throws.
Report processOne(Session& session, const Batch& batch, size_t index) {
    Report r;
    r.index = index;
    try {
        runPipeline(session, batch.inputs[index], batch.outputs[index], batch.calls, r.lines);
    } catch (const ToolError& e) {
        r.status = e.status;
        r.message = e.what();
    } catch (const std::exception& e) {
        r.status = kExitError;
        r.message = e.what();
    }
    return r;
}

class Progress {
public:
    Progress(size_t total, bool show) : total_(total), show_(show && isatty(STDERR_FILENO)) {}
    void update(size_t done, const std::string& name) {
        if (!show_) return;
        struct winsize ws;
        int columns = ioctl(STDERR_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 20 ? ws.ws_col : 80;
        const int barWidth = 30;
        int filled = total_ ? int(double(done) / double(total_) * barWidth) : barWidth;
        std::string line = "[" + std::string(size_t(filled), '#') + std::string(size_t(barWidth - filled), ' ') + "] " +
                           std::to_string(done) + "/" + std::to_string(total_) + " " + name;
        if (int(line.size()) > columns - 1) line.resize(size_t(columns - 1));
        std::fprintf(stderr, "\r\033[K%s", line.c_str());
        std::fflush(stderr);
        drawn_ = true;
    }
    void clear() {
        if (!drawn_) return;
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
    }
    void finish() {
        if (drawn_) std::fprintf(stderr, "\n");
        drawn_ = false;
    }

private:
    size_t total_;
    bool show_;
    bool drawn_ = false;
};

std::string describeFailure(const Batch& batch, const Report& r) {
    const std::string& in = batch.inputs[r.index];
    if (r.message.compare(0, in.size(), in) == 0) return r.message;
    return in + ": " + r.message;
}

// Reports cross the pipe as one line each: index, status, message and printed
// lines joined by the unit separator, newlines replaced by the record separator.
std::string encodeReport(const Report& r) {
    std::string s = std::to_string(r.index) + " " + std::to_string(r.status) + " " + r.message;
    for (const std::string& l : r.lines) s += "\x1f" + l;
    for (char& c : s)
        if (c == '\n') c = '\x1e';
    if (s.size() > 3800) s.resize(3800);  // one atomic pipe write
    return s + "\n";
}

Report decodeReport(const std::string& line) {
    Report r;
    std::string s = line;
    for (char& c : s)
        if (c == '\x1e') c = '\n';
    size_t a = s.find(' '), b = a == std::string::npos ? a : s.find(' ', a + 1);
    if (b == std::string::npos) {
        r.status = kExitError;
        r.message = "a worker sent a broken report";
        return r;
    }
    r.index = size_t(std::strtoull(s.substr(0, a).c_str(), nullptr, 10));
    r.status = std::atoi(s.substr(a + 1, b - a - 1).c_str());
    std::string rest = s.substr(b + 1);
    size_t sep = rest.find('\x1f');
    r.message = rest.substr(0, sep);
    while (sep != std::string::npos) {
        size_t next = rest.find('\x1f', sep + 1);
        r.lines.push_back(rest.substr(sep + 1, next == std::string::npos ? std::string::npos : next - sep - 1));
        sep = next;
    }
    return r;
}

void writeAll(int fd, const std::string& s) {
    const char* p = s.data();
    size_t left = s.size();
    while (left > 0) {
        ssize_t w = ::write(fd, p, left);
        if (w < 0) {
            if (errno == EINTR) continue;
            return;
        }
        p += w;
        left -= size_t(w);
    }
}

}  // namespace

int runBatch(const Batch& batch, const GlobalOptions& globals) {
    size_t total = batch.inputs.size();
    Progress progress(total, !globals.quiet);
    std::vector<bool> finished(total, false);
    size_t done = 0;
    int worst = 0;
    size_t failures = 0;

    auto handle = [&](const Report& r) {
        if (r.index >= total || finished[r.index]) return;
        finished[r.index] = true;
        ++done;
        if (!r.lines.empty() || r.status) progress.clear();
        for (const std::string& l : r.lines) std::printf("%s: %s\n", batch.inputs[r.index].c_str(), l.c_str());
        std::fflush(stdout);
        if (r.status) {
            std::fprintf(stderr, "vqz: %s\n", describeFailure(batch, r).c_str());
            worst = std::max(worst, r.status);
            ++failures;
        }
        progress.update(done, batch.inputs[r.index]);
    };

    size_t jobs = std::min(size_t(std::max(batch.jobs, 1)), total);
    if (jobs <= 1) {
        Session session(globals);
        progress.update(0, "");
        for (size_t i = 0; i < total; ++i) handle(processOne(session, batch, i));
    } else {
        int fds[2];
        if (pipe(fds) != 0) throw ToolError(std::string("cannot make a pipe: ") + std::strerror(errno));
        std::fflush(stdout);
        std::fflush(stderr);
        std::vector<pid_t> workers;
        for (size_t k = 0; k < jobs; ++k) {
            pid_t pid = fork();
            if (pid < 0) {
                int err = errno;
                for (pid_t w : workers) kill(w, SIGTERM);
                for (pid_t w : workers) waitpid(w, nullptr, 0);
                throw ToolError(std::string("cannot start a worker process: ") + std::strerror(err));
            }
            if (pid == 0) {
                ::close(fds[0]);
                int status = 0;
                try {
                    Session session(globals);
                    for (size_t i = k; i < total; i += jobs) writeAll(fds[1], encodeReport(processOne(session, batch, i)));
                } catch (const ToolError& e) {
                    // The plugin would not load: every input of this worker fails the same way.
                    for (size_t i = k; i < total; i += jobs) {
                        Report r;
                        r.index = i;
                        r.status = e.status;
                        r.message = e.what();
                        writeAll(fds[1], encodeReport(r));
                    }
                    status = e.status;
                }
                std::fflush(stdout);
                ::close(fds[1]);
                _exit(status);
            }
            workers.push_back(pid);
        }
        ::close(fds[1]);
        progress.update(0, "");
        std::string pending;
        char buffer[4096];
        while (true) {
            ssize_t n = ::read(fds[0], buffer, sizeof buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) break;
            pending.append(buffer, size_t(n));
            size_t nl;
            while ((nl = pending.find('\n')) != std::string::npos) {
                handle(decodeReport(pending.substr(0, nl)));
                pending.erase(0, nl + 1);
            }
        }
        ::close(fds[0]);
        for (pid_t w : workers) {
            int status = 0;
            while (waitpid(w, &status, 0) < 0 && errno == EINTR) {
            }
            if (WIFSIGNALED(status)) {
                progress.clear();
                std::fprintf(stderr, "vqz: a worker process died (signal %d)\n", WTERMSIG(status));
            }
        }
        // Inputs whose worker died without reporting them.
        for (size_t i = 0; i < total; ++i)
            if (!finished[i]) {
                Report r;
                r.index = i;
                r.status = kExitError;
                r.message = "not processed: its worker process died";
                handle(r);
            }
    }
    progress.finish();
    if (failures) std::fprintf(stderr, "vqz: %zu of %zu inputs failed\n", failures, total);
    return worst;
}

}  // namespace vqz
