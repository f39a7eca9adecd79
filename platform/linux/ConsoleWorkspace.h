#pragma once
// A workspace for the terminal: opening a URL prints what would be opened. There are no
// running applications and nothing is installed.

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/Workspace.h"

namespace quelto {

class ConsoleWorkspace final : public Workspace {
  public:
    explicit ConsoleWorkspace(std::ostream& out) : out_(out) {}

    // Runs before each line is printed (see ConsoleAlerts).
    void setBeforePrinting(std::function<void()> hook) { beforePrinting_ = std::move(hook); }

    const std::vector<std::string>& openedURLs() const { return opened_; }

    std::vector<RunningApplicationRef> runningApplications() override { return {}; }
    RunningApplicationRef frontmostApplication() override { return nullptr; }
    RunningApplicationRef runningApplication(Pid) override { return nullptr; }
    Pid ownProcessIdentifier() override;
    Subscription observeLaunches(ApplicationHandler) override { return {}; }
    Subscription observeTerminations(ApplicationHandler) override { return {}; }
    std::optional<std::string> pathForApplication(const std::string&) override {
        return std::nullopt;
    }
    std::string displayName(const std::string& path) override;
    std::optional<std::string> bundleIdentifierAtPath(const std::string&) override {
        return std::nullopt;
    }
    bool openURL(const std::string& url) override;
    void selectFile(const std::string& path) override;

  private:
    std::ostream& out_;
    std::function<void()> beforePrinting_;
    std::vector<std::string> opened_;
};

}  // namespace quelto
