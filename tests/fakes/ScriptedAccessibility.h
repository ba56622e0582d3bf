#pragma once

#include "platform/Accessibility.h"

#include <map>

namespace plenda {

// Window titles by process identifier, as the test sets them; a process
// without an entry has no focused window.
class ScriptedAccessibility final : public Accessibility {
public:
    bool trusted = true;
    int trustRequests = 0;
    int titleQueries = 0;
    std::map<int, FocusedWindowTitle> windows;

    bool isTrusted() const override { return trusted; }
    bool requestTrust() override {
        ++trustRequests;
        return trusted;
    }
    FocusedWindowTitle focusedWindowTitle(int processIdentifier) override {
        ++titleQueries;
        const auto found = windows.find(processIdentifier);
        return found == windows.end() ? FocusedWindowTitle{} : found->second;
    }
    void setTitle(int processIdentifier, std::string title) {
        windows[processIdentifier] = {FocusedWindowTitle::Status::title, 0, std::move(title)};
    }
};

}  // namespace plenda
