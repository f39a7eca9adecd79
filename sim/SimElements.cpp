// The element model: applications, windows, close buttons and sheets as Accessibility sees
// them; attribute reads with overrides, injected errors and counted round trips; and the
// operations that change windows.

#include <algorithm>

#include "platform/AXNotifications.h"
#include "sim/SimState.h"

namespace quelto::sim {

// ---- Element handles ----

AXError SimElement::copyAttributeValue(const std::string& attribute,
                                       std::optional<AXValue>& value) const {
    if (life_.expired()) return axerror::invalidUIElement;
    return state_->read(id_, attribute, value);
}

AXError SimElement::setMessagingTimeout(float seconds) const {
    if (life_.expired()) return axerror::invalidUIElement;
    Element* e = state_->find(id_);
    if (!e) return axerror::illegalArgument;
    if (!e->alive) return axerror::invalidUIElement;
    if (seconds < 0) return axerror::illegalArgument;
    e->messagingTimeout = seconds;
    return axerror::success;
}

bool SimElement::isSameElement(const AXElementObject& other) const {
    auto* o = dynamic_cast<const SimElement*>(&other);
    return o && o->state_ == state_ && o->id_ == id_;
}

std::size_t SimElement::elementHash() const {
    // A cheap mix of the element id; equal elements hash alike.
    std::uint64_t x = id_ * 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(x ^ (x >> 29));
}

// ---- The model ----

Element* SimDesktop::State::find(ElementId id) {
    auto it = elements.find(id);
    return it == elements.end() ? nullptr : &it->second;
}

const Element* SimDesktop::State::find(ElementId id) const {
    auto it = elements.find(id);
    return it == elements.end() ? nullptr : &it->second;
}

Element* SimDesktop::State::liveWindow(ElementId id) {
    Element* e = find(id);
    return e && e->alive && e->kind == ElementKind::window ? e : nullptr;
}

ElementId SimDesktop::State::newElement(Element element) {
    ElementId id = nextElement++;
    elements.emplace(id, std::move(element));
    return id;
}

AXElement SimDesktop::State::handle(ElementId id) const {
    return std::make_shared<SimElement>(lifeline, const_cast<State*>(this), id);
}

std::vector<ElementId> SimDesktop::State::windowsOf(Pid pid) const {
    std::vector<ElementId> out;
    for (ElementId id : zOrder) {
        const Element* e = find(id);
        if (e && e->alive && e->pid == pid) out.push_back(id);
    }
    return out;
}

Rect SimDesktop::State::buttonFrame(const Element& window) const {
    return Rect{{window.desc.frame.origin.x + window.buttonOffset.x,
                 window.desc.frame.origin.y + window.buttonOffset.y},
                window.buttonSize};
}

Rect SimDesktop::State::sheetFrame(const Element& window) const {
    Rect f = window.desc.frame;
    return Rect{{f.origin.x + (f.size.width - 420) / 2, f.origin.y + 28}, {420, 160}};
}

AXError SimDesktop::State::read(ElementId id, const std::string& attribute,
                                std::optional<AXValue>& value) {
    ++totalReads;
    ++readsByAttribute[attribute];
    ++readsByElement[{id, attribute}];
    value.reset();
    if (readHook) readHook(id, attribute);
    // Without Accessibility access every call fails at once, as on a Mac once the user
    // revokes it in System Settings.
    if (!trusted) return axerror::apiDisabled;
    // The call blocks the main thread until the app answers or the time-out passes.
    if (AXError late = spendReadTime(id); !late.isSuccess()) return late;

    const Element* e = find(id);
    if (!e) return id == 0 ? axerror::cannotComplete : axerror::invalidUIElement;
    if (!e->alive) return axerror::invalidUIElement;

    for (const std::string& key : {attribute, std::string("*")}) {
        auto inj = injected.find({id, key});
        if (inj == injected.end()) continue;
        AXError error = inj->second.error;
        if (inj->second.remaining > 0 && --inj->second.remaining == 0) injected.erase(inj);
        return error;
    }

    auto ov = e->overrides.find(attribute);
    if (ov != e->overrides.end()) {
        value = ov->second.value;
        return ov->second.error;
    }
    return computedValue(*e, id, attribute, value);
}

AXError SimDesktop::State::computedValue(const Element& e, ElementId id,
                                         const std::string& attribute,
                                         std::optional<AXValue>& value) const {
    (void)id;
    switch (e.kind) {
        case ElementKind::application: {
            const AppRecord* app = nullptr;
            for (const auto& a : apps)
                if (a->appElement == id) app = a.get();
            if (attribute == "AXRole") {
                value = AXValue("AXApplication");
                return axerror::success;
            }
            if (attribute == "AXTitle") {
                if (!app || !app->desc.name) return axerror::noValue;
                value = AXValue(*app->desc.name);
                return axerror::success;
            }
            if (attribute == "AXWindows" || attribute == "AXChildren") {
                // As on a Mac: only the windows of the current Space, minimised ones included.
                AXArray list;
                for (ElementId w : accessibleWindowsOf(e.pid)) list.emplace_back(handle(w));
                value = AXValue(std::move(list));
                return axerror::success;
            }
            if (attribute == "AXFocusedWindow" || attribute == "AXMainWindow") {
                auto focused = focusedWindowOf(e.pid);
                if (!focused) return axerror::noValue;
                value = AXValue(handle(*focused));
                return axerror::success;
            }
            if (attribute == "AXHidden") {
                value = AXValue(app && app->hidden);
                return axerror::success;
            }
            if (attribute == "AXFrontmost") {
                value = AXValue(frontmost == e.pid);
                return axerror::success;
            }
            return axerror::attributeUnsupported;
        }
        case ElementKind::window: {
            const WindowDescription& s = e.desc;
            if (attribute == "AXRole") {
                value = AXValue(s.role);
                return axerror::success;
            }
            if (attribute == "AXSubrole") {
                if (!s.subrole) return axerror::attributeUnsupported;
                value = AXValue(*s.subrole);
                return axerror::success;
            }
            if (attribute == "AXTitle") {
                value = AXValue(s.title);
                return axerror::success;
            }
            if (attribute == "AXPosition") {
                value = AXValue(s.frame.origin);
                return axerror::success;
            }
            if (attribute == "AXSize") {
                value = AXValue(s.frame.size);
                return axerror::success;
            }
            if (attribute == "AXMinimized") {
                value = AXValue(e.minimized);
                return axerror::success;
            }
            if (attribute == "AXFullScreen") {
                value = AXValue(e.fullScreenFrom.has_value());
                return axerror::success;
            }
            if (attribute == "AXCloseButton") {
                if (!s.closeButton.present) return s.closeButton.missingError;
                value = AXValue(handle(e.closeButton));
                return axerror::success;
            }
            if (attribute == "AXChildren") {
                AXArray list;
                if (s.closeButton.present) list.emplace_back(handle(e.closeButton));
                for (ElementId sheet : e.sheets) list.emplace_back(handle(sheet));
                value = AXValue(std::move(list));
                return axerror::success;
            }
            if (attribute == "AXParent") {
                const AppRecord* owner = nullptr;
                for (const auto& a : apps)
                    if (a->desc.pid == e.pid && a->running) owner = a.get();
                if (!owner) return axerror::noValue;
                value = AXValue(handle(owner->appElement));
                return axerror::success;
            }
            return axerror::attributeUnsupported;
        }
        case ElementKind::closeButton: {
            const Element* window = find(e.parent);
            if (!window) return axerror::invalidUIElement;
            if (attribute == "AXRole") {
                value = AXValue("AXButton");
                return axerror::success;
            }
            if (attribute == "AXSubrole") {
                value = AXValue("AXCloseButton");
                return axerror::success;
            }
            if (attribute == "AXEnabled") {
                if (!window->desc.closeButton.enabled) return axerror::noValue;
                value = AXValue(*window->desc.closeButton.enabled);
                return axerror::success;
            }
            if (attribute == "AXPosition") {
                value = AXValue(buttonFrame(*window).origin);
                return axerror::success;
            }
            if (attribute == "AXSize") {
                value = AXValue(buttonFrame(*window).size);
                return axerror::success;
            }
            if (attribute == "AXParent") {
                value = AXValue(handle(e.parent));
                return axerror::success;
            }
            return axerror::attributeUnsupported;
        }
        case ElementKind::sheet: {
            const Element* window = find(e.parent);
            if (attribute == "AXRole") {
                value = AXValue("AXSheet");
                return axerror::success;
            }
            if (attribute == "AXTitle") {
                value = AXValue(std::string());
                return axerror::success;
            }
            if (window && attribute == "AXPosition") {
                value = AXValue(sheetFrame(*window).origin);
                return axerror::success;
            }
            if (attribute == "AXSize") {
                value = AXValue(Size{420, 160});
                return axerror::success;
            }
            if (window && attribute == "AXParent") {
                value = AXValue(handle(e.parent));
                return axerror::success;
            }
            return axerror::attributeUnsupported;
        }
    }
    return axerror::attributeUnsupported;
}

void SimDesktop::State::destroyWindow(ElementId id, bool notify) {
    Element* w = find(id);
    if (!w || !w->alive) return;
    Pid pid = w->pid;
    bool wasFocused = focusedWindowOf(pid) == id;
    w->alive = false;
    leaveFullScreenSpaceOf(*w);
    zOrder.erase(std::remove(zOrder.begin(), zOrder.end(), id), zOrder.end());
    if (auto layer = windowLayers.find(w->desc.layer);
        layer != windowLayers.end() && --layer->second == 0)
        windowLayers.erase(layer);
    std::vector<ElementId> sheets = w->sheets;
    if (Element* button = find(w->closeButton)) button->alive = false;
    for (ElementId s : sheets) {
        if (Element* sheet = find(s)) {
            if (!sheet->alive) continue;
            sheet->alive = false;
            if (notify) post(s, std::string(nameOf(AXNotification::elementDestroyed)), s);
        }
    }
    if (!notify) return;
    post(id, std::string(nameOf(AXNotification::elementDestroyed)), id);
    // The application's next window takes the focus, and says so.
    if (wasFocused) {
        auto next = focusedWindowOf(pid);
        const AppRecord* app = runningApp(pid);
        if (next && app)
            post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)), *next);
    }
}

