#pragma once

#include "trevik/Atomic.h"
#include "trevik/Encoding.h"
#include "trevik/Memory.h"

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <new>

namespace trevik {

/** Text that stands in the program itself; see StringEncoded::FromLiteral. */
template <class Encoding>
class StringLiteral {
public:
    using Unit = typename Encoding::Unit; ///< one unit of text

    /** From a literal, which has to live for ever, as literals do. */
    template <std::size_t N>
    constexpr explicit StringLiteral(Unit const (&text)[N]) : m_pData(text), m_nLength(N - 1) {}

    constexpr Unit const* GetData() const { return m_pData; }
    constexpr unsigned int GetLength() const { return m_nLength; }

private:
    Unit const* m_pData;
    unsigned int m_nLength;
};

/**
 * A string of code units, always NUL-terminated. Copies share their storage, which is never written while
 * shared, so copying costs one count; different strings may be used by different threads. Without memory an
 * operation that builds text leaves an empty string, and one that adds to it leaves it as it was.
 *
 * A name that is used again and again is best a static over literal storage, which allocates nothing and
 * needs no run-time initialisation:
 *
 *     static StringEncoded<UTF16Encoding> const s_sName =
 * StringEncoded<UTF16Encoding>::FromLiteral(u"vColor");
 */
template <class Encoding>
class StringEncoded {
public:
    using Unit = typename Encoding::Unit; ///< one unit of text

    constexpr StringEncoded() noexcept : m_pData(s_empty), m_nLength(0), m_fStored(false) {}

    /** Points at literal storage. */
    constexpr StringEncoded(StringLiteral<Encoding> const& literal) noexcept
        : m_pData(literal.GetData()), m_nLength(literal.GetLength()), m_fStored(false) {}

    /** Copies a NUL-terminated text; null is empty. */
    StringEncoded(Unit const* text) : StringEncoded() { Append(text); }

    /** Copies this many units; the text need not be terminated and may contain NULs. */
    StringEncoded(Unit const* text, unsigned int length) : StringEncoded() { Append(text, length); }

    StringEncoded(StringEncoded const& other) noexcept
        : m_pData(other.m_pData), m_nLength(other.m_nLength), m_fStored(other.m_fStored) {
        if (m_fStored) {
            kelvo::Atomic::Increment(&GetStorage()->nReferences);
        }
    }

    StringEncoded(StringEncoded&& other) noexcept : StringEncoded() { Swap(other); }

    /** Converts code point by code point. */
    template <class Other>
    StringEncoded(StringEncoded<Other> const& other) : StringEncoded() {
        AppendConverted<Other>(other.GetData(), other.GetLength());
    }

    ~StringEncoded() { ReleaseStorage(); }

    /** Becomes the other one. */
    StringEncoded& operator=(StringEncoded other) noexcept {
        Swap(other);
        return *this;
    }

    /**
     * A string over the storage of a literal, without copying or allocating. The result converts to
     * StringEncoded in a constant expression.
     */
    template <std::size_t N>
    static constexpr StringLiteral<Encoding> FromLiteral(Unit const (&text)[N]) {
        return StringLiteral<Encoding>(text);
    }

    /** Formats as Encoding::FormatV does; the string becomes as long as it has to be. */
    static StringEncoded Format(Unit const* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        StringEncoded result = FormatV(format, arguments);
        va_end(arguments);
        return result;
    }

    /** As Format, with the arguments in one. */
    static StringEncoded FormatV(Unit const* format, va_list arguments) {
        va_list measured;
        va_copy(measured, arguments);
        unsigned int const length = Encoding::MeasureV(format, measured);
        va_end(measured);
        StringEncoded result;
        if (length > 0 && result.Reserve(length)) {
            Unit* const data = result.GetStorage()->GetUnits();
            result.m_nLength = Encoding::FormatV(data, length + 1, format, arguments);
        }
        return result;
    }

    /** The units with a NUL behind them; never null. */
    constexpr Unit const* GetData() const { return m_pData; }

    /** The number of units, without the terminating NUL. */
    constexpr unsigned int GetLength() const { return m_nLength; }

    /** Whether there is no unit. */
    constexpr bool IsEmpty() const { return m_nLength == 0; }

    /** The unit at an index up to the length, where the NUL stands. */
    constexpr Unit operator[](unsigned int index) const { return m_pData[index]; }

