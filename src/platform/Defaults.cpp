#include "platform/Defaults.h"

#include "base/NumberText.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

namespace plenda {

namespace {

template <typename... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <typename... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

std::string_view skipBlanks(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    return text;
}

}  // namespace

double Defaults::doubleValue(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return 0;
    return std::visit(Overloaded{
                          [](bool v) { return v ? 1.0 : 0.0; },
                          [](double v) { return v; },
                          [](const std::string& v) {
                              const std::string text(skipBlanks(v));
                              const char* end = nullptr;
                              const double parsed = parseLeadingNumber(text.c_str(), &end);
                              return end == text.c_str() ? 0.0 : parsed;
                          },
                          [](const auto&) { return 0.0; },
                      },
                      stored->value);
}

bool Defaults::boolValue(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return false;
    return std::visit(Overloaded{
                          [](bool v) { return v; },
                          [](double v) { return v != 0; },
                          [](const std::string& v) {
                              const std::string_view text = skipBlanks(v);
                              if (text.empty()) return false;
                              const char c = text.front();
                              return c == 'Y' || c == 'y' || c == 'T' || c == 't' ||
                                     (c >= '1' && c <= '9');
                          },
                          [](const auto&) { return false; },
                      },
                      stored->value);
}

std::optional<std::string> Defaults::string(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return std::nullopt;
    return std::visit(Overloaded{
                          [](const std::string& v) -> std::optional<std::string> { return v; },
                          [](bool v) -> std::optional<std::string> { return v ? "1" : "0"; },
                          [](double v) -> std::optional<std::string> {
                              if (std::isnan(v)) return "nan";
                              if (std::isinf(v)) return v < 0 ? "-inf" : "inf";
                              return shortestText(v);
                          },
                          [](const auto&) -> std::optional<std::string> { return std::nullopt; },
                      },
                      stored->value);
}

std::optional<std::vector<std::string>> Defaults::stringArray(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return std::nullopt;
    const auto* array = std::get_if<DefaultsValue::Array>(&stored->value);
    if (!array) return std::nullopt;
    std::vector<std::string> strings;
    strings.reserve(array->size());
    for (const DefaultsValue& element : *array) {
        const auto* text = std::get_if<std::string>(&element.value);
        if (!text) return std::nullopt;
        strings.push_back(*text);
    }
    return strings;
}

std::optional<Data> Defaults::data(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return std::nullopt;
    if (const auto* blob = std::get_if<Data>(&stored->value)) return *blob;
    return std::nullopt;
}

std::optional<DefaultsValue::Dictionary> Defaults::dictionary(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return std::nullopt;
    if (const auto* map = std::get_if<DefaultsValue::Dictionary>(&stored->value)) return *map;
    return std::nullopt;
}

void Defaults::setStringArray(std::string_view key, const std::vector<std::string>& values) {
    DefaultsValue::Array array;
    array.reserve(values.size());
    for (const std::string& value : values) array.emplace_back(value);
    set(key, std::move(array));
}

}  // namespace plenda
