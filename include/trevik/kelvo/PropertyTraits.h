#pragma once

#include "trevik/kelvo/PropertyType.h"
#include "trevik/kelvo/Serializer.h"

#include <climits>
#include <cstring>
#include <type_traits>
#include <utility>

namespace trevik::kelvo {

namespace detail {

/** a + f * (b - a). */
constexpr RealFloat Mix(RealFloat a, RealFloat b, RealFloat f) {
    return a + f * (b - a);
}

/** The same in floating point, then truncated toward zero; held within the integer's range. */
constexpr int Mix(int a, int b, RealFloat f) {
    RealFloat const mixed = Mix(static_cast<RealFloat>(a), static_cast<RealFloat>(b), f);
    // The largest float below 2^31 is 2^31 - 128: numbers that are not below 2^31 do not fit.
    return !(mixed > -2147483648.0f) ? INT_MIN : mixed >= 2147483648.0f ? INT_MAX : static_cast<int>(mixed);
}

/** Values whose saved form is their bytes. */
template <class T>
struct RawValue {
    static_assert(std::is_trivially_copyable<T>::value, "the saved form is the value's bytes");

    static void Read(T& value, unsigned char const* pData) {
        std::memcpy(static_cast<void*>(&value), pData, sizeof(T));
    }
    static bool Read(T& value, unsigned char const* pData, unsigned long nLength) {
        if (nLength != sizeof(T)) {
            return false;
        }
        Read(value, pData);
        return true;
    }
    static bool Write(Serializer& serializer, unsigned int nAttributeID, T const& value) {
        return serializer.WriteValue(nAttributeID, value);
    }
};

/**
 * Values made of components of one type, in order: a sample controller mixes them, and equal neighbours save
 * as runs.
 */
template <class T, class Component>
struct SampledValue : RawValue<T> {
    static constexpr bool Sampled = true;
    static constexpr bool Chunked = true;

    static void Interpolate(unsigned char const* pA, unsigned char const* pB, RealFloat f, T& out) {
        // A value may be its own only component. NOLINTNEXTLINE(bugprone-sizeof-expression)
        Mix(pA, pB, f, out, std::make_index_sequence<sizeof(T) / sizeof(Component)>());
    }

private:
    // Component by component, so that they go through registers and not through copies of the whole.
    template <std::size_t... n>
    static void Mix(unsigned char const* pA, unsigned char const* pB, RealFloat f, T& out,
                    std::index_sequence<n...>) {
        out = T(detail::Mix(Get(pA, n), Get(pB, n), f)...);
    }
    static Component Get(unsigned char const* pValue, std::size_t nComponent) {
        Component component;
        std::memcpy(&component, pValue + nComponent * sizeof(Component), sizeof(Component));
        return component;
    }
};

/**
 * Reads `nLength` bytes as elements into `list`; false, with the list unchanged, when they do not come out
 * even.
 */
template <class T>
bool ReadElements(List<T>& list, unsigned char const* pData, unsigned long nLength) {
    unsigned long const nCount = nLength / sizeof(T);
    List<T> elements;
    if (nLength % sizeof(T) != 0 || nCount > UINT_MAX ||
        !elements.Resize(static_cast<unsigned int>(nCount))) {
        return false;
    }
    if (nCount > 0) {
        std::memcpy(static_cast<void*>(elements.GetData()), pData, nLength);
    }
    list = std::move(elements);
    return true;
}

} // namespace detail

/**
 * How a property's value is saved and what a sample controller does with it.
 *
 * `Sampled`: sample controllers drive it; they are inert for other types. `Chunked`: runs of equal samples
 * may be saved as one. `Read(value, data, length)`: takes the saved form, or answers false and leaves the
 * value alone; `Write` makes it. For sampled types also `Read(value, data)`, one sample of sizeof(T) bytes,
 * and `Interpolate(a, b, f, out)`, the value at fraction f between two samples.
 *
 * The general case is a record that only its owner understands: saved as its bytes, never sampled.
 */
template <class T>
struct PropertyTraits : detail::RawValue<T> {
    static constexpr bool Sampled = false;
    static constexpr bool Chunked = false;
};

/** Steps: holds the first sample until the next frame. Any byte but 0 is true. */
template <>
struct PropertyTraits<bool> {
    static constexpr bool Sampled = true;
    static constexpr bool Chunked = false;

