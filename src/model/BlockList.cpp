#include "model/BlockList.h"

#include <algorithm>

namespace plenda {

void BlockList::index(std::size_t i) {
    starts_[i] = blocks_[i].effectiveStart().seconds;
    ends_[i] = blocks_[i].effectiveEnd().seconds;
}

void BlockList::replace(std::vector<MacDayBlock> blocks) {
    blocks_ = std::move(blocks);
    starts_.resize(blocks_.size());
    ends_.resize(blocks_.size());
    for (std::size_t i = 0; i < blocks_.size(); ++i) index(i);
}

void BlockList::append(MacDayBlock block) {
    blocks_.push_back(std::move(block));
    starts_.push_back(0);
    ends_.push_back(0);
    index(blocks_.size() - 1);
}

void BlockList::update(std::size_t i, const std::function<void(MacDayBlock&)>& change) {
    change(blocks_[i]);
    index(i);
}

std::size_t BlockList::eraseIf(const std::function<bool(const MacDayBlock&)>& matches) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (matches(blocks_[i])) continue;
        if (kept != i) {
            blocks_[kept] = std::move(blocks_[i]);
            starts_[kept] = starts_[i];
            ends_[kept] = ends_[i];
        }
        ++kept;
    }
    const std::size_t removed = blocks_.size() - kept;
    blocks_.resize(kept);
    starts_.resize(kept);
    ends_.resize(kept);
    return removed;
}

std::vector<std::size_t> BlockList::startingWithin(Date from, Date to) const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < starts_.size(); ++i) {
        if (starts_[i] >= from.seconds && starts_[i] < to.seconds) found.push_back(i);
    }
    return found;
}

std::vector<std::size_t> BlockList::endingWithin(Date from, Date to) const {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < ends_.size(); ++i) {
        if (ends_[i] >= from.seconds && ends_[i] <= to.seconds) found.push_back(i);
    }
    return found;
}

std::optional<Date> BlockList::earliestStart() const {
    if (starts_.empty()) return std::nullopt;
    return Date(*std::min_element(starts_.begin(), starts_.end()));
}

}  // namespace plenda
