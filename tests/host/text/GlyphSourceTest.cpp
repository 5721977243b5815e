#include "kelvo_host/GlyphSource.h"

#include "TextTestSupport.h"
#include "kelvo_test/AllocationCounter.h"
#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/TestFonts.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::test {
namespace {

using kelvokit::test::Diagnostics;

/** Makes Greek letters, of 100 bytes each; Latin ones are unusable, and others fail, but it lacks all the
 * rest. */
class GreekSource : public GlyphSource {
public:
    GreekSource() : GlyphSource(u"greek.ttf") { SetMemoryLimit(1000); }

    /** What it was asked for, a line a time: "αβ\n". */
    std::u32string m_asked;
    Text* m_pSpy = nullptr; ///< laid out meanwhile

protected:
    void MakeGlyphs(Font& font, List<GlyphRequest>& requests) override {
        for (GlyphRequest& request : requests) {
            unsigned int const nCodePoint = request.m_nCodePoint;
            m_asked += char32_t(nCodePoint);
            if (nCodePoint >= 0x370 && nCodePoint < 0x400) {
                request.m_outcome = TakeMemory(100) ? GlyphRequest::Made : GlyphRequest::NoRoom;
                if (request.m_outcome == GlyphRequest::Made) {
                    static_cast<SquareFont&>(font).Add(SquareFont::MakeSquare(nCodePoint));
                }
            } else if (nCodePoint < 0x370) {
                request.m_outcome = GlyphRequest::Unusable;
                request.m_fault = Fault(String8("greek.ttf"), String8("is damaged"));
            } else if (nCodePoint >= 0x1000) {
                request.m_outcome = GlyphRequest::Lacking;
            }
        }
        m_asked += U'\n';
        if (m_pSpy) {
            m_pSpy->UpdateLayout();
        }
    }
};

/** A text in a font with such a source. */
struct GreekText : SquareText {
    Ref<GreekSource> m_pSource{new GreekSource};
    Diagnostics m_log;

