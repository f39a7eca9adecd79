// Termination: one polite request per application within the throttle, and the follow-up
// that says whether the application really went.

#include "tests/engine/EngineFixture.h"
#include "tests/engine/ForwardingWorkspace.h"

namespace quelto::enginetest {
namespace {

// The desktop's workspace, except that every quit request reports that it was not delivered.
class UndeliveredQuitWorkspace final : public ForwardingWorkspace {
    class App final : public RunningApplication {
      public:
        explicit App(RunningApplicationRef inner) : inner_(std::move(inner)) {}
        Pid processIdentifier() const override { return inner_->processIdentifier(); }
        std::optional<std::string> localizedName() const override {
            return inner_->localizedName();
        }
        std::optional<std::string> bundleIdentifier() const override {
            return inner_->bundleIdentifier();
        }
        ActivationPolicy activationPolicy() const override { return inner_->activationPolicy(); }
        bool terminate() override {
            inner_->terminate();
            return false;
        }
        bool isTerminated() const override { return inner_->isTerminated(); }
        bool activate() override { return inner_->activate(); }

      private:
        RunningApplicationRef inner_;
    };

    static RunningApplicationRef wrap(RunningApplicationRef app) {
        return app ? std::make_shared<App>(std::move(app)) : nullptr;
    }

  public:
    using ForwardingWorkspace::ForwardingWorkspace;

    std::vector<RunningApplicationRef> runningApplications() override {
        std::vector<RunningApplicationRef> out;
        for (auto& app : inner_.runningApplications()) out.push_back(wrap(app));
        return out;
    }
    RunningApplicationRef frontmostApplication() override {
        return wrap(inner_.frontmostApplication());
    }
    RunningApplicationRef runningApplication(Pid pid) override {
        return wrap(inner_.runningApplication(pid));
    }
};

// A requester owned by its owner, as the engine owns its own: a check after a request keeps
// the owner, and with it the requester, until the check has run.
std::shared_ptr<std::optional<QuitRequester>> ownedRequester(const EngineContext& context) {
    auto owner = std::make_shared<std::optional<QuitRequester>>();
    owner->emplace(context, owner);
    return owner;
}

class TerminationTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        writeConfig("live = true\nmode = red-dot\narm = *\n");
        auto desc = appDescription(textEdit, "com.apple.TextEdit", "TextEdit");
        desc.declinesQuit = true;
        desktop.addApp(desc);
        for (const char* title : {"One", "Two", "Three"})
            windows.push_back(addWindow(textEdit, title));
        startEngine();
        desktop.advance(10);
    }

    void redDotClose(sim::ElementId window) {
        clickClose(window);
        desktop.advance(0.35);
    }

    std::vector<sim::ElementId> windows;
};

TEST_F(TerminationTest, ASecondDecisionThreeSecondsLaterIsSkipped) {
    redDotClose(windows[0]);
    ASSERT_EQ(desktop.quitRequests().size(), 1u);
    takeLog();
    desktop.advance(2.65);
    EXPECT_TRUE(takeLog().empty());  // the first check finds it running, before the deadline

    redDotClose(windows[1]);  // 3 s after the first decision
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:13.000  red dot clicked — TextEdit \"Two\"  (cached)",
                             "00:00:13.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: 1",
                             "                · Three  [AXStandardWindow]",
                             "              → mode last-window: no action",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → skipped (quit already attempted moments ago)",
                             "",
                         }));
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
    // The journal tells what happened: no request went out this time.
    ASSERT_EQ(journal().size(), 2u);
    EXPECT_EQ(journal()[0].outcome, "quit already requested");
    EXPECT_FALSE(journal()[0].quit);
    EXPECT_EQ(journal()[1].outcome, "quitting");
    EXPECT_TRUE(journal()[1].quit);
    // The throttle keeps the moment of the request that was sent.
    EXPECT_EQ(engine->quits().lastRequest(textEdit), desktop.now() - 3.0);
}

TEST_F(TerminationTest, TwoDecisionsTwelveSecondsApartBothSendARequest) {
    redDotClose(windows[0]);
    desktop.advance(11.65);
    takeLog();
    redDotClose(windows[1]);
    Lines log = takeLog();
    ASSERT_GE(log.size(), 7u);
    EXPECT_EQ(log[6], "              → QUITTING TextEdit — terminate() returned true");
    ASSERT_EQ(desktop.quitRequests().size(), 2u);
    EXPECT_EQ(desktop.quitRequests()[1].at - desktop.quitRequests()[0].at, 12.0);
    EXPECT_EQ(engine->quits().lastRequest(textEdit), desktop.now());
}

TEST_F(TerminationTest, TheThrottleEndsAfterExactlyTenSeconds) {
    redDotClose(windows[0]);
    desktop.advance(9.65);
    redDotClose(windows[1]);  // 10 s after the first request
    EXPECT_EQ(desktop.quitRequests().size(), 2u);
}

