#pragma once

#include "platform/SystemLog.h"

#include <mutex>
#include <string>
#include <vector>

namespace plenda {

// Keeps every line written to the system log, with its subsystem and category.
class CapturedSystemLog final : public SystemLog {
public:
    struct Line {
        std::string subsystem, category, text;
    };
    void write(std::string_view subsystem, std::string_view category, std::string_view line) override {
        std::lock_guard guard(mutex_);
        lines_.push_back({std::string(subsystem), std::string(category), std::string(line)});
    }
    std::vector<Line> lines() const {
        std::lock_guard guard(mutex_);
        return lines_;
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const Line& line : lines()) texts.push_back(line.text);
        return texts;
    }
    void clear() {
        std::lock_guard guard(mutex_);
        lines_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

}  // namespace plenda
