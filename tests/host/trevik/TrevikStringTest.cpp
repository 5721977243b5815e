#include "trevik/Allocation.h"
#include "trevik/StringEncoded.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

using namespace trevik;

namespace {

static_assert(std::is_nothrow_move_constructible<String16>::value, "strings move without allocating");

// Were this initialised at run time, it would not compile with clang, and gcc would say so.
#if defined(__clang__)
[[clang::require_constant_initialization]]
#elif defined(__GNUC__)
__constinit
#endif
String16 const s_sName = String16::FromLiteral(u"vColor");

class TrevikString : public testing::Test {
protected:
    void SetUp() override {
        m_nLive = Allocation::GetLiveCount();
        m_nBefore = Allocation::GetCount();
    }
    void TearDown() override {
        Allocation::FailNever();
        EXPECT_EQ(Allocation::GetLiveCount(), m_nLive) << "storage was lost";
    }
    unsigned long long GetAllocations() const { return Allocation::GetCount() - m_nBefore; }

private:
    long long m_nLive;
    unsigned long long m_nBefore;
};

TEST_F(TrevikString, CopiesTheTextItIsBuiltFromUnlessItIsALiteral) {
    static char16_t const s_text[] = u"mWorldToView";
    String16 const name = String16::FromLiteral(s_text), copy(name);
    EXPECT_EQ(copy.GetData(), s_text);
    EXPECT_EQ(name.GetLength(), 12u);
    EXPECT_EQ(s_sName, u"vColor");
    EXPECT_EQ(GetAllocations(), 0u);
    char16_t text[] = u"abc";
    String16 const whole(text), part(text, 2);
    text[0] = u'x';
    EXPECT_EQ(whole, u"abc");
    EXPECT_EQ(part, u"ab");
    EXPECT_EQ(part.GetData()[2], 0);
    EXPECT_TRUE(String16(static_cast<char16_t const*>(nullptr)).IsEmpty());
    EXPECT_EQ(String16().GetData()[0], 0);
}

TEST_F(TrevikString, CopiesShareStorageUntilOneIsChanged) {
    String16 original(u"shared");
    String16 copy(original), moved(std::move(copy));
    EXPECT_EQ(moved.GetData(), original.GetData());
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_EQ(GetAllocations(), 1u);

    moved += u"!";
    EXPECT_EQ(original, u"shared");
    EXPECT_EQ(moved, u"shared!");
    original = moved;
    original += u" ";
    original += u"..."; // leaves room to spare
    String16 other(original);
    original += u"a";
    other += u"b";
    EXPECT_EQ(original, u"shared! ...a");
    EXPECT_EQ(other, u"shared! ...b");
    original = moved;
    moved.Clear();
    EXPECT_EQ(original, u"shared!");
    EXPECT_TRUE(moved.IsEmpty());
    String16 const& same = original;
    original = same;
    EXPECT_EQ(original, u"shared!");
}

TEST_F(TrevikString, AppendsToLiteralsAndToItselfAndGrowsByMoreThanAPiece) {
    String16 text = String16::FromLiteral(u"ab");
    text += text;
    EXPECT_EQ(text, u"abab");
    ASSERT_TRUE(text.Append(text.GetData() + 1, 2));
    EXPECT_EQ(text, u"ababba");
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(text.Append(text)); // through every growth
    }
    EXPECT_EQ(text.GetPart(186), u"ababba");
    EXPECT_EQ(s_sName + u": " + text.GetPart(0, 2), u"vColor: ab");
    EXPECT_EQ(String16() + String16(), u"");
    for (int i = 0; i < 1000; ++i) {
        text += s_sName;
    }
    EXPECT_EQ(text.GetLength(), (6u << 5) + 6000u);
    EXPECT_LT(GetAllocations(), 20u);
}

