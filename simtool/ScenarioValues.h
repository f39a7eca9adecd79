#pragma once
// The value syntax of the scenario language: numbers, durations, screen points and sizes,
// dates, times of day and time zones, modifier keys, Accessibility errors and activation
// policies. Each reader takes one word and gives no value when the word is not of its kind.

#include <optional>
#include <string>

#include "platform/Accessibility.h"
#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto::simtool {

// "12", "-3", "2.5", ".5": plain decimal only (no exponent, no "inf", no hexadecimal).
std::optional<double> parseNumber(const std::string& word);
std::optional<long long> parseInteger(const std::string& word);

// Seconds: "2.5", "2.5s", "250ms", "2m" or "2min"; never negative.
std::optional<double> parseDuration(const std::string& word);

// "120,80" (two numbers and a comma, no blank).
std::optional<Point> parsePoint(const std::string& word);
// "800x600" (also with "×").
std::optional<Size> parseSize(const std::string& word);

struct CivilDate {
    int year = 2026;
    int month = 1;
    int day = 1;
};
struct ClockTime {
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

// "2026-03-02".
std::optional<CivilDate> parseDate(const std::string& word);
// "09:30", "09:30:15" or "09:30:15.250".
std::optional<ClockTime> parseClockTime(const std::string& word);
// The offset from UTC in seconds: "UTC", "GMT", "Z", "+01:00", "-0530", "+2", "UTC+1",
// "UTC-05:30".
std::optional<int> parseZone(const std::string& word);

// The moment of a local date and time in a zone.
Date dateFrom(const CivilDate& date, const ClockTime& time, int utcOffsetSeconds);
// The local date of a moment.
CivilDate civilDateOf(Date date, int utcOffsetSeconds);
// "HH:MM:SS.mmm" in the zone (milliseconds truncated, as the log's clock does).
std::string formatTimeOfDay(Date date, int utcOffsetSeconds);
// "+01:00", "-05:30", "UTC" for 0.
std::string formatZone(int utcOffsetSeconds);

// One word of modifier keys: names joined by "+" (shift, option or alt, command or cmd,
// control or ctrl), or a raw flag word in hexadecimal ("0xa0000").
std::optional<ModifierFlags> parseModifiers(const std::string& word);

// An Accessibility error by its name ("cannotComplete", "noValue", …) or its code ("-25204").
std::optional<AXError> parseAXError(const std::string& word);

// "regular", "accessory", or "prohibited" (also "background").
std::optional<ActivationPolicy> parsePolicy(const std::string& word);
std::string policyName(ActivationPolicy policy);

// A number written back as people write it: "2.5", "3", "0.35".
std::string formatNumber(double value);

}  // namespace quelto::simtool
