#pragma once
// Helpers for the update checker's tests: an update button that remembers its states and
// modal alerts that record what they show (the log's lines come from LogCapture).

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Services.h"
#include "tests/support/LogCapture.h"
#include "update/UpdateChecker.h"

namespace quelto::test {

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
    void present(const AlertDescription& alert, std::function<void(long)> completion) override {
        long answer = firstButtonReturn;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            shown_.push_back(alert);
            if (!answers_.empty()) {
                answer = answers_.front();
                answers_.pop_front();
            }
        }
        if (completion) completion(answer);
    }
    void queueAnswer(long answer) {
        std::lock_guard<std::mutex> lock(mutex_);
        answers_.push_back(answer);
    }
    std::vector<AlertDescription> shown() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return shown_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<AlertDescription> shown_;
    std::deque<long> answers_;
};

}  // namespace quelto::test
