#include "model/TextPool.h"

namespace plenda {

TextPool::Ref TextPool::intern(std::string_view text) {
    if (const auto found = refs_.find(text); found != refs_.end()) return found->second;
    const auto [entry, added] = refs_.emplace(std::string(text), Ref(texts_.size() + 1));
    texts_.push_back(&entry->first);
    return entry->second;
}

std::vector<TextPool::Ref> TextPool::keepOnly(const std::vector<bool>& used) {
    std::vector<Ref> renamed(texts_.size() + 1, 0);
    std::vector<const std::string*> kept;
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        const auto entry = refs_.find(*texts_[i]);
        if (!used[i + 1]) {
            refs_.erase(entry);
            continue;
        }
        kept.push_back(texts_[i]);
        entry->second = renamed[i + 1] = Ref(kept.size());
    }
    texts_ = std::move(kept);
    return renamed;
}

}  // namespace plenda
