#include "TextTestSupport.h"
#include "kelvo_test/AllocationCounter.h"
#include "kelvo_test/TestFonts.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace trevik::kelvo::test {
namespace {

typedef ColorT<RealFloat> Color;
typedef RectangleT<RealFloat> Bounds;

/** Draws texts itself, when told to. */
class TextEffect : public TestEffect {
public:
    bool m_fDraws = false;
    unsigned int m_nOffers = 0;

    bool OverrideDrawText(GraphicsDevice&, Text&) override {
        ++m_nOffers;
        return m_fDraws;
    }
};

TEST(Text, TheFirstEffectThatDrawsItDrawsItAlone) {
    SquareText words(u"a");
    Ref<TextEffect> const effects[3] = {Ref(new TextEffect), Ref(new TextEffect), Ref(new TextEffect)};
    for (Ref<TextEffect> const& pEffect : effects) {
        words.m_pText->AddEffect(pEffect.Get());
    }
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_device.m_calls.size(), 1u) << "none of them draws it";
    effects[1]->m_fDraws = true;
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_device.m_calls.size(), 1u);
    EXPECT_EQ(effects[1]->m_nOffers, 2u);
    EXPECT_EQ(effects[2]->m_nOffers, 1u) << "not asked any more";
}

TEST(Text, ItsCornersHaveTheirColoursWithoutANewLayout) {
    SquareText words(u"ab");
    TestText& text = *words.m_pText;
    text.GetColorProperty().SetValue(Color(1, RealFloat(0.5), 1, RealFloat(0.5)));
    text.Update(words.m_device, 0);
    ColorProperty* const properties[4] = {&text.GetBottomLeftColorProperty(), &text.GetTopLeftColorProperty(),
                                          &text.GetBottomRightColorProperty(),
                                          &text.GetTopRightColorProperty()};
    Elsewhere<Color> elsewhere;
    for (int n = 0; n < 4; ++n) {
        auto const expect = [&](Color const& color) {
            text.Update(words.m_device, 0);
            ASSERT_EQ(text.GetInstances().GetCount(), 2u);
            for (GlyphInstance const& instance : text.GetInstances()) {
                EXPECT_EQ(instance.m_colors[n], color) << "corner " << n;
            }
        };
        properties[n]->SetValue(Color(RealFloat(0.5), 1, RealFloat(0.25), RealFloat(0.5)));
        expect(Color(RealFloat(0.5), RealFloat(0.5), RealFloat(0.25), RealFloat(0.25)));
        properties[n]->Bind(&elsewhere);
        for (RealFloat r : {RealFloat(0.25), RealFloat(0.75)}) { // seen at each update
            elsewhere.m_value = Color(r, r, r, r);
            expect(Color(r, r / 2, r, r / 2));
        }
        properties[n]->Bind(nullptr);
        expect(Color(RealFloat(0.5), RealFloat(0.5), RealFloat(0.25), RealFloat(0.25)));
    }
    EXPECT_EQ(text.GetLayoutCount(), 1u);
}

/** How many layouts an update makes. */
unsigned int Update(SquareText& words) {
    unsigned int const nBefore = words.m_pText->GetLayoutCount();
    words.m_pText->Update(words.m_device, 0);
    words.m_pText->Render(words.m_device);
    return words.m_pText->GetLayoutCount() - nBefore;
}

/** Expects one new layout when a property changes, or, unheard, a value that it is bound to. */
template <class T>
void ExpectFollowed(SquareText& words, BaseProperty<T>& property, T const& value) {
    Elsewhere<T> elsewhere;
    elsewhere.m_value = property.GetValue();
    property.SetValue(value);
    EXPECT_EQ(Update(words), 1u);
    property.SetValue(value);
    EXPECT_EQ(Update(words), 0u);
    property.Bind(&elsewhere);
    EXPECT_EQ(Update(words), 1u);
    elsewhere.m_value = value;
    EXPECT_EQ(Update(words), 1u);
    EXPECT_EQ(Update(words), 0u);
    property.Bind(nullptr);
}

