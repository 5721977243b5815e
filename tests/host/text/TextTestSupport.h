#pragma once

#include "kelvo_test/TestNodes.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace trevik::kelvo::test {

/**
 * A font of glyphs that are easy to reckon with: 10 pixels per em, ascent 8, descent 2, every advance 10,
 * every glyph a square of 8 pixels that begins 1 pixel behind the pen. Spaces have a glyph of 1 by 1, so that
 * they can be seen. Widths of lines are those of their characters in tens.
 */
class SquareFont : public TestFont {
public:
    SquareFont() {
        SetMetrics(FontMetrics{10, 10, 1, 1, 8, 2, 0});
        for (unsigned int nCodePoint = ' '; nCodePoint <= '~'; ++nCodePoint) {
            Glyph glyph = MakeSquare(nCodePoint);
            glyph.m_nWidth = nCodePoint == ' ' ? 1 : 8;
            glyph.m_nHeight = glyph.m_nWidth;
            Add(glyph);
        }
    }

    Ref<Texture> GetPage(unsigned int nPage = 0) {
        while (m_pages.size() <= nPage) {
            m_pages.push_back(Ref<Texture>(new TestTexture));
        }
        return m_pages[nPage];
    }
    static Glyph MakeSquare(unsigned int nCodePoint, int nAdvance = 10) {
        Glyph glyph;
        glyph.m_nCodePoint = nCodePoint;
        glyph.m_nWidth = 8;
        glyph.m_nHeight = 8;
        glyph.m_nOffsetX = 1;
        glyph.m_nAdvance = nAdvance;
        return glyph;
    }
    void Add(Glyph glyph, unsigned int nPage = 0) {
        glyph.m_pTexture = GetPage(nPage);
        AddGlyph(glyph);
    }

private:
    std::vector<Ref<Texture>> m_pages;
};

/** A text in such a font. */
struct SquareText {
    typedef RectangleT<RealFloat> Rectangle;

    TestDevice m_device;
    Ref<SquareFont> m_pFont = Ref<SquareFont>(new SquareFont);
    Ref<TestText> m_pText = Make<TestText>("words");

    explicit SquareText(String16 const& sText = String16()) {
        m_pText->SetFont(m_pFont.Get());
        m_pText->GetTextProperty().SetValue(sText);
    }
    void SetBox(RealFloat rWidth, RealFloat rHeight = 0) {
        m_pText->GetBoxProperty().SetValue(SizeT<RealFloat>(rWidth, rHeight));
    }
    Rectangle GetRectangle() {
        Rectangle rectangle;
        m_pText->GetTextRenderRect(rectangle);
        return rectangle;
    }

    /** A glyph with the pen that it was set with. */
    struct Placed {
        char32_t m_codePoint;
        RealFloat m_rPen;
        RealFloat m_rBaseline;
    };

    /** The glyphs from the top line to the bottom one, each from left to right. */
    std::vector<Placed> GetPlaced() {
        m_pText->UpdateLayout();
        std::vector<Placed> placed;
        for (GlyphInstance const& instance : m_pText->GetInstances()) {
            Glyph const& glyph = *instance.m_pGlyph;
            placed.push_back({glyph.m_nCodePoint, instance.m_rX - static_cast<RealFloat>(glyph.m_nOffsetX),
                              instance.m_rY + static_cast<RealFloat>(glyph.m_nOffsetY)});
        }
        std::stable_sort(placed.begin(), placed.end(), [](Placed const& a, Placed const& b) {
            return std::make_pair(-a.m_rBaseline, a.m_rPen) < std::make_pair(-b.m_rBaseline, b.m_rPen);
        });
        return placed;
    }
};

} // namespace trevik::kelvo::test
