#pragma once
// Everything the menu-bar status item decides, without AppKit: the icon for the current
// configuration, the menu rebuilt from the configuration each time it opens, and the effect
// of each of its actions. The macOS status item controller renders the icon and the rows
// and forwards the chosen row; quelto-sim prints them.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/MenuRow.h"
#include "settings/Config.h"
#include "ui/ShellContext.h"

namespace quelto {

// What the status button shows.
struct StatusIcon {
    bool active = false;
    std::string stateWord;      // "active" / "paused"
    std::string imageName;      // "menubar-active" / "menubar-paused" (a .png template, 18 × 18)
    std::string fallbackTitle;  // "●" / "○", when the image cannot be loaded
    std::string toolTip;        // "Quelto — active" / "Quelto — paused"
    // What VoiceOver says for the menu-bar button: "Quelto is on" / "Quelto is paused".
    std::string accessibilityLabel;

    friend bool operator==(const StatusIcon&, const StatusIcon&) = default;
};

class StatusItemModel {
  public:
    // `refreshIcon()`. The services of `shell` outlive the model.
    explicit StatusItemModel(const ShellContext& shell);

    // Active: `live` and something armed (all, or at least one identifier).
    static bool isActive(const Config& config);
    static StatusIcon iconFor(const Config& config);

    // Recomputes the icon from the configuration file and hands it to `onIconChanged`.
    void refreshIcon();
    const StatusIcon& icon() const { return icon_; }

    // The menu, rebuilt from the configuration, the login item, the frontmost application
    // and the activity journal as they are now.
    std::vector<MenuRow> menuNeedsUpdate() const;

    // Forwards a chosen row (or an action with its represented object).
    void perform(MenuAction action, const std::optional<std::string>& representedObject = {});
    void perform(const MenuRow& row) { perform(row.action, row.representedObject); }

    void toggleLive();
    void setMode(const std::optional<std::string>& representedObject);
    void toggleFrontmost();
    void toggleLoginItem();
    void checkForUpdates();
    void openWindow();
    void quitApp();

    // Set by the application delegate: open the settings window.
    std::function<void()> onOpenWindow;
    // Set by the application delegate: terminate the program.
    std::function<void()> onQuit;
    // Set by the renderer: show this icon.
    std::function<void(const StatusIcon&)> onIconChanged;

  private:
    const ShellContext shell_;
    StatusIcon icon_;
};

}  // namespace quelto
