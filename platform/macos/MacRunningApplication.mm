#include "platform/macos/MacRunningApplication.h"

#include "platform/macos/NSStrings.h"

namespace quelto::mac {

namespace {

class MacRunningApplication final : public RunningApplication {
  public:
    explicit MacRunningApplication(NSRunningApplication* application) : app_(application) {}

    Pid processIdentifier() const override { return app_.processIdentifier; }
    std::optional<std::string> localizedName() const override {
        return toOptionalString(app_.localizedName);
    }
    std::optional<std::string> bundleIdentifier() const override {
        return toOptionalString(app_.bundleIdentifier);
    }
    ActivationPolicy activationPolicy() const override {
        return static_cast<ActivationPolicy>(app_.activationPolicy);
    }
    // The polite request only: the application may ask to save, or decline.
    bool terminate() override { return [app_ terminate]; }
    bool isTerminated() const override { return app_.terminated; }
    bool activate() override { return [app_ activateWithOptions:0]; }

  private:
    NSRunningApplication* app_;
};

}  // namespace

RunningApplicationRef wrapRunningApplication(NSRunningApplication* application) {
    if (!application) return nullptr;
    return std::make_shared<MacRunningApplication>(application);
}

}  // namespace quelto::mac
