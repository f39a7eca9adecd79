// The close-button cache of a watcher: each watched window's close-button frame (with a
// little slack) or the reason it has none, refreshed with short retries for failures that
// look transient, and the hit tests the engine runs for every click.

#include <algorithm>
#include <string>

#include "accessibility/AXRead.h"
#include "accessibility/AppWatcher.h"
#include "accessibility/WindowClassification.h"
#include "settings/Log.h"

namespace quelto {

namespace {

// A click on the very rim of the red dot still counts.
constexpr double frameSlack = 2.0;
// Retries follow attempt × 0.5 s while the attempt is this or less.
constexpr int lastRetriedAttempt = 3;
constexpr double retryStep = 0.5;
// The live hit test refreshes with an attempt above the limit, so it never starts retries.
constexpr int liveAttempt = 99;
// The window buttons sit in the top of the window, in a band at most this high: a unified
// title bar with a toolbar (52 points, the buttons in its middle); a plain title bar is 28
// points, and an expanded toolbar lies below the buttons' row. Showing or hiding the toolbar
// moves the buttons up or down within the band, never sideways, and tells no one.
constexpr double titleBarBand = 52.0;

// Where a click may land on the window's close button, moved or not: the cached frame, and
// the rest of its columns down the title-bar band of the window's last known frame.
Rect buttonReach(Rect button, const std::optional<Rect>& window) {
    if (!window) return button;
    double top = std::min(button.minY(), window->minY());
    double bottom =
        std::max(button.maxY(), window->minY() + std::min(titleBarBand, window->size.height));
    return Rect{{button.minX(), top}, {button.size.width, bottom - top}};
}

bool isDialogSubrole(const std::string& subrole) {
    return subrole == "AXDialog" || subrole == "AXSystemDialog" ||
           subrole == "AXApplicationDialog" || subrole == "AXApplicationAlertDialog";
}

}  // namespace

AppWatcher::Edges AppWatcher::Edges::of(Rect r) {
    double x0 = r.size.width < 0 ? r.origin.x + r.size.width : r.origin.x;
    double y0 = r.size.height < 0 ? r.origin.y + r.size.height : r.origin.y;
    double w = r.size.width < 0 ? -r.size.width : r.size.width;
    double h = r.size.height < 0 ? -r.size.height : r.size.height;
    return Edges{x0, y0, x0 + w, y0 + h};
}

namespace {

// The index of the first of `reaches[from…count)` that contains the point, or `count`.
template <typename Reach>
inline std::size_t firstReach(const Reach* reaches, std::size_t from, std::size_t count, Point at) {
    for (std::size_t i = from; i < count; ++i)
        if (reaches[i].contains(at)) return i;
    return count;
}

}  // namespace

void AppWatcher::storeFrame(const WindowRef& ref, Rect frame, const std::optional<Rect>& window) {
    auto [it, inserted] = frames_.insert_or_assign(ref, frame);
    (void)it;
    Edges reach = Edges::of(buttonReach(frame, window));
    if (!inserted) {
        for (std::size_t i = 0; i < hitWindows_.size(); ++i) {
            if (hitWindows_[i] == ref) {
                hitReaches_[i] = reach;
                hitFrames_[i] = frame;
                return;
            }
        }
    }
    hitReaches_.push_back(reach);
    hitFrames_.push_back(frame);
    hitWindows_.push_back(ref);
}

void AppWatcher::retitled(const AXElement& window) {
    auto found = known_.find(WindowRef{window});
    if (found == known_.end() || !found->second.title) return;
    // Left alone: the new title is read once the period is over.
    if (deferWhileLeftAlone([window](AppWatcher& self) { self.retitled(window); })) return;
    ReadsOf reads(quiet_, ReadsOf::Mode::leaveAlone);
    std::string title = windowTitle(window);
    // A title that could not be read (the app stopped answering meanwhile) is no new title.
    if (quiet_.isQuiet()) return;
    found = known_.find(WindowRef{window});
    if (found != known_.end()) found->second.title = std::move(title);
}

void AppWatcher::forgetFrame(const WindowRef& ref) {
    known_.erase(ref);
    if (frames_.erase(ref) == 0) return;
    for (std::size_t i = 0; i < hitWindows_.size(); ++i) {
        if (hitWindows_[i] == ref) {
            // Order within the flat copy carries no meaning: swap the last one in.
            hitReaches_[i] = hitReaches_.back();
            hitFrames_[i] = hitFrames_.back();
            hitWindows_[i] = std::move(hitWindows_.back());
            hitReaches_.pop_back();
            hitFrames_.pop_back();
            hitWindows_.pop_back();
            return;
        }
    }
}

bool AppWatcher::refreshCloseButton(const AXElement& window, int attempt) {
    WindowRef ref{window};
    // Late retries for windows already destroyed end here.
    if (!watchedWindows_.count(ref)) return false;
    // Left alone: the live hit test does without, anything else is read once the period is
    // over (one refresh per window stands for every one asked meanwhile, at the first one's
    // attempt). The cache keeps what it has.
    if (quiet_.isQuiet()) {
        if (attempt == liveAttempt || !refreshDeferred_.insert(ref).second) return false;
        deferWhileLeftAlone([window, attempt](AppWatcher& self) {
            self.refreshDeferred_.erase(WindowRef{window});
            self.refreshCloseButton(window, attempt);
        });
        return false;
    }
    ReadsOf reads(quiet_, ReadsOf::Mode::leaveAlone);

    CloseButtonMiss miss;
    Standardness kind = standardness(window);
    switch (kind.kind) {
        case Standardness::Kind::unreadable:
            miss = CloseButtonMiss::transientFailure(kind.error);
            break;
        case Standardness::Kind::other:
            miss = CloseButtonMiss::notStandardWindow();
            break;
        case Standardness::Kind::standard: {
            confirmedStandard_.insert(ref);
            Read<AXValue> read = axCopyChecked(window, "AXCloseButton");
            const AXElement* button = read.value ? read.value->get<AXElement>() : nullptr;
            if (button && *button) {
                std::optional<bool> enabled = axBool(*button, "AXEnabled");
                if (enabled == std::optional<bool>(false)) {
                    miss = CloseButtonMiss::disabled();
                } else if (std::optional<Rect> frame = axFrame(*button)) {
                    // The window as it is now, for the clicks on this button: read here, once
                    // per move, resize or refresh, so that a click needs no read of its own.
                    KnownWindow known{axFrame(window), std::nullopt};
                    if (titleFollowed_.count(ref)) known.title = windowTitle(window);
                    storeFrame(ref, frame->outset(frameSlack), known.frame);
                    misses_.erase(ref);
                    known_.insert_or_assign(ref, std::move(known));
                    return true;
                } else {
                    miss = CloseButtonMiss::noFrame();
                }
            } else if (read.error == axerror::attributeUnsupported ||
                       read.error == axerror::noValue) {
                miss = CloseButtonMiss::unsupported(read.error);
            } else {
                // Success is possible here, when the platform gave nothing or the wrong type.
                miss = CloseButtonMiss::transientFailure(read.error);
            }
            break;
        }
    }

    forgetFrame(ref);
    misses_.insert_or_assign(ref, miss);

    if (miss.kind == CloseButtonMiss::Kind::unsupported) {
        if (noted_.insert(ref).second) {
            quelto::log("note: " + name + " window \"" + windowTitle(window) + "\" — " +
                        miss.description());
        }
        return false;
    }
    if (miss.isWorthRetrying() && attempt <= lastRetriedAttempt) {
        context_.mainQueue.asyncAfter(attempt * retryStep,
                                      [weak = weak_from_this(), window, attempt] {
                                          if (auto self = weak.lock())
                                              self->refreshCloseButton(window, attempt + 1);
                                      });
    }
    return false;
}

void AppWatcher::refreshEveryCloseButton() {
    // A copy: a refresh that finds a window gone does not change the set, but stays safe if
    // it ever did.
    std::vector<WindowRef> windows(watchedWindows_.begin(), watchedWindows_.end());
    for (const WindowRef& ref : windows) {
        auto miss = misses_.find(ref);
        if (miss != misses_.end() && miss->second.kind == CloseButtonMiss::Kind::unsupported)
            continue;  // custom chrome is final
        refreshCloseButton(ref.element, 1);
    }
}

std::optional<WindowRef> AppWatcher::closeButtonHit(Point at) const {
    return closeButtonHit(at, nullptr);
}

std::optional<WindowRef> AppWatcher::closeButtonHit(Point at,
                                                    std::optional<WindowRef>* inTitleBar) const {
    // Runs for every click anywhere: a plain walk over the flat rectangles, no platform call.
    // Each reach holds its close button, so a point outside every reach costs one test per
    // frame, in the tight loop; only a point inside one looks at the button itself.
    const Edges* reaches = hitReaches_.data();
    const std::size_t count = hitReaches_.size();
    for (std::size_t i = firstReach(reaches, 0, count, at); i < count;
         i = firstReach(reaches, i + 1, count, at)) {
        if (hitFrames_[i].contains(at)) return hitWindows_[i];
        if (inTitleBar && !*inTitleBar) *inTitleBar = hitWindows_[i];
    }
    return std::nullopt;
}

bool AppWatcher::rereadCloseButton(const WindowRef& window) {
    if (!watchedWindows_.count(window)) return false;
    auto miss = misses_.find(window);
    if (miss != misses_.end() && miss->second.kind == CloseButtonMiss::Kind::unsupported)
        return false;  // custom chrome is final
    auto frame = frames_.find(window);
    auto known = known_.find(window);
    std::optional<Rect> before;
    std::optional<KnownWindow> knownBefore;
    if (frame != frames_.end()) before = frame->second;
    if (known != known_.end()) knownBefore = known->second;
    if (refreshCloseButton(window.element, liveAttempt)) return true;
    // A read that failed (an application that does not answer) says nothing of where the
    // button is: the frame cached before stays, as what is known of the window.
    miss = misses_.find(window);
    if (before && miss != misses_.end() && miss->second.isWorthRetrying()) {
        misses_.erase(miss);
        storeFrame(window, *before, knownBefore ? knownBefore->frame : std::nullopt);
        if (knownBefore) known_.insert_or_assign(window, std::move(*knownBefore));
    }
    return false;
}

std::optional<WindowRef> AppWatcher::liveCloseButtonHit(Point at) {
    // An app left alone is not asked: its click is not attributed, as for a read that fails.
    if (quiet_.isQuiet()) return std::nullopt;
    // The refreshes below change the cache, never the set of watched windows, so the walk
    // needs no copy: a click that only misses cached frames stays free of allocations.
    for (const WindowRef& ref : watchedWindows_) {
        if (frames_.count(ref)) continue;  // the cached test already covered it
        auto miss = misses_.find(ref);
        if (miss != misses_.end() && miss->second.kind == CloseButtonMiss::Kind::unsupported)
            continue;  // custom chrome is final
        if (!refreshCloseButton(ref.element, liveAttempt)) continue;
        auto frame = frames_.find(ref);
        if (frame != frames_.end() && frame->second.contains(at)) return ref;
    }
    return std::nullopt;
}

namespace {

// Whether a failed list read says nothing about the list: an error other than "there is no
// such list" (no value, attribute unsupported) or "the element is gone".
bool readLeftUnknown(const Read<std::vector<AXElement>>& read) {
    if (read.value) return false;
    return read.error != axerror::noValue && read.error != axerror::attributeUnsupported &&
           read.error != axerror::invalidUIElement;
}

}  // namespace

AppWatcher::CloseHold AppWatcher::closeBlockedState(const WindowRef& window, Date since) const {
    // A read the close's decision needs: asked even of an app left alone, and timed, so
    // that a time-out here leaves the app alone for the reads that can wait.
    ReadsOf reads(quiet_, ReadsOf::Mode::ask);
    // Up before the click: first seen before `since`. Never seen: its birth is unknown, and
    // it holds.
    auto cameFirst = [this, since](const AXElement& element) {
        auto seen = firstSeen_.find(WindowRef{element});
        return seen != firstSeen_.end() && seen->second < since;
    };
    Read<std::vector<AXElement>> children = axElementsChecked(window.element, "AXChildren");
    for (const AXElement& child : children.value.value_or(std::vector<AXElement>{})) {
        if (cameFirst(child)) continue;
        if (axString(child, "AXRole") == std::optional<std::string>("AXSheet"))
            return {true, std::nullopt};
    }
    bool unknown = readLeftUnknown(children);
    Read<std::vector<AXElement>> windows = axElementsChecked(appElement_, "AXWindows");
    for (const AXElement& other : windows.value.value_or(std::vector<AXElement>{})) {
        if (cameFirst(other)) continue;
        auto subrole = axString(other, "AXSubrole");
        if (subrole && isDialogSubrole(*subrole)) return {true, WindowRef{other}};
    }
    if (unknown || readLeftUnknown(windows)) return {std::nullopt, std::nullopt};
    return {false, std::nullopt};
}

std::optional<bool> AppWatcher::isDialog(const WindowRef& window) const {
    ReadsOf reads(quiet_, ReadsOf::Mode::ask);
    Read<AXValue> subrole = axCopyChecked(window.element, "AXSubrole");
    if (subrole.value) {
        const std::string* text = subrole.value->get<std::string>();
        return text && isDialogSubrole(*text);
    }
    if (subrole.error == axerror::invalidUIElement || subrole.error == axerror::noValue ||
        subrole.error == axerror::attributeUnsupported)
        return false;
    return std::nullopt;
}

std::optional<Date> AppWatcher::firstSeen(const WindowRef& element) const {
    auto seen = firstSeen_.find(element);
    if (seen == firstSeen_.end()) return std::nullopt;
    return seen->second;
}

std::optional<std::vector<AXElement>> AppWatcher::readWindows() const {
    // Left alone, the list is not asked for: none, as if the read had timed out.
    ReadsOf reads(quiet_, ReadsOf::Mode::leaveAlone);
    Read<std::vector<AXElement>> windows = axElementsChecked(appElement_, "AXWindows");
    if (!windows.value && windows.error == axerror::noValue) return std::vector<AXElement>{};
    return windows.value;
}

std::optional<CloseButtonMiss> AppWatcher::missReason(const WindowRef& window) const {
    auto it = misses_.find(window);
    if (it == misses_.end()) return std::nullopt;
    return it->second;
}

}  // namespace quelto
