#include "trevik/Encoding.h"

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace trevik {

namespace {

// All digits that any double has, before and behind the point; more would be zeros.
int const MaximumRealPrecision = 1100;
std::size_t const RealLength = 400 + MaximumRealPrecision;

/** Takes units into a buffer that may be too small, and counts all of them. */
class Output {
public:
    Output(char16_t* buffer, unsigned int capacity)
        : m_pBuffer(buffer), m_nRoom(capacity > 0 ? capacity - 1 : 0), m_nWritten(0), m_nTotal(0) {}

    void Put(char16_t unit) {
        if (m_nWritten < m_nRoom) {
            m_pBuffer[m_nWritten++] = unit;
        }
        ++m_nTotal;
    }

    void PutAll(char const* ascii, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            Put(static_cast<unsigned char>(ascii[i]));
        }
    }

    void Fill(char16_t unit, std::size_t count) {
        for (std::size_t i = 0; i < count && m_nWritten < m_nRoom; ++i) {
            m_pBuffer[m_nWritten++] = unit;
        }
        m_nTotal += count;
    }

    unsigned int Finish() {
        bool const cut = m_nTotal > m_nWritten;
        if (cut && m_nWritten > 0 && m_pBuffer[m_nWritten - 1] >= 0xd800 &&
            m_pBuffer[m_nWritten - 1] <= 0xdbff) {
            --m_nWritten;
        }
        if (m_pBuffer) {
            m_pBuffer[m_nWritten] = 0;
        }
        return m_nWritten;
    }

    unsigned int GetTotal() const {
        return m_nTotal < UINT_MAX ? static_cast<unsigned int>(m_nTotal) : UINT_MAX;
    }

private:
    char16_t* m_pBuffer;
    unsigned int m_nRoom; // without the NUL
    unsigned int m_nWritten;
    unsigned long long m_nTotal;
};

enum class Length { None, Char, Short, Long, LongLong, Size, Difference, Maximum };

/** A va_list that can be handed on by reference. */
struct Arguments {
    va_list list;
};

/** One conversion: flags, width, precision and length between the % and its letter, and the letter. */
struct Conversion {
    bool fLeft = false, fPlus = false, fSpace = false, fAlternate = false, fZero = false;
    int nWidth = 0;
    int nPrecision = -1; // negative: none
    Length length = Length::None;
    char16_t letter = 0;
};

bool IsOneOf(char16_t letter, char const* letters) {
    return letter > 0 && letter < 0x80 && std::strchr(letters, letter) != nullptr;
}

int ReadNumber(char16_t const*& format) {
    int number = 0;
    for (; *format >= u'0' && *format <= u'9'; ++format) {
        int const digit = *format - u'0';
        number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
    }
    return number;
}

void ReadFlags(char16_t const*& format, Conversion& conversion) {
    for (;; ++format) {
        switch (*format) {
        case u'-':
            conversion.fLeft = true;
            break;
        case u'+':
            conversion.fPlus = true;
            break;
        case u' ':
            conversion.fSpace = true;
            break;
        case u'#':
            conversion.fAlternate = true;
            break;
        case u'0':
            conversion.fZero = true;
            break;
        default:
            return;
        }
    }
}

Length ReadLength(char16_t const*& format) {
    switch (*format) {
    case u'h':
        ++format;
        return *format == u'h' ? (++format, Length::Char) : Length::Short;
    case u'l':
        ++format;
        return *format == u'l' ? (++format, Length::LongLong) : Length::Long;
    case u'z':
        ++format;
        return Length::Size;
    case u't':
        ++format;
        return Length::Difference;
    case u'j':
        ++format;
        return Length::Maximum;
    default:
        return Length::None;
    }
}

/** A width or precision: a number, or a `*` whose value has yet to be fetched. */
struct Measure {
    bool fGiven = false, fFromArgument = false;
    int nValue = 0;
};

Measure ReadMeasure(char16_t const*& format) {
    Measure measure;
    if (*format == u'*') {
        measure.fGiven = measure.fFromArgument = true;
        ++format;
    } else if (*format >= u'0' && *format <= u'9') {
        measure.fGiven = true;
        measure.nValue = ReadNumber(format);
    }
    return measure;
}

/**
 * Reads the conversion behind a %, and its width and precision from the arguments where it says so.
 * @return false, with no argument taken, when it is no conversion.
 */
bool ReadConversion(char16_t const*& format, Conversion& conversion, Arguments& arguments) {
    char16_t const* at = format;
    ReadFlags(at, conversion);
    Measure width = ReadMeasure(at);
    Measure precision;
    if (*at == u'.') {
        ++at;
        precision = ReadMeasure(at);
        precision.fGiven = true;
    }
    conversion.length = ReadLength(at);
    if (!IsOneOf(*at, "diuxXocsfFeEgGp%")) {
        return false;
    }
    conversion.letter = *at++;
    format = at;
    if (width.fFromArgument) {
        width.nValue = va_arg(arguments.list, int);
        if (width.nValue < 0) {
            conversion.fLeft = true;
            width.nValue = width.nValue == INT_MIN ? INT_MAX : -width.nValue;
        }
    }
    if (precision.fFromArgument) {
        precision.nValue = va_arg(arguments.list, int); // a negative one is none
    }
    conversion.nWidth = width.nValue;
    conversion.nPrecision = precision.fGiven ? precision.nValue : -1;
    return true;
}

std::size_t PaddingFor(Conversion const& conversion, std::size_t length) {
    std::size_t const width = static_cast<std::size_t>(conversion.nWidth);
    return width > length ? width - length : 0;
}

/** Writes a number: its sign or prefix, zeros, and its digits, filled up to the width. */
void PutNumber(Output& output, Conversion const& conversion, char const* prefix, std::size_t zeros,
               char const* digits, std::size_t digitCount, bool zeroFilled) {
    std::size_t const prefixLength = std::strlen(prefix);
    std::size_t const padding = PaddingFor(conversion, prefixLength + zeros + digitCount);
    bool const left = conversion.fLeft;
    output.Fill(u' ', left || zeroFilled ? 0 : padding);
    output.PutAll(prefix, prefixLength);
    output.Fill(u'0', zeros + (!left && zeroFilled ? padding : 0));
    output.PutAll(digits, digitCount);
    output.Fill(u' ', left ? padding : 0);
}

char const* SignOf(Conversion const& conversion, bool negative) {
    return negative ? "-" : conversion.fPlus ? "+" : conversion.fSpace ? " " : "";
}

void PutDigits(Output& output, Conversion const& conversion, unsigned long long value, unsigned int base,
               char const* prefix) {
    char const* const figures = conversion.letter == u'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    char digits[24];
    std::size_t start = sizeof(digits);
    for (unsigned long long rest = value; rest > 0; rest /= base) {
        digits[--start] = figures[rest % base];
    }
    std::size_t const count = sizeof(digits) - start;
    std::size_t const wanted =
        conversion.nPrecision < 0 ? 1 : static_cast<std::size_t>(conversion.nPrecision);
    std::size_t zeros = wanted > count ? wanted - count : 0;
    if (base == 8 && conversion.fAlternate && zeros == 0) {
        zeros = 1;
    }
    PutNumber(output, conversion, prefix, zeros, digits + start, count,
              conversion.fZero && conversion.nPrecision < 0);
}

void PutSigned(Output& output, Conversion const& conversion, Arguments& arguments) {
    long long value = 0;
    switch (conversion.length) {
    case Length::None:
        value = va_arg(arguments.list, int);
        break;
    case Length::Char:
        // The sign is wanted. NOLINTNEXTLINE(bugprone-signed-char-misuse)
        value = static_cast<signed char>(va_arg(arguments.list, int));
        break;
    case Length::Short:
        value = static_cast<short>(va_arg(arguments.list, int));
        break;
    case Length::Long:
        value = va_arg(arguments.list, long);
        break;
    case Length::LongLong:
        value = va_arg(arguments.list, long long);
        break;
    // The types are not the same everywhere. NOLINTNEXTLINE(bugprone-branch-clone)
    case Length::Size:
    case Length::Difference:
        value = va_arg(arguments.list, std::ptrdiff_t);
        break;
    case Length::Maximum:
        value = va_arg(arguments.list, std::intmax_t);
        break;
    }
    unsigned long long const bits = static_cast<unsigned long long>(value);
    PutDigits(output, conversion, value < 0 ? 0 - bits : bits, 10, SignOf(conversion, value < 0));
}

unsigned long long TakeUnsigned(Conversion const& conversion, Arguments& arguments) {
    switch (conversion.length) {
    case Length::None:
        break;
    case Length::Char:
        return static_cast<unsigned char>(va_arg(arguments.list, unsigned int));
    case Length::Short:
        return static_cast<unsigned short>(va_arg(arguments.list, unsigned int));
    case Length::Long:
        return va_arg(arguments.list, unsigned long);
    case Length::LongLong:
        return va_arg(arguments.list, unsigned long long);
    // The types are not the same everywhere. NOLINTNEXTLINE(bugprone-branch-clone)
    case Length::Size:
    case Length::Difference:
        return va_arg(arguments.list, std::size_t);
    case Length::Maximum:
        return va_arg(arguments.list, std::uintmax_t);
    }
    return va_arg(arguments.list, unsigned int);
}

void PutUnsigned(Output& output, Conversion const& conversion, Arguments& arguments) {
    unsigned long long const value = TakeUnsigned(conversion, arguments);
    bool const prefixed = conversion.fAlternate && value != 0;
    switch (conversion.letter) {
    case u'o':
        return PutDigits(output, conversion, value, 8, "");
    case u'x':
        return PutDigits(output, conversion, value, 16, prefixed ? "0x" : "");
    case u'X':
        return PutDigits(output, conversion, value, 16, prefixed ? "0X" : "");
    default:
        return PutDigits(output, conversion, value, 10, "");
    }
}

void PutPointer(Output& output, Conversion const& conversion, Arguments& arguments) {
    void* const pointer = va_arg(arguments.list, void*);
    PutDigits(output, conversion, reinterpret_cast<std::uintptr_t>(pointer), 16, "0x");
}

void PutReal(Output& output, Conversion const& conversion, Arguments& arguments) {
    double const value = va_arg(arguments.list, double);
    int const precision = conversion.nPrecision < 0                      ? 6
                          : conversion.nPrecision > MaximumRealPrecision ? MaximumRealPrecision
                                                                         : conversion.nPrecision;
    char format[6];
    char* end = format;
    *end++ = '%';
    if (conversion.fAlternate) {
        *end++ = '#';
    }
    *end++ = '.';
    *end++ = '*';
    *end++ = static_cast<char>(conversion.letter);
    *end = '\0';
    char text[RealLength];
    int const length = std::snprintf(text, sizeof(text), format, precision, std::fabs(value));
    PutNumber(output, conversion, SignOf(conversion, std::signbit(value)), 0, text,
              length > 0 ? static_cast<std::size_t>(length) : 0, conversion.fZero && std::isfinite(value));
}

/** Writes text of any encoding, filled up to the width. */
template <class Encoding>
void PutText(Output& output, Conversion const& conversion, typename Encoding::Unit const* text, int length) {
    std::size_t units = 0;
    for (int index = 0; index < length;) {
        units += static_cast<std::size_t>(
            UTF16Encoding::GetElementCount(Encoding::GetNextChar(text, index, length)));
    }
    std::size_t const padding = PaddingFor(conversion, units);
    output.Fill(u' ', conversion.fLeft ? 0 : padding);
    for (int index = 0; index < length;) {
        char16_t pair[2];
        int count = 0;
        UTF16Encoding::PutNextChar(pair, count, 2, Encoding::GetNextChar(text, index, length));
        for (int i = 0; i < count; ++i) {
            output.Put(pair[i]);
        }
    }
    output.Fill(u' ', conversion.fLeft ? padding : 0);
}

template <class Encoding>
void PutString(Output& output, Conversion const& conversion, typename Encoding::Unit const* text) {
    if (!text) {
        PutText<UTF8Encoding>(output, conversion, "(null)", 6);
        return;
    }
    int const limit = conversion.nPrecision < 0 ? INT_MAX : conversion.nPrecision;
    int length = 0;
    while (length < limit && text[length] != 0) {
        ++length;
    }
    PutText<Encoding>(output, conversion, text, length);
}

void PutCharacter(Output& output, Conversion const& conversion, Arguments& arguments) {
    char16_t pair[2];
    int count = 0;
    UTF16Encoding::PutNextChar(pair, count, 2, va_arg(arguments.list, int));
    PutText<UTF16Encoding>(output, conversion, pair, count);
}

void PutConversion(Output& output, Conversion const& conversion, Arguments& arguments) {
    switch (conversion.letter) {
    case u'd':
    case u'i':
        return PutSigned(output, conversion, arguments);
    case u'u':
    case u'x':
    case u'X':
    case u'o':
        return PutUnsigned(output, conversion, arguments);
    case u'p':
        return PutPointer(output, conversion, arguments);
    case u'c':
        return PutCharacter(output, conversion, arguments);
    case u's':
        if (conversion.length == Length::Short || conversion.length == Length::Char) {
            return PutString<UTF8Encoding>(output, conversion, va_arg(arguments.list, char const*));
        }
        return PutString<UTF16Encoding>(output, conversion, va_arg(arguments.list, char16_t const*));
    case u'%':
        return output.Put(u'%');
    default:
        return PutReal(output, conversion, arguments);
    }
}

void FormatTo(Output& output, char16_t const* format, va_list list) {
    Arguments arguments;
    va_copy(arguments.list, list);
    while (format && *format) {
        char16_t const unit = *format++;
        Conversion conversion;
        if (unit == u'%' && ReadConversion(format, conversion, arguments)) {
            PutConversion(output, conversion, arguments);
        } else {
            output.Put(unit);
        }
    }
    va_end(arguments.list);
}

} // namespace

unsigned int UTF16Encoding::FormatV(Unit* buffer, unsigned int capacity, Unit const* format,
                                    va_list arguments) {
    if (!buffer || capacity == 0) {
        return 0;
    }
    Output output(buffer, capacity);
    FormatTo(output, format, arguments);
    return output.Finish();
}

unsigned int UTF16Encoding::Format(Unit* buffer, unsigned int capacity, Unit const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    unsigned int const length = FormatV(buffer, capacity, format, arguments);
    va_end(arguments);
    return length;
}

unsigned int UTF16Encoding::MeasureV(Unit const* format, va_list arguments) {
    Output output(nullptr, 0);
    FormatTo(output, format, arguments);
    return output.GetTotal();
}

} // namespace trevik