TEST(Text, IsLaidOutWhenSomethingThatItDependsOnHasChanged) {
    SquareText words(u"some words");
    Text& text = *words.m_pText;
    EXPECT_EQ(Update(words), 1u);
    ExpectFollowed<String16>(words, text.GetTextProperty(), u"other words");
    ExpectFollowed(words, text.GetBoxProperty(), SizeT<RealFloat>(60, 0));
    ExpectFollowed(words, text.GetFontSizeProperty(), SizeT<RealFloat>(20, 20));
    ExpectFollowed(words, text.GetHorizontalAlignmentProperty(), 1);
    ExpectFollowed(words, text.GetVerticalAlignmentProperty(), 1);
    ExpectFollowed(words, text.GetWordWrapProperty(), false);
    ExpectFollowed(words, text.GetKerningProperty(), false);
    ExpectFollowed(words, text.GetLineSpacingProperty(), RealFloat(2));
    ExpectFollowed(words, text.GetLetterSpacingProperty(), RealFloat(2));
    ExpectFollowed(words, text.GetTabWidthProperty(), RealFloat(2));
    struct {
        char const* m_pName;
        std::function<void()> m_change;
        unsigned int m_nLayouts;
    } const cases[] = {
        {"a glyph", [&] { words.m_pFont->Add(SquareFont::MakeSquare('w', 11)); }, 1},
        {"the font's kerning", [&] { words.m_pFont->SetKerning('o', 'r', 2); }, 1},
        {"the font's measures", [&] { words.m_pFont->SetMetrics(FontMetrics()); }, 1},
        {"underlining", [&] { words.m_pFont->GetUnderlineProperty().SetValue(true); }, 1},
        {"the same font", [&] { text.SetFont(words.m_pFont.Get()); }, 0},
        {"another font", [&] { text.SetFont(new SquareFont); }, 1},
    };
    for (auto const& test : cases) {
        test.m_change();
        EXPECT_EQ(Update(words), test.m_nLayouts) << test.m_pName;
        EXPECT_EQ(Update(words), 0u) << test.m_pName;
    }
    Animate<SizeT<RealFloat>>(text.GetBoxProperty(), 1, {{0, 0}, {30, 0}});
    text.GetWordWrapProperty().SetValue(true);
    text.Update(words.m_device, 1);
    EXPECT_EQ(text.GetLineCount(), 1u);
    text.Update(words.m_device, 2);
    EXPECT_GT(text.GetLineCount(), 1u);
}

TEST(Text, TellsWhenItsRectangleHasChanged) {
    typedef std::vector<SizeT<RealFloat>> Sizes;
    SquareText words(u"ab");
    Sizes sizes;
    words.m_pText->GetRenderSizeProperty().GetChangeEvent().Connect(
        [&sizes](SizeT<RealFloat> const& size) { sizes.push_back(size); });
    auto const update = [&] {
        sizes.clear();
        words.m_pText->Update(words.m_device, 0);
        return sizes;
    };
    EXPECT_EQ(update(), Sizes({{20, 10}}));
    EXPECT_EQ(update(), Sizes());
    words.m_pText->GetTextProperty().SetValue(u"cd");
    EXPECT_EQ(update(), Sizes()) << "as large as before, at the same place";
    words.m_pText->GetHorizontalAlignmentProperty().SetValue(HorizontalAlignment::Right);
    EXPECT_EQ(update(), Sizes({{20, 10}})) << "at another place";
    words.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(20, 30));
    EXPECT_EQ(update(), Sizes({{40, 30}}));
    EXPECT_EQ(words.GetRectangle(), Bounds(-40, -30, 0, 0));
    words.m_pText->SetFont(nullptr);
    EXPECT_EQ(update(), Sizes({{0, 0}}));
    EXPECT_EQ(words.m_pText->GetLineCount(), 0u);
}

