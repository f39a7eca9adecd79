#include "bench/BusyDesktop.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "settings/Config.h"
#include "settings/ConfigStore.h"
#include "settings/Log.h"

namespace quelto::bench {

void writeConfigFile(const std::string& text) {
    std::filesystem::create_directories(ConfigStore::directory());
    std::ofstream out(ConfigStore::path(), std::ios::binary | std::ios::trunc);
    out << text;
}

Point closeButtonCentre(const sim::SimDesktop& desktop, sim::ElementId window) {
    Rect r = desktop.closeButtonFrame(window).value_or(Rect{});
    return {r.origin.x + r.size.width / 2, r.origin.y + r.size.height / 2};
}

BusyDesktop::BusyDesktop(int apps, int windowsPerApp, bool frontmostWatched)
    : desktop_(std::make_unique<sim::SimDesktop>()) {
    sim::SimDesktop& d = *desktop_;
    d.clockTheLog();
    d.setOwnPid(ownPid);

    sim::AppDescription quelto;
    quelto.pid = ownPid;
    quelto.bundleID = "app.quelto.Quelto";
    quelto.name = "Quelto";
    quelto.policy = ActivationPolicy::accessory;
    d.addApp(quelto);

    sim::AppDescription accessory;
    accessory.pid = accessoryPid;
    accessory.bundleID = "com.example.Accessory";
    accessory.name = "Accessory";
    accessory.policy = ActivationPolicy::accessory;
    d.addApp(accessory);

    for (int a = 0; a < apps; ++a) {
        sim::AppDescription desc;
        desc.pid = firstPid + a;
        desc.bundleID = "com.example.App" + std::to_string(a);
        desc.name = "App " + std::to_string(a);
        d.addApp(desc);
        for (int w = 0; w < windowsPerApp; ++w) {
            sim::WindowDescription window;
            window.title = "Window " + std::to_string(w);
            // 40 × 25 windows on a 50 × 30 grid: nothing overlaps, every button is distinct.
            window.frame = Rect{{20.0 + 50.0 * w, 20.0 + 30.0 * a}, {40, 25}};
            sim::ElementId id = d.addWindow(desc.pid, window, false);
            if (a == apps - 1 && w == windowsPerApp - 1) hitWindow_ = id;
        }
    }
    d.setFrontmost(frontmostWatched ? firstPid + apps - 1 : accessoryPid);

    engine_ = Engine::create(d.context());
    engine_->start();
    // Long enough for every close-button read and retry chain to have finished.
    d.advance(10);
    hitPoint_ = closeButtonCentre(d, hitWindow_);
    Log::shared().drain();
}

BusyDesktop::~BusyDesktop() {
    // Quit checks hold the engine until they have run; let them finish before the desktop goes.
    desktop_->clockTheLog();
    engine_.reset();
    desktop_->advance(60);
    Log::shared().drain();
    desktop_.reset();
}

BusyDesktop& BusyDesktop::shared(bool frontmostWatched) {
    static std::unique_ptr<BusyDesktop> plain;
    static std::unique_ptr<BusyDesktop> watched;
    std::unique_ptr<BusyDesktop>& slot = frontmostWatched ? watched : plain;
    if (!slot) slot = std::make_unique<BusyDesktop>(50, 20, frontmostWatched);
    // Another desktop may have clocked the log since; this one's clock stamps it again.
    slot->desktop().clockTheLog();
    slot->desktop().advance(5);
    // Every click record of an earlier benchmark has expired by now; a click on nothing, as
    // the user makes one, lets the ledger drop them.
    slot->engine().handleClick(slot->missPoint(), 0);
    slot->desktop().runDue();
    Log::shared().drain();
    return *slot;
}

std::size_t BusyDesktop::cachedFrameCount() const {
    std::size_t n = 0;
    engine_->apps().firstOf([&n](const std::shared_ptr<AppWatcher>& watcher) {
        n += watcher->closeButtonFrames().size();
        return false;  // on to the next watcher
    });
    return n;
}

std::vector<Rect> BusyDesktop::cachedFrames() const {
    std::vector<Rect> out;
    engine_->apps().firstOf([&out](const std::shared_ptr<AppWatcher>& watcher) {
        for (const auto& [window, frame] : watcher->closeButtonFrames()) out.push_back(frame);
        return false;  // on to the next watcher
    });
    return out;
}

}  // namespace quelto::bench
