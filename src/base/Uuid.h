#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace plenda {

// 16 bytes; reads either case, writes the canonical upper-case text.
class Uuid {
public:
    Uuid() = default;
    explicit Uuid(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}

    // Only the 36-character form with hyphens at 8, 13, 18 and 23 is accepted.
    static std::optional<Uuid> parse(std::string_view text);
    // A version 4 (random) UUID.
    static Uuid random();

    std::string string() const;
    const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }

    // Byte by byte, as unsigned values (std::array has no <=> in every
    // standard library Plenda builds with).
    std::strong_ordering operator<=>(const Uuid& other) const {
        return std::memcmp(bytes_.data(), other.bytes_.data(), 16) <=> 0;
    }
    // Fixed-size compare: cheap enough to scan every block by id.
    bool operator==(const Uuid& other) const {
        return std::memcmp(bytes_.data(), other.bytes_.data(), 16) == 0;
    }

private:
    std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace plenda

template <>
struct std::hash<plenda::Uuid> {
    std::size_t operator()(const plenda::Uuid& id) const noexcept {
        std::uint64_t a = 0, b = 0;
        for (int i = 0; i < 8; ++i) {
            a = (a << 8) | id.bytes()[i];
            b = (b << 8) | id.bytes()[i + 8];
        }
        return std::hash<std::uint64_t>{}(a ^ (b * 0x9E3779B97F4A7C15ull));
    }
};
