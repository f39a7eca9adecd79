#pragma once
// The general pasteboard (NSPasteboard), plain text only.

#include "platform/Services.h"

namespace quelto::mac {

class MacPasteboard final : public Pasteboard {
  public:
    void setString(const std::string& text) override;
};

}  // namespace quelto::mac
