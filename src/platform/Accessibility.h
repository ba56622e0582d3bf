#pragma once

#include <optional>
#include <string>

namespace plenda {

// The answer to "what is the title of this application's focused window",
// step by step as the accessibility interface answers it.
struct FocusedWindowTitle {
    enum class Status {
        title,          // `title` holds the window's title text (possibly empty)
        windowError,    // the focused-window query failed with `code`, or gave nothing (0)
        notAnElement,   // the focused window is not an accessibility element
        titleError,     // the title query failed with `code`, or gave no text (0)
    };
    Status status = Status::windowError;
    long code = 0;
    std::string title;
};

// Reading other applications' windows. On systems without a permission model
// the program counts as trusted.
class Accessibility {
public:
    virtual ~Accessibility() = default;
    // Whether this program may read other applications' windows; false when unknown.
    virtual bool isTrusted() const = 0;
    // Asks the system for trust, showing its prompt when not yet trusted.
    // Returns the trust at the time of asking; false when unknown.
    virtual bool requestTrust() = 0;
    // The focused window's title of the application with this process identifier.
    virtual FocusedWindowTitle focusedWindowTitle(int processIdentifier) = 0;
};

}  // namespace plenda
