#pragma once

#include "platform/SystemLog.h"

#include <string>
#include <vector>

namespace plenda {

// Keeps every line written to the system log, with its subsystem and category.
// Tests write to it on virtual time, from one thread.
class CapturedSystemLog final : public SystemLog {
public:
    struct Line {
        std::string subsystem, category, text;
    };
    void write(std::string_view subsystem, std::string_view category, std::string_view line) override {
        lines_.push_back({std::string(subsystem), std::string(category), std::string(line)});
    }
    const std::vector<Line>& lines() const { return lines_; }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const Line& line : lines_) texts.push_back(line.text);
        return texts;
    }
    void clear() { lines_.clear(); }

private:
    std::vector<Line> lines_;
};

}  // namespace plenda
