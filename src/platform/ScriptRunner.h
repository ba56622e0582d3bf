#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace plenda {

// What running one automation script gave.
struct ScriptResult {
    enum class Status {
        succeeded,    // `text` holds the result's text value, absent when it has none
        failed,       // `errorNumber` holds the system's error number, 0 when it gave none
        unavailable,  // the script could not be created, or scripting is not supported here
    };
    Status status = Status::unavailable;
    std::optional<std::string> text;
    long errorNumber = 0;
};

// Runs automation scripts against other applications, synchronously.
class ScriptRunner {
public:
    // The error number the system gives when the user has refused this program
    // permission to automate the target application.
    static constexpr long notPermittedError = -1743;

    virtual ~ScriptRunner() = default;
    // Never throws; every failure is a status.
    virtual ScriptResult run(std::string_view source) = 0;
};

}  // namespace plenda
