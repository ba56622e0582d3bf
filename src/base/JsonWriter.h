#pragma once

#include <string>
#include <string_view>

namespace plenda {

// Appends compact JSON. Numbers use the shortest text that reads back to the
// same double; a non-finite number makes the whole output invalid (`ok()`).
// Text that is not valid UTF-8 is written with U+FFFD in place of each bad
// sequence: a reader refuses invalid UTF-8, and one such title must not make
// the whole block file unreadable.
class JsonWriter {
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);
    void string(std::string_view value);
    void number(double value);
    void boolean(bool value);
    void null();

    bool ok() const { return ok_; }
    std::string& text() { return text_; }
    std::string take() { return std::move(text_); }

private:
    void separate();

    std::string text_;
    bool needsComma_ = false;
    bool ok_ = true;
};

}  // namespace plenda
