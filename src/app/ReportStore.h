#pragma once

#include "model/MacActivityStore.h"

#include <memory>
#include <vector>

namespace plenda {

class Calendar;
class Clock;
class Scheduler;
class StringTable;

// The blocks a report shows, in a store as the day window would hold them:
// nothing it writes goes anywhere, it never syncs, and it never runs the
// app's one-time split of blocks across midnight.
class ReportStore {
public:
    ReportStore(const std::vector<MacDayBlock>& blocks, Clock& clock, Scheduler& scheduler, Calendar& calendar,
                const StringTable& strings);
    ~ReportStore();
    MacActivityStore& store() { return *store_; }

private:
    std::unique_ptr<Files> files_;
    std::unique_ptr<Defaults> defaults_;
    std::unique_ptr<MacActivityStore> store_;
};

}  // namespace plenda
