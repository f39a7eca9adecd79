#pragma once
// The Accessibility seam on macOS: application elements, observers and the trust queries.

#include "platform/Accessibility.h"

namespace quelto::mac {

class MacAccessibility final : public Accessibility {
  public:
    AXElement createApplication(Pid pid) override;
    AXError setSystemWideMessagingTimeout(float seconds) override;
    std::unique_ptr<AXObserver> createObserver(Pid pid, AXObserverCallback callback,
                                               AXError& error) override;
    bool isProcessTrusted() override;
    bool isProcessTrustedWithPrompt() override;
};

}  // namespace quelto::mac
