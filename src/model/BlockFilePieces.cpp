#include "model/BlockFilePieces.h"

#include "model/MacDayBlockJson.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace plenda {

namespace {

constexpr std::size_t padding = 64;  // the JSON parser reads this far past the end

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

// The first "}" at or after `from` followed by blanks, "," and blanks, "{".
std::size_t elementEnd(std::string_view text, std::size_t from) {
    for (std::size_t i = text.find('}', from); i != std::string_view::npos; i = text.find('}', i + 1)) {
        std::size_t j = i + 1;
        while (j < text.size() && isBlank(text[j])) ++j;
        if (j >= text.size() || text[j] != ',') continue;
        ++j;
        while (j < text.size() && isBlank(text[j])) ++j;
        if (j < text.size() && text[j] == '{') return i + 1;
    }
    return std::string_view::npos;
}

// The elements of `inner` (an array's text without its brackets), cut at
// each "}" blanks "," blanks "{". The same bytes inside a text or a nested
// value only add cuts, so exactly `count` elements means every cut is real.
std::optional<std::vector<std::string_view>> elementsOf(std::string_view inner, std::size_t count) {
    std::vector<std::string_view> elements;
    elements.reserve(count);
    std::size_t begin = 0;
    for (std::size_t end = elementEnd(inner, 0); end != std::string_view::npos; end = elementEnd(inner, end)) {
        if (elements.size() + 1 >= count) return std::nullopt;
        elements.push_back(inner.substr(begin, end - begin));
        begin = inner.find('{', end);
    }
    elements.push_back(inner.substr(begin));
    if (elements.size() != count) return std::nullopt;
    return elements;
}

}  // namespace

bool readBlocksInPieces(const std::function<std::size_t(char*, std::size_t)>& read,
                        const std::function<void(MacDayBlock&&, std::optional<ByteRange>)>& take,
                        std::size_t pieceBytes) {
    std::string buffer;
    bool atEnd = false;
    const auto fill = [&](std::size_t size) {
        while (!atEnd && buffer.size() < size) {
            const std::size_t had = buffer.size();
            buffer.resize(size);
            const std::size_t got = read(buffer.data() + had, size - had);
            buffer.resize(had + got);
            atEnd = got == 0;
        }
    };
    std::size_t open = 0;
    for (fill(pieceBytes); (open = std::ranges::find_if_not(buffer, isBlank) - buffer.begin()) == buffer.size() && !atEnd;)
        fill(buffer.size() + pieceBytes);
    if (open >= buffer.size() || buffer[open] != '[') return false;
    buffer.erase(0, open + 1);
    std::uint64_t bufferOffset = open + 1;  // where the buffer's first byte lies in the file

    std::string piece;
    for (std::size_t want = pieceBytes;;) {
        fill(want);
        std::size_t cut = std::string::npos;
        if (!atEnd) {
            cut = elementEnd(buffer, want / 2);
            if (cut == std::string::npos) {
                want += pieceBytes;
                continue;
            }
        }
        std::string_view part(buffer);
        if (!atEnd) {
            part = part.substr(0, cut);
        } else {
            while (!part.empty() && isBlank(part.back())) part.remove_suffix(1);
            if (part.empty() || part.back() != ']') return false;
            part.remove_suffix(1);
        }
        piece.clear();
        piece.reserve(part.size() + 2 + padding);
        piece.append("[").append(part).append("]");
        auto blocks = decodeBlocks(piece, piece.capacity(), nullptr);
        if (!blocks) return false;
        while (!part.empty() && isBlank(part.front())) part.remove_prefix(1);
        while (!part.empty() && isBlank(part.back())) part.remove_suffix(1);
        const auto elements = elementsOf(part, blocks->size());
        for (std::size_t i = 0; i < blocks->size(); ++i) {
            std::optional<ByteRange> range;
            if (elements) {
                const std::string_view element = (*elements)[i];
                range = ByteRange{bufferOffset + std::uint64_t(element.data() - buffer.data()), element.size()};
            }
            take(std::move((*blocks)[i]), range);
        }
        if (atEnd) return true;
        const std::size_t next = buffer.find('{', cut);
        buffer.erase(0, next);
        bufferOffset += next;
        want = pieceBytes;
    }
}

}  // namespace plenda
