// Time in a scenario: when it starts and in which zone (clock), and time passing (wait, at).

#include <cmath>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

std::int64_t toMicros(double seconds) {
    return std::llround(seconds * 1e6);
}

// A moment as clock and at write it: "[YYYY-MM-DD] HH:MM[:SS[.mmm]]".
struct DateAndTime {
    CivilDate date;
    ClockTime time;
    std::string timeWord;  // the time of day as written
};

// Reads a moment; `date` is the day when none is written. The examples ("09:00",
// "09:00:15.250") are the command's own, for its messages.
std::optional<DateAndTime> dateAndTime(Args& args, CivilDate date, const std::string& example,
                                       const std::string& preciseExample) {
    const std::string what = "a time of day, as in " + example;
    auto first = args.bare(what);
    if (!first) return std::nullopt;
    std::string timeWord = *first;
    if (auto d = parseDate(*first)) {
        date = *d;
        auto t = args.bare(what);
        if (!t) return std::nullopt;
        timeWord = *t;
    } else if (first->size() == 10 && (*first)[4] == '-') {
        args.fail(inQuotes(*first) + " is not a date (as in 2026-03-02)");
        return std::nullopt;
    }
    auto time = parseClockTime(timeWord);
    if (!time) {
        args.fail(inQuotes(timeWord) + " is not a time of day (as in " + example + " or " +
                  preciseExample + ")");
        return std::nullopt;
    }
    return DateAndTime{date, *time, timeWord};
}

}  // namespace

void Parser::clockCommand(Args& args) {
    if (clockLine)
        return args.fail("the clock is already set at line " + std::to_string(clockLine));
    if (timeMoved || startLine) return args.fail("clock must come before start, wait and at");
    auto when = dateAndTime(args, civilDateOf(scenario.start, 0), "09:00", "09:00:15.250");
    if (!when) return;
    int offset = 0;
    if (!args.done()) {
        auto z = args.bare("a time zone");
        if (!z) return;
        auto parsed = parseZone(*z);
        if (!parsed)
            return args.fail(inQuotes(*z) + " is not a time zone (as in UTC, +01:00 or UTC-5)");
        offset = *parsed;
    }
    if (!args.end()) return;
    scenario.start = dateFrom(when->date, when->time, offset);
    scenario.utcOffsetSeconds = offset;
    clockLine = args.line();
}

void Parser::waitCommand(Args& args) {
    auto d = args.duration("a duration, as in wait 2.5");
    if (!d || !args.end()) return;
    nowMicros += toMicros(*d);
    timeMoved = true;
    double seconds = *d;
    addStep(args.line(), "wait", [seconds](ScenarioRunner& r) { r.desktop().advance(seconds); });
}

void Parser::atCommand(Args& args) {
    Date current = scenario.start + static_cast<double>(nowMicros) / 1e6;
    auto when =
        dateAndTime(args, civilDateOf(current, scenario.utcOffsetSeconds), "09:15", "09:15:30.500");
    if (!when || !args.end()) return;
    Date target = dateFrom(when->date, when->time, scenario.utcOffsetSeconds);
    std::int64_t targetMicros = std::llround((target.seconds - scenario.start.seconds) * 1e6);
    if (targetMicros < nowMicros)
        return args.fail("at " + when->timeWord + " is before the scenario's time there, " +
                         formatTimeOfDay(current, scenario.utcOffsetSeconds) +
                         " — time only moves forward");
    double delta = static_cast<double>(targetMicros - nowMicros) / 1e6;
    nowMicros = targetMicros;
    timeMoved = true;
    addStep(args.line(), "at", [delta](ScenarioRunner& r) { r.desktop().advance(delta); });
}

}  // namespace quelto::simtool
