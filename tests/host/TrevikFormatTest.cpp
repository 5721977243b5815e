#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

using namespace trevik;

namespace {

std::u16string Widen(std::string const& ascii) {
    return std::u16string(ascii.begin(), ascii.end());
}

std::string Narrow(std::u16string const& text) {
    return String8(String16(text.data(), static_cast<unsigned int>(text.size()))).GetData();
}

std::u16string FormatWide(char16_t const* format, ...) {
    char16_t buffer[2000];
    va_list arguments;
    va_start(arguments, format);
    unsigned int const length = UTF16Encoding::FormatV(buffer, 2000, format, arguments);
    va_end(arguments);
    EXPECT_EQ(buffer[length], 0);
    return std::u16string(buffer, length);
}

/** Formats one value with the C library and with UTF16Encoding, and compares. */
template <class T>
void ExpectAsInC(std::string const& format, T value) {
    char expected[2000];
    std::snprintf(expected, sizeof(expected), format.c_str(), value);
    EXPECT_EQ(Narrow(FormatWide(Widen(format).c_str(), value)), expected) << format;
}

/** All flags, with some widths and precisions, for one conversion. */
template <class Check>
void ForAllSpecifications(std::string const& conversion, Check check) {
    for (unsigned int flags = 0; flags < 32; ++flags) {
        std::string start = "%";
        for (unsigned int i = 0; i < 5; ++i) {
            if (flags & (1u << i)) {
                start += "-+ #0"[i];
            }
        }
        for (char const* size : {"", "1", "7", "31", ".", ".0", ".1", ".5", "12.7", "3.12"}) {
            check(start + size + conversion);
        }
    }
}

TEST(TrevikFormat, IntegersComeOutAsInC) {
    for (char letter : {'d', 'i'}) {
        for (int value : {0, 1, -1, 42, -31000, INT_MAX, INT_MIN}) {
            ForAllSpecifications(std::string(1, letter),
                                 [=](std::string const& f) { ExpectAsInC(f, value); });
        }
    }
    for (char letter : {'u', 'x', 'X', 'o'}) {
        for (unsigned int value : {0u, 1u, 8u, 0xbeefu, UINT_MAX}) {
            ForAllSpecifications(std::string(1, letter),
                                 [=](std::string const& f) { ExpectAsInC(f, value); });
        }
    }
}

TEST(TrevikFormat, LengthsComeOutAsInC) {
    for (char letter : {'d', 'u', 'x'}) {
        std::string const end(1, letter);
        ExpectAsInC("%hh" + end, 0x1ff);
        ExpectAsInC("%h" + end, 0x1ffff);
        ExpectAsInC("%l" + end, LONG_MIN);
        ExpectAsInC("%ll" + end, LLONG_MIN);
        ExpectAsInC("%ll" + end, -1LL);
        ExpectAsInC("%j" + end, INTMAX_MAX);
        ExpectAsInC("%z" + end, std::size_t(1) << (sizeof(std::size_t) * 8 - 2));
        ExpectAsInC("%t" + end, std::ptrdiff_t(123456));
    }
}

TEST(TrevikFormat, RealsComeOutAsInC) {
    double const values[] = {0.0,    -0.0,   1.0,     -2.5,     3.14159265, 1e-7,        123456789.0,
                             -1e100, 5e-324, DBL_MAX, HUGE_VAL, -HUGE_VAL,  std::nan("")};
    for (char letter : {'f', 'F', 'e', 'E', 'g', 'G'}) {
        for (double value : values) {
            ForAllSpecifications(std::string(1, letter),
                                 [=](std::string const& f) { ExpectAsInC(f, value); });
        }
    }
    ExpectAsInC("%.1074f", 5e-324);
}

TEST(TrevikFormat, TakesStringsOfBothWidths) {
    struct {
        std::u16string actual;
        char16_t const* expected;
    } const cases[] = {
        {FormatWide(u"[%s]", u"\x20ac\xd83d\xde00"), u"[\x20ac\xd83d\xde00]"},
        {FormatWide(u"[%hs]", "\xe2\x82\xac\xf0\x9f\x98\x80"), u"[\x20ac\xd83d\xde00]"},
        {FormatWide(u"[%5s|%-5s]", u"ab", u"cd"), u"[   ab|cd   ]"},
        {FormatWide(u"[%.2s|%.*hs]", u"abcdef", 3, "abcdef"), u"[ab|abc]"},
        {FormatWide(u"[%.0s%5.1hs]", u"abc", "xyz"), u"[    x]"},
        {FormatWide(u"[%s|%hs]", static_cast<char16_t const*>(nullptr), static_cast<char const*>(nullptr)),
         u"[(null)|(null)]"},
        {FormatWide(u"%c%c%3c", 'a', 0x1f600, 'z'), u"a\xd83d\xde00  z"},
        {FormatWide(u"%p", reinterpret_cast<void*>(std::uintptr_t(0xbeef))), u"0xbeef"},
        {FormatWide(u"%*d|%-*d|%*d", 4, 1, 4, 2, -4, 3), u"   1|2   |3   "},
        {FormatWide(u"%.*d|%.*d", 3, 7, -1, 7), u"007|7"},
        {FormatWide(u"Create Texture: %dx%d(%d)", 640, 480, 1228800), u"Create Texture: 640x480(1228800)"},
        {FormatWide(u"err=0x%4x.", 0x3003), u"err=0x3003."},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.actual, c.expected) << Narrow(c.actual);
    }
}

