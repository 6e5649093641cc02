// The C boundary: nothing thrown below it may cross it.
#ifndef SIMCARD_HAL_BOUNDARY_H
#define SIMCARD_HAL_BOUNDARY_H

#include <utility>

namespace simcard {

// Runs f and returns its result; any exception becomes on_error.
template <typename R, typename F>
R guard(R on_error, F &&f) noexcept {
    try {
        return std::forward<F>(f)();
    } catch (...) {
        return on_error;
    }
}

// The same for calls without a result.
template <typename F>
void guard_void(F &&f) noexcept {
    try {
        std::forward<F>(f)();
    } catch (...) {
    }
}

}  // namespace simcard

#endif  // SIMCARD_HAL_BOUNDARY_H
