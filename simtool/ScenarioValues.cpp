#include "simtool/ScenarioValues.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace quelto::simtool {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Days since 1970-01-01 of a proleptic Gregorian date.
long long daysFromCivil(int y, int m, int d) {
    y -= m <= 2 ? 1 : 0;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy =
        (153 * static_cast<unsigned>(m + (m > 2 ? -3 : 9)) + 2) / 5 + static_cast<unsigned>(d) - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

CivilDate civilFromDays(long long z) {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long y = static_cast<long long>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return CivilDate{static_cast<int>(y + (m <= 2 ? 1 : 0)), static_cast<int>(m),
                     static_cast<int>(d)};
}

int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (m == 2 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0)) return 29;
    return days[m - 1];
}

// Digits only, at most `maxDigits` of them.
std::optional<int> parseDigits(const std::string& s, std::size_t minDigits, std::size_t maxDigits) {
    if (s.size() < minDigits || s.size() > maxDigits) return std::nullopt;
    int v = 0;
    for (char c : s) {
        if (!isDigit(c)) return std::nullopt;
        v = v * 10 + (c - '0');
    }
    return v;
}

std::optional<int> parseOffset(const std::string& s) {
    // "+1", "+01", "+0100", "+01:00" (sign required).
    if (s.size() < 2 || (s[0] != '+' && s[0] != '-')) return std::nullopt;
    int sign = s[0] == '-' ? -1 : 1;
    std::string rest = s.substr(1);
    int hours = 0, minutes = 0;
    auto colon = rest.find(':');
    if (colon != std::string::npos) {
        auto h = parseDigits(rest.substr(0, colon), 1, 2);
        auto m = parseDigits(rest.substr(colon + 1), 2, 2);
        if (!h || !m) return std::nullopt;
        hours = *h;
        minutes = *m;
    } else if (rest.size() == 4) {
        auto h = parseDigits(rest.substr(0, 2), 2, 2);
        auto m = parseDigits(rest.substr(2), 2, 2);
        if (!h || !m) return std::nullopt;
        hours = *h;
        minutes = *m;
    } else {
        auto h = parseDigits(rest, 1, 2);
        if (!h) return std::nullopt;
        hours = *h;
    }
    if (hours > 14 || minutes > 59) return std::nullopt;
    return sign * (hours * 3600 + minutes * 60);
}

}  // namespace

std::optional<double> parseNumber(const std::string& word) {
    std::size_t i = 0;
    if (i < word.size() && (word[i] == '+' || word[i] == '-')) ++i;
    std::size_t intDigits = 0, fracDigits = 0;
    while (i < word.size() && isDigit(word[i])) ++i, ++intDigits;
    if (i < word.size() && word[i] == '.') {
        ++i;
        while (i < word.size() && isDigit(word[i])) ++i, ++fracDigits;
    }
    if (i != word.size() || intDigits + fracDigits == 0) return std::nullopt;
    double v = std::strtod(word.c_str(), nullptr);
    if (!std::isfinite(v)) return std::nullopt;
    return v;
}

std::optional<long long> parseInteger(const std::string& word) {
    std::size_t i = 0;
    if (i < word.size() && (word[i] == '+' || word[i] == '-')) ++i;
    if (i == word.size() || word.size() - i > 12) return std::nullopt;
    for (std::size_t j = i; j < word.size(); ++j)
        if (!isDigit(word[j])) return std::nullopt;
    return std::strtoll(word.c_str(), nullptr, 10);
}

std::optional<double> parseDuration(const std::string& word) {
    struct Unit {
        const char* suffix;
        double factor;
    };
    static const Unit units[] = {{"ms", 0.001}, {"min", 60}, {"s", 1}, {"m", 60}};
    std::string number = word;
    double factor = 1;
    for (const Unit& u : units) {
        std::string suffix = u.suffix;
        if (word.size() > suffix.size() &&
            word.compare(word.size() - suffix.size(), suffix.size(), suffix) == 0) {
            number = word.substr(0, word.size() - suffix.size());
            factor = u.factor;
            break;
        }
    }
    if (!number.empty() && (number[0] == '+' || number[0] == '-')) return std::nullopt;
    auto v = parseNumber(number);
    if (!v) return std::nullopt;
    return *v * factor;
}

