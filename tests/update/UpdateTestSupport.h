#pragma once
// Helpers for the update checker's tests: the log lines as written, an update button that
// remembers its states, and modal alerts that record what they show.

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Services.h"
#include "settings/Log.h"
#include "update/UpdateChecker.h"

namespace quelto::test {

// Collects every line the log writes while it exists.
class LogCapture {
  public:
    LogCapture() : state_(std::make_shared<State>()) {
        Log::shared().drain();
        auto state = state_;
        Log::shared().setMirror([state](const std::string& line) {
            std::lock_guard<std::mutex> lock(state->mutex);
            state->lines.push_back(line);
        });
    }
    ~LogCapture() {
        Log::shared().setMirror([](const std::string&) {});
        Log::shared().drain();
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Every line written so far, as written ("HH:mm:ss.SSS  text\n").
    std::vector<std::string> lines() {
        Log::shared().drain();
        std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->lines;
    }

    // The headlines' texts: each line without its timestamp, two spaces and line feed.
    std::vector<std::string> messages() {
        std::vector<std::string> texts;
        for (const std::string& line : lines()) {
            std::string text = line;
            if (!text.empty() && text.back() == '\n') text.pop_back();
            texts.push_back(text.size() >= 14 ? text.substr(14) : text);
        }
        return texts;
    }

  private:
    struct State {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    std::shared_ptr<State> state_;
};

// Remembers every state it was put in, and what `probe` said at each change (the tests
// use it to count the alerts shown so far).
class RecordingButton final : public UpdateButton {
  public:
    struct Change {
        bool enabled;
        std::size_t alertsShownBefore;
    };
    explicit RecordingButton(std::function<std::size_t()> probe = [] { return std::size_t{0}; })
        : probe_(std::move(probe)) {}
    ~RecordingButton() { UpdateChecker::forgetButton(this); }

    void setEnabled(bool enabled) override {
        enabled_ = enabled;
        changes.push_back({enabled, probe_()});
    }
    bool enabled() const { return enabled_; }

    std::vector<Change> changes;

  private:
    bool enabled_ = true;
    std::function<std::size_t()> probe_;
};

// Records each alert and answers with the queued responses (the first button otherwise).
class RecordingAlerts final : public Alerts {
  public:
    long runModal(const AlertSpec& alert) override {
        std::lock_guard<std::mutex> lock(mutex_);
        shown_.push_back(alert);
        if (answers_.empty()) return firstButtonReturn;
        long answer = answers_.front();
        answers_.pop_front();
        return answer;
    }
    void queueAnswer(long answer) {
        std::lock_guard<std::mutex> lock(mutex_);
        answers_.push_back(answer);
    }
    std::vector<AlertSpec> shown() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return shown_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<AlertSpec> shown_;
    std::deque<long> answers_;
};

}  // namespace quelto::test
