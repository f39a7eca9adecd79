// The watcher's observer registrations, tried again when the app cannot take them yet. An app
// attached half a second after its launch is often still starting and answers cannot-complete;
// without a retry, every later window of that app would go unannounced. The registrations
// still missing are tried again after 0.5, 1, 2 and 4 s (holding the watcher weakly), and one
// log line says so when the last try fails too. The window list read when attaching is tried
// again on the same schedule, and a late registration of the app's notifications catches up
// with the windows opened while it was missing. The births of the app's sheets
// ("AXSheetCreated") are followed quietly once the app has taken its notifications, and tried
// again whenever the watcher catches up while the app refused them for a moment. While the
// app is left alone (a call to it timed out), a try due is put off until the quiet period ends
// and counts only once made.

#include <string>
#include <vector>

#include "accessibility/AXRead.h"
#include "accessibility/AppWatcher.h"
#include "accessibility/WindowClassification.h"
#include "platform/AXNotifications.h"
#include "settings/Log.h"

namespace quelto {

namespace {

// The delays before the second, third, … try.
constexpr double retryDelays[] = {0.5, 1.0, 2.0, 4.0};
constexpr int tries = 1 + static_cast<int>(std::size(retryDelays));

// Errors an app answers while it is busy or still starting: worth another try. Anything else
// (an element gone, a notification the element does not support) is final.
bool isTransient(AXError error) {
    return error == axerror::cannotComplete || error == axerror::failure;
}

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

}  // namespace

std::vector<std::string> AppWatcher::registerNotifications(const AXElement& element,
                                                           const std::vector<std::string>& names,
                                                           AXError& lastError) {
    std::vector<std::string> again;
    for (const std::string& name : names) {
        AXError error = addNotification(element, name);
        if (error.isSuccess() || error == axerror::notificationAlreadyRegistered) continue;
        // A refusal that will not change is left alone: the element is watched with fewer
        // notifications.
        if (!isTransient(error)) continue;
        again.push_back(name);
        lastError = error;
    }
    return again;
}

void AppWatcher::registerAppNotifications(std::vector<std::string> names, int attempt) {
    if (!observer_) return;
    if (deferWhileLeftAlone(
            [names, attempt](AppWatcher& self) { self.registerAppNotifications(names, attempt); }))
        return;
    AXError error;
    std::vector<std::string> again = registerNotifications(appElement_, names, error);
    if (again.empty()) {
        // The births of its sheets are followed once the app takes its notifications: an app
        // that does not answer is not asked one more time while it holds Quelto up.
        followSheets();
        // Taken late: the windows the app opened meanwhile were announced to no one.
        if (attempt > 1) resync();
        return;
    }
    if (attempt >= tries) {
        quelto::log(name + " did not take " + joined(again) + " (" + error.name() + ") after " +
                    std::to_string(tries) +
                    " tries — its new windows are found only at each close decision");
        return;
    }
    context_.mainQueue.asyncAfter(retryDelays[attempt - 1],
                                  [weak = weak_from_this(), again, attempt] {
                                      if (auto self = weak.lock())
                                          self->registerAppNotifications(again, attempt + 1);
                                  });
}

void AppWatcher::followSheets() {
    if (sheetsFollowed_ || sheetsRefused_ || !observer_) return;
    AXError error = addNotification(appElement_, std::string(nameOf(AXNotification::sheetCreated)));
    if (error.isSuccess() || error == axerror::notificationAlreadyRegistered)
        sheetsFollowed_ = true;
    else if (!isTransient(error))
        sheetsRefused_ = true;  // for good: the births of its sheets stay unknown
}

void AppWatcher::sheetCreated(const AXElement& sheet) {
    if (!sheet || !observer_) return;
    WindowRef ref{sheet};
    if (!firstSeen_.emplace(ref, context_.clock.now()).second) return;
    // Its going takes the note with it; a sheet whose going cannot be followed keeps its
    // note, harmless, until the watcher goes.
    addNotification(sheet, std::string(nameOf(AXNotification::elementDestroyed)));
}

void AppWatcher::readWindowsAtAttach(int attempt) {
    if (!observer_) return;
    if (deferWhileLeftAlone([attempt](AppWatcher& self) { self.readWindowsAtAttach(attempt); }))
        return;
    ReadsOf reads(quiet_, ReadsOf::Mode::leaveAlone);
    Read<std::vector<AXElement>> list = axElementsChecked(appElement_, "AXWindows");
    if (list.value) {
        for (const AXElement& window : *list.value) watch(window);
        return;
    }
    if (!isTransient(list.error)) return;
    if (attempt >= tries) {
        quelto::log(name + "’s windows could not be read (" + list.error.name() + ") after " +
                    std::to_string(tries) +
                    " tries — they are found at its next focus change or close decision");
        return;
    }
    context_.mainQueue.asyncAfter(retryDelays[attempt - 1], [weak = weak_from_this(), attempt] {
        if (auto self = weak.lock()) self->readWindowsAtAttach(attempt + 1);
    });
}

void AppWatcher::registerWindowNotifications(const AXElement& window,
                                             std::vector<std::string> names, int attempt) {
    // A window closed meanwhile needs nothing more.
    if (!observer_ || !watchedWindows_.count(WindowRef{window})) return;
    if (deferWhileLeftAlone([window, names, attempt](AppWatcher& self) {
            self.registerWindowNotifications(window, names, attempt);
        }))
        return;
    AXError error;
    std::vector<std::string> again = registerNotifications(window, names, error);
    if (again.empty()) return;
    if (attempt >= tries) {
        quelto::log(name + " did not take " + joined(again) + " (" + error.name() +
                    ") for its window \"" + windowTitle(window) + "\" after " +
                    std::to_string(tries) + " tries — closing it may go unnoticed");
        return;
    }
    context_.mainQueue.asyncAfter(
        retryDelays[attempt - 1], [weak = weak_from_this(), window, again, attempt] {
            if (auto self = weak.lock())
                self->registerWindowNotifications(window, again, attempt + 1);
        });
}

}  // namespace quelto
