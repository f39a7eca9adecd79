#pragma once
// A registration that ends when its owner lets go of it: observers unregister in
// destructors, so nothing is ever delivered to an object that is gone.

#include <functional>
#include <utility>

namespace quelto {

class Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            cancel();
            cancel_ = std::exchange(other.cancel_, {});
        }
        return *this;
    }
    ~Subscription() { cancel(); }

    void cancel() {
        if (auto c = std::exchange(cancel_, {})) c();
    }
    bool active() const { return static_cast<bool>(cancel_); }

  private:
    std::function<void()> cancel_;
};

}  // namespace quelto
