#include "platform/SyncLog.h"

#include "platform/SystemLog.h"

#include <ostream>
#include <string>

namespace plenda {

void SyncLog::operator()(std::string_view message) const {
    if (systemLog_) systemLog_->write(syncLogSubsystem, syncLogCategory, message);
    toOutput(message);
}

void SyncLog::toOutput(std::string_view message) const {
    // One write per line, so lines from the worker and the main thread never interleave.
    output_ << (std::string(syncLinePrefix) + std::string(message) + "\n") << std::flush;
}

}  // namespace plenda