    /** One sample. */
    static void Read(bool& value, unsigned char const* pData) { value = *pData != 0; }
    /** The saved form, one byte; false for another length. */
    static bool Read(bool& value, unsigned char const* pData, unsigned long nLength) {
        if (nLength != 1) {
            return false;
        }
        Read(value, pData);
        return true;
    }
    /** Writes one byte. False when out of memory. */
    static bool Write(Serializer& serializer, unsigned int nAttributeID, bool const& value) {
        unsigned char const nByte = value ? 1 : 0;
        return serializer.WriteAttribute(nAttributeID, &nByte, 1);
    }
    /** The first sample. */
    static void Interpolate(unsigned char const* pA, unsigned char const*, RealFloat, bool& out) {
        Read(out, pA);
    }
};

template <>
struct PropertyTraits<int> : detail::SampledValue<int, int> {};

template <>
struct PropertyTraits<RealFloat> : detail::SampledValue<RealFloat, RealFloat> {};

template <>
struct PropertyTraits<Vector2T<RealFloat>> : detail::SampledValue<Vector2T<RealFloat>, RealFloat> {};

template <>
struct PropertyTraits<Vector3T<RealFloat>> : detail::SampledValue<Vector3T<RealFloat>, RealFloat> {};

template <>
struct PropertyTraits<RectangleT<RealFloat>> : detail::SampledValue<RectangleT<RealFloat>, RealFloat> {};

template <>
struct PropertyTraits<ColorT<RealFloat>> : detail::SampledValue<ColorT<RealFloat>, RealFloat> {};

template <>
struct PropertyTraits<SizeT<int>> : detail::SampledValue<SizeT<int>, int> {};

template <>
struct PropertyTraits<SizeT<RealFloat>> : detail::SampledValue<SizeT<RealFloat>, RealFloat> {};

/** Saved as its elements' bytes, in order. */
template <class T>
struct PropertyTraits<List<T>> {
    static_assert(std::is_trivially_copyable<T>::value, "the saved form is the elements' bytes");
    static constexpr bool Sampled = false;
    static constexpr bool Chunked = false;

    /**
     * The elements' bytes in order; false, with `value` as it was, for half an element, and without memory.
     */
    static bool Read(List<T>& value, unsigned char const* pData, unsigned long nLength) {
        return detail::ReadElements(value, pData, nLength);
    }
    /** Writes the elements' bytes in order. False when out of memory. */
    static bool Write(Serializer& serializer, unsigned int nAttributeID, List<T> const& value) {
        return serializer.WriteAttribute(nAttributeID,
                                         reinterpret_cast<unsigned char const*>(value.GetData()),
                                         static_cast<unsigned long>(value.GetCount()) * sizeof(T));
    }
};

/** Saved as its UTF-16 units, without a terminator. */
template <>
struct PropertyTraits<StringEncoded<UTF16Encoding>> {
    static constexpr bool Sampled = false;
    static constexpr bool Chunked = false;

    /** The units in order; false, with `value` as it was, for half a unit, and without memory. */
    static bool Read(StringEncoded<UTF16Encoding>& value, unsigned char const* pData, unsigned long nLength) {
        List<char16_t> units; // the document's bytes may lie at an odd address
        if (!detail::ReadElements(units, pData, nLength)) {
            return false;
        }
        StringEncoded<UTF16Encoding> text(units.GetData(), units.GetCount());
        if (text.GetLength() != units.GetCount()) {
            return false;
        }
        value = std::move(text);
        return true;
    }
    /** Writes the units in order. False when out of memory. */
    static bool Write(Serializer& serializer, unsigned int nAttributeID,
                      StringEncoded<UTF16Encoding> const& value) {
        return serializer.WriteAttribute(nAttributeID,
                                         reinterpret_cast<unsigned char const*>(value.GetData()),
                                         static_cast<unsigned long>(value.GetLength()) * sizeof(char16_t));
    }
};

} // namespace trevik::kelvo
