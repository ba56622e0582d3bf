#include "fakes/MemoryDefaults.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

struct ReadCase {
    const char* name;
    std::optional<DefaultsValue> stored;
    double asDouble;
    bool asBool;
    std::optional<std::string> asString;
    bool isStringArray;
};

class TypedReaders : public ::testing::TestWithParam<ReadCase> {};

TEST_P(TypedReaders, FollowTheUserDefaultsConversions) {
    MemoryDefaults defaults;
    const ReadCase& c = GetParam();
    if (c.stored) defaults.set("key", *c.stored);
    EXPECT_EQ(defaults.doubleValue("key"), c.asDouble);
    EXPECT_EQ(defaults.boolValue("key"), c.asBool);
    EXPECT_EQ(defaults.string("key"), c.asString);
    EXPECT_EQ(defaults.stringArray("key").has_value(), c.isStringArray);
}

INSTANTIATE_TEST_SUITE_P(
    Values, TypedReaders,
    ::testing::Values(
        ReadCase{"missing", std::nullopt, 0, false, std::nullopt, false},
        ReadCase{"number", DefaultsValue(300.0), 300, true, "300", false},
        ReadCase{"zero", DefaultsValue(0.0), 0, false, "0", false},
        ReadCase{"negative", DefaultsValue(-2.5), -2.5, true, "-2.5", false},
        ReadCase{"boolTrue", DefaultsValue(true), 1, true, "1", false},
        ReadCase{"numericText", DefaultsValue(" 45.5s"), 45.5, true, " 45.5s", false},
        ReadCase{"yesText", DefaultsValue("YES"), 0, true, "YES", false},
        ReadCase{"noText", DefaultsValue("no"), 0, false, "no", false},
        ReadCase{"data", DefaultsValue(Data{"x"}), 0, false, std::nullopt, false},
        ReadCase{"stringArray", DefaultsValue(DefaultsValue::Array{"a", "b"}), 0, false, std::nullopt, true},
        ReadCase{"emptyArray", DefaultsValue(DefaultsValue::Array{}), 0, false, std::nullopt, true},
        ReadCase{"mixedArray", DefaultsValue(DefaultsValue::Array{"a", true}), 0, false, std::nullopt, false},
        ReadCase{"dictionary", DefaultsValue(DefaultsValue::Dictionary{{"a", "b"}}), 0, false, std::nullopt,
                 false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Defaults, DataAndDictionaryReadOnlyTheirOwnTypes) {
    MemoryDefaults defaults;
    defaults.set("blob", Data{"\x00\x01"});
    defaults.set("text", "abc");
    defaults.set("map", DefaultsValue::Dictionary{{"k", 1.0}});
    EXPECT_EQ(defaults.data("blob"), Data{"\x00\x01"});
    EXPECT_FALSE(defaults.data("text"));
    EXPECT_EQ(defaults.dictionary("map")->size(), 1u);
    EXPECT_FALSE(defaults.dictionary("text"));
}

}  // namespace
}  // namespace plenda
