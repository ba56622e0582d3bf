#include "base/NumberText.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
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

}  // namespace

std::string shortestText(double value) {
    const CLocaleScope cLocale;
    char buffer[48];
    // The fewest significant digits that read back exactly; reading back is
    // monotonic in the digit count, and 17 always suffice.
    int low = 1, high = 17;
    while (low < high) {
        const int digits = (low + high) / 2;
        std::snprintf(buffer, sizeof buffer, "%.*e", digits - 1, value);
        if (std::strtod(buffer, nullptr) == value)
            high = digits;
        else
            low = digits + 1;
    }
    std::snprintf(buffer, sizeof buffer, "%.*e", low - 1, value);

    // "-d.ddde±xx" -> sign, significant digits, decimal exponent.
    const char* p = buffer;
    const bool negative = *p == '-';
    if (negative) ++p;
    std::string digits;
    for (; *p && *p != 'e'; ++p)
        if (isDigit(*p)) digits.push_back(*p);
    const int exponent = *p == 'e' ? std::atoi(p + 1) : 0;
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    const int count = int(digits.size());

    std::string scientific = digits.substr(0, 1);
    if (count > 1) scientific += "." + digits.substr(1);
    std::string magnitude = std::to_string(exponent < 0 ? -exponent : exponent);
    if (magnitude.size() < 2) magnitude.insert(0, 1, '0');
    scientific += (exponent < 0 ? "e-" : "e+") + magnitude;

    // Plain form: a whole number is written exactly, not padded with zeros.
    const bool whole = exponent >= count - 1;
    const std::size_t plainLength = whole ? std::size_t(exponent) + 1
                                    : exponent >= 0 ? std::size_t(count) + 1
                                                    : std::size_t(count - exponent) + 1;
    if (plainLength > scientific.size()) return (negative ? "-" : "") + scientific;
    std::string plain;
    if (whole) {
        std::snprintf(buffer, sizeof buffer, "%.0f", negative ? -value : value);
        plain = buffer;
    } else if (exponent >= 0) {
        plain = digits.substr(0, std::size_t(exponent) + 1) + "." + digits.substr(std::size_t(exponent) + 1);
    } else {
        plain = "0." + std::string(std::size_t(-exponent - 1), '0') + digits;
    }
    return (negative ? "-" : "") + plain;
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
