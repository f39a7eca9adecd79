#pragma once
// A workspace that passes everything on to another one; tests derive from it to change the
// one thing they need (what a quit request reports, which notifications arrive).

#include "platform/Workspace.h"

namespace quelto::enginetest {

class ForwardingWorkspace : public Workspace {
  public:
    explicit ForwardingWorkspace(Workspace& inner) : inner_(inner) {}

    std::vector<RunningApplicationRef> runningApplications() override {
        return inner_.runningApplications();
    }
    RunningApplicationRef frontmostApplication() override { return inner_.frontmostApplication(); }
    RunningApplicationRef runningApplication(Pid pid) override {
        return inner_.runningApplication(pid);
    }
    Pid ownProcessIdentifier() override { return inner_.ownProcessIdentifier(); }
    Subscription observeLaunches(ApplicationHandler handler) override {
        return inner_.observeLaunches(std::move(handler));
    }
    Subscription observeTerminations(ApplicationHandler handler) override {
        return inner_.observeTerminations(std::move(handler));
    }
    std::optional<std::string> pathForApplication(const std::string& id) override {
        return inner_.pathForApplication(id);
    }
    std::string displayName(const std::string& path) override { return inner_.displayName(path); }
    std::optional<std::string> bundleIdentifierAtPath(const std::string& path) override {
        return inner_.bundleIdentifierAtPath(path);
    }
    bool openURL(const std::string& url) override { return inner_.openURL(url); }
    void selectFile(const std::string& path) override { inner_.selectFile(path); }

  protected:
    Workspace& inner_;
};

}  // namespace quelto::enginetest
