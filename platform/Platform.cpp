#include "platform/Platform.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace quelto {

namespace {

class SystemClock final : public Clock {
  public:
    Date now() override {
        auto t = std::chrono::system_clock::now().time_since_epoch();
        return Date{std::chrono::duration<double>(t).count()};
    }

    LocalTime localTime(Date date) override {
        double whole = std::floor(date.seconds);
        auto secs = static_cast<std::time_t>(whole);
        std::tm tm{};
        localtime_r(&secs, &tm);
        LocalTime lt;
        lt.year = tm.tm_year + 1900;
        lt.month = tm.tm_mon + 1;
        lt.day = tm.tm_mday;
        lt.hour = tm.tm_hour;
        lt.minute = tm.tm_min;
        lt.second = tm.tm_sec;
        lt.millisecond = static_cast<int>(std::floor((date.seconds - whole) * 1000.0));
        if (lt.millisecond > 999) lt.millisecond = 999;
        return lt;
    }
};

Platform& installed() {
    static Platform p{.clock = &systemClock()};
    return p;
}

}  // namespace

Clock& systemClock() {
    static SystemClock clock;
    return clock;
}

Platform& platform() {
    return installed();
}

void installPlatform(const Platform& p, bool replaceAll) {
    Platform& cur = installed();
    auto take = [replaceAll](auto*& dst, auto* src) {
        if (src || replaceAll) dst = src;
    };
    take(cur.accessibility, p.accessibility);
    take(cur.workspace, p.workspace);
    take(cur.mainQueue, p.mainQueue);
    take(cur.clock, p.clock);
    take(cur.mouse, p.mouse);
    take(cur.system, p.system);
    take(cur.loginItem, p.loginItem);
    take(cur.http, p.http);
    take(cur.alerts, p.alerts);
    take(cur.pasteboard, p.pasteboard);
    take(cur.collation, p.collation);
    take(cur.windowServer, p.windowServer);
    take(cur.spaces, p.spaces);
    if (!cur.clock) cur.clock = &systemClock();
}

}  // namespace quelto
