#pragma once
// The chaos run: a seeded random stream of everything that can happen on a desktop while
// Quelto watches it (applications launching and quitting, clicks on close buttons and
// elsewhere with modifiers held, red dots pressed and released on or off the button, windows
// appearing, going, moving, stacked over each other, minimised, sent to other Spaces or into
// full screen, apps hidden, Space switches, sheets and dialogs, Accessibility reads failing,
// apps hanging, registrations refused, the menu-bar menu held open and alerts left on screen,
// the user editing the configuration file by hand, time
// passing), on the simulated desktop, with the program's promises checked after every step:
//
// - it never asks itself to quit, nor an application on the built-in never-quit list, nor
//   one the file excluded or did not arm at the moment of the decision, nor anything while
//   the file's master switch is off;
// - it never forces a quit;
// - every quit request comes with a "quitting" journal entry for that application, made at
//   the same moment, and the journal decides "quitting" only when the file allows it;
// - the journal never holds more than 200 entries;
// - its own process never gets a watcher;
// - in last-window mode, it never asks an application to quit while that application shows
//   an ordinary window on another Space or in full screen at the moment of the decision
//   (the windows of this Space count as the design counts user windows);
// - every click it credits to a close button names the window on top at the click point.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/Engine.h"
#include "platform/Subscription.h"
#include "sim/SimDesktop.h"
#include "tests/chaos/ChaosPolicy.h"
#include "tests/chaos/ChaosRandom.h"

namespace quelto::chaos {

// A duration for the steps' record: "1.250 s".
std::string seconds(double s);

class ChaosRun {
  public:
    explicit ChaosRun(std::uint64_t seed);
    ~ChaosRun();
    ChaosRun(const ChaosRun&) = delete;
    ChaosRun& operator=(const ChaosRun&) = delete;

    // Runs `events` random steps, checking after each; then lets a minute pass and checks
    // once more. Stops at the first broken promise. True when every check held.
    bool run(long events);

    // What went wrong, with the step, the policy in force and the steps that led there.
    const std::string& failure() const { return failure_; }

    // What the run did, for the record.
    struct Tally {
        long steps = 0;
        long quitRequests = 0;
        long journalEntries = 0;
        long quittingEntries = 0;
        long launches = 0;
        long closeClicks = 0;
        long configEdits = 0;
        std::map<std::string, long> outcomes;  // journal outcomes, by text
    };
    const Tally& tally() const { return tally_; }

    static constexpr Pid ownPid = 500;

  private:
    struct App {
        Pid pid = 0;
        std::string name;      // as the journal names it: the localized name, or "pid {pid}"
        std::string bundleID;  // as the journal gives it: the bundle id, or "<none>"
    };

    // One kind of step, drawn with its weight.
    struct Event {
        double weight;
        std::function<void()> perform;
    };
    // The kinds of step, in the order they are drawn from: time passing, applications coming
    // and going, new windows, clicks, desktop events and other input; then windows closing,
    // moving and changing, sheets and dialogs, failing reads, hangs, menus, alerts, the
    // configuration file, the front app and quits declined.
    std::vector<Event> timeAppsAndInput();
    std::vector<Event> windowsAndSystem();
    void step();
    void startApp(bool withLaunchNotification);
    void addWindow(Pid pid);
    std::optional<Pid> randomRunningApp(bool includingOwn = false);
    std::optional<sim::ElementId> randomWindow();
    void clickCloseButton();
    void clickElsewhere();
    // ChaosDesktopEvents.cpp: hides, minimises, Spaces, full screen, held presses, stacking.
    void desktopEvent();
    void pressAndRelease();
    void stackOverCloseButton();
    void injectError();
    void oddAttribute();
    void editConfig();
    // ChaosMainThread.cpp
    void hangApp();
    void holdMenuOpen();
    void showAlert();
    void refuseRegistrations();
    void note(const std::string& event);
    // ChaosWindowInvariants.cpp: a press whose credited window is checked against the one on
    // top, and the check of a last-window decision to quit, at the moment it is journalled.
    // Releases the button pressed at `down`, at `up`, checking the records the mouse-up makes.
    void releaseChecked(Point down, Point up, ModifierFlags flags);
    void checkQuitDecision();
    bool hasOddAttribute(sim::ElementId window) const;
    // The promise that a close of a watched window is never unseen: a window watched with its
    // destroyed notification registered, gone from the desktop, must leave its watcher soon
    // (unless access is revoked). Empty when it holds.
    std::string checkClosesSeen();

    bool check();
    bool fail(const std::string& what);

    ChaosRandom random_;
    std::uint64_t seed_;
    std::unique_ptr<sim::SimDesktop> desktop_;
    std::shared_ptr<Engine> engine_;
    Subscription journalChanges_;

    Policy policy_;
    std::map<Pid, App> apps_;   // every application ever started, by process id
    std::vector<Pid> running_;  // those still running, Quelto's own first
    Subscription terminations_;
    std::vector<std::string> bundleIDs_;
    Pid nextPid_ = 1000;
    int nextTitle_ = 1;
    std::vector<std::pair<sim::ElementId, std::string>> oddAttributes_;

    // Journal entries posted but not yet looked at; "quitting" entries not yet matched with
    // their quit request, by application name and moment.
    long unseenRecords_ = 0;
    std::multimap<std::string, double> unmatchedQuitting_;
    std::size_t quitRequestsChecked_ = 0;

    long stepNumber_ = 0;
    std::deque<std::string> recent_;  // the last steps, for the failure report
    std::string failure_;
    // A promise found broken in the middle of a step, reported by the next check.
    std::string brokenPromise_;
    // Windows watched with their destroyed notification registered, with their process, and
    // the moment each was first found gone while still watched.
    struct WatchedWindow {
        Pid pid = 0;
        sim::ElementId id = 0;
        std::optional<double> goneSince;
    };
    std::unordered_map<WindowRef, WatchedWindow> watchedWindows_;
    Tally tally_;
};

}  // namespace quelto::chaos
