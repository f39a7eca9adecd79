#pragma once
// The narrative log: timestamped headlines and indented detail lines, appended to
// ~/Library/Logs/Quelto.log and mirrored to standard error. Callers on any thread build
// their line at once; one background thread does all the output, in call order.

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace quelto {

class Clock;

class Log {
  public:
    static Log& shared();

    // "~/Library/Logs/Quelto.log" with the tilde expanded, computed once.
    static const std::string& path();

    // The writer thread's name, as crash reports, debuggers and profilers show it.
    static constexpr const char* writerThreadName = "quelto.log";

    // Queues one line: "HH:mm:ss.SSS  message" when timestamped, else the message as is.
    void write(const std::string& message, bool timestamped = true);
    // Fourteen spaces and the message, untimestamped.
    void detail(const std::string& message);

    // Blocks until every line queued so far has been written.
    void drain();

    // Injection points for tests and the simulator. The clock gives the time of each call
    // (the system clock when none is set); the mirror receives each line as written to
    // standard error (stderr when none is set; set a no-op to silence it).
    void setClock(Clock* clock);
    // Goes back to the system clock if `clock` is the one set.
    void clearClock(Clock* clock);
    void setMirror(std::function<void(const std::string&)> mirror);

    ~Log();

  private:
    Log();
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Log.shared.write(message), timestamped.
void log(const std::string& message);
// Log.shared.detail(message).
void detail(const std::string& message);
// The blank, untimestamped line that ends a report.
void blankLine();

}  // namespace quelto
