#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace plenda {

// Texts held once however many blocks carry them: ten years of blocks have a
// few thousand titles and one or two notes and types between them. A text is
// named by a small number; 0 names none. Texts no longer used stay until
// `keepOnly` drops them.
class TextPool {
public:
    using Ref = std::uint32_t;

    Ref intern(std::string_view text);
    std::string_view text(Ref ref) const { return *texts_[ref - 1]; }
    std::size_t size() const { return texts_.size(); }
    // Keeps the texts `used` says are in use, and tells each old number its new one.
    std::vector<Ref> keepOnly(const std::vector<bool>& used);

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    std::unordered_map<std::string, Ref, Hash, std::equal_to<>> refs_;
    std::vector<const std::string*> texts_;  // the map's keys, which never move
};

}  // namespace plenda
