// The desktop object itself: its construction, the contexts it hands out, and the log's clock
// handed back when it goes away.

#include "sim/SimDesktop.h"

#include "platform/BuildSettings.h"
#include "settings/Activity.h"
#include "settings/Log.h"
#include "sim/SimState.h"

namespace quelto::sim {

SimDesktop::SimDesktop(Date start, int utcOffsetSeconds) : state_(std::make_unique<State>(*this)) {
    state_->now = toMicros(start.seconds);
    state_->utcOffsetSeconds = utcOffsetSeconds;
    // Whole strings are moved in: assigning the short literals trips g++ 12's -Wrestrict
    // false alarm in optimised builds.
    state_->bundleInfo["CFBundleShortVersionString"] = std::string(build::version);
    state_->bundleInfo["CFBundleVersion"] = std::string(build::buildNumber);
    state_->bundleInfo["CFBundleIdentifier"] = std::string(build::bundleID);
    state_->bundleInfo["CFBundleName"] = std::string("Quelto");

    config_ = std::make_unique<ConfigStore>(static_cast<Clock&>(*this));
    engineContext_ = std::make_unique<EngineContext>(EngineContext{
        .clock = *this,
        .mainQueue = *this,
        .workspace = *this,
        .accessibility = *this,
        .mouse = *this,
        .windowServer = this,
        .spaces = this,
        .loginItem = this,
        .collation = nullptr,
        .config = *config_,
        .journal = Activity::shared(),
    });
    shellContext_ = std::make_unique<ShellContext>(ShellContext{
        .clock = *this,
        .mainQueue = *this,
        .workspace = *this,
        .accessibility = *this,
        .loginItem = this,
        .collation = nullptr,
        .system = this,
        .http = this,
        .alerts = this,
        .pasteboard = this,
        .config = *config_,
        .journal = Activity::shared(),
    });
}

SimDesktop::~SimDesktop() {
    // Leave no dangling clock behind: the log goes back to the system clock.
    Log::shared().clearClock(this);
    // Work still queued may hold objects whose destructors reach back into the desktop
    // (observers, subscriptions); the lifeline goes first so they find it expired.
    state_->lifeline.reset();
    state_->queue.clear();
}

void SimDesktop::clockTheLog() {
    Log::shared().setClock(this);
}

}  // namespace quelto::sim
