#include "base/Date.h"
#include "base/Text.h"
#include "base/Uuid.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

TEST(Uuid, ParsesOnlyTheHyphenatedFormInEitherCaseAndRandomIdsAreVersion4) {
    for (const char* text : {"E621E1F8-C36C-495A-93FC-0C247A3E6E5F", "e621e1f8-c36c-495a-93fc-0c247a3e6e5f"}) {
        EXPECT_EQ(Uuid::parse(text).value_or(Uuid()).string(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F") << text;
    }
    for (const char* text : {"E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF", "G621E1F8-C36C-495A-93FC-0C247A3E6E5F",
                             "E621E1F8+C36C-495A-93FC-0C247A3E6E5F", "E621E1F-8C36C-495A-93FC-0C247A3E6E5F", ""}) {
        EXPECT_FALSE(Uuid::parse(text)) << text;
    }
    const Uuid a = Uuid::random(), b = Uuid::random();
    EXPECT_NE(a, b);
    EXPECT_EQ(a.string()[14], '4');
    EXPECT_NE(std::string("89AB").find(a.string()[19]), std::string::npos);
    EXPECT_EQ(Uuid::parse(a.string()), a);
}

// Ids order as their canonical texts do: the first differing byte decides,
// read as unsigned.
TEST(Uuid, OrdersLikeItsText) {
    const char* ordered[] = {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-0000000000FF",
                             "00000000-0000-0000-0001-000000000000", "7F000000-0000-0000-0000-000000000000",
                             "80000000-0000-0000-0000-000000000000", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFE"};
    for (const char* a : ordered)
        for (const char* b : ordered) {
            const auto ordering = *Uuid::parse(a) <=> *Uuid::parse(b);
            EXPECT_EQ(ordering, std::string_view(a) <=> std::string_view(b)) << a << " " << b;
        }
}

TEST(Date, ReferenceInstantAndUtcText) {
    EXPECT_EQ(isoUtcText(Date(0)), "2001-01-01T00:00:00Z");
    EXPECT_EQ(isoUtcText(Date(700000000)), "2023-03-08T20:26:40Z");
    EXPECT_EQ(isoUtcText(Date(-1)), "2000-12-31T23:59:59Z");
    EXPECT_EQ(Date::fromUnixSeconds(978307200.0), Date(0));
    // 1 January of year 1 as the platform counts it (Julian before 1582).
    EXPECT_EQ(Date::distantPast().seconds, -63114076800.0);
}

TEST(Text, NfcComposesAndReplacesInvalidBytesAndLowercasingMapsFully) {
    EXPECT_EQ(nfc("Cafe\xCC\x81"), "Caf\xC3\xA9");  // e + combining acute becomes one code point
    EXPECT_EQ(nfc("a\xFF" "b"), "a\xEF\xBF\xBD" "b");
    // Lowercasing uses the full case mapping.
    EXPECT_EQ(lowercased("\xC3\x9C" "BER"), "\xC3\xBC" "ber");       // Ü
    EXPECT_EQ(lowercased("\xC4\xB0stanbul"), "i\xCC\x87stanbul");    // İ -> i + dot above
    EXPECT_EQ(lowercased("\xCE\xA3\xCE\x9F\xCE\xA6\xCE\x9F\xCE\xA3"),  // ΣΟΦΟΣ ends in a final sigma
              "\xCF\x83\xCE\xBF\xCF\x86\xCE\xBF\xCF\x82");
}

TEST(Text, PrefixCountsUserPerceivedCharacters) {
    EXPECT_EQ(prefixCharacters("abcdef", 3), "abc");
    EXPECT_EQ(prefixCharacters("ab", 5), "ab");
    // e + combining acute is one character; a flag is one character of two code points.
    EXPECT_EQ(prefixCharacters("e\xCC\x81xyz", 2), "e\xCC\x81x");
    EXPECT_EQ(prefixCharacters("\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA!", 1), "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA");
}

}  // namespace
}  // namespace plenda
