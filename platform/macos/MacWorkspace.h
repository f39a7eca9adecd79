#pragma once
// The workspace seam on macOS: NSWorkspace's running applications and their launch and
// termination notifications, plus the file manager and bundle look-ups the settings need.

#include "platform/Workspace.h"

namespace quelto::mac {

class MacWorkspace final : public Workspace {
  public:
    std::vector<RunningApplicationRef> runningApplications() override;
    RunningApplicationRef frontmostApplication() override;
    RunningApplicationRef runningApplication(Pid pid) override;
    Pid ownProcessIdentifier() override;
    Subscription observeLaunches(ApplicationHandler handler) override;
    Subscription observeTerminations(ApplicationHandler handler) override;
    std::optional<std::string> pathForApplication(const std::string& bundleID) override;
    std::string displayName(const std::string& path) override;
    std::optional<std::string> bundleIdentifierAtPath(const std::string& path) override;
    bool openURL(const std::string& url) override;
    void selectFile(const std::string& path) override;
};

// NSWorkspace's did-activate-application notifications, on the main queue: the handler gets
// the application, or nullptr when the notification carries none.
Subscription observeActivatedApplications(Workspace::ApplicationHandler handler);

}  // namespace quelto::mac
