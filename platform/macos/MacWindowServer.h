#pragma once
// The window server's list on macOS: CGWindowListCopyWindowInfo, reading only the keys that
// need no Screen Recording permission. The screen arrangement's changes come from AppKit
// (MacScreenArrangement.mm).

#include "platform/WindowServer.h"

namespace quelto::mac {

class MacWindowServer final : public WindowServer {
  public:
    std::vector<WindowServerWindow> windowList(WindowListScope scope) override;
    std::vector<WindowServerWindow> windowsAbove(std::uint32_t number) override;
    Subscription observeScreenArrangement(std::function<void()> handler) override;
};

}  // namespace quelto::mac
