// The watcher of one application: its observer, the windows it follows, the notifications it
// handles, and the reports of destroyed windows it sends to the engine.

#include "accessibility/AppWatcher.h"

#include <string>

#include "accessibility/AXRead.h"
#include "accessibility/WindowClassification.h"
#include "platform/AXNotifications.h"

namespace quelto {

namespace {

std::string nameOf(const RunningApplicationRef& app) {
    if (auto name = app->localizedName()) return *name;
    return "pid " + std::to_string(app->processIdentifier());
}

}  // namespace

std::shared_ptr<AppWatcher> AppWatcher::create(const RunningApplicationRef& app,
                                               DestroyedWindowSink& engine,
                                               const WatcherContext& context) {
    if (!app || app->processIdentifier() < 1) return nullptr;
    auto watcher = std::make_shared<AppWatcher>(Token{}, app, engine, context);
    // Attaching happens once the watcher is shared, so the close-button retries it starts
    // can hold it weakly.
    if (!watcher->attach()) return nullptr;
    return watcher;
}

AppWatcher::AppWatcher(Token, const RunningApplicationRef& app, DestroyedWindowSink& engine,
                       const WatcherContext& context)
    : pid(app->processIdentifier()),
      name(nameOf(app)),
      bundleID(app->bundleIdentifier().value_or("<none>")),
      attachedAt(context.clock.now()),
      context_(context),
      quiet_(context.clock, name),
      engine_(engine) {}

AppWatcher::~AppWatcher() {
    // The refcon is this object, unretained: the source leaves the run loop before the
    // memory goes, so no callback can reach a released watcher.
    if (observer_) observer_->removeRunLoopSourceFromMainRunLoop();
}

bool AppWatcher::attach() {
    Accessibility& ax = context_.accessibility;
    appElement_ = ax.createApplication(pid);
    if (appElement_) appElement_->setMessagingTimeout(1.0f);

    AXError error;
    std::unique_ptr<AXObserver> observer =
        ax.createObserver(pid, &AppWatcher::observerCallback, error);
    if (!error.isSuccess() || !observer) return false;
    observer_ = std::move(observer);
    observer_->addRunLoopSourceToMainRunLoop();

    // An app still starting up may refuse these for a moment: they are tried again.
    registerAppNotifications({std::string(nameOf(AXNotification::windowCreated)),
                              std::string(nameOf(AXNotification::focusedWindowChanged))},
                             1);

    // A busy app may not answer the list now either: it is read again on the same schedule.
    readWindowsAtAttach(1);
    return true;
}

bool AppWatcher::deferWhileLeftAlone(std::function<void(AppWatcher&)> later) {
    if (!quiet_.isQuiet()) return false;
    context_.mainQueue.asyncAfter(quiet_.remaining(),
                                  [weak = weak_from_this(), later = std::move(later)] {
                                      if (auto self = weak.lock()) later(*self);
                                  });
    return true;
}

AXError AppWatcher::addNotification(const AXElement& element, const std::string& notification) {
    // Left alone: not asked, refused as the app would have after its time-out.
    ReadsOf calls(quiet_, ReadsOf::Mode::leaveAlone);
    return axAddNotification(*observer_, element, notification, this);
}

void AppWatcher::watch(const AXElement& window) {
    if (!window || !observer_) return;
    WindowRef ref{window};
    if (!watchedWindows_.insert(ref).second) return;
    // Seen now: announced, found when attaching, or caught up with (a window that opened
    // unannounced was born earlier still).
    firstSeen_.emplace(ref, context_.clock.now());
    follow(window);
}

void AppWatcher::follow(const AXElement& window) {
    // A window closed meanwhile needs nothing more.
    if (!observer_ || !watchedWindows_.count(WindowRef{window})) return;
    if (deferWhileLeftAlone([window](AppWatcher& self) { self.follow(window); })) return;
    registerWindowNotifications(window,
                                {std::string(nameOf(AXNotification::elementDestroyed)),
                                 std::string(nameOf(AXNotification::windowMoved)),
                                 std::string(nameOf(AXNotification::windowResized))},
                                1);
    followTitleAndButton(window);
}

void AppWatcher::followTitleAndButton(const AXElement& window) {
    if (!observer_ || !watchedWindows_.count(WindowRef{window})) return;
    // The registrations just made may have timed out.
    if (deferWhileLeftAlone([window](AppWatcher& self) { self.followTitleAndButton(window); }))
        return;
    WindowRef ref{window};
    // The title is followed, once and quietly, so that a click's log line needs no read of
    // its own; a window that does not take the notification has its title read at the click.
    AXError followed = addNotification(window, std::string(nameOf(AXNotification::titleChanged)));
    if (followed.isSuccess() || followed == axerror::notificationAlreadyRegistered)
        titleFollowed_.insert(ref);
    refreshCloseButton(window, 1);
}

void AppWatcher::observerCallback(AXObserver&, const AXElement& element,
                                  const std::string& notification, void* refcon) {
    if (!refcon) return;
    // Held for the length of the call: the engine may drop the watcher while it reports.
    std::shared_ptr<AppWatcher> self = static_cast<AppWatcher*>(refcon)->weak_from_this().lock();
    if (!self) return;
    self->handle(notification, element);
}

void AppWatcher::handle(const std::string& notification, const AXElement& element) {
    std::optional<AXNotification> known = axNotificationNamed(notification);
    if (!known) return;
    switch (*known) {
        case AXNotification::windowCreated:
            // Announced again (shown anew after its app ordered it out, as an app does with an
            // alert it keeps): seen anew, so that it is not taken for one up all along.
            if (watchedWindows_.count(WindowRef{element}))
                firstSeen_.insert_or_assign(WindowRef{element}, context_.clock.now());
            watch(element);
            return;
        case AXNotification::focusedWindowChanged:
            resync();
            return;
        case AXNotification::windowMoved:
        case AXNotification::windowResized:
            refreshCloseButton(element, 1);
            return;
        case AXNotification::titleChanged:
            retitled(element);
            return;
        case AXNotification::elementDestroyed:
            windowGone(WindowRef{element});
            return;
        case AXNotification::sheetCreated:
            sheetCreated(element);
            return;
    }
}

void AppWatcher::windowGone(const WindowRef& ref) {
    // A sheet's going ends here too: its birth is forgotten with it.
    firstSeen_.erase(ref);
    auto watched = watchedWindows_.find(ref);
    if (watched == watchedWindows_.end()) return;
    watchedWindows_.erase(watched);

    std::optional<Rect> frame;
    if (auto it = frames_.find(ref); it != frames_.end()) {
        frame = it->second;
        forgetFrame(ref);
    }
    std::optional<CloseButtonMiss> miss;
    if (auto it = misses_.find(ref); it != misses_.end()) {
        miss = it->second;
        misses_.erase(it);
    }
    bool wasStandard = confirmedStandard_.erase(ref) != 0;
    noted_.erase(ref);
    titleFollowed_.erase(ref);

    // Never confirmed standard: never reported. Custom chrome: never reported either.
    if (!wasStandard) return;
    if (!frame && miss && miss->kind == CloseButtonMiss::Kind::unsupported) return;
    engine_.windowDestroyed(ref, shared_from_this(), frame.has_value(), miss);
}

void AppWatcher::resync() {
    // Left alone: one catch-up once the period is over stands for every one asked meanwhile.
    if (quiet_.isQuiet()) {
        if (resyncDeferred_) return;
        resyncDeferred_ = true;
        deferWhileLeftAlone([](AppWatcher& self) {
            self.resyncDeferred_ = false;
            self.resync();
        });
        return;
    }
    // Sheets not followed yet (the app refused for a moment) are tried again as windows are.
    followSheets();
    ReadsOf reads(quiet_, ReadsOf::Mode::leaveAlone);
    std::vector<AXElement> windows = axElements(appElement_, "AXWindows");
    for (const AXElement& window : windows) {
        WindowRef ref{window};
        if (!watchedWindows_.count(ref)) {
            watch(window);
            continue;
        }
        if (frames_.count(ref)) continue;
        auto miss = misses_.find(ref);
        if (miss != misses_.end() && !miss->second.isWorthRetrying()) continue;  // final
        refreshCloseButton(window, 1);
    }
}

std::vector<AXElement> AppWatcher::currentWindows() const {
    return axElements(appElement_, "AXWindows");
}

std::vector<AXElement> AppWatcher::standardWindows() const {
    std::vector<AXElement> out;
    for (const AXElement& window : currentWindows())
        if (isStandardWindow(window)) out.push_back(window);
    return out;
}

std::vector<AXElement> AppWatcher::userWindows() const {
    UserWindowList list = readUserWindows();
    return list.value ? std::move(list.value->windows) : std::vector<AXElement>{};
}

AppWatcher::UserWindowList AppWatcher::readUserWindows() const {
    // The close decision's count: read even while the app is left alone (unknown keeps it
    // running), and timed like every other call.
    ReadsOf reads(quiet_, ReadsOf::Mode::ask);
    Read<std::vector<AXElement>> list = axElementsChecked(appElement_, "AXWindows");
    if (!list.value) {
        UserWindowList unknown;
        unknown.error = list.error;
        return unknown;
    }
    UserWindows out;
    out.listed = *list.value;
    for (const AXElement& window : *list.value) {
        Standardness kind = standardness(window);
        if (kind.kind == Standardness::Kind::unreadable) {
            // Unknown is not zero: a window that cannot be classified may be the user's.
            UserWindowList unknown;
            unknown.error = kind.error;
            unknown.unclassified = windowTitle(window);
            return unknown;
        }
        if (kind.kind != Standardness::Kind::standard) continue;
        // Only a window that positively has no close button is left out; a slow application
        // (time-out, cannot-complete, no value) keeps its windows.
        Read<AXValue> button = axCopyChecked(window, "AXCloseButton");
        if (!button.value &&
            (button.error == axerror::attributeUnsupported || button.error == axerror::noValue))
            continue;
        out.windows.push_back(window);
    }
    UserWindowList read;
    read.value = std::move(out);
    read.error = list.error;
    return read;
}

}  // namespace quelto
