#pragma once

namespace plenda {

// How long the user has not touched the machine.
class IdleClock {
public:
    virtual ~IdleClock() = default;
    // Seconds since the last input event of any kind; 0 when it cannot be told,
    // so that a broken source never ends a session.
    virtual double secondsSinceLastInput() const = 0;
};

}  // namespace plenda