TEST(TrevikFormat, StringsThatAreNotTerminatedAreReadUpToThePrecision) {
    char const bytes[3] = {'a', 'b', 'c'};
    char16_t const units[3] = {u'd', u'e', u'f'};
    EXPECT_EQ(FormatWide(u"%.3hs%.3s", bytes, units), u"abcdef");
}

TEST(TrevikFormat, WhatIsNoConversionStandsAsItIsAndTakesNothing) {
    EXPECT_EQ(FormatWide(u"100%% %q %y%d %", 5), u"100% %q %y5 %");
    EXPECT_EQ(FormatWide(u"%5.3", 0), u"%5.3");
    EXPECT_EQ(FormatWide(u"%n%d", 5), u"%n5");
    EXPECT_EQ(FormatWide(u"%*q%d", 5), u"%*q5");
    EXPECT_EQ(FormatWide(u"%\x20ac", 0), u"%\x20ac");
    EXPECT_EQ(FormatWide(u""), u"");
}

TEST(TrevikFormat, IsCutToTheBufferAndAlwaysTerminated) {
    std::u16string const whole = u"ab-00007-xyz";
    for (unsigned int capacity = 1; capacity <= 16; ++capacity) {
        // Storage of exactly this size, so that a sanitizer sees what is written beyond it.
        std::unique_ptr<char16_t[]> const buffer(new char16_t[capacity]);
        unsigned int const length =
            UTF16Encoding::Format(buffer.get(), capacity, u"%hs-%05d-%s", "ab", 7, u"xyz");
        EXPECT_EQ(std::u16string(buffer.get(), length), whole.substr(0, capacity - 1));
        EXPECT_EQ(buffer[length], 0);
    }
    char16_t untouched[1] = {u'x'};
    EXPECT_EQ(UTF16Encoding::Format(untouched, 0, u"abc"), 0u);
    EXPECT_EQ(untouched[0], u'x');
    EXPECT_EQ(UTF16Encoding::Format(nullptr, 0, u"abc"), 0u);
}

TEST(TrevikFormat, IsNotCutBetweenTheHalvesOfAPair) {
    char16_t buffer[3];
    EXPECT_EQ(UTF16Encoding::Format(buffer, 3, u"%s", u"a\xd83d\xde00"), 1u);
    EXPECT_EQ(std::u16string(buffer), u"a");
}

TEST(TrevikFormat, EnormousWidthsCostNothingBeyondTheBuffer) {
    char16_t buffer[8];
    EXPECT_EQ(UTF16Encoding::Format(buffer, 8, u"%2147483647d", 1), 7u);
    EXPECT_EQ(UTF16Encoding::Format(buffer, 8, u"%.99999999999d", 1), 7u);
    EXPECT_EQ(std::u16string(buffer), u"0000000");
    EXPECT_EQ(UTF16Encoding::Format(buffer, 8, u"%-*d", INT_MIN, 1), 7u);
    EXPECT_EQ(std::u16string(buffer), u"1      ");
    EXPECT_EQ(UTF16Encoding::Format(buffer, 8, u"%.2000000000f", 0.5), 7u);
    EXPECT_EQ(std::u16string(buffer), u"0.50000");
}

} // namespace