TEST(Text, IsSelectedWithinItsBounds) {
    SquareText words(u"abcd");
    words.m_pText->GetFontSizeProperty().SetValue(SizeT<RealFloat>(5, 20));
    words.m_pText->Update(words.m_device, 0);
    for (RealFloat x : {RealFloat(-1), RealFloat(5), RealFloat(21)}) {
        List<SelectionPoint> const hits = Select(words.m_device, *words.m_pText, Vector2(x, -15));
        ASSERT_EQ(hits.GetCount(), x == 5 ? 1u : 0u) << x;
        if (x == 5) {
            EXPECT_NEAR(hits[0].m_position.x, 0.25, 1e-5);
            EXPECT_NEAR(hits[0].m_position.y, 0.25, 1e-5);
        }
    }
}

TEST(Text, ACopyGoesItsOwnWay) {
    SquareText words(u"hello");
    words.m_pText->Update(words.m_device, 0);
    Ref<Node> const pCopy(words.m_pText->Clone());
    words.m_pText->GetTextProperty().SetValue(u"hi");
    pCopy->Update(words.m_device, 0);
    EXPECT_EQ(static_cast<TestText&>(*pCopy).GetInstances().GetCount(), 5u);
}

TEST(Text, ItsGlyphsAreGoneWithTheirFont) {
    SquareText words(u"abc");
    words.m_pText->Update(words.m_device, 0);
    Ref<SquareFont> const pOther(new SquareFont);
    words.m_pText->SetFont(pOther.Get());
    words.m_pFont.Reset(); // the glyphs before are no more
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_device.m_calls.size(), 1u);
    words.m_pText->SetFont(nullptr);
    words.m_pText->SetFont(pOther.Get()); // the one that the glyphs dropped meanwhile were of
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_device.m_calls.size(), 2u);
    words.m_pText->SetFont(nullptr);
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.GetRectangle(), Bounds());
}

TEST(Text, WithoutMemoryItKeepsTheLayoutThatItHas) {
    for (bool fFontChanges : {false, true}) {
        bool fEnough = false;
        for (unsigned int nAllocations = 0; !fEnough; ++nAllocations) {
            SquareText words(u"ab");
            TestText& text = *words.m_pText;
            words.m_pFont->Add(SquareFont::MakeSquare('b'), 1);
            text.Update(words.m_device, 0);
            text.GetTextProperty().SetValue(u"words of several pages, ab, one letter each line");
            words.SetBox(1);
            Color const red(1, 0, 0, 1);
            text.GetColorProperty().SetValue(red);
            if (fFontChanges) {
                words.m_pFont->SetKerning('a', 'b', 1);
            }
            TraceLog log;
            Allocation::FailAfter(nAllocations);
            text.UpdateLayout();
            fEnough = text.GetLayoutCount() == 2;
            Allocation::FailNever();
            EXPECT_TRUE(nAllocations > 4 || !fEnough);
            if (!fEnough) {
                EXPECT_EQ(text.GetInstances().GetCount(), fFontChanges ? 0u : 2u);
                EXPECT_EQ(text.GetBatches().GetCount(), fFontChanges ? 0u : 2u);
                EXPECT_EQ(text.GetLineCount(), fFontChanges ? 0u : 1u);
                EXPECT_TRUE(fFontChanges || text.GetInstances()[0].m_colors[0] == red);
            }
            text.Render(words.m_device); // with memory again
            EXPECT_EQ(words.GetRectangle(), Bounds(0, -400, 10, 0)) << nAllocations;
        }
    }
}

TEST(Text, WithoutMemoryForALayoutItSaysSoOnce) {
    SquareText words(u"some words");
    TraceLog log;
    for (std::size_t nTime = 1; nTime < 3; ++nTime) {
        Allocation::FailAfter(0);
        words.m_pText->UpdateLayout();
        words.m_pText->UpdateLayout();
        Allocation::FailNever();
        EXPECT_EQ(log.Messages().size(), nTime);
        words.m_pText->UpdateLayout();
        EXPECT_EQ(words.m_pText->GetLayoutCount(), nTime);
        String16 sMore;
        for (int n = 0; n < 100; ++n) {
            sMore.Append(u"more words ");
        }
        words.m_pText->GetTextProperty().SetValue(sMore);
    }
}

