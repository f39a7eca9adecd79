#pragma once
// A renderer-neutral description of what a settings tab shows: a vertical list of elements
// (texts, controls, rows of buttons, health-check rows, tables), each with its text, font,
// state and the action it sends. The macOS window builds its views from it; quelto-sim and
// the tests print it as text.

#include <string>
#include <string_view>
#include <vector>

namespace quelto {

enum class TextColor { primary, secondary };

// The settings window's actions: what a control sends to the model.
enum class WindowAction {
    none,  // static content
    // The controls with a state, each its own model operation.
    toggleLive,
    changeQuitMode,
    changeEscape,
    toggleLoginItem,
    // Buttons with their own operation: the open panel, the pressed update button.
    addApp,
    checkForUpdates,
    // Buttons that `MainWindowModel::perform` runs.
    revealLog,
    revealConfig,
    openAccessibility,
    copyDiagnostics,
    emailSupport,
    openHelpPage,
    openSite,
    openTerms,
    openPrivacy,
};

// "toggleLive", "revealLog", … as the model operation is named; "" for none.
std::string_view actionName(WindowAction action);

struct ViewElement {
    enum class Kind {
        image,             // `text` is the image name ("AppIcon"), `width` × `height`
        text,              // a label
        separator,         // a horizontal rule between groups
        switchControl,     // `on`; `action`
        segmentedControl,  // `items` are the segments, `selected` the chosen one; `action`
        popUpButton,       // `items`, `selected`; `action`
        checkBox,          // `text` is the title, `on`, `enabled`; `action`
        button,            // `text` is the title; `action`
        linkButton,        // a borderless, link-coloured button; `text`, `action`
        row,               // `children` side by side
        column,            // `children` one under the other
        healthCheck,       // `text` title, `detail`, `symbol` and `on` (passed)
        table,             // `id` names the table ("apps", "activity")
    };

    Kind kind = Kind::text;
    // The control's name, for the renderer to find it again on refresh ("liveSwitch",
    // "statusLabel", "modeControl", "escapeControl", "loginItemBox", "check.0", …); empty
    // for static content.
    std::string id;
    std::string text;
    double fontSize = 13;
    bool semibold = false;
    TextColor color = TextColor::primary;
    bool centred = false;
    double wrapWidth = 0;  // 0: one line, no wrapping
    int maxLines = 0;      // 0: no limit
    double width = 0;      // images
    double height = 0;
    std::vector<std::string> items;
    int selected = -1;
    bool on = false;
    bool enabled = true;
    WindowAction action = WindowAction::none;  // what the control sends to the model
    std::string detail;                        // health checks: the line under the title
    std::string symbol;  // health checks: "checkmark.circle.fill" / "exclamationmark.circle.fill"
    // What VoiceOver says for a control or image that shows no title of its own: the switch,
    // the images, a health check's icon. Empty for elements whose text says it.
    std::string accessibilityLabel;
    std::vector<ViewElement> children;
    // The gap under this element in its tab's stack, where a group ends (the stack's
    // custom spacing); 0 for the tab's own spacing.
    double spacingAfter = 0;
};

// One settings tab: its label and identifier, how its content is laid out, and the content.
struct TabContent {
    std::string identifier;
    std::string label;
    // A stack, or a single table in its scroll view filling the tab.
    enum class Layout { stack, table } layout = Layout::stack;
    // Whether the stack sits in a scrollable container. A stack holding a table does not:
    // it fills the tab, and the table (which scrolls itself) takes the height left over.
    bool scrollable = true;
    bool centred = false;  // About: a centred stack
    double spacing = 0;
    double insetTop = 0;
    double insetSide = 0;
    std::vector<ViewElement> elements;
};

// One column of a table.
struct TableColumn {
    std::string identifier;
    std::string title;
    double width = 0;
};

}  // namespace quelto
