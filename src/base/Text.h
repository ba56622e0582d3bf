#pragma once

#include <string>
#include <string_view>

namespace plenda {

// Text is UTF-8, brought to NFC where it enters, so that byte equality is
// canonical equivalence and byte order is code-point order. Invalid UTF-8
// sequences become U+FFFD.
std::string nfc(std::string_view text);

// Full Unicode lower-casing (root locale), in NFC.
std::string lowercased(std::string_view text);

// The first `count` user-perceived characters (grapheme clusters).
std::string prefixCharacters(std::string_view text, std::size_t count);

}  // namespace plenda
