#include "TextCharacters.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace trevik::kelvo {

namespace {

typedef CharacterClass Class;

struct Range {
    unsigned int m_nFirst;
    unsigned int m_nLast;
    CharacterClass m_class;
};

/** All code points that are no letters, sorted; ideographs together with the punctuation among them. */
constexpr Range Ranges[] = {
    {0x0000, 0x0008, Class::Ignored},     {0x0009, 0x0009, Class::Tab},
    {0x000a, 0x000a, Class::LineEnd},     {0x000b, 0x001f, Class::Ignored},
    {0x0020, 0x0020, Class::Space},       {0x002d, 0x002d, Class::Hyphen},
    {0x007f, 0x009f, Class::Ignored},     {0x00a0, 0x00a0, Class::NoBreakSpace},
    {0x00ad, 0x00ad, Class::Ignored}, // words are not divided
    {0x034f, 0x034f, Class::Ignored},     {0x061c, 0x061c, Class::Ignored},
    {0x1680, 0x1680, Class::Space},       {0x180b, 0x180f, Class::Ignored},
    {0x2000, 0x2006, Class::Space},       {0x2007, 0x2007, Class::NoBreakSpace},
    {0x2008, 0x200a, Class::Space},       {0x200b, 0x200b, Class::BreakMark},
    {0x200c, 0x200f, Class::Ignored},     {0x2010, 0x2010, Class::Hyphen},
    {0x2012, 0x2014, Class::Hyphen},      {0x2028, 0x2029, Class::LineEnd},
    {0x202a, 0x202e, Class::Ignored},     {0x202f, 0x202f, Class::NoBreakSpace},
    {0x205f, 0x205f, Class::Space},       {0x2060, 0x2060, Class::Joiner},
    {0x2061, 0x206f, Class::Ignored},     {0x2e80, 0x2fdf, Class::Ideograph}, // radicals
    {0x3000, 0x3000, Class::Space},       {0x3001, 0x30ff, Class::Ideograph}, // punctuation, kana
    {0x3105, 0x312f, Class::Ideograph},   {0x3190, 0x4dbf, Class::Ideograph},
    {0x4e00, 0x9fff, Class::Ideograph},   {0xf900, 0xfaff, Class::Ideograph},
    {0xfe00, 0xfe0f, Class::Ignored},     {0xfeff, 0xfeff, Class::Joiner},
    {0xff01, 0xff9f, Class::Ideograph}, // wide letters and punctuation, narrow kana
    {0xfff9, 0xfffb, Class::Ignored},     {0x1b000, 0x1b16f, Class::Ideograph},
    {0x1f200, 0x1f265, Class::Ideograph}, {0x20000, 0x3fffd, Class::Ideograph},
    {0xe0000, 0xe0fff, Class::Ignored},
};

/** Both are sorted. Small kana and marks of length and repetition stay with the character before them. */
constexpr char16_t Opening[] = u"〈《「『【〔〖〘〚〝（［｛｟｢";
constexpr char16_t Closing[] = u"、。〃々〉》」』】〕〗〙〛〜〞〟〻〼ぁぃぅぇぉっゃゅょゎゕゖ\u3099\u309a゛"
                               u"゜ゝゞ゠ァィゥェォッャュョヮヵヶ・ーヽヾ"
                               u"ㇰㇱㇲㇳㇴㇵㇶㇷㇸㇹㇺㇻㇼㇽㇾㇿ！），．：；？］｝｠｡｣､･ｧｨｩｪｫｬｭｮｯｰﾞﾟ";

template <std::size_t N>
bool Contains(char16_t const (&text)[N], unsigned int nCodePoint) {
    return std::binary_search(text, text + N - 1, nCodePoint);
}

CharacterClass GetIdeographClass(unsigned int nCodePoint) {
    return Contains(Opening, nCodePoint)   ? Class::Opening
           : Contains(Closing, nCodePoint) ? Class::Closing
                                           : Class::Ideograph;
}

} // namespace

CharacterClass FindCharacterClass(unsigned int nCodePoint) {
    if (nCodePoint == ' ') {
        return Class::Space;
    }
    if (nCodePoint >= 0x4e00 && nCodePoint <= 0x9fff) {
        return Class::Ideograph;
    }
    Range const* const pRange =
        std::lower_bound(std::begin(Ranges), std::end(Ranges), nCodePoint,
                         [](Range const& range, unsigned int nWanted) { return range.m_nLast < nWanted; });
    if (pRange == std::end(Ranges) || nCodePoint < pRange->m_nFirst) {
        return Class::Letter;
    }
    return pRange->m_class == Class::Ideograph ? GetIdeographClass(nCodePoint) : pRange->m_class;
}

bool LineBreaker::IsBreakBefore(CharacterClass next) const {
    switch (m_last) {
    case Class::Space:
    case Class::Tab:
    case Class::BreakMark:
        return true;
    case Class::Hyphen:
        return !m_fLeading && next != Class::Hyphen && next != Class::NoBreakSpace;
    case Class::Ideograph:
    case Class::Closing:
        return next == Class::Ideograph || next == Class::Opening;
    default:
        return false;
    }
}

bool LineBreaker::TakeNext(CharacterClass next) {
    switch (next) {
    case Class::Ignored:
        return false;
    case Class::Joiner:
        m_last = Class::Letter;
        return false;
    case Class::Space:
    case Class::Tab:
    case Class::LineEnd:
    case Class::BreakMark: // no line begins with them: it may only end after them
        m_last = next;
        return false;
    default:
        break;
    }
    bool const fBreak = IsBreakBefore(next);
    // A minus sign, or the dashes of an option, stay with the word that follows.
    m_fLeading = next == Class::Hyphen && (m_last == Class::Hyphen ? m_fLeading : !IsVisible(m_last));
    m_last = next;
    return fBreak;
}

} // namespace trevik::kelvo