    GreekText() { EXPECT_TRUE(GlyphSource::Attach(*m_pFont, m_pSource)); }
    /** Sets the text and gives the letters that it shows. */
    std::u32string Show(String16 const& sText) {
        m_pText->GetTextProperty().SetValue(sText);
        std::u32string shown;
        for (Placed const& placed : GetPlaced()) {
            shown += placed.m_codePoint;
        }
        return shown;
    }
};

TEST(GlyphSource, MakesGlyphsOnceAndAllTextsShowThem) {
    GreekText words;
    Ref<TestText> const pOther = Make<TestText>("other");
    pOther->SetFont(words.m_pFont.Get());
    pOther->GetTextProperty().SetValue(u"α");
    EXPECT_EQ(words.Show(u"aγbα γ\u200b\t"), U"aγbα γ");
    EXPECT_EQ(words.m_pText->GetLayoutCount(), 1u);
    words.m_pText->Update(words.m_device, 1);
    EXPECT_EQ(words.m_pText->GetLayoutCount(), 1u);
    pOther->Update(words.m_device, 1);
    EXPECT_EQ(pOther->GetInstances()[0].m_pGlyph->m_nCodePoint, 0x3b1u);
    EXPECT_EQ(words.m_pSource->m_asked, U"αγ\n");
    EXPECT_TRUE(words.m_pSource->Complete(u"αγ"));
    EXPECT_TRUE(words.m_pSource->Complete(u"δ")); // ahead of a text
    EXPECT_EQ(words.m_pSource->m_asked, U"αγ\nδ\n");
    EXPECT_EQ(words.m_pSource->GetMemoryUsed(), 300u);
    EXPECT_TRUE(words.m_log.Messages().empty());
}

TEST(GlyphSource, WhatItCannotMakeIsAskedForAndTracedOnce) {
    GreekText words;
    words.m_pSource->NoteLacking(0x2000);
    words.m_pSource->NoteLacking(0x2001);
    words.m_pSource->NoteLacking(0x2603);
    EXPECT_FALSE(words.m_pSource->Complete(u"é中\u00a0\u2003"));
    for (char16_t const* pText : {u"é中\u2603\u00a0\u2003", u"中\u2000é!"}) {
        words.Show(pText);
    }
    EXPECT_EQ(words.m_pSource->m_asked, U"\u00a0é\u2003中\n");
    EXPECT_EQ(words.Show(u"中é"), U"??");
    EXPECT_EQ(words.m_log.Messages(),
              (std::vector<std::string>{
                  "[kelvo] font greek.ttf cannot make the glyph of U+00A0: greek.ttf: is damaged",
                  "[kelvo] font greek.ttf cannot make the glyph of U+00E9: greek.ttf: is damaged",
                  "[kelvo] font greek.ttf has no glyph for U+4E2D",
                  "[kelvo] font greek.ttf has no glyph for U+2603"}));
    EXPECT_TRUE(words.m_pSource->Complete(u" \u2003\u2001")); // they look like the space
}

TEST(GlyphSource, WhatHasFailedIsAskedForAgainAndWhatFoundNoRoomWhenThereIsMore) {
    GreekText words;
    words.m_pSource->SetMemoryLimit(250);
    EXPECT_EQ(words.Show(u"αЖβγδ"), U"α?β??");
    EXPECT_EQ(words.Show(u"γЖ"), U"??");
    EXPECT_EQ(words.m_pSource->m_asked, U"αβγδЖ\nЖ\n");
    words.m_pSource->SetMemoryLimit(300);
    EXPECT_EQ(words.Show(u"δ"), U"δ");
    words.m_pSource->SetMemoryLimit(100);
    EXPECT_EQ(words.Show(u"ε"), U"?");
    EXPECT_EQ(words.m_pSource->GetMemoryUsed(), 300u);
    EXPECT_EQ(words.m_log.Messages(),
              (std::vector<std::string>{
                  "[kelvo] font greek.ttf has no room for the glyph of U+03B3: 200 of 250 bytes are used",
                  "[kelvo] font greek.ttf has no room for the glyph of U+03B4: 200 of 250 bytes are used",
                  "[kelvo] font greek.ttf cannot make the glyph of U+0416: memory is short",
                  "[kelvo] font greek.ttf has no room for the glyph of U+03B5: 300 of 100 bytes are used"}));
}

TEST(GlyphSource, IsOneFontsUntilThatGoesOrIsLoadedAnew) {
    Ref<SquareFont> const pFont(new SquareFont);
    Ref<SquareFont> const pOther(new SquareFont);
    Ref<GlyphSource> const pSource(new GreekSource);
    Ref<GlyphSource> const pNext(new GreekSource);
    EXPECT_FALSE(pSource->Complete(u"")); // nobody's
    ASSERT_TRUE(GlyphSource::Attach(*pFont, pSource));
    EXPECT_TRUE(GlyphSource::Attach(*pFont, pSource));
    EXPECT_FALSE(GlyphSource::Attach(*pOther, pSource));
    EXPECT_EQ(GlyphSource::Find(*pOther), nullptr);
    ASSERT_TRUE(GlyphSource::Attach(*pOther, pNext));
    EXPECT_EQ(GlyphSource::Find(*pFont), pSource);
    EXPECT_EQ(GlyphSource::Find(*pOther), pNext);
    ASSERT_TRUE(GlyphSource::Attach(*pFont, nullptr));
    EXPECT_EQ(GlyphSource::Find(*pFont), nullptr);
    EXPECT_EQ(pSource->GetReferenceCount(), 1);
    ASSERT_TRUE(GlyphSource::Attach(*pOther, pSource));
    EXPECT_EQ(pNext->GetReferenceCount(), 1);
    Ref<TestFont> pGoing(new TestFont);
    ASSERT_TRUE(GlyphSource::Attach(*pGoing, pNext));
    pGoing.Reset();
    EXPECT_EQ(pNext->GetReferenceCount(), 1);
    TestFontRegistry registry;
    Serializer serializer;
    TestFont plain;
    ASSERT_TRUE(plain.Save(serializer));
    Deserializer deserializer(serializer.Finish(), registry);
    ASSERT_TRUE(pOther->Load(deserializer));
    EXPECT_EQ(GlyphSource::Find(*pOther), nullptr);
}

TEST(GlyphSource, ATextThatIsLaidOutMeanwhileIsLaidOutAgain) {
    GreekText words;
    Ref<TestText> const pSpy = Make<TestText>("spy");
    pSpy->SetFont(words.m_pFont.Get());
    pSpy->GetTextProperty().SetValue(u"βα");
    words.m_pSource->m_pSpy = pSpy.Get();
    EXPECT_EQ(words.Show(u"α"), U"α");
    EXPECT_EQ(words.m_pSource->m_asked, U"α\n");
    words.m_pSource->m_pSpy = nullptr;
    words.m_pFont->SetKerning('a', 'b', 1);
    pSpy->UpdateLayout();
    EXPECT_EQ(pSpy->GetInstances()[0].m_pGlyph->m_nCodePoint, 0x3b2u);
}

TEST(GlyphSource, WithoutMemoryTextsShowWhatThereIsAndGetTheRestLater) {
    bool fEnough = false;
    for (unsigned int nAllocations = 0; !fEnough; ++nAllocations) {
        GreekText words;
        words.m_pText->GetTextProperty().SetValue(u"aβЖ");
        Allocation::FailAfter(nAllocations);
        words.m_pText->UpdateLayout();
        Allocation::FailNever();
        fEnough = words.m_pText->GetLayoutCount() == 1 && words.m_pFont->GetGlyph(0x3b2);
        EXPECT_TRUE(nAllocations > 3 || !fEnough) << nAllocations;
        EXPECT_EQ(words.Show(u"β"), U"β") << nAllocations;
    }
}

TEST(GlyphSource, ATextWithCharactersThatItsFontLacksAllocatesNothing) {
    GreekText words;
    words.SetBox(1);
    words.Show(u"中, 国 and more");
    std::size_t const nBefore = AllocationCount();
    for (RealFloat rWidth = 2; rWidth < 20; ++rWidth) {
        words.SetBox(rWidth);
        words.m_pText->UpdateLayout();
    }
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_EQ(words.m_pText->GetLayoutCount(), 19u);
}

} // namespace
} // namespace trevik::kelvo::test
