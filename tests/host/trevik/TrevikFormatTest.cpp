#include "trevik/StringEncoded.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

using namespace trevik;

namespace {

/** Formats one value with the C library and with this one, and compares. */
template <class T>
void ExpectAsInC(std::string const& format, T value) {
    char expected[2000];
    std::snprintf(expected, sizeof(expected), format.c_str(), value);
    String8 const actual(String16::Format(String16(String8(format.c_str())).GetData(), value));
    EXPECT_STREQ(actual.GetData(), expected) << format;
}

/** All flags, with some widths and precisions, for each conversion and value. */
template <class T>
void ExpectAllAsInC(std::string const& letters, std::initializer_list<T> values) {
    for (unsigned int flags = 0; flags < 32; ++flags) {
        std::string start = "%";
        for (unsigned int i = 0; i < 5; ++i) {
            if (flags & (1u << i)) {
                start += "-+ #0"[i];
            }
        }
        for (char const* size : {"", "1", "7", "31", ".", ".0", ".1", ".5", "5.0", "12.7", "3.12"}) {
            for (char letter : letters) {
                for (T value : values) {
                    ExpectAsInC(start + size + letter, value);
                }
            }
        }
    }
}

TEST(TrevikFormat, NumbersComeOutAsInC) {
    ExpectAllAsInC<int>("di", {0, 1, -1, 42, -31000, INT_MAX, INT_MIN});
    ExpectAllAsInC<unsigned int>("uxXo", {0u, 1u, 8u, 0xbeefu, UINT_MAX});
    ExpectAllAsInC<double>("fFeEgG", {0.0, -0.0, 1.0, -2.5, 3.14159265, 1e-7, 123456789.0, -1e100, 5e-324,
                                      DBL_MAX, HUGE_VAL, -HUGE_VAL, std::nan("")});
    ExpectAsInC("%.1074f", 5e-324);
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

TEST(TrevikFormat, Table) {
    char const bytes[3] = {'a', 'b', 'c'}; // not terminated: read up to the precision
    char16_t const units[3] = {u'd', u'e', u'f'};
    char const* const none = nullptr;
    char16_t const* const wideNone = nullptr;
    void* const pointer = reinterpret_cast<void*>(std::uintptr_t(0xbeef));
    struct {
        String16 actual;
        char16_t const* expected;
    } const cases[] = {
        {String16::Format(u"[%s]", u"\x20ac\xd83d\xde00"), u"[\x20ac\xd83d\xde00]"},
        {String16::Format(u"[%hs]", "\xe2\x82\xac\xf0\x9f\x98\x80"), u"[\x20ac\xd83d\xde00]"},
        {String16::Format(u"[%5s|%-5s]", u"ab", u"cd"), u"[   ab|cd   ]"},
        {String16::Format(u"[%.2s|%.*hs]", u"abcdef", 3, "abcdef"), u"[ab|abc]"},
        {String16::Format(u"[%.0s%5.1hs]", u"abc", "xyz"), u"[    x]"},
        {String16::Format(u"%.3hs%.3s", bytes, units), u"abcdef"},
        {String16::Format(u"[%s|%hs]", wideNone, none), u"[(null)|(null)]"},
        {String16::Format(u"%c%c%3c", 'a', 0x1f600, 'z'), u"a\xd83d\xde00  z"},
        {String16::Format(u"%p", pointer), u"0xbeef"},
        {String16::Format(u"%*d|%-*d|%*d", 4, 1, 4, 2, -4, 3), u"   1|2   |3   "},
        {String16::Format(u"%.*d|%.*d", 3, 7, -1, 7), u"007|7"},
        {String16::Format(u"Create Texture: %dx%d(%d)", 64, 48, 3072), u"Create Texture: 64x48(3072)"},
        // What is no conversion stands as it is and takes nothing.
        {String16::Format(u"100%% %q %y%d %", 5), u"100% %q %y5 %"},
        {String16::Format(u"%5.3", 0), u"%5.3"},
        {String16::Format(u"%n%d", 5), u"%n5"},
        {String16::Format(u"%*q%d", 5), u"%*q5"},
        {String16::Format(u"%\x20ac", 0), u"%\x20ac"},
        {String16::Format(u"%s", u""), u""},
        {String16::Format(u"%2147483647d%2147483647d", 1, 2), u""}, // more than can be held
    };
    for (auto const& test : cases) {
        EXPECT_EQ(test.actual, test.expected) << String8(test.actual).GetData();
    }
    EXPECT_EQ(String16::Format(u"%5000d", 7), String16::Format(u"%4999s", u"") + u"7");
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
    char16_t buffer[8] = u"x";
    auto const format = [&buffer](unsigned int capacity, char16_t const* text, auto... values) {
        unsigned int const length = UTF16Encoding::Format(buffer, capacity, text, values...);
        return std::u16string(buffer, length);
    };
    EXPECT_EQ(format(0, u"abc"), u"");
    EXPECT_EQ(buffer[0], u'x');
    EXPECT_EQ(UTF16Encoding::Format(nullptr, 0, u"abc"), 0u);
    EXPECT_EQ(format(3, u"%s", u"a\xd83d\xde00"), u"a") << "not between the halves of a pair";
    // Enormous widths cost nothing beyond the buffer.
    EXPECT_EQ(format(8, u"%2147483647d", 1), u"       ");
    EXPECT_EQ(format(8, u"%.99999999999d", 1), u"0000000");
    EXPECT_EQ(format(8, u"%-*d", INT_MIN, 1), u"1      ");
    EXPECT_EQ(format(8, u"%.2000000000f", 0.5), u"0.50000");
}

} // namespace
