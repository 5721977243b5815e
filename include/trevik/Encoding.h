#pragma once

#include "trevik/Export.h"

#include <cstdarg>

namespace trevik {

/**
 * What all encodings share. A code point is 0 to 0x10ffff without the surrogates 0xd800 to 0xdfff; text that
 * does not form one reads as the replacement character, and anything else is written as it.
 */
struct CodePoint {
    enum : int { Replacement = 0xfffd, Maximum = 0x10ffff };

    /** Whether the number is one of those that UTF-16 puts pairs together from, and so no code point. */
    static constexpr bool IsSurrogate(int codePoint) { return codePoint >= 0xd800 && codePoint <= 0xdfff; }

    /** The code point itself, or the replacement character. */
    static constexpr int Sanitize(int codePoint) {
        return codePoint < 0 || codePoint > Maximum || IsSurrogate(codePoint) ? int(Replacement) : codePoint;
    }
};

/** Text in units of 8 bits, one to four for each code point. */
struct UTF8Encoding {
    using Unit = char; ///< one unit of text

    /**
     * Reads the code point that starts at text[index] and moves the index behind it.
     * Malformed text (stray, overlong, cut short, a surrogate, beyond 0x10ffff) gives 0xfffd for each longest
     * piece that could have started a code point. The index moves by at least one and never beyond the
     * length; at the length the result is 0 and the index stays.
     */
    TREVIK_API static int GetNextChar(Unit const* text, int& index, int length);

    /**
     * Writes the code point at text[index] and moves the index behind it; a number that is no code point is
     * written as 0xfffd.
     * @return false, with nothing written, when it does not fit below the capacity.
     */
    TREVIK_API static bool PutNextChar(Unit* text, int& index, int capacity, int codePoint);

    /** The number of units that PutNextChar writes for it. */
    TREVIK_API static int GetElementCount(int codePoint);
};

/** Text in units of 16 bits, one or two for each code point. The operations are as for UTF8Encoding. */
struct UTF16Encoding {
    using Unit = char16_t; ///< one unit of text

    /** As UTF8Encoding::GetNextChar; half of a pair that stands alone gives 0xfffd. */
    TREVIK_API static int GetNextChar(Unit const* text, int& index, int length);
    /** As UTF8Encoding::PutNextChar. */
    TREVIK_API static bool PutNextChar(Unit* text, int& index, int capacity, int codePoint);
    /** As UTF8Encoding::GetElementCount: 1 or 2. */
    TREVIK_API static int GetElementCount(int codePoint);

    /**
     * Formats as printf does, into units of 16 bits: flags, width and precision (also `*`), lengths hh, h, l,
     * ll, z, t, j, and the conversions d i u x X o c s f F e E g G p and %%. `%s` takes a char16_t string,
     * `%hs` an 8-bit string in UTF-8, `%c` a code point; a null string prints as "(null)". The precision of a
     * string is the most units that are read from it (it need not be terminated then), the width counts units
     * of the result. Anything else is copied as it stands and takes no argument.
     * @param capacity units in the buffer; the result is cut to fit, between code points, and always ends in
     * a NUL, unless this is 0.
     * @return the units written, without the NUL.
     */
    TREVIK_API static unsigned int FormatV(Unit* buffer, unsigned int capacity, Unit const* format,
                                           va_list arguments);
    /** As FormatV, with the arguments themselves. */
    TREVIK_API static unsigned int Format(Unit* buffer, unsigned int capacity, Unit const* format, ...);

    /** The units that the whole formatted text takes, without a NUL. */
    TREVIK_API static unsigned int MeasureV(Unit const* format, va_list arguments);
};

/**
 * Java's own form of UTF-8: NUL takes two units (so no text contains a zero unit), and a code point above
 * 0xffff is written as its two surrogates, three units each. The operations are as for UTF8Encoding; a plain
 * zero unit reads as NUL all the same.
 */
struct JavaEncoding {
    using Unit = char; ///< one unit of text

    /** As UTF8Encoding::GetNextChar. */
    TREVIK_API static int GetNextChar(Unit const* text, int& index, int length);
    /** As UTF8Encoding::PutNextChar. */
    TREVIK_API static bool PutNextChar(Unit* text, int& index, int capacity, int codePoint);
    /** As UTF8Encoding::GetElementCount. */
    TREVIK_API static int GetElementCount(int codePoint);
};

} // namespace trevik
