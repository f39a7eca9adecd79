#include "sim/SimApplicationHost.h"

namespace quelto::sim {

SimApplicationHost::SimApplicationHost(std::function<void()> onActivate,
                                       std::function<void(ActivationPolicy)> onPolicyChange)
    : onActivate_(std::move(onActivate)), onPolicyChange_(std::move(onPolicyChange)) {}

void SimApplicationHost::setActivationPolicy(ActivationPolicy policy) {
    policy_ = policy;
    if (onPolicyChange_) onPolicyChange_(policy);
}

void SimApplicationHost::activateIgnoringOtherApps() {
    ++activations_;
    if (onActivate_) onActivate_();
}

void SimApplicationHost::terminate() {
    terminateRequested_ = true;
}

void SimApplicationHost::installMainMenu(const std::vector<MainMenuMenu>& menus) {
    mainMenu_ = menus;
}

void SimApplicationHost::createStatusItem(StatusItemModel& model) {
    statusItem_ = &model;
    model.onIconChanged = [this](const StatusIcon& icon) { icon_ = icon; };
    icon_ = model.icon();
}

void SimApplicationHost::createSettingsWindow(const std::shared_ptr<MainWindowModel>& model) {
    window_ = model;
    visible_ = false;
    model->onChange = [](MainWindowModel::Change) {};
}

void SimApplicationHost::showSettingsWindow() {
    visible_ = true;
}

}  // namespace quelto::sim
