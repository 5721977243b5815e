#pragma once

#include "PackedBytes.h"

namespace trevik::kelvo {

/**
 * The data of an attribute in packed documents: a byte that says how, and then
 *
 * - 0: the bytes as they are;
 * - 1 to MaximumColumns: words in as many columns, such as the components of samples, column by column. Each
 * word is foretold to go on as the two before it in its column did, as whole numbers; what is written is how
 * far it is from that. Numbers that change evenly, also floating-point ones, come to a byte each;
 * - ShortUnits: the lower halves of units of 16 bits, such as a text's; the upper ones are 0.
 *
 * The length is known beforehand.
 */
struct PackedValue {
    static constexpr unsigned int MaximumColumns = 8;
    static constexpr unsigned int ShortUnits = 9;

    /** Appends the data in the way that takes the fewest bytes; false without memory. */
    static bool Write(List<unsigned char>& bytes, unsigned char const* pData, unsigned int nLength);
    /** Moves on behind data of `nLength` bytes; false when there is no such data. */
    static bool Skip(PackedBytes& bytes, unsigned int nLength);
    /** Reads data that has been skipped before: there is nothing wrong with it. */
    static void Read(PackedBytes& bytes, unsigned char* pData, unsigned int nLength);
};

} // namespace trevik::kelvo
