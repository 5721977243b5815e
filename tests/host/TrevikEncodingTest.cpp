#include "trevik/Encoding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace trevik;

namespace {

int const k_nBad = 0xfffd;

template <class Encoding>
std::vector<int> Decode(std::basic_string<typename Encoding::Unit> const& text) {
    // A copy of exactly this length, so that a sanitizer sees what is read beyond it.
    std::vector<typename Encoding::Unit> const exact(text.begin(), text.end());
    std::vector<int> codePoints;
    for (int index = 0; index < static_cast<int>(exact.size());) {
        codePoints.push_back(Encoding::GetNextChar(exact.data(), index, static_cast<int>(exact.size())));
    }
    return codePoints;
}

template <class Encoding>
std::basic_string<typename Encoding::Unit> Encode(int codePoint) {
    typename Encoding::Unit units[8];
    int count = 0;
    EXPECT_TRUE(Encoding::PutNextChar(units, count, 8, codePoint));
    EXPECT_EQ(Encoding::GetElementCount(codePoint), count) << codePoint;
    return std::basic_string<typename Encoding::Unit>(units, static_cast<std::size_t>(count));
}

struct ByteCase {
    std::string text;
    std::vector<int> codePoints;
};

TEST(TrevikEncoding, WritesEveryLengthOfEveryForm) {
    using namespace std::string_literals;
    struct {
        int codePoint;
        std::string utf8;
        std::u16string utf16;
        std::string java;
    } const cases[] = {
        {0, "\0"s, u"\0"s, "\xc0\x80"},
        {0x41, "A", u"A", "A"},
        {0x7f, "\x7f", u"\x7f", "\x7f"},
        {0x80, "\xc2\x80", u"\x80", "\xc2\x80"},
        {0x7ff, "\xdf\xbf", u"\x7ff", "\xdf\xbf"},
        {0x800, "\xe0\xa0\x80", u"\x800", "\xe0\xa0\x80"},
        {0xd7ff, "\xed\x9f\xbf", u"\xd7ff", "\xed\x9f\xbf"},
        {0xe000, "\xee\x80\x80", u"\xe000", "\xee\x80\x80"},
        {0xffff, "\xef\xbf\xbf", u"\xffff", "\xef\xbf\xbf"},
        {0x10000, "\xf0\x90\x80\x80", u"\xd800\xdc00", "\xed\xa0\x80\xed\xb0\x80"},
        {0x1f600, "\xf0\x9f\x98\x80", u"\xd83d\xde00", "\xed\xa0\xbd\xed\xb8\x80"},
        {0x10ffff, "\xf4\x8f\xbf\xbf", u"\xdbff\xdfff", "\xed\xaf\xbf\xed\xbf\xbf"},
        // What is no code point is written as the replacement character.
        {-1, "\xef\xbf\xbd", u"\xfffd", "\xef\xbf\xbd"},
        {0xd800, "\xef\xbf\xbd", u"\xfffd", "\xef\xbf\xbd"},
        {0xdfff, "\xef\xbf\xbd", u"\xfffd", "\xef\xbf\xbd"},
        {0x110000, "\xef\xbf\xbd", u"\xfffd", "\xef\xbf\xbd"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Encode<UTF8Encoding>(c.codePoint), c.utf8) << c.codePoint;
        EXPECT_EQ(Encode<UTF16Encoding>(c.codePoint), c.utf16) << c.codePoint;
        EXPECT_EQ(Encode<JavaEncoding>(c.codePoint), c.java) << c.codePoint;
        std::vector<int> const back = {CodePoint::Sanitize(c.codePoint)};
        EXPECT_EQ(Decode<UTF8Encoding>(c.utf8), back);
        EXPECT_EQ(Decode<UTF16Encoding>(c.utf16), back);
        EXPECT_EQ(Decode<JavaEncoding>(c.java), back);
    }
}

template <class Encoding>
bool ReadsAsItWasWritten(int codePoint) {
    typename Encoding::Unit units[8];
    int written = 0, read = 0;
    return Encoding::PutNextChar(units, written, 8, codePoint) &&
           written == Encoding::GetElementCount(codePoint) &&
           Encoding::GetNextChar(units, read, written) == codePoint && read == written;
}

TEST(TrevikEncoding, EveryCodePointReadsAsItWasWritten) {
    for (int codePoint = 0; codePoint <= CodePoint::Maximum; ++codePoint) {
        if (!CodePoint::IsSurrogate(codePoint)) {
            ASSERT_TRUE(ReadsAsItWasWritten<UTF8Encoding>(codePoint)) << codePoint;
            ASSERT_TRUE(ReadsAsItWasWritten<UTF16Encoding>(codePoint)) << codePoint;
            ASSERT_TRUE(ReadsAsItWasWritten<JavaEncoding>(codePoint)) << codePoint;
        }
    }
}

TEST(TrevikEncoding, MalformedUtf8GivesOneReplacementForEachPieceThatCouldHaveBegun) {
    ByteCase const cases[] = {
        {"\x80", {k_nBad}}, // stray continuation
        {"\xbf\xbf"
         "A",
         {k_nBad, k_nBad, 'A'}},
        {"\xc0\x80", {k_nBad, k_nBad}}, // overlong NUL
        {"\xc1\xbf", {k_nBad, k_nBad}},
        {"\xe0\x9f\xbf", {k_nBad, k_nBad, k_nBad}}, // overlong
        {"\xf0\x8f\xbf\xbf", {k_nBad, k_nBad, k_nBad, k_nBad}},
        {"\xed\xa0\x80", {k_nBad, k_nBad, k_nBad}},             // a surrogate
        {"\xf4\x90\x80\x80", {k_nBad, k_nBad, k_nBad, k_nBad}}, // beyond 0x10ffff
        {"\xf5\x80", {k_nBad, k_nBad}},
        {"\xff\xfe", {k_nBad, k_nBad}},
        {"\xe0\xc0", {k_nBad, k_nBad}}, // no continuation
        {"\xed\xc0", {k_nBad, k_nBad}},
        {"\xf0\xc0", {k_nBad, k_nBad}},
        {"\xf1\x80\xc0", {k_nBad, k_nBad}},
        {"\xc3", {k_nBad}}, // cut short by the end
        {"\xe2\x82", {k_nBad}},
        {"\xf0\x9f\x98", {k_nBad}},
        {"\xc3"
         "A",
         {k_nBad, 'A'}}, // cut short by another character
        {"\xe2\x82"
         "A",
         {k_nBad, 'A'}},
        {"\xf0\x9f\x98"
         "\xc3\xa4",
         {k_nBad, 0xe4}},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Decode<UTF8Encoding>(c.text), c.codePoints) << "case " << (&c - cases);
    }
}

