#include "platform/macos/MacMainQueue.h"

#import <Foundation/Foundation.h>

#include <cmath>
#include <cstdint>
#include <memory>

namespace quelto::mac {

void MacMainQueue::asyncAfter(double delaySeconds, std::function<void()> work) {
    // Shared, so the block copies a pointer rather than the work itself.
    auto job = std::make_shared<std::function<void()>>(std::move(work));
    void (^run)(void) = ^{
      (*job)();
    };
    if (delaySeconds <= 0) {
        // Plain async keeps work submitted "now" strictly in submission order.
        dispatch_async(dispatch_get_main_queue(), run);
        return;
    }
    auto nanoseconds = static_cast<std::int64_t>(delaySeconds * static_cast<double>(NSEC_PER_SEC));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), run);
}

Subscription MacMainQueue::scheduleRepeating(double intervalSeconds, std::function<void()> tick) {
    auto job = std::make_shared<std::function<void()>>(std::move(tick));
    NSTimer* timer = [NSTimer timerWithTimeInterval:intervalSeconds
                                            repeats:YES
                                              block:^(NSTimer*) {
                                                (*job)();
                                              }];
    [NSRunLoop.mainRunLoop addTimer:timer forMode:NSDefaultRunLoopMode];
    return Subscription([timer] { [timer invalidate]; });
}

Date MacClock::now() { return Date{NSDate.date.timeIntervalSince1970}; }

LocalTime MacClock::localTime(Date date) {
    double whole = std::floor(date.seconds);
    NSDate* moment = [NSDate dateWithTimeIntervalSince1970:whole];
    NSCalendar* calendar = [NSCalendar calendarWithIdentifier:NSCalendarIdentifierGregorian];
    calendar.timeZone = NSTimeZone.localTimeZone;
    NSDateComponents* parts =
        [calendar components:NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                             NSCalendarUnitHour | NSCalendarUnitMinute | NSCalendarUnitSecond
                    fromDate:moment];
    LocalTime local;
    local.year = static_cast<int>(parts.year);
    local.month = static_cast<int>(parts.month);
    local.day = static_cast<int>(parts.day);
    local.hour = static_cast<int>(parts.hour);
    local.minute = static_cast<int>(parts.minute);
    local.second = static_cast<int>(parts.second);
    // Milliseconds are truncated, never rounded up into the next second.
    int millisecond = static_cast<int>(std::floor((date.seconds - whole) * 1000.0));
    local.millisecond = millisecond > 999 ? 999 : millisecond;
    return local;
}

}  // namespace quelto::mac
