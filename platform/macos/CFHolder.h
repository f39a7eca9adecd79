#pragma once
// Ownership of one Core Foundation reference (CFStringRef, AXUIElementRef, CGEventRef, …): the
// holder releases it when it goes, so no code path forgets a CFRelease or releases twice.
//
//     CFHolder<CFStringRef> name(createCFString(text));    // takes over a Create/Copy result
//     auto element = CFHolder<AXUIElementRef>::retain(ref);  // its own reference to a borrowed one
//     CFHolder<CFTypeRef> copied;
//     AXUIElementCopyAttributeValue(element.get(), name.get(), copied.out());
//
// A holder may be empty (null). It moves, and never copies.

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace quelto::mac {

template <typename Ref>
class CFHolder {
  public:
    CFHolder() = default;
    // Takes over a reference the caller owns (+1: a Create or Copy result); null is allowed.
    explicit CFHolder(Ref owned) : ref_(owned) {}
    // Retains a borrowed reference (a callback argument, an item of an array).
    static CFHolder retain(Ref borrowed) {
        if (borrowed) CFRetain(borrowed);
        return CFHolder(borrowed);
    }

    ~CFHolder() { reset(); }
    CFHolder(const CFHolder&) = delete;
    CFHolder& operator=(const CFHolder&) = delete;
    CFHolder(CFHolder&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    CFHolder& operator=(CFHolder&& other) noexcept {
        if (this != &other) {
            reset();
            ref_ = std::exchange(other.ref_, nullptr);
        }
        return *this;
    }

    Ref get() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }

    // Where a Create or Copy function writes its result: releases what is held, then hands
    // out the empty slot, so the holder owns whatever the function puts there.
    Ref* out() {
        reset();
        return &ref_;
    }

    void reset() {
        if (ref_) CFRelease(ref_);
        ref_ = nullptr;
    }

  private:
    Ref ref_ = nullptr;
};

}  // namespace quelto::mac
