#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "TextTestSupport.h"

namespace trevik::kelvo::test {

/** Readable where a comparison fails. */
static std::string ToText(std::vector<std::u32string> const& lines) {
    std::string text;
    for (std::u32string const& line : lines) {
        for (char32_t codePoint : line) {
            char units[4];
            int nLength = 0;
            UTF8Encoding::PutNextChar(units, nLength, 4, static_cast<int>(codePoint));
            text.append(units, static_cast<std::size_t>(nLength));
        }
        text += '|';
    }
    return text;
}

namespace {

typedef RectangleT<RealFloat> Rectangle;
typedef std::vector<RealFloat> Reals;
typedef std::vector<std::u32string> Lines;

/** Glyphs for all code points that tests use beyond ASCII. */
void AddForeignGlyphs(SquareFont& font) {
    for (char32_t codePoint : U"\u00a0\u202f\u2013\u2014äöα日本語文字ひらがなゃッー、。「」（）！한국어"
                              U"\U00020000\U00020001\U0001F600") {
        if (codePoint != 0) {
            font.Add(codePoint);
        }
    }
}

TEST(TextLayout, LinesEndWhereTheNextWordDoesNotFit) {
    struct {
        char16_t const* m_pText;
        RealFloat m_rCharacters; ///< width of the box
        Lines m_lines;
    } const cases[] = {
        {u"the quick fox", 9, {U"the quick", U"fox"}},
        {u"the quick fox", 8, {U"the", U"quick", U"fox"}},
        {u"the quick fox", 0, {U"the quick fox"}},
        {u"the quick fox", -50, {U"the quick fox"}},
        // Spaces hang, however many, and come back in the middle of a line only.
        {u"ab    cd", 2, {U"ab", U"cd"}},
        {u"ab    cd", 8, {U"ab    cd"}},
        {u"ab cd  ", 5, {U"ab cd"}},
        {u"  ab cd", 4, {U"  ab", U"cd"}},
        {u"  abcd", 4, {U"abcd"}}, // below a line of two spaces
        {u"ab \tcd", 4, {U"ab", U"cd"}},
        {u"\tab", 3, {U"ab"}}, // below a line of a tab
        // Words wider than the box.
        {u"abcdef gh", 4, {U"abcd", U"ef", U"gh"}},
        {u"abcdef gh", 5, {U"abcde", U"f gh"}},
        {u"x abcdef", 3, {U"x", U"abc", U"def"}},
        {u"abc", 0.5f, {U"a", U"b", U"c"}},
        {u"a b", 0.5f, {U"a", U"b"}},
        // Hyphens and dashes.
        {u"well-known", 6, {U"well-", U"known"}},
        {u"well-known", 4, {U"well", U"-", U"know", U"n"}},
        {u"do--it", 4, {U"do--", U"it"}},
        {u"ab -12", 5, {U"ab", U"-12"}},
        {u"ab --out", 6, {U"ab", U"--out"}},
        {u"ab\u2014cd", 4, {U"ab\u2014", U"cd"}},
        {u"ab-\u00a0c", 4, {U"ab-\u00a0", U"c"}}, // anywhere, for lack of a better place
        // Zero-width space, word joiner, no-break spaces.
        {u"abcd\u200befgh", 6, {U"abcd", U"efgh"}},
        {u"abcd\u200befgh", 8, {U"abcdefgh"}},
        {u"a b\u00a0c d", 4, {U"a", U"b\u00a0c", U"d"}},
        {u"a b\u202fc d", 4, {U"a", U"b\u202fc", U"d"}},
        {u"x 日\u2060本", 3, {U"x", U"日本"}},
        {u"\u200babc", 2, {U"ab", U"c"}}, // no line of nothing
        // Ideographs and kana, and what stays with them.
        {u"日本語文字", 2, {U"日本", U"語文", U"字"}},
        {u"ひらがな", 3, {U"ひらが", U"な"}},
        {u"日本、語", 2, {U"日", U"本、", U"語"}},
        {u"日「本」語", 2, {U"日", U"「本", U"」語"}}, // 「本」 is too wide
        {u"日「本」語", 4, {U"日「本」", U"語"}},
        {u"日ひゃが", 2, {U"日", U"ひゃ", U"が"}},
        {u"がッー日", 3, {U"がッー", U"日"}},
        {u"a日本", 2, {U"a日", U"本"}},
        {u"日ab本", 3, {U"日ab", U"本"}}, // for lack of a better place
        {u"x \U00020000\U00020001", 3, {U"x \U00020000", U"\U00020001"}},
        {u"한국어 한국", 4, {U"한국어", U"한국"}},
        // Invisible marks between a word's letters do not divide it.
        {u"x ab\u200dcd", 5, {U"x", U"abcd"}},
        {u"日\u00ad本", 1, {U"日", U"本"}},
    };
    for (auto const& test : cases) {
        SquareText text(test.m_pText);
        AddForeignGlyphs(*text.m_pFont);
        text.SetBox(10 * test.m_rCharacters);
        EXPECT_EQ(ToText(text.GetLines()), ToText(test.m_lines))
            << String8(String16(test.m_pText)).GetData() << " in " << test.m_rCharacters;
    }
}

TEST(TextLayout, WithoutWordWrapOnlyLineEndsEndLines) {
    SquareText text(u"the quick\nfox");
    text.SetBox(30);
    text.m_pText->GetWordWrapProperty().SetValue(false);
    EXPECT_EQ(text.GetLines(), (Lines{U"the quick", U"fox"}));
}

TEST(TextLayout, ABoxAsWideAsTheTextTakesIt) {
    // Font pixels and node units are worlds apart, so that the width is rounded on its way there and back.
    for (int nSize = 1; nSize < 200; ++nSize) {
        RealFloat const rFontSize = static_cast<RealFloat>(nSize) / 7;
        SquareText text(u"words to be measured and then to be laid out now");
        text.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(rFontSize, rFontSize));
        RealFloat const rWidth = text.GetRectangle().GetWidth();
        text.SetBox(rWidth);
        EXPECT_EQ(text.GetLines().size(), 1u) << rFontSize;
        text.SetBox(rWidth * RealFloat(0.995));
        EXPECT_EQ(text.GetLines().size(), 2u) << rFontSize;
    }
}

TEST(TextLayout, TabsGoOnHoweverTheirWidthIsRounded) {
    for (int nWidth = 1; nWidth < 200; ++nWidth) {
        RealFloat const rWidth = static_cast<RealFloat>(nWidth) / 7 + 1;
        SquareText text(u"\t\t\t\t\t\t\t\t\t\t\t\ta");
        text.m_pText->GetTabWidthProperty().SetValue(rWidth);
        EXPECT_NEAR(text.GetPens().at(0), 12 * rWidth, 0.51);
    }
    SquareText text(u"a\tb");
    text.m_pText->GetTabWidthProperty().SetValue(RealFloat(1e-40));
    EXPECT_EQ(text.GetPens(), (Reals{0, 10}));
}

TEST(TextLayout, WhatTakesNoRoomNeitherMakesNorEndsALine) {
    for (char16_t const* pText : {u"\u200babc", u"\u200b\u2060abc", u"ab\u0301c\u0301", u"ab\u200b\u200bc"}) {
        SquareText text(pText);
        text.m_pFont->Add(SquareFont::MakeSquare(0x301, 0));
        text.SetBox(20);
        EXPECT_EQ(text.GetLines().size(), 2u);
        EXPECT_EQ(text.m_pText->GetLineCount(), 2u);
        text.SetBox(5);
        EXPECT_EQ(text.GetLines().size(), 3u) << "marks stay with letters that are too wide themselves";
        EXPECT_EQ(text.m_pText->GetLineCount(), 3u);
    }
}

TEST(TextLayout, LinesEndAtLineFeedsAndSeparators) {
    struct {
        char16_t const* m_pText;
        unsigned int m_nLines;
        Reals m_baselines;
    } const cases[] = {
        {u"", 0, {}},
        {u"a", 1, {-8}},
        {u"a\nb", 2, {-8, -18}},
        {u"a\r\nb", 2, {-8, -18}},
        {u"a\u2028b\u2029c", 3, {-8, -18, -28}},
        {u"a\rb", 1, {-8}},
        {u"\n\na\n\nb", 5, {-28, -48}},
        {u"a\n", 2, {-8}},
        {u"\n", 2, {}},
        {u"   ", 1, {}},
        {u"\u200b", 1, {}},
    };
    for (auto const& test : cases) {
        SquareText text(test.m_pText);
        EXPECT_EQ(text.GetBaselines(), test.m_baselines) << test.m_nLines;
        EXPECT_EQ(text.m_pText->GetLineCount(), test.m_nLines);
    }
}

TEST(TextLayout, WhatTheFontLacksShowsItsReplacement) {
    struct {
        char16_t const* m_pText;
        std::u32string m_shown;
    } const cases[] = {
        {u"aéb", U"a\ufffdb"},
        {u"a\U0001F600b", U"a\U0001F600b"},
        {u"a\U0001F601b", U"a\ufffdb"},
        // Halves of surrogate pairs.
        {u"a\xd83d", U"a\ufffd"},
        {u"\xde00", U"\ufffd"},
        {u"\xde00\xd83d", U"\ufffd\ufffd"},
        {u"a\xd83d\xd83d\xde00", U"a\ufffd\U0001F600"},
        // What shows nothing anyway, and spaces.
        {u"a\x01\x1b\x7f\x85\u200e\ufe0f!", U"a!"},
        {u"a\u2003b\u00a0c\u3000d", U"a b c d"},
    };
    for (auto const& test : cases) {
        SquareText text(test.m_pText);
        text.m_pFont->Add(0x1f600);
        std::u32string questions = test.m_shown;
        std::replace(questions.begin(), questions.end(), U'\ufffd', U'?');
        EXPECT_EQ(ToText(text.GetLines()), ToText({questions}));
        text.m_pFont->Add(0xfffd);
        EXPECT_EQ(ToText(text.GetLines()), ToText({test.m_shown}));
    }
    SquareText text(u"aé b");
    Ref<TestFont> const pLetters(new TestFont); // with neither of them, and without a space
    pLetters->AddGlyph(*text.m_pFont->GetGlyph('a'));
    pLetters->AddGlyph(*text.m_pFont->GetGlyph('b'));
    text.m_pText->SetFont(pLetters.Get());
    EXPECT_EQ(text.GetPens(), (Reals{0, 10}));
}

TEST(TextLayout, LinesStandWhereTheyAreAligned) {
    struct {
        char16_t const* m_pText;
        int m_nAlignment;
        RealFloat m_rWidth;
        Reals m_starts;
    } const cases[] = {
        // 30, 30 and 20 wide.
        {u"abc   def  \ngh", HorizontalAlignment::Left, 55, {0, 0, 0}},
        {u"abc   def  \ngh", HorizontalAlignment::Center, 55, {13, 13, 18}}, // 12.5 and 17.5, rounded
        {u"abc   def  \ngh", HorizontalAlignment::Right, 55, {25, 25, 35}},
        {u"abc   def  \ngh", HorizontalAlignment::Justify, 55, {0, 0, 0}},
        {u"abc   def  \ngh", 99, 55, {0, 0, 0}},
        // Without a box.
        {u"abc def\ngh", HorizontalAlignment::Left, 0, {0, 0}},
        {u"abc def\ngh", HorizontalAlignment::Center, 0, {-35, -10}},
        {u"abc def\ngh", HorizontalAlignment::Right, 0, {-70, -20}},
        {u"abc def\ngh", HorizontalAlignment::Justify, 0, {0, 0}},
        // In a box that is too narrow.
        {u"a\ngh", HorizontalAlignment::Center, 5, {-2, -2, -2}}, // -2.5, rounded up
        {u"a\ngh", HorizontalAlignment::Right, 5, {-5, -5, -5}},
    };
    for (auto const& test : cases) {
        SquareText text(test.m_pText);
        text.SetBox(test.m_rWidth);
        text.m_pText->GetHorizontalAlignmentProperty().SetValue(test.m_nAlignment);
        EXPECT_EQ(text.GetStarts(), test.m_starts) << test.m_nAlignment << " in " << test.m_rWidth;
    }
}

TEST(TextLayout, JustifiedLinesFillTheBoxButForAParagraphsLast) {
    SquareText text(u"ab cd ef gh ij\nk l");
    text.SetBox(91);
    text.m_pText->GetHorizontalAlignmentProperty().SetValue(HorizontalAlignment::Justify);
    // "ab cd ef" is 80 wide: 5.5 more for each space, and pens on whole pixels.
    EXPECT_EQ(text.GetPens(), (Reals{0, 10, 20, 36, 46, 56, 71, 81, /**/ 0, 10, 20, 30, 40, /**/ 0, 10, 20}));
    EXPECT_EQ(text.GetRectangle(), Rectangle(0, -30, 91, 0));
    // Without spaces a line stays as it is, and so does what is before a tab.
    text.m_pText->GetTextProperty().SetValue(u"abcdefgh xxxxx");
    EXPECT_EQ(text.GetRectangle(), Rectangle(0, -20, 80, 0));
    text.m_pText->GetTextProperty().SetValue(u"a b\tc d xxxxx");
    EXPECT_EQ(text.GetPens(), (Reals{0, 10, 20, 40, 50, 81, /**/ 0, 10, 20, 30, 40}));
}

TEST(TextLayout, TheBlockOfLinesStandsWhereItIsAligned) {
    struct {
        int m_nAlignment;
        RealFloat m_rHeight;
        RealFloat m_rLineSpacing;
        Reals m_baselines;
    } const cases[] = {
        // The font has a leading of 4 here: 14 from baseline to baseline, 38 in all.
        {VerticalAlignment::Top, 0, 1, {-8, -22, -36}},
        {VerticalAlignment::Top, 100, 1, {92, 78, 64}},
        {VerticalAlignment::Middle, 0, 1, {11, -3, -17}},
        {VerticalAlignment::Middle, 100, 1, {61, 47, 33}},
        {VerticalAlignment::Bottom, 0, 1, {30, 16, 2}},
        {VerticalAlignment::Bottom, 100, 1, {30, 16, 2}},
        {VerticalAlignment::Baseline, 0, 1, {0, -14, -28}},
        {VerticalAlignment::Baseline, 100, 1, {0, -14, -28}},
        {VerticalAlignment::Top, 0, 2, {-8, -36, -64}},
        {VerticalAlignment::Top, 0, RealFloat(1.25), {-8, -25, -43}}, // 17.5, each rounded
        {VerticalAlignment::Bottom, 0, RealFloat(0.5), {16, 9, 2}},
        {-1, 100, 1, {92, 78, 64}},
    };
    for (auto const& test : cases) {
        SquareText text(u"a\nb\nc");
        FontMetrics metrics = text.m_pFont->GetMetrics();
        metrics.m_rLeading = 4;
        text.m_pFont->SetMetrics(metrics);
        text.SetBox(0, test.m_rHeight);
        text.m_pText->GetVerticalAlignmentProperty().SetValue(test.m_nAlignment);
        text.m_pText->GetLineSpacingProperty().SetValue(test.m_rLineSpacing);
        EXPECT_EQ(text.GetBaselines(), test.m_baselines)
            << test.m_nAlignment << " in " << test.m_rHeight << " by " << test.m_rLineSpacing;
    }
}

TEST(TextLayout, ThePenMovesByAdvancesSpacingKerningAndTabs) {
    struct {
        char16_t const* m_pText;
        RealFloat m_rLetterSpacing;
        RealFloat m_rTabWidth;
        bool m_fKerning;
        Reals m_pens;
    } const cases[] = {
        {u"abc", 0, 0, true, {0, 10, 20}},
        {u"abc", 3, 0, true, {0, 13, 26}},
        {u"abc", RealFloat(0.25), 0, true, {0, 10, 21}}, // 10.25, 20.5
        {u"abc", -10, 0, true, {0, 0, 0}},
        // Kerning of "AV" is -3, of "VA" 2; a line that begins with one of the two has none.
        {u"AVA", 0, 0, true, {0, 7, 19}},
        {u"AVA", 0, 0, false, {0, 10, 20}},
        {u"A\nVA", 0, 0, true, {0, /**/ 0, 12}},
        {u"A\tV", 0, 0, true, {0, 40}},
        {u"A\u200dV", 0, 0, true, {0, 7}},
        // Four ems are 40 pixels.
        {u"\ta", 0, 0, true, {40}},
        {u"abc\td", 0, 0, true, {0, 10, 20, 40}},
        {u"abcd\te", 0, 0, true, {0, 10, 20, 30, 80}},
        {u"a\t\tb", 0, 0, true, {0, 80}},
        {u"a\tb", 0, 25, true, {0, 25}},
        {u"a\tb", 0, RealFloat(7.5), true, {0, 15}},
        {u"a\tb", 0, -25, true, {0, 40}},
        {u"a\tb\n\tc", 0, 25, true, {0, 25, /**/ 25}},
        {u"a\tb", 3, 25, true, {0, 25}},
        // A mark without an advance moves nothing, whatever the spacing.
        {u"a\u0301b", 5, 0, true, {0, 15, 15}},
    };
    for (auto const& test : cases) {
        SquareText text(test.m_pText);
        text.m_pFont->Add(SquareFont::MakeSquare(0x301, 0));
        text.m_pFont->SetKerning('A', 'V', -3);
        text.m_pFont->SetKerning('V', 'A', 2);
        text.m_pText->GetLetterSpacingProperty().SetValue(test.m_rLetterSpacing);
        text.m_pText->GetTabWidthProperty().SetValue(test.m_rTabWidth);
        text.m_pText->GetKerningProperty().SetValue(test.m_fKerning);
        EXPECT_EQ(text.GetPens(), test.m_pens)
            << String8(String16(test.m_pText)).GetData() << " spaced by " << test.m_rLetterSpacing;
    }
}

TEST(TextLayout, KerningCountsWhereWordsHaveToFit) {
    SquareText text(u"A VA");
    text.m_pFont->SetKerning('V', 'A', -2);
    text.SetBox(38);
    EXPECT_EQ(text.GetLines().size(), 1u);
    text.m_pText->GetKerningProperty().SetValue(false);
    EXPECT_EQ(text.GetLines().size(), 2u);
}

TEST(TextLayout, ATabsStopDoesNotMoveWithTheLinesStart) {
    SquareText text(u"a\tb");
    text.SetBox(100);
    text.m_pText->GetHorizontalAlignmentProperty().SetValue(HorizontalAlignment::Right);
    EXPECT_EQ(text.GetPens(), (Reals{50, 90}));
}

TEST(TextLayout, NodeUnitsBecomeFontPixels) {
    struct {
        SizeT<RealFloat> m_fontSize;
        RealFloat m_rFactor; ///< the font's own
        RealFloat m_rPixelWidth;
        RealFloat m_rPixelHeight;
    } const cases[] = {
        {{0, 0}, 1, 1, 1},
        {{0, 0}, RealFloat(0.5), RealFloat(0.5), RealFloat(0.5)},
        {{20, 40}, RealFloat(0.5), 2, 4},
        {{5, 0}, 4, RealFloat(0.5), 4},
        {{-5, -5}, 4, 4, 4},
        {{10, 10}, 4, 1, 1},
        {{0, 0}, 0, 1, 1},
        {{std::numeric_limits<RealFloat>::infinity(), std::nanf("")}, 4, 1, 4},
    };
    for (auto const& test : cases) {
        SquareText text(u"ab c\n\td");
        FontMetrics metrics = text.m_pFont->GetMetrics();
        metrics.m_rScaleFactorX = test.m_rFactor;
        metrics.m_rScaleFactorY = test.m_rFactor;
        text.m_pFont->SetMetrics(metrics);
        RealFloat const w = test.m_rPixelWidth;
        RealFloat const h = test.m_rPixelHeight;
        text.m_pText->GetFontSizeProperty().SetValue(test.m_fontSize);
        text.SetBox(39 * w, 50 * h);
        text.m_pText->GetLetterSpacingProperty().SetValue(2 * w);
        text.m_pText->GetTabWidthProperty().SetValue(7 * w);
        EXPECT_EQ(text.GetPens(), (Reals{0, 12, /**/ 0, /**/ 7})) << w;
        EXPECT_EQ(text.GetBaselines(), (Reals{42, 32, 22})) << h;
        EXPECT_EQ(text.GetRectangle(), Rectangle(0, 20 * h, 24 * w, 50 * h)) << w;
    }
}

TEST(TextLayout, ItsBoundsSpanLinesAndGlyphs) {
    SquareText text(u"ab  \n\nc");
    EXPECT_EQ(text.GetRectangle(), Rectangle(0, -30, 20, 0)) << "three lines, without hanging spaces";
    // Glyphs that reach further: below the descent, above the ascent, to both sides.
    Glyph large = SquareFont::MakeSquare('c');
    large.m_nWidth = 100;
    large.m_nHeight = 50;
    large.m_nOffsetX = -7;
    large.m_nOffsetY = 11;
    text.m_pFont->Add(large);
    EXPECT_EQ(text.GetRectangle(), Rectangle(-7, -39, 93, 11));
    text.m_pText->GetTextProperty().SetValue(u" \n \n");
    EXPECT_EQ(text.GetRectangle(), Rectangle());
    // A pen that goes backwards.
    text.m_pText->GetTextProperty().SetValue(u"abab");
    text.m_pText->GetLetterSpacingProperty().SetValue(-20);
    EXPECT_EQ(text.GetRectangle(), Rectangle(-40, -10, 9, 0));
}

TEST(TextLayout, MakesOneBatchOfEachPageInTheOrderOfTheirFirstGlyphs) {
    SquareText text(u"xayb zax");
    for (char16_t letter : u"xyz") {
        if (letter != 0) {
            text.m_pFont->Add(SquareFont::MakeSquare(letter), letter == u'z' ? 2 : 1);
        }
    }
    text.m_pText->UpdateLayout();
    std::vector<std::string> batches;
    for (GlyphBatch const& batch : text.m_pText->GetBatches()) {
        batches.emplace_back();
        for (unsigned int n = batch.m_nFirst; n < batch.m_nFirst + batch.m_nCount; ++n) {
            batches.back() += static_cast<char>(text.m_pText->GetInstances()[n].m_pGlyph->m_nCodePoint);
        }
    }
    EXPECT_EQ(batches, (std::vector<std::string>{"xyx", "ab a", "z"}));
}

TEST(TextLayout, PictureGlyphsHaveBatchesOfTheirOwn) {
    SquareText text(u"a:b;:c");
    for (char16_t letter : {u':', u';'}) { // on the letters' page, and on one of its own
        Glyph picture = SquareFont::MakeSquare(letter);
        picture.m_fImage = true;
        text.m_pFont->Add(picture, letter == u':' ? 0 : 1);
    }
    text.m_pText->UpdateLayout();
    List<GlyphBatch> const& batches = text.m_pText->GetBatches();
    ASSERT_EQ(batches.GetCount(), 3u);
    EXPECT_EQ(batches[0].m_nCount, 3u);
    EXPECT_EQ(batches[1].m_nCount, 2u);
    EXPECT_EQ(batches[2].m_nCount, 1u);
}

TEST(TextLayout, GlyphsThatShowNothingAreLeftOutUnlessTheyAreUnderlined) {
    SquareText text(u"  a b  \nc ");
    Glyph blank = SquareFont::MakeSquare(' ');
    blank.m_nWidth = 0;
    blank.m_nHeight = 0;
    text.m_pFont->AddGlyph(blank);
    text.m_pText->UpdateLayout();
    EXPECT_EQ(text.m_pText->GetInstances().GetCount(), 3u);
    text.m_pFont->GetUnderlineProperty().SetValue(true);
    EXPECT_EQ(text.GetLines(), (Lines{U"  a b", U"c"})) << "but for those that hang";
    ASSERT_EQ(text.m_pText->GetBatches().GetCount(), 1u);
    EXPECT_EQ(text.m_pText->GetBatches()[0].m_nCount, 6u);
    EXPECT_TRUE(text.m_pText->GetInstances()[0].m_pGlyph->m_pTexture) << "tells the batch's texture";
    text.m_pText->GetTextProperty().SetValue(u"   ");
    text.m_pText->UpdateLayout();
    EXPECT_TRUE(text.m_pText->GetBatches().IsEmpty());
    // With a size and no texture of its own it would show a piece of the letter's.
    text.m_pFont->AddGlyph(SquareFont::MakeSquare('-'));
    text.m_pText->GetTextProperty().SetValue(u"-a -");
    text.m_pText->UpdateLayout();
    EXPECT_EQ(text.m_pText->GetInstances().GetCount(), 2u) << "the letter and the blank";
    // Pictures are not underlined: the blank is drawn with the letter, which comes later.
    Glyph picture = SquareFont::MakeSquare(':');
    picture.m_fImage = true;
    text.m_pFont->Add(picture, 1);
    text.m_pText->GetTextProperty().SetValue(u": :a");
    text.m_pText->UpdateLayout();
    ASSERT_EQ(text.m_pText->GetBatches().GetCount(), 2u);
    EXPECT_EQ(text.m_pText->GetBatches()[0].m_nCount, 2u);
    EXPECT_EQ(text.m_pText->GetBatches()[1].m_nCount, 2u);
    text.m_pText->GetTextProperty().SetValue(u": :");
    text.m_pText->UpdateLayout();
    EXPECT_EQ(text.m_pText->GetInstances().GetCount(), 2u);
}

TEST(TextLayout, HasRoomForAsManyPagesAsThereAreGlyphs) {
    SquareText text;
    String16 sText;
    for (unsigned int n = 0; n < 300; ++n) {
        text.m_pFont->Add(SquareFont::MakeSquare(0x4e00 + n), n);
        char16_t const letter = static_cast<char16_t>(0x4e00 + n);
        sText.Append(&letter, 1);
    }
    String16 const sOnce = sText;
    sText.Append(sOnce.GetData(), sOnce.GetLength());
    text.m_pText->GetTextProperty().SetValue(sText);
    for (int nTime = 0; nTime < 2; ++nTime) {
        text.m_pText->UpdateLayout();
        List<GlyphBatch> const& batches = text.m_pText->GetBatches();
        ASSERT_EQ(batches.GetCount(), 300u);
        for (unsigned int n = 0; n < 300; ++n) {
            EXPECT_EQ(batches[n].m_nCount, 2u);
            EXPECT_EQ(text.m_pText->GetInstances()[batches[n].m_nFirst + 1].m_pGlyph->m_nCodePoint,
                      0x4e00 + n);
        }
        text.m_pText->GetLetterSpacingProperty().SetValue(1);
    }
}

/** Whatever comes, each character is shown once, in order, where it fits, in batches without gaps. */
TEST(TextLayout, LosesAndDoublesNothing) {
    std::mt19937 random(20817);
    auto const pick = [&random](unsigned int nCount) { return static_cast<unsigned int>(random() % nCount); };
    char16_t const alphabet[] = u"ab- \tn\n\u00a0\u200b日。「が\u2060:";
    for (int nRound = 0; nRound < 400; ++nRound) {
        SquareText text;
        AddForeignGlyphs(*text.m_pFont);
        text.m_pFont->Add(SquareFont::MakeSquare('b'), 1);
        text.m_pFont->SetKerning('a', 'b', -1);
        std::u16string sText;
        std::u32string shown;
        for (unsigned int n = pick(60); n > 0; --n) {
            char16_t const letter = alphabet[pick(sizeof(alphabet) / sizeof(alphabet[0]) - 1)];
            sText += letter;
            if (std::u16string(u" \t\n\u200b\u2060").find(letter) == std::u16string::npos) {
                shown += letter;
            }
        }
        RealFloat const rWidth = static_cast<RealFloat>(pick(80));
        text.SetBox(rWidth);
        text.m_pText->GetHorizontalAlignmentProperty().SetValue(static_cast<int>(pick(4)));
        text.m_pText->GetTextProperty().SetValue(
            String16(sText.data(), static_cast<unsigned int>(sText.size())));
        std::u32string found;
        for (std::u32string const& line : text.GetLines()) {
            std::size_t nShown = 0;
            for (char32_t letter : line) {
                if (letter != U' ') {
                    found += letter;
                    ++nShown;
                }
            }
            EXPECT_TRUE(rWidth == 0 || nShown <= 1 ||
                        static_cast<RealFloat>(line.size()) * 10 - static_cast<RealFloat>(nShown) <=
                            rWidth + 1)
                << ToText({line}) << " in " << rWidth;
        }
        EXPECT_EQ(ToText({found}), ToText({shown})) << rWidth;
        unsigned int nNext = 0;
        for (GlyphBatch const& batch : text.m_pText->GetBatches()) {
            EXPECT_EQ(batch.m_nFirst, nNext);
            EXPECT_GT(batch.m_nCount, 0u);
            nNext += batch.m_nCount;
        }
        EXPECT_EQ(nNext, text.m_pText->GetInstances().GetCount());
    }
}

TEST(TextLayout, NumbersThatAreNoneDoNotGetIn) {
    for (RealFloat rBad :
         {std::nanf(""), std::numeric_limits<RealFloat>::infinity(),
          -std::numeric_limits<RealFloat>::infinity(), RealFloat(3e38), RealFloat(-3e38), RealFloat(1e-44)}) {
        SquareText text(u"ab\tcd ef\ngh");
        text.SetBox(rBad, rBad);
        text.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(rBad, rBad));
        text.m_pText->GetLetterSpacingProperty().SetValue(rBad);
        text.m_pText->GetLineSpacingProperty().SetValue(rBad);
        text.m_pText->GetTabWidthProperty().SetValue(rBad);
        FontMetrics metrics;
        metrics.m_rXPixelsPerEm = rBad;
        metrics.m_rAscent = rBad;
        metrics.m_rDescent = rBad;
        metrics.m_rScaleFactorX = rBad;
        for (bool fMetrics : {false, true}) {
            if (fMetrics) {
                text.m_pFont->SetMetrics(metrics);
            }
            for (int nAlignment = 0; nAlignment < 4; ++nAlignment) {
                text.m_pText->GetHorizontalAlignmentProperty().SetValue(nAlignment);
                text.m_pText->GetVerticalAlignmentProperty().SetValue(nAlignment);
                for (SquareText::Placed const& glyph : text.GetPlaced()) {
                    EXPECT_TRUE(std::isfinite(glyph.m_rPen)) << rBad;
                    EXPECT_TRUE(std::isfinite(glyph.m_rBaseline)) << rBad;
                }
            }
        }
    }
}

} // namespace
} // namespace trevik::kelvo::test