void SimDesktop::State::scheduleClose(ElementId id) {
    Element* w = liveWindow(id);
    if (!w || w->closeScheduled) return;
    w->closeScheduled = true;
    Pid pid = w->pid;
    scheduleWorld(w->desc.closeDelay, [this, id, pid] {
        Element* window = liveWindow(id);
        if (!window) return;
        window->closeScheduled = false;
        // An app that keeps the window for later orders it out instead of destroying it.
        if (window->desc.hidesOnClose) return orderOut(id);
        destroyWindow(id, true);
        lastWindowCheck(pid);
    });
}

void SimDesktop::State::requestClose(ElementId id) {
    Element* w = liveWindow(id);
    if (!w || w->closeScheduled) return;
    if (!w->sheets.empty()) return;  // a sheet is up: the window is modal to it
    if (w->desc.asksToSave) {
        owner.showSheet(id);
        return;
    }
    scheduleClose(id);
}

void SimDesktop::State::lastWindowCheck(Pid pid) {
    std::shared_ptr<AppRecord> app = runningAppRef(pid);
    if (!app || !app->desc.quitsWithLastWindow || !windowsOf(pid).empty()) return;
    std::weak_ptr<AppRecord> weak = app;
    scheduleWorld(0.1, [this, weak, pid] {
        auto a = weak.lock();
        if (!a || !a->running || !windowsOf(pid).empty()) return;
        terminate(pid);
    });
}

