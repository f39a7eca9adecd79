#pragma once
// Value types shared by the core and every platform behind the seam: moments in time,
// screen geometry and the modifier-flag word.

#include <cmath>
#include <compare>
#include <cstdint>

namespace quelto {

// A process identifier (32-bit signed, as on the platform).
using Pid = std::int32_t;

// A moment in wall-clock time: seconds since 1970-01-01 00:00:00 UTC.
struct Date {
    double seconds = 0;

    friend constexpr auto operator<=>(Date, Date) = default;
    friend constexpr Date operator+(Date d, double s) { return Date{d.seconds + s}; }
    friend constexpr Date operator-(Date d, double s) { return Date{d.seconds - s}; }
    // Interval between two moments, in seconds.
    friend constexpr double operator-(Date a, Date b) { return a.seconds - b.seconds; }
};

// Screen points, in global display coordinates: origin at the top-left corner of the
// primary display, y growing downward. Click points and Accessibility frames share this
// space and are never converted.
struct Point {
    double x = 0;
    double y = 0;
    friend constexpr bool operator==(Point, Point) = default;
};

struct Size {
    double width = 0;
    double height = 0;
    friend constexpr bool operator==(Size, Size) = default;
};

struct Rect {
    Point origin;
    Size size;

    constexpr double minX() const { return origin.x; }
    constexpr double minY() const { return origin.y; }
    constexpr double maxX() const { return origin.x + size.width; }
    constexpr double maxY() const { return origin.y + size.height; }

    // The platform's rectangle test: minimum edges inclusive, maximum edges exclusive.
    // Rectangles with a negative size are taken as their standardised form.
    constexpr bool contains(Point p) const {
        double x0 = size.width < 0 ? origin.x + size.width : origin.x;
        double y0 = size.height < 0 ? origin.y + size.height : origin.y;
        double w = size.width < 0 ? -size.width : size.width;
        double h = size.height < 0 ? -size.height : size.height;
        return p.x >= x0 && p.x < x0 + w && p.y >= y0 && p.y < y0 + h;
    }

    // Grown by `d` points on every side (shrunk for a negative d).
    constexpr Rect outset(double d) const {
        return Rect{{origin.x - d, origin.y - d}, {size.width + 2 * d, size.height + 2 * d}};
    }

    friend constexpr bool operator==(Rect, Rect) = default;
};

// The platform's 64-bit modifier-flag word, passed through unchanged.
using ModifierFlags = std::uint64_t;

namespace modifier {
inline constexpr ModifierFlags shift = 0x20000;
inline constexpr ModifierFlags control = 0x40000;
inline constexpr ModifierFlags option = 0x80000;
inline constexpr ModifierFlags command = 0x100000;
}  // namespace modifier

}  // namespace quelto
