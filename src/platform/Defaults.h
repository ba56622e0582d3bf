#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace plenda {

// A byte blob, kept apart from text as the user defaults keep them apart.
struct Data {
    std::string bytes;
    bool operator==(const Data&) const = default;
};

// A property-list value: what the user defaults can hold under a key.
struct DefaultsValue {
    using Array = std::vector<DefaultsValue>;
    using Dictionary = std::map<std::string, DefaultsValue>;
    std::variant<bool, double, std::string, Data, Array, Dictionary> value;

    DefaultsValue(bool v) : value(v) {}
    DefaultsValue(double v) : value(v) {}
    DefaultsValue(int v) : value(static_cast<double>(v)) {}
    DefaultsValue(std::string v) : value(std::move(v)) {}
    DefaultsValue(const char* v) : value(std::string(v)) {}
    DefaultsValue(Data v) : value(std::move(v)) {}
    DefaultsValue(Array v) : value(std::move(v)) {}
    DefaultsValue(Dictionary v) : value(std::move(v)) {}

    bool operator==(const DefaultsValue&) const = default;
};

// The user's key-value settings. Implementations store and return values as
// they are, wrong types included; the typed readers below apply the standard
// user-defaults conversions. Safe to use from any thread.
class Defaults {
public:
    virtual ~Defaults() = default;
    virtual std::optional<DefaultsValue> object(std::string_view key) const = 0;
    virtual void set(std::string_view key, DefaultsValue value) = 0;
    virtual void remove(std::string_view key) = 0;
    // Puts what was set on storage before returning (at quit, before sleep).
    virtual void synchronize() {}

    // Missing or not convertible: 0. Booleans read as 0 or 1, text by its leading number.
    double doubleValue(std::string_view key) const;
    // Missing: false. Numbers are true when not 0; text when it starts with Y, T or 1-9.
    bool boolValue(std::string_view key) const;
    // Text as it is, numbers as their text; anything else nothing.
    std::optional<std::string> string(std::string_view key) const;
    // An array of which every element is text; anything else nothing.
    std::optional<std::vector<std::string>> stringArray(std::string_view key) const;
    std::optional<Data> data(std::string_view key) const;
    std::optional<DefaultsValue::Dictionary> dictionary(std::string_view key) const;

    void setBool(std::string_view key, bool value) { set(key, value); }
    void setDouble(std::string_view key, double value) { set(key, value); }
    void setString(std::string_view key, std::string value) { set(key, std::move(value)); }
    void setData(std::string_view key, Data value) { set(key, std::move(value)); }
    void setStringArray(std::string_view key, const std::vector<std::string>& values);
};

}  // namespace plenda
