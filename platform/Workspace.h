#pragma once
// Running applications and the workspace's launch and termination events (NSWorkspace,
// NSRunningApplication), plus the few file and URL services of the workspace.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "platform/Types.h"

namespace quelto {

// NSApplicationActivationPolicy.
enum class ActivationPolicy : int { regular = 0, accessory = 1, prohibited = 2 };

// One running application (NSRunningApplication).
class RunningApplication {
  public:
    virtual ~RunningApplication() = default;
    virtual Pid processIdentifier() const = 0;
    virtual std::optional<std::string> localizedName() const = 0;
    virtual std::optional<std::string> bundleIdentifier() const = 0;
    virtual ActivationPolicy activationPolicy() const = 0;
    // The polite quit request; the result only says whether it was delivered.
    // (There is deliberately no forced variant anywhere in the seam.)
    virtual bool terminate() = 0;
    virtual bool isTerminated() const = 0;
    // Brings the application to the front (activate(options:) with no options).
    virtual bool activate() = 0;
};

using RunningApplicationRef = std::shared_ptr<RunningApplication>;

class Workspace {
  public:
    virtual ~Workspace() = default;

    // The running applications, in the order the platform lists them.
    virtual std::vector<RunningApplicationRef> runningApplications() = 0;
    // NSWorkspace.frontmostApplication; nullptr when there is none.
    virtual RunningApplicationRef frontmostApplication() = 0;
    // runningApplicationWithProcessIdentifier; nullptr when no such process runs.
    virtual RunningApplicationRef runningApplication(Pid pid) = 0;
    // This program's own process identifier.
    virtual Pid ownProcessIdentifier() = 0;

    // Launch and termination notifications, delivered on the main thread. The handler gets
    // the notification's application, or nullptr when the notification carried none.
    using ApplicationHandler = std::function<void(const RunningApplicationRef&)>;
    virtual Subscription observeLaunches(ApplicationHandler handler) = 0;
    virtual Subscription observeTerminations(ApplicationHandler handler) = 0;

    // urlForApplication(withBundleIdentifier:): the application's path, if installed.
    virtual std::optional<std::string> pathForApplication(const std::string& bundleID) = 0;
    // The file manager's display name of a path (for an application: "Name.app" or "Name").
    virtual std::string displayName(const std::string& path) = 0;
    // The bundle identifier of the bundle at a path, if it can be read.
    virtual std::optional<std::string> bundleIdentifierAtPath(const std::string& path) = 0;
    // Opens a URL, activating the application that opens it. False when it cannot.
    virtual bool openURL(const std::string& url) = 0;
    // Shows a file selected in a Finder window.
    virtual void selectFile(const std::string& path) = 0;
};

}  // namespace quelto
