#pragma once

#include <cstddef>

namespace trevik {

namespace detail {

// Code units count as unsigned, also where plain char is signed.
constexpr unsigned int HashUnit(char unit) {
    return static_cast<unsigned char>(unit);
}
constexpr unsigned int HashUnit(char16_t unit) {
    return unit;
}

template <class Unit>
constexpr unsigned int HashUnits(Unit const* name, std::size_t length) {
    unsigned int hash = 5381;
    for (std::size_t i = 0; i < length; ++i) {
        hash = hash * 33u + HashUnit(name[i]);
    }
    return hash & 0x7fffffffu;
}

template <class Unit>
constexpr std::size_t CountUnits(Unit const* text) {
    std::size_t length = 0;
    while (text[length] != Unit()) {
        ++length;
    }
    return length;
}

} // namespace detail

/**
 * The 31-bit id of a class, property, tag or attribute name: h = h * 33 + unit from 5381, modulo 2^32,
 * without the top bit. An ASCII name has the same id in both unit widths.
 * @param name NUL-terminated, not null.
 */
constexpr unsigned int HashName(char const* name) {
    return detail::HashUnits(name, detail::CountUnits(name));
}

constexpr unsigned int HashName(char16_t const* name) {
    return detail::HashUnits(name, detail::CountUnits(name));
}

/** The same id from a name that need not be terminated. */
constexpr unsigned int HashName(char const* name, std::size_t length) {
    return detail::HashUnits(name, length);
}

constexpr unsigned int HashName(char16_t const* name, std::size_t length) {
    return detail::HashUnits(name, length);
}

} // namespace trevik
