/* SPDX-License-Identifier: GPL-2.0-only */
/* The result of a search that may find nothing. The standard one needs exceptions. */
#ifndef GPON_OPTIONAL_H
#define GPON_OPTIONAL_H

#include <type_traits>

namespace gpon {

/* Holds a plain value or none. A caller cannot take a value without testing that there is one,
 * and the compiler keeps both in registers when the search is inline. */
template <typename T> class [[nodiscard]] optional {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>,
                  "a search returns ids, numbers and plain records");

public:
    constexpr optional() = default;
    constexpr optional(const T& value) : value_(value), has_value_(true) {}

    constexpr explicit operator bool() const { return has_value_; }

    /* Only for one that holds a value. */
    [[nodiscard]] constexpr const T& operator*() const { return value_; }

    [[nodiscard]] constexpr T value_or(T otherwise) const
    {
        return has_value_ ? value_ : otherwise;
    }

    /* For functions that return their result through a pointer: writes the value, if there is one.
     * False when there is none; the destination is then unchanged. */
    [[nodiscard]] constexpr bool copy_to(T* destination) const
    {
        if (has_value_)
            *destination = value_;
        return has_value_;
    }

private:
    T value_ = {};
    bool has_value_ = false;
};

} // namespace gpon

#endif