std::optional<Point> parsePoint(const std::string& word) {
    auto comma = word.find(',');
    if (comma == std::string::npos) return std::nullopt;
    auto x = parseNumber(word.substr(0, comma));
    auto y = parseNumber(word.substr(comma + 1));
    if (!x || !y) return std::nullopt;
    return Point{*x, *y};
}

std::optional<Size> parseSize(const std::string& word) {
    std::string w = word;
    std::size_t sep = w.find("×");
    std::size_t sepLen = 2;  // "×" is two bytes in UTF-8
    if (sep == std::string::npos) {
        sep = w.find('x');
        sepLen = 1;
    }
    if (sep == std::string::npos) return std::nullopt;
    auto width = parseNumber(w.substr(0, sep));
    auto height = parseNumber(w.substr(sep + sepLen));
    if (!width || !height || *width < 0 || *height < 0) return std::nullopt;
    return Size{*width, *height};
}

std::optional<CivilDate> parseDate(const std::string& word) {
    if (word.size() != 10 || word[4] != '-' || word[7] != '-') return std::nullopt;
    auto y = parseDigits(word.substr(0, 4), 4, 4);
    auto m = parseDigits(word.substr(5, 2), 2, 2);
    auto d = parseDigits(word.substr(8, 2), 2, 2);
    if (!y || !m || !d || *y < 1970 || *m < 1 || *m > 12 || *d < 1) return std::nullopt;
    if (*d > daysInMonth(*y, *m)) return std::nullopt;
    return CivilDate{*y, *m, *d};
}

std::optional<ClockTime> parseClockTime(const std::string& word) {
    ClockTime t;
    std::string rest = word;
    auto dot = rest.find('.');
    if (dot != std::string::npos) {
        auto ms = parseDigits(rest.substr(dot + 1), 1, 3);
        if (!ms) return std::nullopt;
        std::string frac = rest.substr(dot + 1);
        int value = *ms;
        for (std::size_t i = frac.size(); i < 3; ++i) value *= 10;
        t.millisecond = value;
        rest = rest.substr(0, dot);
    }
    auto c1 = rest.find(':');
    if (c1 == std::string::npos) return std::nullopt;
    auto h = parseDigits(rest.substr(0, c1), 1, 2);
    std::string afterHour = rest.substr(c1 + 1);
    auto c2 = afterHour.find(':');
    std::optional<int> m, s = 0;
    if (c2 == std::string::npos) {
        if (dot != std::string::npos) return std::nullopt;  // "09:30.5" is not a time
        m = parseDigits(afterHour, 2, 2);
    } else {
        m = parseDigits(afterHour.substr(0, c2), 2, 2);
        s = parseDigits(afterHour.substr(c2 + 1), 2, 2);
    }
    if (!h || !m || !s || *h > 23 || *m > 59 || *s > 59) return std::nullopt;
    t.hour = *h;
    t.minute = *m;
    t.second = *s;
    return t;
}

std::optional<int> parseZone(const std::string& word) {
    if (word == "UTC" || word == "GMT" || word == "Z") return 0;
    if (word.rfind("UTC", 0) == 0 || word.rfind("GMT", 0) == 0) return parseOffset(word.substr(3));
    return parseOffset(word);
}

Date dateFrom(const CivilDate& date, const ClockTime& time, int utcOffsetSeconds) {
    long long days = daysFromCivil(date.year, date.month, date.day);
    long long secs = days * 86400 + time.hour * 3600LL + time.minute * 60LL + time.second;
    return Date{static_cast<double>(secs - utcOffsetSeconds) + time.millisecond / 1000.0};
}

CivilDate civilDateOf(Date date, int utcOffsetSeconds) {
    double local = std::floor(date.seconds + utcOffsetSeconds);
    long long days = static_cast<long long>(std::floor(local / 86400.0));
    return civilFromDays(days);
}

