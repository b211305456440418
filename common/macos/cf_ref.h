#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <utility>

namespace kyb {

/// Owns one reference to a CoreFoundation object, or none. For what functions with "Create" or "Copy" in their name
/// return; never for what a "Get" function returns.
template <typename Ref> class CFOwned {
public:
    CFOwned() = default;
    explicit CFOwned(Ref reference) : reference_(reference) {}
    CFOwned(CFOwned &&other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    CFOwned &operator=(CFOwned other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~CFOwned() {
        if (reference_ != nullptr) {
            CFRelease(reference_);
        }
    }

    Ref get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }

private:
    Ref reference_ = nullptr;
};

} // namespace kyb
