#pragma once
// Helpers of the macOS suite: the shared application set up once per process (the shells
// create status items and windows), and the main run loop turned until something happened.

#import <AppKit/AppKit.h>

#include <functional>

namespace quelto::mactest {

// Runs the main run loop (which drains the main dispatch queue) until `done` returns true or
// `limitSeconds` have passed; returns `done()`.
inline bool runMainLoopUntil(const std::function<bool()>& done, double limitSeconds = 5.0) {
    NSDate* limit = [NSDate dateWithTimeIntervalSinceNow:limitSeconds];
    while (!done() && [limit timeIntervalSinceNow] > 0)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    return done();
}

// Turns the main run loop for `seconds`, whatever happens.
inline void runMainLoopFor(double seconds) {
    runMainLoopUntil([] { return false; }, seconds);
}

}  // namespace quelto::mactest