// ---- SimDesktop: windows and elements ----

ElementId SimDesktop::addWindow(Pid pid, const WindowDescription& desc, bool notify) {
    State& s = *state_;
    Element w;
    w.kind = ElementKind::window;
    w.pid = pid;
    w.desc = desc;
    w.number = s.nextWindowNumber++;
    w.space = desc.space > 0 ? desc.space : s.currentSpace;
    s.desktopSpaces = std::max(s.desktopSpaces, desc.space);
    if (desc.closeButton.frame) {
        w.buttonOffset = Point{desc.closeButton.frame->origin.x - desc.frame.origin.x,
                               desc.closeButton.frame->origin.y - desc.frame.origin.y};
        w.buttonSize = desc.closeButton.frame->size;
    }
    ElementId id = s.newElement(std::move(w));
    Element button;
    button.kind = ElementKind::closeButton;
    button.pid = pid;
    button.parent = id;
    s.find(id)->closeButton = s.newElement(std::move(button));
    s.zOrder.insert(s.zOrder.begin(), id);
    s.byNumber[s.find(id)->number] = id;
    ++s.windowLayers[desc.layer];
    if (notify) {
        if (const AppRecord* app = s.runningApp(pid))
            s.post(app->appElement, std::string(nameOf(AXNotification::windowCreated)), id);
    }
    return id;
}