TEST(Text, ALayoutThatNeedsNoMoreRoomAllocatesNothing) {
    SquareText words(u"the quick brown fox\njumps over\tthe lazy dog");
    words.SetBox(40);
    words.m_pText->Update(words.m_device, 0);
    std::size_t const nBefore = AllocationCount();
    for (int n = 1; n < 20; ++n) {
        words.SetBox(static_cast<RealFloat>(40 + n));
        words.m_pText->Update(words.m_device, 0);
    }
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_EQ(words.m_pText->GetLayoutCount(), 20u);
}

TEST(Text, AFrameWithAnotherTextAllocatesNothing) {
    SquareText words(u"before the first layout");
    std::u16string const texts[] = {u"some words", u"the longest words of all", u"", u"words"};
    auto const show = [&words](std::u16string const& text) {
        ASSERT_TRUE(words.m_pText->SetText(text.data(), static_cast<unsigned int>(text.size())));
        words.m_pText->Update(words.m_device, 0);
        ASSERT_EQ(words.m_pText->GetTextProperty().GetValue(), text.c_str());
        ASSERT_EQ(words.m_pText->GetInstances().GetCount(), text.size());
    };
    for (int n = 0; n < 8; ++n) {
        show(texts[1]);
    }
    std::size_t const nBefore = AllocationCount();
    for (int n = 0; n < 40; ++n) {
        show(texts[n % 4]);
    }
    EXPECT_EQ(AllocationCount(), nBefore);
}

TEST(Text, TextsThatAreSetInOneAnothersHandlersOrSharedStayWhatTheyAre) {
    SquareText words(u"a");
    StringProperty& property = words.m_pText->GetTextProperty();
    std::vector<String16> seen;
    /** Sets another text from the event of the first. */
    struct Handler {
        TestText& m_text;
        std::vector<String16>& m_seen;
        void OnChange(String16 const& sText) {
            m_seen.push_back(sText);
            if (sText == u"first") {
                m_text.SetText(u"second", 6);
            }
        }
    } handler{*words.m_pText, seen};
    ASSERT_TRUE(property.GetChangeEvent().Connect(member_function(&handler, &Handler::OnChange)));
    for (int n = 0; n < 4; ++n) {
        words.m_pText->SetText(u"first", 5);
        EXPECT_EQ(property.GetValue(), u"second");
        words.m_pText->Update(words.m_device, 0);
        EXPECT_EQ(words.m_pText->GetInstances().GetCount(), 6u);
    }
    for (std::size_t n = 0; n < seen.size(); ++n) {
        EXPECT_EQ(seen[n], n % 2 == 0 ? u"first" : u"second") << n;
    }
    Allocation::FailAfter(0); // the storage at hand is shared, with what was seen
    EXPECT_FALSE(words.m_pText->SetText(u"third", 5));
    Allocation::FailNever();
    EXPECT_EQ(property.GetValue(), u"second");
    Elsewhere<String16> elsewhere;
    property.Bind(&elsewhere);
    EXPECT_TRUE(words.m_pText->SetText(u"bound", 5));
    property.Bind(nullptr);
    EXPECT_EQ(property.GetValue(), u"second");
}

TEST(Text, ReportsItsTextAndItsLayout) {
    SquareText words(u"twenty glyphs' words");
    words.m_pText->UpdateLayout();
    MemoryTracer tracer;
    tracer.EmitObject(words.m_pText.Get());
    EXPECT_EQ(tracer.GetBytes(MemoryType::Text), 2u * (5 + 20)) << "and its name";
    EXPECT_GE(tracer.GetBytes(MemoryType::Geometry), 20 * sizeof(GlyphInstance) + sizeof(GlyphBatch));
}

} // namespace
} // namespace trevik::kelvo::test
