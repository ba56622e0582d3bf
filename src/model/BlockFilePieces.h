#pragma once

#include "model/MacDayBlock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace plenda {

// Where some of a file's bytes lie in it.
struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    bool operator==(const ByteRange&) const = default;
};

// Reads a block file through `read` (fills up to `room` bytes at `into` and
// returns how many, 0 at the end) a piece of about `pieceBytes` at a time,
// handing each block to `take` in file order, so that only one piece is held
// rather than the whole file. The array is cut between elements; pieces that
// all decode make a file that decodes to the same blocks. False when a piece
// or the frame around them does not decode: a cut inside a text can do that,
// so the caller drops what it took and decodes the whole file for the verdict.
// With each block comes where its text lies in the file, when that is sure.
bool readBlocksInPieces(const std::function<std::size_t(char* into, std::size_t room)>& read,
                        const std::function<void(MacDayBlock&&, std::optional<ByteRange>)>& take,
                        std::size_t pieceBytes = 1 << 20);

}  // namespace plenda
