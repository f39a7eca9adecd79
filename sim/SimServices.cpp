// The smaller services: Accessibility trust, the login item, the bundle and machine facts,
// the pasteboard and HTTP with canned replies.

#include <utility>

#include "sim/SimState.h"

namespace quelto::sim {

// ---- Accessibility trust ----

bool SimDesktop::isProcessTrusted() {
    return state_->trusted;
}

bool SimDesktop::isProcessTrustedWithPrompt() {
    if (!state_->trusted) {
        // The system's own prompt: it shows it only while access is missing.
        ++state_->trustPrompts;
        state_->opened.push_back(OpenedItem{OpenedItem::Kind::accessibilityPrompt, "", now()});
    }
    return state_->trusted;
}

void SimDesktop::setTrusted(bool trusted) {
    state_->trusted = trusted;
}

int SimDesktop::trustPromptCount() const {
    return state_->trustPrompts;
}

// ---- Login item ----

LoginItem::Status SimDesktop::status() {
    return state_->loginStatus;
}

std::optional<std::string> SimDesktop::registerItem() {
    if (auto error = std::exchange(state_->loginError, std::nullopt)) return error;
    state_->loginStatus = LoginItem::Status::enabled;
    return std::nullopt;
}

std::optional<std::string> SimDesktop::unregisterItem() {
    if (auto error = std::exchange(state_->loginError, std::nullopt)) return error;
    state_->loginStatus = LoginItem::Status::notRegistered;
    return std::nullopt;
}

void SimDesktop::setLoginItemStatus(LoginItem::Status status) {
    state_->loginStatus = status;
}

void SimDesktop::setLoginItemError(std::optional<std::string> error) {
    state_->loginError = std::move(error);
}

// ---- Bundle and machine ----

std::optional<std::string> SimDesktop::bundleInfoString(const std::string& key) {
    auto it = state_->bundleInfo.find(key);
    if (it == state_->bundleInfo.end()) return std::nullopt;
    return it->second;
}

void SimDesktop::setBundleInfo(const std::string& key, std::optional<std::string> value) {
    if (value)
        state_->bundleInfo[key] = *value;
    else
        state_->bundleInfo.erase(key);
}

SystemInfo::OSVersion SimDesktop::operatingSystemVersion() {
    return state_->osVersion;
}

std::string SimDesktop::machineName() {
    return state_->machine;
}

void SimDesktop::setMachine(const std::string& machine, SystemInfo::OSVersion version) {
    state_->machine = machine;
    state_->osVersion = version;
}

// ---- Pasteboard ----

void SimDesktop::setString(const std::string& text) {
    state_->pasteboard = text;
}

const std::string& SimDesktop::pasteboardText() const {
    return state_->pasteboard;
}

// ---- HTTP ----

void SimDesktop::send(const HttpRequest& request, std::function<void(HttpResult)> completion) {
    state_->httpRequests.push_back(request);
    HttpResult result;
    auto it = state_->httpReplies.find(request.url);
    if (it != state_->httpReplies.end()) {
        result = it->second;
        // As the real clients do, a body past the limit is not read.
        if (result.body && result.body->size() > HttpClient::maxBodyBytes) {
            result.body.reset();
            result.bodyTooLarge = true;
        }
    } else {
        result.transportError = "Could not connect to the server.";
    }
    // The reply arrives later, never inside send().
    state_->schedule(0, [completion = std::move(completion), result = std::move(result)] {
        if (completion) completion(result);
    });
}

void SimDesktop::setHttpReply(const std::string& url, HttpResult result) {
    state_->httpReplies[url] = std::move(result);
}

const std::vector<HttpRequest>& SimDesktop::httpRequests() const {
    return state_->httpRequests;
}

}  // namespace quelto::sim