TEST(TrevikEncoding, LoneSurrogatesOfUtf16GiveReplacements) {
    struct {
        std::u16string text;
        std::vector<int> codePoints;
    } const cases[] = {
        {u"\xd83d", {k_nBad}},
        {u"\xde00", {k_nBad}},
        {u"\xd83d"
         u"A",
         {k_nBad, 'A'}},
        {u"\xde00\xd83d", {k_nBad, k_nBad}},
        {u"\xd83d\xd83d\xde00", {k_nBad, 0x1f600}},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Decode<UTF16Encoding>(c.text), c.codePoints) << "case " << (&c - cases);
    }
}

TEST(TrevikEncoding, MalformedJavaTextGivesReplacements) {
    ByteCase const cases[] = {
        {std::string("\0A", 2), {0, 'A'}}, // a plain NUL is let pass
        {"\xc0\x81", {k_nBad, k_nBad}},    // overlong, other than NUL
        {"\xc0", {k_nBad}},
        {"\xe0\x80\x80", {k_nBad, k_nBad, k_nBad}},
        {"\xf0\x9f\x98\x80", {k_nBad, k_nBad, k_nBad, k_nBad}}, // Java has no four-unit form
        {"\xed\xa0\xbd", {k_nBad}},                             // half a pair
        {"\xed\xb8\x80", {k_nBad}},
        {"\xed\xa0\xbd"
         "A",
         {k_nBad, 'A'}},
        {"\xed\xa0\xbd\xed\xb8", {k_nBad, k_nBad}}, // a pair cut short
        {"\xed\xa0\xbd\xed\xa0\xbd\xed\xb8\x80", {k_nBad, 0x1f600}},
        {"\xed\xb8\x80\xed\xa0\xbd", {k_nBad, k_nBad}},
        {"\xe2\x82\xac\xed\xb8\x80", {0x20ac, k_nBad}},
        {"\xe2\x82"
         "A",
         {k_nBad, 'A'}},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Decode<JavaEncoding>(c.text), c.codePoints) << "case " << (&c - cases);
    }
}

TEST(TrevikEncoding, NothingIsWrittenWhereItDoesNotFit) {
    char bytes[4] = {'x', 'x', 'x', 'x'};
    int index = 1;
    EXPECT_FALSE(UTF8Encoding::PutNextChar(bytes, index, 4, 0x10000));
    EXPECT_FALSE(JavaEncoding::PutNextChar(bytes, index, 2, 0));
    char16_t units[1] = {u'x'};
    int unitIndex = 0;
    EXPECT_FALSE(UTF16Encoding::PutNextChar(units, unitIndex, 1, 0x10000));
    EXPECT_FALSE(UTF16Encoding::PutNextChar(units, unitIndex, 0, 'A'));
    EXPECT_EQ(std::string(bytes, 4), "xxxx");
    EXPECT_EQ(units[0], u'x');
    EXPECT_EQ(index, 1);
    EXPECT_EQ(unitIndex, 0);
}

TEST(TrevikEncoding, AtTheEndNothingIsRead) {
    int index = 0;
    EXPECT_EQ(UTF8Encoding::GetNextChar("A", index, 0), 0);
    EXPECT_EQ(UTF16Encoding::GetNextChar(u"A", index, 0), 0);
    EXPECT_EQ(JavaEncoding::GetNextChar("A", index, 0), 0);
    EXPECT_EQ(index, 0);
}

} // namespace
