#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace plenda {

// Numbers as text, alike on every system and in every locale: the block
// file, the defaults and the command line never see a decimal comma. (Apple's
// C++ library has no floating-point from_chars, nor to_chars before macOS 13.3.)

// The shortest text that reads back as exactly `value`, which must be finite:
// "0.1", "1e-05", "1e+16", "-0". The plain form when it is no longer than the
// exponent form, so "123456" rather than "1.23456e+05".
std::string shortestText(double value);
// The same text computed here, for C++ libraries without floating-point
// to_chars (Apple's before macOS 13.3); shortestText uses it there.
std::string shortestTextByDigits(double value);

// A whole decimal number: an optional '-', digits with an optional point,
// an optional exponent. No blanks, '+', hexadecimal, infinity or NaN.
std::optional<double> parseDecimal(std::string_view text);

// The longest number at the start of `text` as strtod reads it, in the C
// locale; `end` (when given) is set past it, or to `text` when there is none.
double parseLeadingNumber(const char* text, const char** end = nullptr);

}  // namespace plenda
