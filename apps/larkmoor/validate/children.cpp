#include "validate/children.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

#include "host/error.h"

namespace larkmoor::validate {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int exitPassed = 0, exitFault = 1;
/// Ends what a child writes that came to its end, as a module may end the process itself.
constexpr char endMark = '\x04';

void writeAll(int file, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t put = ::write(file, text.data() + at, text.size() - at);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return;
        at += static_cast<std::size_t>(put);
    }
}

/// A process that does one thing, and what it has written so far.
class Child {
  public:
    explicit Child(const std::function<std::string()>& work) : m_start(Clock::now()) {
        int ends[2];
        std::fflush(nullptr);
        if (::pipe(ends) != 0) throw Error(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
        m_id = ::fork();
        if (m_id < 0) throw Error(fmt::format("cannot start a process: {}", std::strerror(errno)));
        if (m_id == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const rlimit none{0, 0};
            ::setrlimit(RLIMIT_CORE, &none);
            for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
            sigset_t all;
            ::sigemptyset(&all);
            ::sigprocmask(SIG_SETMASK, &all, nullptr);
            ::close(ends[0]);
            try {
                writeAll(ends[1], work() + endMark);
                ::_exit(exitPassed);
            } catch (const std::exception& fault) {
                writeAll(ends[1], fault.what());
                ::_exit(exitFault);
            } catch (...) {
                writeAll(ends[1], "something else than a status came out of the module: an exception");
                ::_exit(exitFault);
            }
        }
        ::close(ends[1]);
        m_pipe = ends[0];
    }
    Child(Child&& other) noexcept { *this = std::move(other); }
    Child& operator=(Child&& other) noexcept {
        std::swap(m_id, other.m_id);
        std::swap(m_pipe, other.m_pipe);
        std::swap(m_text, other.m_text);
        std::swap(m_start, other.m_start);
        std::swap(m_late, other.m_late);
        return *this;
    }
    ~Child() {
        if (m_id > 0) ::kill(m_id, SIGKILL), ::waitpid(m_id, nullptr, 0);
        if (m_pipe >= 0) ::close(m_pipe);
    }

    int pipe() const { return m_pipe; }
    double seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

    /// Takes what there is. @return whether the child has closed its end.
    bool read() {
        char buffer[4096];
        const ssize_t got = ::read(m_pipe, buffer, sizeof buffer);
        if (got > 0) m_text.append(buffer, static_cast<std::size_t>(got));
        return got == 0 || (got < 0 && errno != EINTR);
    }
    void tooLate() {
        m_late = true;
        ::kill(m_id, SIGKILL);
    }
    /// Waits for its end. @return what it wrote, or its fault, and whether it is that.
    std::pair<std::string, bool> end() {
        int status = 0;
        while (::waitpid(m_id, &status, 0) < 0 && errno == EINTR) {
        }
        m_id = -1;
        if (m_late) return {fmt::format("was not done after {:.0f} s", seconds()), true};
        if (WIFSIGNALED(status))
            return {fmt::format("ended by signal {}, {}", WTERMSIG(status), ::strsignal(WTERMSIG(status))), true};
        const int code = WEXITSTATUS(status);
        if (code == exitPassed && m_text.ends_with(endMark)) return m_text.pop_back(), std::pair(m_text, false);
        if (code == exitFault && !m_text.empty()) return {m_text, true};
        return {fmt::format("the process ended itself with code {}", code), true};
    }

  private:
    pid_t m_id = -1;
    int m_pipe = -1;
    std::string m_text;
    Clock::time_point m_start{};
    bool m_late = false;
};

} // namespace

void runInChildren(std::vector<Task>& tasks, unsigned atOnce, int mostSeconds,
                   const std::function<void(std::size_t)>& done) {
    struct Running {
        std::size_t index;
        Child child;
    };
    std::vector<Running> running;
    std::vector<char> ended(tasks.size());
    for (std::size_t next = 0, shown = 0; shown < tasks.size();) {
        while (next < tasks.size() && running.size() < atOnce) {
            const auto& work = tasks[next].work;
            running.push_back({next, Child([&work] { return work(), std::string(); })});
            ++next;
        }
        std::vector<pollfd> files;
        for (const Running& each : running) files.push_back({each.child.pipe(), POLLIN, 0});
        constexpr int pollMilliseconds = 200;
        ::poll(files.data(), files.size(), pollMilliseconds);
        for (std::size_t i = running.size(); i-- > 0;) {
            auto& [index, child] = running[i];
            if (child.seconds() > mostSeconds) child.tooLate();
            if (!(files[i].revents & (POLLIN | POLLHUP | POLLERR)) || !child.read()) continue;
            Task& task = tasks[index];
            std::tie(task.fault, task.isFault) = child.end();
            task.seconds = child.seconds();
            ended[index] = true;
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        }
        for (; shown < tasks.size() && ended[shown]; ++shown) done(shown);
    }
}

std::string fromChild(const std::function<std::string()>& work, int mostSeconds) {
    Child child(work);
    for (;;) {
        pollfd file{child.pipe(), POLLIN, 0};
        ::poll(&file, 1, 200);
        if (child.seconds() > mostSeconds) child.tooLate();
        if (file.revents && child.read()) break;
    }
    const auto [text, isFault] = child.end();
    if (isFault) throw Error(text);
    return text;
}

} // namespace larkmoor::validate
