// Text rules on arbitrary bytes, invalid UTF-8 included: normalising twice
// changes nothing, and classification always answers.
#include "base/Text.h"
#include "base/Uuid.h"
#include "tracking/CategoryRules.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string composed = nfc(text);
    if (nfc(composed) != composed) std::abort();
    const std::string lower = lowercased(text);
    if (nfc(lower) != lower) std::abort();
    const std::string prefix = prefixCharacters(composed, size % 70);
    if (composed.compare(0, prefix.size(), prefix) != 0) std::abort();
    (void)classifyCategory(text, size % 2 == 0);
    if (const auto id = Uuid::parse(text)) {
        if (Uuid::parse(id->string()) != id) std::abort();
    }
    return 0;
}