void SimDesktop::destroyWindow(ElementId window) {
    State& s = *state_;
    if (Element* sheet = s.find(window);
        sheet && sheet->alive && sheet->kind == ElementKind::sheet) {
        if (Element* parent = s.find(sheet->parent)) {
            auto& list = parent->sheets;
            list.erase(std::remove(list.begin(), list.end(), window), list.end());
        }
        sheet->alive = false;
        s.post(window, std::string(nameOf(AXNotification::elementDestroyed)), window);
        return;
    }
    Element* w = s.liveWindow(window);
    if (!w) return;
    Pid pid = w->pid;
    s.destroyWindow(window, true);
    s.lastWindowCheck(pid);
}

void SimDesktop::closeWindowWithoutClick(ElementId window) {
    destroyWindow(window);
}

void SimDesktop::moveWindow(ElementId window, Point origin) {
    Element* w = state_->liveWindow(window);
    if (!w) return;
    w->desc.frame.origin = origin;
    state_->post(window, std::string(nameOf(AXNotification::windowMoved)), window);
}

void SimDesktop::resizeWindow(ElementId window, Size size) {
    Element* w = state_->liveWindow(window);
    if (!w) return;
    w->desc.frame.size = size;
    state_->post(window, std::string(nameOf(AXNotification::windowResized)), window);
}

void SimDesktop::focusWindow(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w) return;
    s.zOrder.erase(std::remove(s.zOrder.begin(), s.zOrder.end(), window), s.zOrder.end());
    s.zOrder.insert(s.zOrder.begin(), window);
    if (const AppRecord* app = s.runningApp(w->pid))
        s.post(app->appElement, std::string(nameOf(AXNotification::focusedWindowChanged)), window);
}

ElementId SimDesktop::showSheet(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w) return 0;
    Element sheet;
    sheet.kind = ElementKind::sheet;
    sheet.pid = w->pid;
    sheet.parent = window;
    sheet.number = s.nextWindowNumber++;
    std::uint32_t number = sheet.number;
    ElementId id = s.newElement(std::move(sheet));
    s.byNumber[number] = id;
    s.find(window)->sheets.push_back(id);
    // As AppKit does (NSAccessibilitySheetCreatedNotification): posted on the application,
    // with the sheet as the element. A sheet is no window of the app's "AXWindows", and no
    // "AXWindowCreated" announces it.
    if (const AppRecord* app = s.runningApp(s.find(window)->pid))
        s.post(app->appElement, std::string(nameOf(AXNotification::sheetCreated)), id);
    return id;
}

void SimDesktop::answerSheet(ElementId window, bool closesWindow) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || w->sheets.empty()) return;
    ElementId sheet = w->sheets.back();
    w->sheets.pop_back();
    if (Element* e = s.find(sheet)) e->alive = false;
    s.post(sheet, std::string(nameOf(AXNotification::elementDestroyed)), sheet);
    if (closesWindow) s.scheduleClose(window);
}

void SimDesktop::answerSheetWithSaveAs(ElementId window) {
    State& s = *state_;
    Element* w = s.liveWindow(window);
    if (!w || w->sheets.empty()) return;
    answerSheet(window, false);
    // The question goes, and the Save panel comes down on the window a moment later, as a
    // sheet of its own: for that moment the window has no sheet.
    s.scheduleWorld(saveAsPanelDelay, [this, window] {
        if (state_->liveWindow(window)) showSheet(window);
    });
}

ElementId SimDesktop::showDialog(Pid pid, const std::string& subrole, const std::string& title,
                                 bool appModal) {
    WindowDescription desc;
    desc.title = title;
    desc.subrole = subrole;
    desc.frame = Rect{{400, 300}, {420, 180}};
    desc.closeButton.present = false;
    ElementId id = addWindow(pid, desc, true);
    if (Element* w = state_->find(id)) w->appModal = appModal;
    return id;
}

void SimDesktop::setCloseButton(ElementId window, const CloseButtonDescription& desc) {
    Element* w = state_->find(window);
    if (!w || w->kind != ElementKind::window) return;
    w->desc.closeButton = desc;
    if (desc.frame) {
        w->buttonOffset = Point{desc.frame->origin.x - w->desc.frame.origin.x,
                                desc.frame->origin.y - w->desc.frame.origin.y};
        w->buttonSize = desc.frame->size;
    }
}

void SimDesktop::setTitle(ElementId window, const std::string& title) {
    Element* w = state_->find(window);
    if (!w || w->kind != ElementKind::window || w->desc.title == title) return;
    w->desc.title = title;
    // The window says so, as AppKit windows do (kAXTitleChangedNotification).
    state_->post(window, std::string(nameOf(AXNotification::titleChanged)), window);
}

