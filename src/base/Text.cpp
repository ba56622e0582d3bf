#include "base/Text.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace plenda {

namespace {

bool isAscii(std::string_view text) {
    // Eight bytes at a time: titles are read by the hundred thousand at start-up.
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, 8);
        if (word & 0x8080808080808080ull) return false;
    }
    for (; i < text.size(); ++i) {
        if (static_cast<unsigned char>(text[i]) >= 0x80) return false;
    }
    return true;
}

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string normalized(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return utf8(text);
    if (normalizer->isNormalized(text, status) && U_SUCCESS(status)) return utf8(text);
    status = U_ZERO_ERROR;
    const icu::UnicodeString result = normalizer->normalize(text, status);
    return U_SUCCESS(status) ? utf8(result) : utf8(text);
}

}  // namespace

std::string nfc(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    return normalized(unicode(text));
}

std::string lowercased(std::string_view text) {
    if (isAscii(text)) {
        std::string out(text);
        std::transform(out.begin(), out.end(), out.begin(),
                       [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; });
        return out;
    }
    icu::UnicodeString value = unicode(text);
    value.toLower(icu::Locale::getRoot());
    return normalized(value);
}

std::string prefixCharacters(std::string_view text, std::size_t count) {
    if (isAscii(text)) return std::string(text.substr(0, std::min(count, text.size())));
    const icu::UnicodeString value = unicode(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) return utf8(value.tempSubString(0, static_cast<int32_t>(count)));
    characters->setText(value);
    int32_t end = characters->first();
    for (std::size_t i = 0; i < count; ++i) {
        const int32_t next = characters->next();
        if (next == icu::BreakIterator::DONE) break;
        end = next;
    }
    return utf8(value.tempSubString(0, end));
}

}  // namespace plenda
