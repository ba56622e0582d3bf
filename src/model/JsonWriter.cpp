#include "model/JsonWriter.h"

#include <charconv>
#include <cmath>

namespace plenda {

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
    for (char c : value) {
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
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    text_.append(buffer, result.ptr);
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
