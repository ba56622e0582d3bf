#include "base/JsonWriter.h"

#include "base/NumberText.h"

#include <array>
#include <cmath>

namespace plenda {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

// The bytes a JSON text takes as they are: not a control character, a quote,
// a backslash or part of a multi-byte sequence (which is checked).
constexpr auto plainBytes = [] {
    std::array<bool, 256> plain{};
    for (int c = 0x20; c < 0x80; ++c) plain[std::size_t(c)] = c != '"' && c != '\\';
    return plain;
}();

// Length of the well-formed UTF-8 sequence at the start of `text`, 0 if there is none.
std::size_t utf8SequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto continuation = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return continuation(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!continuation(1) || !continuation(2)) return 0;
        if (lead == 0xE0 && byte(1) < 0xA0) return 0;  // overlong
        if (lead == 0xED && byte(1) > 0x9F) return 0;  // surrogate
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!continuation(1) || !continuation(2) || !continuation(3)) return 0;
        if (lead == 0xF0 && byte(1) < 0x90) return 0;  // overlong
        if (lead == 0xF4 && byte(1) > 0x8F) return 0;  // beyond U+10FFFF
        return 4;
    }
    return 0;
}

}  // namespace

void JsonWriter::separate() {
    if (needsComma_) text_.push_back(',');
    needsComma_ = true;
}

void JsonWriter::beginObject() {
    separate();
    text_.push_back('{');
    needsComma_ = false;
}

void JsonWriter::endObject() {
    text_.push_back('}');
    needsComma_ = true;
}

void JsonWriter::beginArray() {
    separate();
    text_.push_back('[');
    needsComma_ = false;
}

void JsonWriter::endArray() {
    text_.push_back(']');
    needsComma_ = true;
}

void JsonWriter::key(std::string_view name) {
    string(name);
    text_.push_back(':');
    needsComma_ = false;
}

void JsonWriter::string(std::string_view value) {
    separate();
    text_.push_back('"');
    for (std::size_t i = 0; i < value.size();) {
        // A run that needs no escaping goes in at once.
        std::size_t plain = i;
        while (plain < value.size() && plainBytes[static_cast<unsigned char>(value[plain])]) ++plain;
        text_.append(value.data() + i, plain - i);
        if ((i = plain) == value.size()) break;
        const char c = value[i];
        if (static_cast<unsigned char>(c) >= 0x80) {
            const std::size_t length = utf8SequenceLength(value.substr(i));
            if (length == 0) {
                text_ += replacementCharacter;
                ++i;
            } else {
                text_.append(value.substr(i, length));
                i += length;
            }
            continue;
        }
        ++i;
        switch (c) {
            case '"': text_ += "\\\""; break;
            case '\\': text_ += "\\\\"; break;
            case '\n': text_ += "\\n"; break;
            case '\r': text_ += "\\r"; break;
            case '\t': text_ += "\\t"; break;
            case '\b': text_ += "\\b"; break;
            case '\f': text_ += "\\f"; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    static constexpr char hex[] = "0123456789abcdef";
                    text_ += "\\u00";
                    text_.push_back(hex[(c >> 4) & 0xF]);
                    text_.push_back(hex[c & 0xF]);
                } else {
                    text_.push_back(c);
                }
        }
    }
    text_.push_back('"');
}

void JsonWriter::number(double value) {
    separate();
    if (!std::isfinite(value)) {
        ok_ = false;
        text_ += "null";
        return;
    }
    const std::size_t start = text_.size();
    text_ += shortestText(value);
    // A whole number written out in digits past the 64-bit integers is no
    // number at all to a reader that takes digits without a point as an
    // integer (simdjson, reading the block file, refuses it): add a point.
    if (std::fabs(value) >= 0x1p63 && text_.find_first_of(".e", start) == std::string::npos) text_ += ".0";
}

void JsonWriter::boolean(bool value) {
    separate();
    text_ += value ? "true" : "false";
}

void JsonWriter::null() {
    separate();
    text_ += "null";
}

}  // namespace plenda
