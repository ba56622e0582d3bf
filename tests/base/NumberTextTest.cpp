#include "base/NumberText.h"

#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace plenda {
namespace {

// Where the library has no floating-point to_chars, these are the only check
// of the form: plain while no longer than the exponent form.
TEST(ShortestText, ChoosesThePlainOrExponentForm) {
    const std::pair<double, const char*> cases[] = {
        {-0.0, "-0"},
        {0.30000000000000004, "0.30000000000000004"},
        {-1732377600.25, "-1732377600.25"},
        {0.001, "0.001"},
        {0.0001, "1e-04"},
        {1e16, "1e+16"},
        {1.2345678901234567e21, "1234567890123456774144"},
        {5e-324, "5e-324"},
        {1.7976931348623157e308, "1.7976931348623157e+308"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(shortestText(value), text);
        EXPECT_EQ(shortestTextByDigits(value), text);
    }
}

// The block file must read back to the bit; where the library has the
// floating-point to_chars, the text is also exactly what it writes. Below a
// power of two the gap to the next lower value is half as wide, so the nearest
// short decimal may miss while the one across the value fits.
TEST(ShortestText, ReadsBackExactlyForRandomValuesAndPowersOfTwo) {
    const auto expectExactAndShortest = [](double value) {
        const std::string text = shortestTextByDigits(value);
        const auto back = parseDecimal(text);
        ASSERT_TRUE(back) << text;
        ASSERT_EQ(std::memcmp(&*back, &value, sizeof value), 0) << text;
        ASSERT_EQ(shortestText(value), text);
#if __cpp_lib_to_chars >= 201611L
        char buffer[32];
        ASSERT_EQ(text, std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr));
#endif
    };
    std::vector<double> values;
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 50000; ++i) {
        // Any bit pattern; and values like times and durations, with fractions.
        const std::uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        values.push_back(value);
        values.push_back(std::ldexp(double(random() >> 11), int(random() % 120) - 60));
    }
    for (int exponent = -1074; exponent <= 1023; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        values.insert(values.end(), {power, std::nextafter(power, 0.0), std::nextafter(power, HUGE_VAL)});
    }
    for (const double value : values) {
        if (!std::isfinite(value) || value == 0) continue;
        ASSERT_NO_FATAL_FAILURE(expectExactAndShortest(value));
    }
}

TEST(ParseDecimal, ReadsOnlyAWholeFiniteDecimal) {
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"-2", -2.0},       {".5", 0.5},          {"5.", 5.0},          {"1E-2", 0.01},
        {"", std::nullopt}, {"-", std::nullopt},  {".", std::nullopt},  {"+1", std::nullopt},
        {" 1", std::nullopt}, {"1 ", std::nullopt}, {"0x10", std::nullopt}, {"inf", std::nullopt},
        {"nan", std::nullopt}, {"1e+", std::nullopt}, {"1,5", std::nullopt}, {"1e999", std::nullopt},
    };
    for (const auto& [text, value] : cases) EXPECT_EQ(parseDecimal(text), value) << text;
    const char* text = "12.5px";
    const char* end = nullptr;
    EXPECT_EQ(parseLeadingNumber(text, &end), 12.5);
    EXPECT_EQ(end, text + 4);
    EXPECT_EQ(parseLeadingNumber(text + 4, &end), 0.0);
    EXPECT_EQ(end, text + 4);
}

// Qt puts the user's locale into effect; a decimal comma must not leak into
// or out of the text. Runs where such a locale is installed.
TEST(NumberTextLocale, IgnoresTheProcessLocale) {
    const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8") && !std::setlocale(LC_NUMERIC, "fr_FR.UTF-8"))
        GTEST_SKIP() << "no locale with a decimal comma installed";
    EXPECT_EQ(shortestTextByDigits(1.5), "1.5");
    EXPECT_EQ(parseDecimal("1.5"), 1.5);
    EXPECT_EQ(parseDecimal("1,5"), std::nullopt);
    std::setlocale(LC_NUMERIC, previous.c_str());
}

}  // namespace
}  // namespace plenda