TEST_F(TerminationTest, AnAppThatQuitsOneSecondAfterTheRequestQuitCleanlyAtTheFirstCheck) {
    desktop.setQuitBehaviour(textEdit, false, 1.0);
    redDotClose(windows[0]);
    takeLog();
    desktop.advance(1.99);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_FALSE(desktop.isRunning(textEdit));
    desktop.advance(0.01);
    EXPECT_EQ(takeLog(), (Lines{"00:00:12.350     TextEdit quit cleanly"}));
    // Its termination forgot it; nothing more is checked or logged.
    EXPECT_FALSE(watcherOf(textEdit));
    EXPECT_TRUE(engine->quits().empty());
    desktop.advance(60);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(TerminationTest, AnAppThatNeverQuitsIsReportedOnceAfterTheDeadlineAndLeftAlone) {
    redDotClose(windows[0]);
    takeLog();
    desktop.advance(19.99);
    EXPECT_TRUE(takeLog().empty());
    desktop.advance(0.01);
    EXPECT_EQ(takeLog(), (Lines{"00:00:30.350     TextEdit is still running after 20s — it "
                                "declined the quit. Left alone."}));
    desktop.advance(120);
    EXPECT_TRUE(takeLog().empty());
    EXPECT_EQ(desktop.quitRequests().size(), 1u);
    EXPECT_TRUE(desktop.isRunning(textEdit));
    // The entry stays and keeps throttling.
    EXPECT_TRUE(engine->quits().lastRequest(textEdit));
}

TEST_F(TerminationTest, AProcessThatVanishedBeforeTheRequestIsAlreadyGone) {
    auto owner = ownedRequester(desktop.context());
    QuitRequester& quits = **owner;
    desktop.terminateApp(textEdit);
    desktop.runDue();
    takeLog();
    EXPECT_EQ(quits.request(textEdit, "TextEdit"), QuitAttempt::appGone);
    EXPECT_EQ(takeLog(), (Lines{"              → app already gone"}));
    EXPECT_TRUE(quits.empty());
    EXPECT_TRUE(desktop.quitRequests().empty());
}

TEST_F(TerminationTest, AnAppGoneDuringTheDecisionIsJournalledAsGoneNotQuitting) {
    // The application quits by itself while the decision reads its windows.
    bool quitDuringRead = false;
    desktop.setReadHook([&](sim::ElementId, const std::string& attribute) {
        if (!quitDuringRead || attribute != "AXWindows") return;
        quitDuringRead = false;
        desktop.terminateApp(textEdit);
    });
    clickClose(windows[0]);
    desktop.advance(0.1);
    quitDuringRead = true;
    desktop.advance(0.25);
    desktop.setReadHook(nullptr);
    EXPECT_EQ(takeLog(), (Lines{
                             "00:00:10.000  red dot clicked — TextEdit \"One\"  (cached)",
                             "00:00:10.350  TextEdit (com.apple.TextEdit)  window closed  ←  "
                             "red dot",
                             "              windows remaining: unknown",
                             "              → mode last-window: no action",
                             "              → mode red-dot:     WOULD QUIT",
                             "              → app already gone",
                             "",
                         }));
    ASSERT_EQ(journal().size(), 1u);
    EXPECT_EQ(journal()[0].outcome, "app already gone");
    EXPECT_FALSE(journal()[0].quit);
    EXPECT_TRUE(desktop.quitRequests().empty());
    EXPECT_TRUE(engine->quits().empty());
}

TEST_F(TerminationTest, TerminateSaysWhatBecameOfTheDecision) {
    auto owner = ownedRequester(desktop.context());
    QuitRequester& quits = **owner;
    EXPECT_EQ(quits.request(textEdit, "TextEdit"), QuitAttempt::requested);
    EXPECT_EQ(quits.request(textEdit, "TextEdit"), QuitAttempt::throttled);
    quits.forget(textEdit);
    desktop.terminateApp(textEdit);
    EXPECT_EQ(quits.request(textEdit, "TextEdit"), QuitAttempt::appGone);
}

TEST_F(TerminationTest, TheCheckKeepsTheEngineAliveUntilItHasRun) {
    desktop.setQuitBehaviour(textEdit, false, 0.5);
    redDotClose(windows[0]);
    takeLog();
    std::weak_ptr<Engine> weak = engine;
    engine.reset();
    EXPECT_FALSE(weak.expired());
    desktop.advance(2.0);
    EXPECT_EQ(takeLog(), (Lines{"00:00:12.350     TextEdit quit cleanly"}));
    EXPECT_TRUE(weak.expired());
}

TEST_F(TerminationTest, ARequestReportedUndeliveredIsOnlyLoggedAndStillVerified) {
    UndeliveredQuitWorkspace workspace(desktop);
    // An engine that reaches the applications through that workspace, in place of the first.
    engine.reset();
    startEngine(withWorkspace(desktop.context(), workspace));
    redDotClose(windows[0]);
    Lines log = takeLog();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[log.size() - 2],
              "              → QUITTING TextEdit — terminate() returned false");
    desktop.advance(20);
    EXPECT_EQ(takeLog(), (Lines{"00:00:30.350     TextEdit is still running after 20s — it "
                                "declined the quit. Left alone."}));
}

}  // namespace
}  // namespace quelto::enginetest