void SimDesktop::setSubrole(ElementId window, std::optional<std::string> subrole) {
    Element* w = state_->find(window);
    if (w && w->kind == ElementKind::window) w->desc.subrole = std::move(subrole);
}

std::vector<ElementId> SimDesktop::windowsOf(Pid pid) const {
    return state_->windowsOf(pid);
}

std::optional<ElementId> SimDesktop::windowNamed(Pid pid, const std::string& title) const {
    for (ElementId id : state_->windowsOf(pid))
        if (state_->find(id)->desc.title == title) return id;
    return std::nullopt;
}

std::optional<Rect> SimDesktop::closeButtonFrame(ElementId window) const {
    const Element* w = state_->find(window);
    if (!w || w->kind != ElementKind::window || !w->alive || !w->desc.closeButton.present)
        return std::nullopt;
    return state_->buttonFrame(*w);
}

AXElement SimDesktop::element(ElementId id) const {
    return state_->handle(id);
}

AXElement SimDesktop::applicationElement(Pid pid) const {
    const AppRecord* app = state_->runningApp(pid);
    if (!app) {
        // The most recent instance, terminated: its element is dead.
        for (auto it = state_->apps.rbegin(); it != state_->apps.rend(); ++it)
            if ((*it)->desc.pid == pid) return state_->handle((*it)->appElement);
        return state_->handle(0);
    }
    return state_->handle(app->appElement);
}

AXElement SimDesktop::createApplication(Pid pid) {
    return applicationElement(pid);
}

ElementId SimDesktop::closeButtonOf(ElementId window) const {
    const Element* w = state_->find(window);
    return w && w->kind == ElementKind::window ? w->closeButton : 0;
}

ElementId SimDesktop::applicationElementId(Pid pid) const {
    const AppRecord* app = state_->runningApp(pid);
    return app ? app->appElement : 0;
}

void SimDesktop::setAttribute(ElementId id, const std::string& attribute,
                              std::optional<AXValue> value) {
    setAttributeResult(id, attribute, axerror::success, std::move(value));
}

void SimDesktop::failAttribute(ElementId id, const std::string& attribute, AXError error) {
    setAttributeResult(id, attribute, error, std::nullopt);
}

void SimDesktop::setAttributeResult(ElementId id, const std::string& attribute, AXError error,
                                    std::optional<AXValue> value) {
    Element* e = state_->find(id);
    if (!e) return;
    e->overrides[attribute] = AttributeOverride{error, std::move(value)};
}

void SimDesktop::clearAttribute(ElementId id, const std::string& attribute) {
    if (Element* e = state_->find(id)) e->overrides.erase(attribute);
}

void SimDesktop::injectError(ElementId id, const std::string& attribute, AXError error, int times) {
    if (times == 0) {
        state_->injected.erase({id, attribute});
        return;
    }
    state_->injected[{id, attribute}] = InjectedError{error, times < 0 ? -1 : times};
}

void SimDesktop::clearInjectedErrors() {
    state_->injected.clear();
}

std::optional<float> SimDesktop::messagingTimeout(ElementId id) const {
    const Element* e = state_->find(id);
    return e ? e->messagingTimeout : std::nullopt;
}

bool SimDesktop::isElementAlive(ElementId id) const {
    const Element* e = state_->find(id);
    return e && e->alive;
}

// ---- Counters ----

std::uint64_t SimDesktop::accessibilityReadCount() const {
    return state_->totalReads;
}

std::uint64_t SimDesktop::readCount(const std::string& attribute) const {
    auto it = state_->readsByAttribute.find(attribute);
    return it == state_->readsByAttribute.end() ? 0 : it->second;
}

std::uint64_t SimDesktop::readCount(ElementId id, const std::string& attribute) const {
    auto it = state_->readsByElement.find({id, attribute});
    return it == state_->readsByElement.end() ? 0 : it->second;
}

void SimDesktop::setReadHook(std::function<void(ElementId, const std::string&)> hook) {
    state_->readHook = std::move(hook);
}

void SimDesktop::resetCounters() {
    state_->totalReads = 0;
    state_->readsByAttribute.clear();
    state_->readsByElement.clear();
    state_->windowListReads = 0;
    state_->windowsAboveReads = 0;
}

}  // namespace quelto::sim
