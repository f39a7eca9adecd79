#pragma once
// Alerts on a terminal: each alert is printed (message, informative text, buttons) and
// answered with a preset button, as a user would have clicked it.

#include <functional>
#include <ostream>

#include "platform/Services.h"

namespace quelto {

class ConsoleAlerts final : public Alerts {
  public:
    // `answer` is the button return to give (1000 for the first button, 1001 for the
    // second, …). An answer the alert has no button for is given as 1000, the default
    // button, which is all a real alert could return.
    ConsoleAlerts(std::ostream& out, long answer);

    // Runs before each alert is printed (the command line tool prints the log lines
    // written so far, so the output reads in order).
    void setBeforePrinting(std::function<void()> hook) { beforePrinting_ = std::move(hook); }

    // Prints the alert and answers it at once: a terminal has no run loop to hold.
    void present(const AlertDescription& alert, std::function<void(long)> completion) override;

    int shownCount() const { return shown_; }

  private:
    std::ostream& out_;
    long answer_;
    std::function<void()> beforePrinting_;
    int shown_ = 0;
};

}  // namespace quelto
