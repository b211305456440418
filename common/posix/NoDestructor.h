#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace kyb {

/// Holds an object that is never destroyed, for a function's static variable: threads outlive static objects.
template <typename T> class NoDestructor {
public:
    template <typename... Arguments> explicit NoDestructor(Arguments &&...arguments) {
        new (storage_) T(std::forward<Arguments>(arguments)...);
    }
    NoDestructor(const NoDestructor &) = delete;
    NoDestructor &operator=(const NoDestructor &) = delete;

    T &operator*() { return *std::launder(reinterpret_cast<T *>(storage_)); }

private:
    alignas(T) std::byte storage_[sizeof(T)];
};

} // namespace kyb
