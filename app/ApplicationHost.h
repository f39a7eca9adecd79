#pragma once
// What only the application framework can do for the start-up controller: the activation
// policy, activating and terminating this process, the main menu, and creating the views
// that render the status item and the settings window. The macOS shell implements it with
// AppKit; the simulator implements it with records.

#include <memory>
#include <vector>

#include "app/MainMenu.h"
#include "platform/Workspace.h"

namespace quelto {

class StatusItemModel;
class MainWindowModel;

class ApplicationHost {
  public:
    virtual ~ApplicationHost() = default;

    // NSApplication.setActivationPolicy: accessory (no Dock icon) or regular.
    virtual void setActivationPolicy(ActivationPolicy policy) = 0;
    // NSApplication.activate(ignoringOtherApps: true).
    virtual void activateIgnoringOtherApps() = 0;
    // NSApplication.terminate(nil).
    virtual void terminate() = 0;
    // Builds the menu bar from `menus` and installs it as the main menu.
    virtual void installMainMenu(const std::vector<MainMenuMenu>& menus) = 0;

    // Creates the menu-bar item that renders `model`: its icon now (`model.icon()`) and on
    // every `onIconChanged`, its menu from `menuNeedsUpdate()` each time the menu is about
    // to open; the chosen row goes back through `model.perform(row)`.
    virtual void createStatusItem(StatusItemModel& model) = 0;

    // Creates the settings window that renders `model` (it sets `model.onChange`). When the
    // window is about to close, the host calls `AppController::settingsWindowWillClose()`,
    // which lets go of the model and returns to the accessory policy; should the controller
    // be gone by then, the host sets the accessory policy itself.
    virtual void createSettingsWindow(const std::shared_ptr<MainWindowModel>& model) = 0;
    // showWindow(nil) on the window controller and makeKeyAndOrderFront(nil) on its window.
    virtual void showSettingsWindow() = 0;
};

}  // namespace quelto
