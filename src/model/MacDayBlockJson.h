#pragma once

#include "base/JsonWriter.h"
#include "model/MacDayBlock.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace plenda {

// The JSON object form of a block: the block file's element and the cloud
// payload. Absent optionals are left out, never written as null.
std::optional<std::string> encodeBlock(const MacDayBlock& block);
std::optional<std::string> encodeBlocks(const std::vector<MacDayBlock>& blocks);
void writeBlock(JsonWriter& writer, const MacDayBlock& block);

// Strict decoding: required keys, exact JSON types, null as absent, unknown
// keys ignored. A list decodes all or nothing. `error`, when given, receives
// a one-line reason on failure. Running out of memory throws std::bad_alloc:
// it says nothing about the text.
std::optional<MacDayBlock> decodeBlock(std::string_view json, std::string* error = nullptr);
std::optional<std::vector<MacDayBlock>> decodeBlocks(std::string_view json,
                                                     std::string* error = nullptr);
// Parses in place when the buffer holding `json` has room after its end
// (`capacity` counts from its start; see FileRead).
std::optional<std::vector<MacDayBlock>> decodeBlocks(std::string_view json, std::size_t capacity,
                                                     std::string* error);

}  // namespace plenda