    /** The first unit, for loops. */
    constexpr Unit const* begin() const { return m_pData; }
    /** Behind the last unit, for loops; a NUL stands there. */
    constexpr Unit const* end() const { return m_pData + m_nLength; }

    bool operator==(StringEncoded const& other) const {
        return m_nLength == other.m_nLength &&
               (m_pData == other.m_pData ||
                std::memcmp(m_pData, other.m_pData, m_nLength * sizeof(Unit)) == 0);
    }
    bool operator!=(StringEncoded const& other) const { return !(*this == other); }

    /** Compares with a NUL-terminated text, without building a string from it. */
    bool operator==(Unit const* text) const { return Compare(text, CountUnits(text)) == 0; }
    bool operator!=(Unit const* text) const { return !(*this == text); }

    /** By units from the front, which are unsigned; a string comes after its own beginnings. */
    bool operator<(StringEncoded const& other) const { return Compare(other.m_pData, other.m_nLength) < 0; }

    /** Adds to the end; the text may be part of this very string. */
    bool Append(Unit const* text) { return Append(text, CountUnits(text)); }

    /**
     * Adds this many units; the text may be part of this very string. False, with nothing changed, without
     * memory.
     */
    bool Append(Unit const* text, unsigned int length) {
        if (length == 0) {
            return true;
        }
        if (length > MaximumLength() - m_nLength) {
            return false;
        }
        StringEncoded const keep(IsWithin(text) ? *this : StringEncoded());
        if (!Reserve(m_nLength + length)) {
            return false;
        }
        Unit* const data = GetStorage()->GetUnits();
        std::memcpy(data + m_nLength, text, length * sizeof(Unit));
        m_nLength += length;
        data[m_nLength] = Unit();
        return true;
    }

    /** Adds another string. False, with nothing changed, without memory. */
    bool Append(StringEncoded const& other) { return Append(other.m_pData, other.m_nLength); }

    /** Adds another string; without memory nothing changes. */
    StringEncoded& operator+=(StringEncoded const& other) {
        Append(other);
        return *this;
    }

    /** Both, one after the other; empty without memory. */
    StringEncoded operator+(StringEncoded const& other) const {
        StringEncoded sum;
        return sum.Reserve(m_nLength + other.m_nLength) && sum.Append(*this) && sum.Append(other)
                   ? sum
                   : StringEncoded();
    }

    /**
     * Becomes this text, of this many units; it may be part of this very string. Storage that it has for
     * itself and that is large enough is kept: one text after the other then allocates nothing. False, with
     * nothing changed, without memory.
     */
    bool Assign(Unit const* text, unsigned int length) {
        if (IsOwner() && length <= GetStorage()->nCapacity) {
            Unit* const data = GetStorage()->GetUnits();
            if (length != 0) { // or the text may be null
                std::memmove(data, text, length * sizeof(Unit));
            }
            m_nLength = length;
            data[length] = Unit();
            return true;
        }
        StringEncoded assigned;
        if (!assigned.Append(text, length)) {
            return false;
        }
        Swap(assigned);
        return true;
    }

    /** Becomes empty and lets its storage go. */
    void Clear() { StringEncoded().Swap(*this); }

