#pragma once
// The window server's list on macOS: CGWindowListCopyWindowInfo, reading only the keys that
// need no Screen Recording permission.

#include "platform/WindowServer.h"

namespace quelto::mac {

class MacWindowServer final : public WindowServer {
  public:
    std::vector<WindowServerWindow> windowList(WindowListScope scope) override;
};

}  // namespace quelto::mac
