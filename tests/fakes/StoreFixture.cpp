#include "fakes/StoreFixture.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace plenda {

Date localDate(const std::string& zone, int year, int month, int day, int hour, int minute, double second) {
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
    calendar.clear();
    calendar.set(year, month - 1, day, hour, minute, 0);
    const UDate millis = calendar.getTime(status);
    EXPECT_TRUE(U_SUCCESS(status));
    return Date::fromUnixSeconds(millis / 1000.0 + second);
}

MacDayBlock makeBlock(std::string title, MacBlockCategory category, Date start, Date end, double weight) {
    return MacDayBlock{
        .id = Uuid::random(),
        .title = std::move(title),
        .category = category,
        .weight = weight >= 0 ? weight : (end - start) / 60.0,
        .note = "Logged automatically on Mac",
        .createdAt = start,
        .startDate = start,
        .endDate = end,
        .blockType = "tracked",
        .modifiedAt = end,
    };
}

}  // namespace plenda
