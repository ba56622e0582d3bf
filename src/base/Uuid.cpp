#include "base/Uuid.h"

#include <random>

namespace plenda {

namespace {

constexpr std::array<signed char, 256> hexValues = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    for (int c = '0'; c <= '9'; ++c) values[static_cast<std::size_t>(c)] = static_cast<signed char>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) values[static_cast<std::size_t>(c)] = static_cast<signed char>(c - 'a' + 10);
    for (int c = 'A'; c <= 'F'; ++c) values[static_cast<std::size_t>(c)] = static_cast<signed char>(c - 'A' + 10);
    return values;
}();

int hexValue(char c) { return hexValues[static_cast<unsigned char>(c)]; }

// Where each byte's two digits start in the 36-character text.
constexpr std::array<std::size_t, 16> digitPositions = {0,  2,  4,  6,  9,  11, 14, 16,
                                                        19, 21, 24, 26, 28, 30, 32, 34};

}  // namespace

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-')
        return std::nullopt;
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t byte = 0; byte < 16; ++byte) {
        const int high = hexValue(text[digitPositions[byte]]);
        const int low = hexValue(text[digitPositions[byte] + 1]);
        if ((high | low) < 0) return std::nullopt;
        bytes[byte] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return Uuid(bytes);
}

Uuid Uuid::random() {
    thread_local std::mt19937_64 generator{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }()};
    std::array<std::uint8_t, 16> bytes{};
    const std::uint64_t a = generator(), b = generator();
    for (int i = 0; i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(a >> (8 * i));
        bytes[i + 8] = static_cast<std::uint8_t>(b >> (8 * i));
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
    return Uuid(bytes);
}

std::string Uuid::string() const {
    static constexpr char digits[] = "0123456789ABCDEF";
    // Written in place: a sync set writes hundreds of thousands of these.
    std::string text(36, '-');
    char* out = text.data();
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) ++out;
        *out++ = digits[bytes_[i] >> 4];
        *out++ = digits[bytes_[i] & 0x0F];
    }
    return text;
}

}  // namespace plenda