    /** The index of the first occurrence that starts at or behind `from`, or -1. */
    int Find(StringEncoded const& text, unsigned int from = 0) const {
        for (unsigned int i = from; i <= m_nLength && text.m_nLength <= m_nLength - i; ++i) {
            if (std::memcmp(m_pData + i, text.m_pData, text.m_nLength * sizeof(Unit)) == 0) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    /** The index of the first unit of this value at or behind `from`, or -1. */
    int Find(Unit unit, unsigned int from = 0) const {
        for (unsigned int i = from; i < m_nLength; ++i) {
            if (m_pData[i] == unit) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    /** Up to this many units from the index on. */
    StringEncoded GetPart(unsigned int index, unsigned int length = UINT_MAX) const {
        unsigned int const start = index < m_nLength ? index : m_nLength;
        unsigned int const rest = m_nLength - start;
        return StringEncoded(m_pData + start, length < rest ? length : rest);
    }

    /** Exchanges the texts; allocates nothing. */
    void Swap(StringEncoded& other) noexcept {
        StringEncoded::SwapValues(m_pData, other.m_pData);
        StringEncoded::SwapValues(m_nLength, other.m_nLength);
        StringEncoded::SwapValues(m_fStored, other.m_fStored);
    }

private:
    /** Stands before the units of text that is not a literal. */
    struct Storage {
        long volatile nReferences;
        unsigned int nCapacity; // units, without the NUL

        Unit* GetUnits() { return reinterpret_cast<Unit*>(this + 1); }
    };

    /** The storage of text that has one: right before its units, so that no string keeps a pointer to it. */
    Storage* GetStorage() const { return reinterpret_cast<Storage*>(const_cast<Unit*>(m_pData)) - 1; }

    template <class V>
    static void SwapValues(V& a, V& b) {
        V const kept = a;
        a = b;
        b = kept;
    }

    static constexpr unsigned int MaximumLength() { return INT_MAX / sizeof(Unit) - sizeof(Storage); }

    static unsigned int CountUnits(Unit const* text) {
        std::size_t length = 0;
        if (text) {
            while (text[length] != Unit()) {
                ++length;
            }
        }
        // A longer text cannot be held; asking for it fails as running out of memory does.
        return length < UINT_MAX ? static_cast<unsigned int>(length) : UINT_MAX;
    }

    static int CompareUnits(char a, char b) {
        return static_cast<unsigned char>(a) - static_cast<unsigned char>(b);
    }
    static int CompareUnits(char16_t a, char16_t b) { return a - b; }

    int Compare(Unit const* text, unsigned int length) const {
        unsigned int const common = m_nLength < length ? m_nLength : length;
        for (unsigned int i = 0; i < common; ++i) {
            if (m_pData[i] != text[i]) {
                return CompareUnits(m_pData[i], text[i]);
            }
        }
        return m_nLength < length ? -1 : m_nLength > length ? 1 : 0;
    }

    bool IsWithin(Unit const* text) const {
        std::size_t const address = reinterpret_cast<std::size_t>(text);
        std::size_t const start = reinterpret_cast<std::size_t>(m_pData);
        return m_fStored && address >= start && address <= start + m_nLength * sizeof(Unit);
    }

    /** Whether it has storage that no other string shares. */
    bool IsOwner() const { return m_fStored && kelvo::Atomic::Get(&GetStorage()->nReferences) == 1; }

    /** Gives this string storage of its own for at least this many units; its text stays. */
    bool Reserve(unsigned int length) {
        if (length > MaximumLength()) {
            return false;
        }
        bool const own = IsOwner();
        unsigned int const held = own ? GetStorage()->nCapacity : 0;
        if (own && held >= length) {
            return true;
        }
        unsigned int capacity = length;
        if (held < MaximumLength() / 2 && capacity < held * 2) {
            capacity = held * 2; // text that grows piece by piece is not copied for each
        }
        void* const memory = AllocateMemory(sizeof(Storage) + (std::size_t(capacity) + 1) * sizeof(Unit));
        if (!memory) {
            return false;
        }
        Storage* const storage = new (memory) Storage{1, capacity};
        std::memcpy(storage->GetUnits(), m_pData, (std::size_t(m_nLength) + 1) * sizeof(Unit));
        ReleaseStorage();
        m_pData = storage->GetUnits();
        m_fStored = true;
        return true;
    }

    void ReleaseStorage() {
        if (m_fStored && kelvo::Atomic::Decrement(&GetStorage()->nReferences) == 0) {
            FreeMemory(GetStorage());
        }
    }

    template <class Other>
    void AppendConverted(typename Other::Unit const* text, unsigned int length) {
        int const end = static_cast<int>(length);
        std::size_t needed = 0;
        for (int index = 0; index < end;) {
            needed +=
                static_cast<std::size_t>(Encoding::GetElementCount(Other::GetNextChar(text, index, end)));
        }
        if (needed == 0 || needed > MaximumLength() || !Reserve(static_cast<unsigned int>(needed))) {
            return;
        }
        int written = 0;
        int const capacity = static_cast<int>(needed);
        Unit* const data = GetStorage()->GetUnits();
        for (int index = 0; index < end;) {
            Encoding::PutNextChar(data, written, capacity, Other::GetNextChar(text, index, end));
        }
        data[written] = Unit();
        m_nLength = static_cast<unsigned int>(written);
    }

    static constexpr Unit s_empty[1] = {};

    Unit const* m_pData;
    unsigned int m_nLength;
    bool m_fStored; // false for literals and the empty string
};

/** The framework's own text: names, messages, captions. */
using String16 = StringEncoded<UTF16Encoding>;

/** Text that comes from or goes to files and the C library. */
using String8 = StringEncoded<UTF8Encoding>;

} // namespace trevik
