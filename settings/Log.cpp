#include "settings/Log.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <utility>

#include "platform/SystemClock.h"
#include "settings/AtomicFile.h"
#include "settings/HomeDirectory.h"

namespace quelto {

namespace {

using Mirror = std::function<void(const std::string&)>;

// Creates the file when it is missing (never its folder) and opens it for appending.
int openLogFile(const std::string& path) {
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

bool fileExists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

void appendTwoDigits(std::string& s, int v) {
    if (v < 0) v = 0;
    s += static_cast<char>('0' + (v / 10) % 10);
    s += static_cast<char>('0' + v % 10);
}

// "HH:mm:ss.SSS" of `t`.
void appendTimestamp(std::string& s, const LocalTime& t) {
    appendTwoDigits(s, t.hour);
    s += ':';
    appendTwoDigits(s, t.minute);
    s += ':';
    appendTwoDigits(s, t.second);
    s += '.';
    int ms = t.millisecond < 0 ? 0 : (t.millisecond > 999 ? 999 : t.millisecond);
    s += static_cast<char>('0' + ms / 100);
    appendTwoDigits(s, ms % 100);
}

// Names the calling thread (at most 15 characters on Linux).
void nameThisThread(const char* name) {
#if defined(__APPLE__)
    pthread_setname_np(name);
#else
    pthread_setname_np(pthread_self(), name);
#endif
}

}  // namespace

// One serial writer thread does every output. Callers only build their line and append it
// to `queue` under `mutex`; the writer takes the whole queue at once and writes it outside
// the lock, so a caller never waits for the disk. A change of mirror travels through the
// same queue, so every line goes to the mirror that was in effect when it was logged.
struct Log::Impl {
    struct Item {
        std::string line;
        std::unique_ptr<Mirror> newMirror;  // set for a change of mirror, which has no line
    };

    std::mutex mutex;
    std::condition_variable wake;     // the writer waits here for work
    std::condition_variable drained;  // drain() waits here for the writer to catch up
    std::deque<Item> queue;
    std::uint64_t queued = 0;   // items ever queued
    std::uint64_t written = 0;  // items ever output
    bool writerSleeping = false;
    bool stopping = false;
    // Once the writer has stopped (at process exit), callers write their lines themselves,
    // under `mutex`, so the lines logged by late destructors are not lost.
    bool direct = false;

    std::atomic<Clock*> clock{nullptr};

    // Touched only by the writer thread, or under `mutex` once `direct` is set.
    Mirror mirror;
    int fd = -1;
    std::string path;

    std::thread writer;

    Impl() : path(Log::path()) {
        fd = openLogFile(path);
        writer = std::thread([this] { run(); });
    }

    void enqueue(Item item) {
        bool notify = false;
        {
            std::lock_guard lock(mutex);
            if (direct) {
                output(item);
                return;
            }
            queue.push_back(std::move(item));
            ++queued;
            if (writerSleeping) {
                writerSleeping = false;
                notify = true;
            }
        }
        if (notify) wake.notify_one();
    }

    void run() {
        nameThisThread(Log::writerThreadName);
        std::deque<Item> batch;
        for (;;) {
            {
                std::unique_lock lock(mutex);
                while (queue.empty() && !stopping) {
                    writerSleeping = true;
                    wake.wait(lock);
                }
                writerSleeping = false;
                if (queue.empty()) return;  // stopping, with nothing left to write
                batch.swap(queue);
            }
            for (const Item& item : batch) output(item);
            {
                std::lock_guard lock(mutex);
                written += batch.size();
            }
            drained.notify_all();
            batch.clear();
        }
    }

    void output(const Item& item) {
        if (item.newMirror) {
            mirror = std::move(*item.newMirror);
            return;
        }
        if (mirror) {
            try {
                mirror(item.line);
            } catch (...) {
                // A failing mirror costs only its own copy of the line.
            }
        } else {
            writeAll(STDERR_FILENO, item.line);
        }
        // The user may delete or move the file at any time: the next line starts a new one.
        if (!fileExists(path)) {
            if (fd >= 0) ::close(fd);
            fd = openLogFile(path);
        }
        if (fd >= 0) writeAll(fd, item.line);
    }

    void drain() {
        std::unique_lock lock(mutex);
        if (direct || std::this_thread::get_id() == writer.get_id()) return;
        std::uint64_t target = queued;
        drained.wait(lock, [&] { return written >= target || direct; });
    }

    // Stops the writer after it has written everything queued; from then on every line is
    // written at once by its caller.
    void finish() {
        {
            std::lock_guard lock(mutex);
            if (direct || stopping) return;
            stopping = true;
            writerSleeping = false;
        }
        wake.notify_one();
        if (writer.joinable()) {
            if (writer.get_id() == std::this_thread::get_id())
                writer.detach();
            else
                writer.join();
        }
        {
            std::lock_guard lock(mutex);
            for (const Item& item : queue) output(item);
            queue.clear();
            written = queued;
            direct = true;
        }
        drained.notify_all();
    }

    ~Impl() {
        finish();
        if (fd >= 0) ::close(fd);
    }
};

Log::Log() : impl_(std::make_unique<Impl>()) {}

Log::~Log() = default;

Log& Log::shared() {
    // Never destroyed: objects destroyed at exit may still log. An exit handler drains the
    // queue and switches the log to writing synchronously instead.
    static Log* instance = [] {
        Log* log = new Log();
        std::atexit([] { Log::shared().impl_->finish(); });
        return log;
    }();
    return *instance;
}

const std::string& Log::path() {
    static const std::string p = expandTilde("~/Library/Logs/Quelto.log");
    return p;
}

void Log::write(const std::string& message, bool timestamped) {
    std::string line;
    if (timestamped) {
        Clock* clock = impl_->clock.load(std::memory_order_acquire);
        if (!clock) clock = &systemClock();
        LocalTime now = clock->localTime(clock->now());
        line.reserve(14 + message.size() + 1);
        appendTimestamp(line, now);
        line += "  ";
        line += message;
    } else {
        line.reserve(message.size() + 1);
        line += message;
    }
    line += '\n';
    impl_->enqueue(Impl::Item{std::move(line), nullptr});
}

void Log::detail(const std::string& message) {
    write("              " + message, false);
}

void Log::drain() {
    impl_->drain();
}

void Log::setClock(Clock* clock) {
    impl_->clock.store(clock, std::memory_order_release);
}

void Log::clearClock(Clock* clock) {
    impl_->clock.compare_exchange_strong(clock, nullptr, std::memory_order_acq_rel);
}

void Log::setMirror(std::function<void(const std::string&)> mirror) {
    impl_->enqueue(Impl::Item{{}, std::make_unique<Mirror>(std::move(mirror))});
}

void log(const std::string& message) {
    Log::shared().write(message, true);
}

void detail(const std::string& message) {
    Log::shared().detail(message);
}

void blankLine() {
    Log::shared().write("", false);
}

}  // namespace quelto
