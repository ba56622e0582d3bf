#include "base/NumberText.h"

#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace plenda {
namespace {

struct TextCase {
    double value;
    const char* text;
};

class ShortestText : public ::testing::TestWithParam<TextCase> {};

TEST_P(ShortestText, IsTheShortestFormThatReadsBack) {
    EXPECT_EQ(shortestText(GetParam().value), GetParam().text);
    EXPECT_EQ(shortestTextByDigits(GetParam().value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ShortestText,
    ::testing::Values(TextCase{0.0, "0"}, TextCase{-0.0, "-0"}, TextCase{1.5, "1.5"}, TextCase{0.1, "0.1"},
                      TextCase{0.30000000000000004, "0.30000000000000004"}, TextCase{100, "100"},
                      TextCase{123456, "123456"}, TextCase{-1732377600.25, "-1732377600.25"},
                      TextCase{0.001, "0.001"}, TextCase{0.0001, "1e-04"}, TextCase{1e16, "1e+16"},
                      TextCase{2.5e20, "2.5e+20"}, TextCase{1.2345678901234567e21, "1234567890123456774144"},
                      TextCase{5e-324, "5e-324"},
                      TextCase{1.7976931348623157e308, "1.7976931348623157e+308"}));

double bitsToDouble(std::uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The block file must read back to the bit; where the library has the
// floating-point to_chars, the text is also exactly what it writes.
void expectExactAndShortest(double value) {
    const std::string text = shortestTextByDigits(value);
    const auto back = parseDecimal(text);
    ASSERT_TRUE(back) << text;
    ASSERT_EQ(std::memcmp(&*back, &value, sizeof value), 0) << text;
    ASSERT_EQ(shortestText(value), text);
#if __cpp_lib_to_chars >= 201611L
    char buffer[32];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    ASSERT_EQ(text, std::string(buffer, written.ptr));
#endif
}

TEST(ShortestTextRoundTrip, RandomValuesOfEveryMagnitude) {
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 100000; ++i) {
        // Any bit pattern; and values like times and durations, with fractions.
        const double value = i % 2 ? bitsToDouble(random())
                                   : std::ldexp(double(random() >> 11), int(random() % 120) - 60);
        if (std::isfinite(value)) {
            ASSERT_NO_FATAL_FAILURE(expectExactAndShortest(value));
        }
    }
}

// Below a power of two the gap to the next lower value is half as wide, so
// the nearest short decimal may miss while the one across the value fits.
TEST(ShortestTextRoundTrip, PowersOfTwoAndTheirNeighbours) {
    for (int exponent = -1074; exponent <= 1023; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        for (const double value : {power, std::nextafter(power, 0.0), std::nextafter(power, HUGE_VAL)})
            if (std::isfinite(value) && value != 0) {
                ASSERT_NO_FATAL_FAILURE(expectExactAndShortest(value));
            }
    }
}

struct ParseCase {
    const char* text;
    std::optional<double> value;
};

class ParseDecimal : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseDecimal, ReadsOnlyAWholeFiniteDecimal) { EXPECT_EQ(parseDecimal(GetParam().text), GetParam().value); }

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseDecimal,
    ::testing::Values(ParseCase{"1.5", 1.5}, ParseCase{"-2", -2.0}, ParseCase{".5", 0.5}, ParseCase{"5.", 5.0},
                      ParseCase{"1e3", 1000.0}, ParseCase{"1E-2", 0.01}, ParseCase{"0.1", 0.1},
                      ParseCase{"", std::nullopt}, ParseCase{"-", std::nullopt}, ParseCase{".", std::nullopt},
                      ParseCase{"+1", std::nullopt}, ParseCase{" 1", std::nullopt}, ParseCase{"1 ", std::nullopt},
                      ParseCase{"0x10", std::nullopt}, ParseCase{"inf", std::nullopt},
                      ParseCase{"nan", std::nullopt}, ParseCase{"1e", std::nullopt}, ParseCase{"1e+", std::nullopt},
                      ParseCase{"1,5", std::nullopt}, ParseCase{"1e999", std::nullopt}));

TEST(ParseLeadingNumber, StopsAfterTheNumber) {
    const char* text = "12.5px";
    const char* end = nullptr;
    EXPECT_EQ(parseLeadingNumber(text, &end), 12.5);
    EXPECT_EQ(end, text + 4);
    const char* none = "px";
    EXPECT_EQ(parseLeadingNumber(none, &end), 0.0);
    EXPECT_EQ(end, none);
}

// Qt puts the user's locale into effect; a decimal comma must not leak into
// or out of the text. Runs where such a locale is installed.
TEST(NumberTextLocale, IgnoresTheProcessLocale) {
    const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    bool found = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
        if (std::setlocale(LC_NUMERIC, name)) {
            found = true;
            break;
        }
    if (!found) GTEST_SKIP() << "no locale with a decimal comma installed";
    EXPECT_EQ(shortestTextByDigits(1.5), "1.5");
    EXPECT_EQ(shortestTextByDigits(1e300), "1e+300");
    EXPECT_EQ(parseDecimal("1.5"), 1.5);
    EXPECT_EQ(parseDecimal("1,5"), std::nullopt);
    std::setlocale(LC_NUMERIC, previous.c_str());
}

}  // namespace
}  // namespace plenda
