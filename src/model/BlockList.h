#pragma once

#include "model/MacDayBlock.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace plenda {

// The store's blocks in their order, with each block's effective start and
// end kept beside them in plain arrays: day queries and session merges scan
// those few megabytes instead of every block of ten years.
class BlockList {
public:
    const std::vector<MacDayBlock>& all() const { return blocks_; }
    std::size_t size() const { return blocks_.size(); }
    const MacDayBlock& operator[](std::size_t i) const { return blocks_[i]; }

    void replace(std::vector<MacDayBlock> blocks);
    void append(MacDayBlock block);
    // Changes one block in place; its dates may change.
    void update(std::size_t i, const std::function<void(MacDayBlock&)>& change);
    // Removes matching blocks, keeping the order of the others; returns how many went.
    std::size_t eraseIf(const std::function<bool(const MacDayBlock&)>& matches);

    // Positions of the blocks whose effective start lies in [from, to), in list order.
    std::vector<std::size_t> startingWithin(Date from, Date to) const;
    // Positions of the blocks whose effective end lies in [from, to], in list order.
    std::vector<std::size_t> endingWithin(Date from, Date to) const;
    // The earliest effective start, if any.
    std::optional<Date> earliestStart() const;

private:
    void index(std::size_t i);

    std::vector<MacDayBlock> blocks_;
    std::vector<double> starts_;
    std::vector<double> ends_;
};

}  // namespace plenda
