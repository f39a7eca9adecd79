#pragma once
// Asking an application to quit. Owns the moment of the last request to each application
// (the throttle) and the checks that follow a request until the application has gone or
// the verification period is over. Never forces a quit.

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/CloseDecision.h"
#include "engine/EngineContext.h"
#include "platform/Types.h"

namespace quelto {

class QuitRequester {
  public:
    // At most one quit request per application within this interval.
    static constexpr double throttle = 10.0;
    // How long after a quit request the application is watched for going…
    static constexpr double verification = 20.0;
    // …looking this often.
    static constexpr double pollInterval = 2.0;

    // `context` outlives the requester. The checks after a request keep `owner` (the engine
    // that owns the requester) alive until they have run, so a request is always followed up.
    QuitRequester(const EngineContext& context, std::weak_ptr<const void> owner);
    QuitRequester(const QuitRequester&) = delete;
    QuitRequester& operator=(const QuitRequester&) = delete;

    // Asks the application `pid` (named `name` in the log) to quit, unless it was asked
    // moments ago or is gone; logs what it did, and starts the checks after a request.
    QuitAttempt request(Pid pid, const std::string& name);
    // Checks every `pollInterval` until the application has gone or `deadline` has passed,
    // and logs which.
    void verifyQuit(Pid of, const std::string& named, Date deadline);

    // When the application was last asked to quit.
    std::optional<Date> lastRequest(Pid pid) const;
    bool empty() const { return lastRequest_.empty(); }
    // Drops the throttle entry of a process that terminated.
    void forget(Pid pid) { lastRequest_.erase(pid); }

  private:
    const EngineContext& context_;
    std::weak_ptr<const void> owner_;
    std::map<Pid, Date> lastRequest_;
};

}  // namespace quelto
