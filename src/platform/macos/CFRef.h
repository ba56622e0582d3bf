#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace plenda {

// Owns one Core Foundation reference (from a Create or Copy call) and
// releases it once.
template <typename T>
class CFRef {
public:
    CFRef() = default;
    explicit CFRef(T ref) : ref_(ref) {}
    CFRef(CFRef&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    CFRef& operator=(CFRef&& other) noexcept {
        if (this != &other) {
            reset();
            ref_ = std::exchange(other.ref_, nullptr);
        }
        return *this;
    }
    CFRef(const CFRef&) = delete;
    CFRef& operator=(const CFRef&) = delete;
    ~CFRef() { reset(); }

    T get() const { return ref_; }
    // For Copy calls that hand out a reference through a pointer.
    T* out() {
        reset();
        return &ref_;
    }
    explicit operator bool() const { return ref_ != nullptr; }
    void reset() {
        if (ref_) CFRelease(std::exchange(ref_, nullptr));
    }

private:
    T ref_ = nullptr;
};

}  // namespace plenda
