#pragma once
// Every line the log writes, captured for the tests: newline removed, the headlines' texts
// available without their timestamps. The log is one per process; a capture takes its lines
// from the moment it is attached until it is detached or destroyed.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "settings/Log.h"

namespace quelto::test {

class LogCapture {
  public:
    using Lines = std::vector<std::string>;

    // One capture for the whole process, for fixtures that attach it in each set-up. Never
    // destroyed, so the log's thread can never outlive it.
    static LogCapture& shared() {
        static LogCapture* capture = new LogCapture();
        return *capture;
    }

    // Captures from now on, until destroyed.
    LogCapture() : state_(std::make_shared<State>()) { attach(); }
    ~LogCapture() { detach(); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Makes this capture the log's mirror (again: a test may have set another one since).
    void attach() {
        Log::shared().drain();
        auto state = state_;
        Log::shared().setMirror([state](const std::string& line) {
            std::string text = line;
            if (!text.empty() && text.back() == '\n') text.pop_back();
            std::lock_guard<std::mutex> lock(state->mutex);
            state->lines.push_back(std::move(text));
        });
    }

    // Silences the log again, once every line queued so far has been written.
    void detach() {
        Log::shared().setMirror([](const std::string&) {});
        Log::shared().drain();
    }

    // The lines written since the last take, as written but for the line feed.
    Lines lines() {
        Log::shared().drain();
        std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->lines;
    }

    // The same, and forgets them.
    Lines take() {
        Log::shared().drain();
        std::lock_guard<std::mutex> lock(state_->mutex);
        Lines out;
        out.swap(state_->lines);
        return out;
    }

    // The lines since the last take, headlines without their timestamps.
    Lines messages() { return withoutTimestamps(lines()); }

    // The lines since the last take that contain `text`.
    Lines linesContaining(const std::string& text) {
        Lines out;
        for (const std::string& line : lines())
            if (line.find(text) != std::string::npos) out.push_back(line);
        return out;
    }

    // "HH:mm:ss.SSS  " in front: a headline (detail lines start with fourteen spaces).
    static bool isHeadline(const std::string& line) {
        if (line.size() < stampWidth) return false;
        const char* shape = "00:00:00.000  ";
        for (std::size_t i = 0; i < stampWidth; ++i) {
            bool digit = shape[i] == '0';
            if (digit ? !(line[i] >= '0' && line[i] <= '9') : line[i] != shape[i]) return false;
        }
        return true;
    }

    // A headline's text; any other line as it is.
    static std::string withoutTimestamp(const std::string& line) {
        return isHeadline(line) ? line.substr(stampWidth) : line;
    }

    static Lines withoutTimestamps(Lines lines) {
        for (std::string& line : lines) line = withoutTimestamp(line);
        return lines;
    }

  private:
    static constexpr std::size_t stampWidth = 14;

    // Shared with the mirror, which the log's thread may still hold for a moment.
    struct State {
        std::mutex mutex;
        Lines lines;
    };
    std::shared_ptr<State> state_;
};

}  // namespace quelto::test
