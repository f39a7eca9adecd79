#include "platform/macos/MacSpaceLookups.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dlfcn.h>

namespace quelto::mac {

namespace {

// The private signatures, as the window server and HIServices export them.
using GetWindowFn = ::AXError (*)(AXUIElementRef, std::uint32_t*);
using MainConnectionFn = int (*)();
using ActiveSpaceFn = std::uint64_t (*)(int);
using SpacesForWindowsFn = CFArrayRef (*)(int, int, CFArrayRef);

// Every kind of Space a window may be on (current, other, full screen).
constexpr int allSpacesMask = 0x7;

struct Symbols {
    GetWindowFn getWindow = nullptr;
    MainConnectionFn mainConnection = nullptr;
    ActiveSpaceFn activeSpace = nullptr;
    SpacesForWindowsFn spacesForWindows = nullptr;

    bool complete() const { return getWindow && mainConnection && activeSpace && spacesForWindows; }
};

template <typename Fn>
Fn symbol(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
}

const Symbols& symbols() {
    static const Symbols found = [] {
        Symbols s;
        s.getWindow = symbol<GetWindowFn>("_AXUIElementGetWindow");
        s.mainConnection = symbol<MainConnectionFn>("CGSMainConnectionID");
        s.activeSpace = symbol<ActiveSpaceFn>("CGSGetActiveSpace");
        s.spacesForWindows = symbol<SpacesForWindowsFn>("CGSCopySpacesForWindows");
        return s;
    }();
    return found;
}

// Holds a copied Core Foundation object and releases it.
class Owned {
  public:
    explicit Owned(CFTypeRef object) : object_(object) {}
    ~Owned() {
        if (object_) CFRelease(object_);
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    CFTypeRef get() const { return object_; }

  private:
    CFTypeRef object_;
};

}  // namespace

bool spaceLookupsFound() {
    return symbols().complete();
}

std::optional<std::uint32_t> lookUpWindowNumber(AXUIElementRef window) {
    const Symbols& s = symbols();
    if (!s.getWindow || !window) return std::nullopt;
    std::uint32_t number = 0;
    if (s.getWindow(window, &number) != kAXErrorSuccess || number == 0) return std::nullopt;
    return number;
}

std::optional<std::uint64_t> lookUpActiveSpace() {
    const Symbols& s = symbols();
    if (!s.mainConnection || !s.activeSpace) return std::nullopt;
    std::uint64_t space = s.activeSpace(s.mainConnection());
    if (space == 0) return std::nullopt;
    return space;
}

std::optional<std::vector<std::uint64_t>> lookUpSpacesOfWindow(std::uint32_t number) {
    const Symbols& s = symbols();
    if (!s.mainConnection || !s.spacesForWindows) return std::nullopt;
    std::int64_t wide = number;
    Owned id(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &wide));
    if (!id.get()) return std::nullopt;
    const void* items[] = {id.get()};
    Owned ids(CFArrayCreate(kCFAllocatorDefault, items, 1, &kCFTypeArrayCallBacks));
    if (!ids.get()) return std::nullopt;
    Owned spaces(
        s.spacesForWindows(s.mainConnection(), allSpacesMask, static_cast<CFArrayRef>(ids.get())));
    // No answer at all is not "on no Space": the lookup failed.
    if (!spaces.get() || CFGetTypeID(spaces.get()) != CFArrayGetTypeID()) return std::nullopt;
    auto list = static_cast<CFArrayRef>(spaces.get());
    std::vector<std::uint64_t> out;
    for (CFIndex i = 0, n = CFArrayGetCount(list); i < n; ++i) {
        const void* item = CFArrayGetValueAtIndex(list, i);
        if (!item || CFGetTypeID(item) != CFNumberGetTypeID()) continue;
        std::int64_t space = 0;
        if (CFNumberGetValue(static_cast<CFNumberRef>(item), kCFNumberSInt64Type, &space))
            out.push_back(static_cast<std::uint64_t>(space));
    }
    return out;
}

}  // namespace quelto::mac
