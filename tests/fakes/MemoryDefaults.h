#pragma once

#include "platform/Defaults.h"

#include <map>
#include <mutex>

namespace plenda {

// User defaults in memory; holds whatever it is given, wrong types included.
class MemoryDefaults final : public Defaults {
public:
    std::optional<DefaultsValue> object(std::string_view key) const override {
        std::lock_guard guard(mutex_);
        const auto found = values_.find(std::string(key));
        if (found == values_.end()) return std::nullopt;
        return found->second;
    }
    void set(std::string_view key, DefaultsValue value) override {
        std::lock_guard guard(mutex_);
        ++writes_;
        values_.insert_or_assign(std::string(key), std::move(value));
    }
    void remove(std::string_view key) override {
        std::lock_guard guard(mutex_);
        ++writes_;
        values_.erase(std::string(key));
    }
    bool contains(std::string_view key) const { return object(key).has_value(); }
    int writes() const {
        std::lock_guard guard(mutex_);
        return writes_;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, DefaultsValue> values_;
    int writes_ = 0;
};

}  // namespace plenda
