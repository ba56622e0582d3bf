#include "base/NumberText.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <locale.h>
#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace plenda {

namespace {

// printf and strtod follow the thread's locale, which Qt sets from the
// environment; inside this scope the thread uses the C locale.
class CLocaleScope {
public:
    CLocaleScope() : previous_(uselocale(cLocale())) {}
    ~CLocaleScope() { uselocale(previous_); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    static locale_t cLocale() {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
        return c;
    }
    locale_t previous_;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The shortest significant digits of a finite value > 0 that read back as
// that value, and the decimal exponent of the first digit. Among candidates
// of that length the one nearest the value wins, ties to an even last digit.
struct Digits {
    std::uint64_t significand = 0;  // no trailing zeros
    int exponent = 0;
};

int digitCount(std::uint64_t n) {
    int count = 1;
    while (n >= 10) n /= 10, ++count;
    return count;
}

Digits normalized(std::uint64_t n, int exponent) {
    while (n % 10 == 0 && n != 0) n /= 10;
    return {n, exponent};
}

// Exact integer arithmetic for the values a block file holds: whole numbers
// below 2^53, and fractions down to about 1e-3 with at most 21 decimals.
std::optional<Digits> digitsExact(double value) {
    __extension__ typedef unsigned __int128 Wide;
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased = int(bits >> 52) & 0x7FF;
    const std::uint64_t fraction = bits & ((std::uint64_t(1) << 52) - 1);
    if (biased == 0) return std::nullopt;  // subnormal
    const std::uint64_t m = fraction | (std::uint64_t(1) << 52);
    const int e = biased - 1075;  // value = m * 2^e
    if (e > 0) return std::nullopt;
    const int q = -e;
    if (q == 0 || (q < 64 && (m & ((std::uint64_t(1) << q) - 1)) == 0)) {
        // A whole number: no shorter decimal lies within half a unit of it.
        const std::uint64_t whole = q == 0 ? m : m >> q;
        return normalized(whole, digitCount(whole) - 1);
    }
    const int shift = q + 2;  // in units of 2^(e-2) the value is 4m
    if (shift > 120) return std::nullopt;
    // Reading back rounds to nearest, ties to even: the bounds count when m is
    // even. Below a power of two the lower neighbour is half as far.
    const Wide lowerGap = fraction == 0 && biased > 1 ? 1 : 2;
    const bool inclusive = m % 2 == 0;
    // The value and its bounds times 10^k, in units of 2^(e-2).
    Wide center = Wide(m) * 4, low = center - lowerGap, high = center + 2;
    for (int k = 1; k <= 21; ++k) {  // the fewest decimals first
        center *= 10, low *= 10, high *= 10;
        const auto inside = [&](Wide n) {
            const Wide x = n << shift;
            return inclusive ? x >= low && x <= high : x > low && x < high;
        };
        Wide n = center >> shift;
        const Wide rest = center - (n << shift), half = Wide(1) << (shift - 1);
        if (rest > half || (rest == half && (n & 1))) ++n;
        if (!inside(n)) {
            // The nearest is out; across the value the interval may be wider.
            const Wide other = (n << shift) < center ? n + 1 : n - 1;
            if (n == 0 || !inside(other)) continue;
            n = other;
        }
        if (n >> 64) return std::nullopt;
        const auto narrow = std::uint64_t(n);
        return normalized(narrow, digitCount(narrow) - 1 - k);
    }
    return std::nullopt;
}

// Any finite value > 0: the fewest digits printf rounds to that read back
// with strtod (in the C locale), found by bisection; at a power of two the
// candidate on the far side of the value is tried too.
Digits digitsByPrinting(double value) {
    const CLocaleScope cLocale;
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const bool powerOfTwo = (bits & ((std::uint64_t(1) << 52) - 1)) == 0;
    const auto candidate = [&](int count) -> std::optional<Digits> {
        char buffer[48];
        std::snprintf(buffer, sizeof buffer, "%.*e", count - 1, value);
        const double back = std::strtod(buffer, nullptr);
        std::uint64_t n = 0;
        const char* p = buffer;
        for (; *p && *p != 'e'; ++p)
            if (isDigit(*p)) n = n * 10 + std::uint64_t(*p - '0');
        const int exponent = std::atoi(p + 1);
        if (back == value) return normalized(n, exponent);
        if (!powerOfTwo) return std::nullopt;
        const std::uint64_t other = back < value ? n + 1 : n - 1;
        std::snprintf(buffer, sizeof buffer, "%llue%d", static_cast<unsigned long long>(other),
                      exponent - (count - 1));
        if (std::strtod(buffer, nullptr) != value) return std::nullopt;
        return normalized(other, exponent - (count - 1) + digitCount(other) - 1);
    };
    // Having a candidate is monotonic in the digit count; 17 always suffice.
    int low = 1, high = 17;
    while (low < high) {
        const int count = (low + high) / 2;
        if (candidate(count))
            high = count;
        else
            low = count + 1;
    }
    return *candidate(low);
}

}  // namespace

std::string shortestTextByDigits(double value) {
    const bool negative = std::signbit(value);
    const double magnitude = std::fabs(value);
    Digits found;
    if (magnitude != 0) {
        const auto exact = digitsExact(magnitude);
        found = exact ? *exact : digitsByPrinting(magnitude);
    }
    char digits[24];
    const int count = digitCount(found.significand);
    for (std::uint64_t n = found.significand, i = std::uint64_t(count); i-- > 0; n /= 10)
        digits[i] = char('0' + n % 10);
    const int exponent = found.exponent;
    const int magnitudeOfExponent = exponent < 0 ? -exponent : exponent;

    // The plain form when it is no longer than the exponent form; a whole
    // number is written exactly, not padded with zeros.
    const bool whole = exponent >= count - 1;
    const int plainLength = whole ? exponent + 1 : exponent >= 0 ? count + 1 : count - exponent + 1;
    const int scientificLength =
        count + (count > 1 ? 1 : 0) + 2 + (magnitudeOfExponent >= 100 ? 3 : 2);
    std::string text(negative ? "-" : "");
    text.reserve(std::size_t(std::min(plainLength, scientificLength)) + 1);
    if (plainLength > scientificLength) {
        text.push_back(digits[0]);
        if (count > 1) {
            text.push_back('.');
            text.append(digits + 1, std::size_t(count - 1));
        }
        text += exponent < 0 ? "e-" : "e+";
        if (magnitudeOfExponent < 10) text.push_back('0');
        text += std::to_string(magnitudeOfExponent);
    } else if (whole && magnitude >= 9007199254740992.0) {
        char buffer[48];  // at most 22 digits here, and %.0f prints no point
        std::snprintf(buffer, sizeof buffer, "%.0f", magnitude);
        text += buffer;
    } else if (whole) {
        text.append(digits, std::size_t(count));
        text.append(std::size_t(exponent - (count - 1)), '0');
    } else if (exponent >= 0) {
        text.append(digits, std::size_t(exponent) + 1);
        text.push_back('.');
        text.append(digits + exponent + 1, std::size_t(count - exponent - 1));
    } else {
        text += "0.";
        text.append(std::size_t(-exponent - 1), '0');
        text.append(digits, std::size_t(count));
    }
    return text;
}

std::string shortestText(double value) {
#if __cpp_lib_to_chars >= 201611L
    // The library's own, where it has it: three times as fast.
    char buffer[32];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, written.ptr);
#else
    return shortestTextByDigits(value);
#endif
}

std::optional<double> parseDecimal(std::string_view text) {
    std::size_t i = 0;
    if (i < text.size() && text[i] == '-') ++i;
    std::size_t digits = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) ++digits;
    if (i < text.size() && text[i] == '.')
        for (++i; i < text.size() && isDigit(text[i]); ++i) ++digits;
    if (digits == 0) return std::nullopt;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        std::size_t exponentDigits = 0;
        for (; i < text.size() && isDigit(text[i]); ++i) ++exponentDigits;
        if (exponentDigits == 0) return std::nullopt;
    }
    if (i != text.size()) return std::nullopt;
    const std::string copy(text);
    const double value = parseLeadingNumber(copy.c_str());
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

double parseLeadingNumber(const char* text, const char** end) {
    const CLocaleScope cLocale;
    char* stop = nullptr;
    const double value = std::strtod(text, &stop);
    if (end) *end = stop;
    return value;
}

}  // namespace plenda
