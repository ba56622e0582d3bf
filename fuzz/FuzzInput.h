#pragma once

#include "platform/Defaults.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

namespace plenda {

// Turns fuzz bytes into structured values, one decision per byte.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool empty() const { return position_ >= size_; }
    std::uint8_t byte() { return empty() ? 0 : data_[position_++]; }
    double number() {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = (bits << 8) | byte();
        double value;
        static_assert(sizeof value == sizeof bits);
        __builtin_memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::string text() {
        const std::size_t length = byte() % 48;
        std::string out;
        for (std::size_t i = 0; i < length && !empty(); ++i) out.push_back(static_cast<char>(byte()));
        return out;
    }
    // Everything not consumed yet.
    std::string rest() {
        std::string out(reinterpret_cast<const char*>(data_) + position_, size_ - position_);
        position_ = size_;
        return out;
    }
    // One of the given texts, or (when the byte says so) arbitrary text.
    template <class List>
    std::string oneOf(const List& choices) {
        const std::size_t pick = byte();
        if (pick >= std::size(choices)) return text();
        return std::string(choices[pick]);
    }
    // Any property-list value, nested a few levels at most.
    DefaultsValue value(int depth = 0) {
        switch (byte() % (depth < 3 ? 6 : 4)) {
            case 0: return DefaultsValue(byte() % 2 == 1);
            case 1: return DefaultsValue(number());
            case 2: return DefaultsValue(text());
            case 3: return DefaultsValue(Data{text()});
            case 4: {
                DefaultsValue::Array array;
                for (int n = byte() % 5; n > 0; --n) array.push_back(value(depth + 1));
                return DefaultsValue(std::move(array));
            }
            default: {
                DefaultsValue::Dictionary dictionary;
                for (int n = byte() % 5; n > 0; --n) dictionary.insert_or_assign(text(), value(depth + 1));
                return DefaultsValue(std::move(dictionary));
            }
        }
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

}  // namespace plenda
