#pragma once

#include <compare>
#include <string>

namespace plenda {

// An instant as seconds since 2001-01-01 00:00:00 UTC: exactly what the block
// file and cloud payloads store, so values round-trip to the bit.
struct Date {
    double seconds = 0;

    constexpr Date() = default;
    constexpr explicit Date(double secondsSinceReference) : seconds(secondsSinceReference) {}

    // Seconds between 1970-01-01 and 2001-01-01.
    static constexpr double unixEpochOffset = 978307200.0;
    // 0001-01-01 00:00:00 UTC, the earliest date anything compares against.
    static constexpr Date distantPast() { return Date(-63114076800.0); }

    static constexpr Date fromUnixSeconds(double unixSeconds) {
        return Date(unixSeconds - unixEpochOffset);
    }
    constexpr double unixSeconds() const { return seconds + unixEpochOffset; }

    constexpr Date operator+(double delta) const { return Date(seconds + delta); }
    constexpr Date operator-(double delta) const { return Date(seconds - delta); }
    constexpr double operator-(Date other) const { return seconds - other.seconds; }

    constexpr auto operator<=>(const Date&) const = default;
};

// "2026-11-22T23:58:00Z", for file names and diagnostics.
std::string isoUtcText(Date date);

}  // namespace plenda
