#pragma once

#include "base/Uuid.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

namespace plenda {

// A set of block ids kept as one sorted run: ten years of ids are 16 bytes
// each, read in order without chasing pointers, and whole sets join or part
// in one pass. Adding an id past the last is O(1) (so is std::inserter fed in
// order); anywhere else it shifts what follows, so a set built from ids in
// no order is made from all of them at once.
class IdSet {
public:
    using value_type = Uuid;
    using const_iterator = std::vector<Uuid>::const_iterator;
    using iterator = const_iterator;

    IdSet() = default;
    IdSet(std::initializer_list<Uuid> ids) : IdSet(ids.begin(), ids.end()) {}
    template <typename Iterator>
    IdSet(Iterator first, Iterator last) : ids_(first, last) {
        std::sort(ids_.begin(), ids_.end());
        ids_.erase(std::unique(ids_.begin(), ids_.end()), ids_.end());
    }

    const_iterator begin() const { return ids_.begin(); }
    const_iterator end() const { return ids_.end(); }
    std::size_t size() const { return ids_.size(); }
    bool empty() const { return ids_.empty(); }
    const Uuid* data() const { return ids_.data(); }
    bool contains(const Uuid& id) const { return std::binary_search(ids_.begin(), ids_.end(), id); }
    bool operator==(const IdSet&) const = default;

    std::pair<const_iterator, bool> insert(const Uuid& id) {
        const auto at = std::lower_bound(ids_.begin(), ids_.end(), id);
        if (at != ids_.end() && *at == id) return {at, false};
        return {ids_.insert(at, id), true};
    }
    const_iterator insert(const_iterator, const Uuid& id) { return insert(id).first; }
    std::size_t erase(const Uuid& id) {
        const auto at = std::lower_bound(ids_.begin(), ids_.end(), id);
        if (at == ids_.end() || *at != id) return 0;
        ids_.erase(at);
        return 1;
    }
    // Each in one pass; whether anything changed.
    bool insertAll(const IdSet& other) {
        std::vector<Uuid> joined;
        joined.reserve(ids_.size() + other.size());
        std::set_union(ids_.begin(), ids_.end(), other.begin(), other.end(), std::back_inserter(joined));
        if (joined.size() == ids_.size()) return false;
        ids_ = std::move(joined);
        return true;
    }
    bool eraseAll(const IdSet& other) {
        const std::size_t before = ids_.size();
        std::erase_if(ids_, [&](const Uuid& id) { return other.contains(id); });
        return ids_.size() != before;
    }

private:
    std::vector<Uuid> ids_;
};

}  // namespace plenda
