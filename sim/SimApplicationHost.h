#pragma once
// The application framework as the simulated desktop plays it: the start-up controller's host,
// keeping a record of what a person would see (the Dock icon, the main menu, the status item and
// the settings window) instead of drawing it.

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "app/ApplicationHost.h"
#include "app/StatusItemModel.h"
#include "ui/MainWindowModel.h"

namespace quelto::sim {

class SimApplicationHost final : public ApplicationHost {
  public:
    // `onActivate` brings this program to the front of the simulated desktop;
    // `onPolicyChange` gives its process the new activation policy there.
    explicit SimApplicationHost(std::function<void()> onActivate = {},
                                std::function<void(ActivationPolicy)> onPolicyChange = {});

    void setActivationPolicy(ActivationPolicy policy) override;
    void activateIgnoringOtherApps() override;
    void terminate() override;
    void installMainMenu(const std::vector<MainMenuMenu>& menus) override;
    void createStatusItem(StatusItemModel& model) override;
    void createSettingsWindow(const std::shared_ptr<MainWindowModel>& model) override;
    void showSettingsWindow() override;

    ActivationPolicy activationPolicy() const { return policy_; }
    bool terminateRequested() const { return terminateRequested_; }
    const std::vector<MainMenuMenu>& mainMenu() const { return mainMenu_; }
    StatusItemModel* statusItem() const { return statusItem_; }
    // The settings window while it is open (the model is the controller's).
    std::shared_ptr<MainWindowModel> settingsWindow() const { return window_.lock(); }
    bool settingsWindowVisible() const { return visible_ && !window_.expired(); }
    void settingsWindowClosed() { visible_ = false; }
    // The icon as the status button shows it now.
    const std::optional<StatusIcon>& icon() const { return icon_; }
    int activations() const { return activations_; }

  private:
    std::function<void()> onActivate_;
    std::function<void(ActivationPolicy)> onPolicyChange_;
    ActivationPolicy policy_ = ActivationPolicy::accessory;
    bool terminateRequested_ = false;
    std::vector<MainMenuMenu> mainMenu_;
    StatusItemModel* statusItem_ = nullptr;
    std::weak_ptr<MainWindowModel> window_;
    bool visible_ = false;
    std::optional<StatusIcon> icon_;
    int activations_ = 0;
};

}  // namespace quelto::sim