TEST_F(TrevikString, BecomesOtherTextsInStorageOfItsOwn) {
    String16 text = String16::FromLiteral(u"literal");
    ASSERT_TRUE(text.Assign(u"a text of its own", 17));
    EXPECT_EQ(GetAllocations(), 1u);
    char16_t const* const pData = text.GetData();
    EXPECT_TRUE(text.Assign(u"shorter\0 one", 12) && text.GetLength() == 12 && text[12] == 0);
    EXPECT_TRUE(text.Assign(pData + 2, 5));
    EXPECT_EQ(text, u"orter");
    EXPECT_TRUE(text.Assign(nullptr, 0));
    EXPECT_EQ(text, u"");
    EXPECT_TRUE(text.Assign(u"a text of its own", 17) && text.Append(u"", 0));
    EXPECT_EQ(text.GetData(), pData);
    EXPECT_EQ(GetAllocations(), 1u);

    String16 const shared(text);
    ASSERT_TRUE(text.Assign(shared.GetData() + 2, 4));
    EXPECT_EQ(text, u"text");
    EXPECT_EQ(shared, u"a text of its own");
    Allocation::FailAfter(0);
    EXPECT_FALSE(text.Assign(u"longer", 6));
    EXPECT_EQ(text, u"text");
    EXPECT_TRUE(text.Assign(u"fits", 4));
}

TEST_F(TrevikString, ComparesByUnits) {
    // Each of them is less than the next.
    String8 const texts[] = {"", "Z", "a", {"a\0b", 3}, {"a\0c", 3}, "aa", "b", "z", "\xc3\xa4"};
    for (String8 const& a : texts) {
        for (String8 const& b : texts) {
            EXPECT_EQ(a < b, &a < &b) << a.GetData() << " " << b.GetData();
            EXPECT_EQ(a == String8(b.GetData(), b.GetLength()), &a == &b)
                << a.GetData() << " " << b.GetData();
        }
    }
    EXPECT_NE(String16(u"abc"), u"ab");
    EXPECT_NE(String16(u"\x100"), u"\x200");
}

TEST_F(TrevikString, FindsPartsAndUnits) {
    String16 const text(u"kelvo.kelvo");
    struct {
        char16_t const* part;
        unsigned int from;
        int index;
    } const cases[] = {
        {u"kelvo", 0, 0}, {u"kelvo", 1, 6}, {u"kelvo", 7, -1}, {u"vo.k", 0, 3},          {u"", 0, 0},
        {u"", 11, 11},    {u"", 12, -1},    {u"o", 5, 10},     {u"kelvo.kelvo!", 0, -1},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(text.Find(String16(test.part), test.from), test.index) << (&test - cases);
    }
    EXPECT_EQ(text.Find(String16(u"kelvo")), 0);
    EXPECT_EQ(text.Find(u'k'), 0);
    EXPECT_EQ(text.Find(u'.', 6), -1);
    EXPECT_EQ(text.GetPart(6, 2), u"ke");
    EXPECT_EQ(text.GetPart(9), u"vo");
    EXPECT_EQ(text.GetPart(99), u"");
}

TEST_F(TrevikString, ConvertsBetweenEncodings) {
    String16 const text(u"a\x20ac\xd83d\xde00\0z", 6);
    String8 const utf8(text);
    StringEncoded<JavaEncoding> const java(utf8);
    EXPECT_EQ(utf8, String8("a\xe2\x82\xac\xf0\x9f\x98\x80\0z", 10));
    EXPECT_EQ(java, "a\xe2\x82\xac\xed\xa0\xbd\xed\xb8\x80\xc0\x80z");
    EXPECT_EQ(String16(java), text);
    EXPECT_TRUE(String8(String16()).IsEmpty());
}

TEST_F(TrevikString, WithoutMemoryNewTextIsEmptyAndOldTextStays) {
    String16 text(u"abc");
    String8 const utf8("abc");
    Allocation::FailAfter(0);
    EXPECT_FALSE(text.Append(u"defghi"));
    EXPECT_EQ(text, u"abc");
    EXPECT_TRUE(String16(u"abc").IsEmpty());
    EXPECT_TRUE(String16(utf8).IsEmpty());
    EXPECT_TRUE((text + text).IsEmpty());
    EXPECT_TRUE(String16::Format(u"%d", 5).IsEmpty());
    EXPECT_EQ(String16(text), u"abc") << "sharing needs no memory";
}

} // namespace
