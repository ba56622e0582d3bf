// The override dictionary as a damaged or hand-edited preferences file could
// hold it, and titles in any bytes: a lookup answers by the stored dictionary,
// writing an override keeps the user's other choices (unless the dictionary
// was unreadable) and is found again under any casing of the title.
#include "FuzzInput.h"
#include "fakes/MemoryDefaults.h"
#include "base/Text.h"
#include "tracking/CategoryRules.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace plenda;
    FuzzInput input(data, size);
    static const char* const raws[] = {"work", "self", "selfCare", "mind", "Work", "", "sleep", "commute"};
    MemoryDefaults defaults;
    DefaultsValue::Dictionary stored;
    for (int n = input.byte() % 6; n > 0; --n) {
        std::string key = input.text();
        if (input.byte() % 8 == 0) {
            stored.insert_or_assign(std::move(key), input.value());
        } else {
            stored.insert_or_assign(std::move(key), DefaultsValue(input.oneOf(raws)));
        }
    }
    if (input.byte() % 8 == 0) defaults.set(categoryOverridesKey, input.value());
    else defaults.set(categoryOverridesKey, stored);

    const auto before = defaults.dictionary(categoryOverridesKey);
    bool allText = before.has_value();
    if (before) {
        for (const auto& [key, value] : *before) allText = allText && std::holds_alternative<std::string>(value.value);
    }

    const std::string title = input.rest();
    if (categoryOverride(defaults, title) && !allText) std::abort();  // one wrong value hides them all
    const MacBlockCategory chosen = allCategories[size % allCategories.size()];
    setCategoryOverride(defaults, title, chosen);
    if (categoryOverride(defaults, title) != chosen) std::abort();
    if (categoryOverride(defaults, lowercased(title)) != chosen) std::abort();
    if (before && allText) {
        const auto after = defaults.dictionary(categoryOverridesKey);
        for (const auto& [key, value] : *before) {
            if (key != lowercased(title) && after->at(key) != value) std::abort();  // other choices kept
        }
    }
    const bool hasHost = size % 2 == 1;
    const MacBlockCategory classified = classifyCategory(title, hasHost);
    if (classifyCategory(lowercased(title), hasHost) != classified) std::abort();
    return 0;
}
