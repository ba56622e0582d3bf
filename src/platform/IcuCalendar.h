#pragma once

#include "platform/Calendar.h"

#include <memory>
#include <optional>
#include <string>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class Calendar;
U_NAMESPACE_END

namespace plenda {

// The Gregorian calendar in a time zone: the user's current zone, looked up
// at each use, or a fixed IANA zone (tests, reports for another place); its
// weeks start as in the user's locale, or in the locale given.
class IcuCalendar final : public Calendar {
public:
    IcuCalendar() = default;
    explicit IcuCalendar(std::string zoneId, std::string locale = {})
        : zoneId_(std::move(zoneId)), locale_(std::move(locale)) {}

    bool isSameDay(Date a, Date b) const override;
    Date startOfDay(Date date) const override;
    std::optional<Date> addingDays(int days, Date date) const override;
    LocalTime localTime(Date date) const override;
    int firstWeekday() const override;

private:
    std::unique_ptr<icu::Calendar> make(Date date) const;

    std::optional<std::string> zoneId_;
    std::string locale_;
};

}  // namespace plenda
