#pragma once
// The process's default notification centre: named notifications with no object and no
// user information, delivered synchronously on the posting thread. The macOS shell bridges
// it to NSNotificationCenter.

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "platform/Subscription.h"

namespace quelto {

class NotificationCenter {
  public:
    static NotificationCenter& defaultCenter();

    // Registers `handler` for `name`; the registration ends with the subscription.
    [[nodiscard]] Subscription addObserver(const std::string& name, std::function<void()> handler);

    // Calls every observer of `name`, in registration order, before returning.
    void post(const std::string& name);

    // Called for every post, after the observers (the macOS shell forwards posts here).
    void setPostHook(std::function<void(const std::string&)> hook);

  private:
    struct Entry {
        std::string name;
        std::function<void()> handler;
    };
    std::mutex mutex_;
    std::map<std::uint64_t, Entry> observers_;
    std::uint64_t next_ = 1;
    std::function<void(const std::string&)> hook_;
};

}  // namespace quelto
