#include "platform/NotificationCenter.h"

#include <vector>

namespace quelto {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

Subscription NotificationCenter::addObserver(const std::string& name,
                                             std::function<void()> handler) {
    std::uint64_t id;
    {
        std::lock_guard lock(mutex_);
        id = next_++;
        observers_.emplace(id, Entry{name, std::move(handler)});
    }
    return Subscription([this, id] {
        std::lock_guard lock(mutex_);
        observers_.erase(id);
    });
}

void NotificationCenter::post(const std::string& name) {
    std::vector<std::function<void()>> handlers;
    std::function<void(const std::string&)> hook;
    {
        std::lock_guard lock(mutex_);
        for (auto& [id, entry] : observers_)
            if (entry.name == name) handlers.push_back(entry.handler);
        hook = hook_;
    }
    for (auto& h : handlers) h();
    if (hook) hook(name);
}

void NotificationCenter::setPostHook(std::function<void(const std::string&)> hook) {
    std::lock_guard lock(mutex_);
    hook_ = std::move(hook);
}

}  // namespace quelto