std::string formatTimeOfDay(Date date, int utcOffsetSeconds) {
    // Whole microseconds first, so that a moment that is exactly on a millisecond in virtual
    // time is not shown one millisecond early by the binary fraction.
    long long micros = std::llround((date.seconds + utcOffsetSeconds) * 1e6);
    long long dayMicros = ((micros % 86400000000LL) + 86400000000LL) % 86400000000LL;
    long long ms = dayMicros / 1000;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02lld:%02lld:%02lld.%03lld", ms / 3600000, ms / 60000 % 60,
                  ms / 1000 % 60, ms % 1000);
    return buf;
}

std::string formatZone(int utcOffsetSeconds) {
    if (utcOffsetSeconds == 0) return "UTC";
    int a = utcOffsetSeconds < 0 ? -utcOffsetSeconds : utcOffsetSeconds;
    char buf[16];
    std::snprintf(buf, sizeof buf, "%c%02d:%02d", utcOffsetSeconds < 0 ? '-' : '+', a / 3600,
                  a / 60 % 60);
    return buf;
}

std::optional<ModifierFlags> parseModifiers(const std::string& word) {
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        if (word.size() > 18) return std::nullopt;
        ModifierFlags v = 0;
        for (std::size_t i = 2; i < word.size(); ++i) {
            char c = word[i];
            int d;
            if (c >= '0' && c <= '9')
                d = c - '0';
            else if (c >= 'a' && c <= 'f')
                d = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                d = c - 'A' + 10;
            else
                return std::nullopt;
            v = v * 16 + static_cast<ModifierFlags>(d);
        }
        return v;
    }
    static const std::map<std::string, ModifierFlags> names = {
        {"shift", modifier::shift},  {"option", modifier::option},
        {"alt", modifier::option},   {"command", modifier::command},
        {"cmd", modifier::command},  {"control", modifier::control},
        {"ctrl", modifier::control},
    };
    ModifierFlags flags = 0;
    std::size_t start = 0;
    while (true) {
        std::size_t plus = word.find('+', start);
        std::string name = word.substr(start, plus == std::string::npos ? plus : plus - start);
        auto it = names.find(name);
        if (it == names.end()) return std::nullopt;
        flags |= it->second;
        if (plus == std::string::npos) break;
        start = plus + 1;
    }
    return flags;
}

std::optional<AXError> parseAXError(const std::string& word) {
    static const std::map<std::string, AXError> names = {
        {"success", axerror::success},
        {"failure", axerror::failure},
        {"illegalArgument", axerror::illegalArgument},
        {"invalidUIElement", axerror::invalidUIElement},
        {"invalidUIElementObserver", axerror::invalidUIElementObserver},
        {"cannotComplete", axerror::cannotComplete},
        {"attributeUnsupported", axerror::attributeUnsupported},
        {"actionUnsupported", axerror::actionUnsupported},
        {"notificationUnsupported", axerror::notificationUnsupported},
        {"notImplemented", axerror::notImplemented},
        {"notificationAlreadyRegistered", axerror::notificationAlreadyRegistered},
        {"notificationNotRegistered", axerror::notificationNotRegistered},
        {"apiDisabled", axerror::apiDisabled},
        {"noValue", axerror::noValue},
        {"parameterizedAttributeUnsupported", axerror::parameterizedAttributeUnsupported},
        {"notEnoughPrecision", axerror::notEnoughPrecision},
    };
    auto it = names.find(word);
    if (it != names.end()) return it->second;
    auto code = parseInteger(word);
    if (!code || *code < INT32_MIN || *code > INT32_MAX) return std::nullopt;
    return AXError{static_cast<std::int32_t>(*code)};
}

std::optional<ActivationPolicy> parsePolicy(const std::string& word) {
    if (word == "regular") return ActivationPolicy::regular;
    if (word == "accessory") return ActivationPolicy::accessory;
    if (word == "prohibited" || word == "background") return ActivationPolicy::prohibited;
    return std::nullopt;
}

std::string policyName(ActivationPolicy policy) {
    switch (policy) {
        case ActivationPolicy::regular:
            return "regular";
        case ActivationPolicy::accessory:
            return "accessory";
        case ActivationPolicy::prohibited:
            return "prohibited";
    }
    return "regular";
}

std::string formatNumber(double value) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.6f", value);
    std::string s = buf;
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    if (s == "-0") s = "0";
    return s;
}

}  // namespace quelto::simtool
