// Fonts and texts of scene files, read and then loaded from the document that they are saved into.

#include "SceneReader.h"
#include "TestImages.h"
#include "TestScenes.h"

#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {
namespace {

using Pairs = std::vector<Vector2T<int>>;

/** A font that every machine that builds this has, with more keys if wanted. */
std::string Sans(std::string const& keys = "") {
    return R"({"family": "DejaVu Sans", "style": "Book")" + (keys.empty() ? keys : ", " + keys) + "}";
}

/** A scene with a font "f" and these nodes. */
std::string SceneWith(std::string const& font, std::string const& nodes) {
    return "{\"fonts\": {\"f\": " + font + "}, \"nodes\": [" + nodes + "]}";
}

std::string TextOf(std::string const& keys = "") {
    return "{\"class\": \"Text\", \"name\": \"t\", \"font\": \"f\"" + (keys.empty() ? keys : ", " + keys) +
           "}";
}

Text& FindText(Scene const& scene, char const* pName = "t") {
    return static_cast<Text&>(Find(scene, pName));
}

Font& FontOf(Scene const& scene, char const* pName = "t") {
    Font* const pFont = FindText(scene, pName).GetFont();
    if (!pFont) {
        throw std::runtime_error("the text has no font");
    }
    return *pFont;
}

std::vector<unsigned int> CharactersOf(Font const& font) {
    std::vector<unsigned int> characters;
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        characters.push_back(font.GetGlyphAt(n)->m_nCodePoint);
    }
    return characters;
}

Pairs BandsOf(Node& node, char const* pName) {
    List<Vector2T<int>> const bands = PropertyOf<List<Vector2T<int>>>(node, pName).GetValue();
    return Pairs(bands.begin(), bands.end());
}

TEST(SceneText, SetsTheTextsProperties) {
    Scene scene;
    ReadGood(SceneWith(Sans(), TextOf(R"("Text": ["one", "", "\u0442\ud83d\ude00"], "Box": [120, 40.5],
        "HorizontalAlignment": "justify", "VerticalAlignment": "baseline", "Color": "#ff000080",
        "TopLeftColor": [0, 0.5, 1], "BottomRightColor": [0, 0, 0, 0], "Position": [7, 8, 9])")),
             scene);
    Text& text = FindText(scene);
    EXPECT_EQ(text.GetTextProperty().GetValue(), String16(u"one\n\n\u0442\U0001f600"));
    EXPECT_EQ(text.GetBoxProperty().GetValue(), SizeT<RealFloat>(120, 40.5f));
    EXPECT_EQ(text.GetHorizontalAlignmentProperty().GetValue(), HorizontalAlignment::Justify);
    EXPECT_EQ(text.GetVerticalAlignmentProperty().GetValue(), VerticalAlignment::Baseline);
    EXPECT_EQ(text.GetColorProperty().GetValue(), ColorT<RealFloat>(1, 0, 0, 128 / 255.0f));
    EXPECT_EQ(text.GetTopLeftColorProperty().GetValue(), ColorT<RealFloat>(0, 0.5f, 1, 1));
    EXPECT_EQ(text.GetBottomRightColorProperty().GetValue(), ColorT<RealFloat>(0, 0, 0, 0));
    EXPECT_EQ(text.GetTopRightColorProperty().GetValue(), ColorT<RealFloat>(1, 1, 1, 1));
    EXPECT_EQ(text.GetPositionProperty().GetValue(), Vector3T<RealFloat>(7, 8, 9));
}

TEST(SceneText, TakesAlignmentsByNameAndByNumber) {
    struct {
        char const* pKeys;
        int nHorizontal, nVertical;
    } const cases[] = {{"\"HorizontalAlignment\": \"left\", \"VerticalAlignment\": \"top\"", 0, 0},
                       {"\"HorizontalAlignment\": \"center\", \"VerticalAlignment\": \"middle\"", 1, 1},
                       {"\"HorizontalAlignment\": \"right\", \"VerticalAlignment\": \"bottom\"", 2, 2},
                       {"\"HorizontalAlignment\": 3, \"VerticalAlignment\": 3", 3, 3}};
    for (auto const& aligned : cases) {
        Scene scene;
        ReadGood(SceneWith(Sans(), TextOf(aligned.pKeys)), scene);
        EXPECT_EQ(FindText(scene).GetHorizontalAlignmentProperty().GetValue(), aligned.nHorizontal);
        EXPECT_EQ(FindText(scene).GetVerticalAlignmentProperty().GetValue(), aligned.nVertical);
    }
}

TEST(SceneText, MakesGlyphsForWhatTheScenesTextsSay) {
    Scene scene;
    ReadGood(R"({"fonts": {
            "f": {"family": "DejaVu Sans"},
            "g": {"family": "DejaVu Sans", "characters": "\u00e4\n\u00e4", "ranges": ["U+0410-U+0412", "U+20aC"]}},
        "nodes": [
            {"class": "Text", "name": "t", "font": "f", "Text": "Z\u00fcrich\t\u00df"},
            {"class": "TransformNode", "children": [
                {"class": "Text", "name": "below", "font": "f", "Text": ["\ud83d\ude00", "\u00fc"]}]},
            {"class": "Text", "name": "other", "font": "g", "Text": "\u00e9"}]})",
             scene);
    std::vector<unsigned int> ascii(0x7f - 0x20);
    for (unsigned int n = 0; n < ascii.size(); ++n) {
        ascii[n] = 0x20 + n;
    }
    std::vector<unsigned int> expected = ascii;
    expected.insert(expected.end(), {0xdf, 0xfc, 0x1f600});
    EXPECT_EQ(CharactersOf(FontOf(scene)), expected);
    EXPECT_EQ(&FontOf(scene, "below"), &FontOf(scene)) << "a font is shared";
    expected = ascii;
    expected.insert(expected.end(), {0xe4, 0xe9, 0x410, 0x411, 0x412, 0x20ac});
    EXPECT_EQ(CharactersOf(FontOf(scene, "other")), expected);
}

TEST(SceneText, MakesFontsAsTheirKeysSay) {
    Scene scene;
    ReadGood(SceneWith(Sans("\"size\": 20, \"underline\": true, \"underlinePosition\": -1.5, "
                            "\"underlineThickness\": 2"),
                       TextOf()),
             scene);
    Font& font = FontOf(scene);
    EXPECT_EQ(font.GetXPixelsPerEm(), 20);
    EXPECT_TRUE(font.GetUnderlineProperty().GetValue());
    EXPECT_EQ(font.GetUnderlinePositionProperty().GetValue(), -1.5f);
    EXPECT_EQ(font.GetUnderlineThicknessProperty().GetValue(), 2);

    ReadGood(SceneWith(Sans(), TextOf()), scene);
    EXPECT_EQ(FontOf(scene).GetXPixelsPerEm(), 32);
    EXPECT_FALSE(FontOf(scene).GetUnderlineProperty().GetValue());
    EXPECT_GT(FontOf(scene).GetUnderlineThicknessProperty().GetValue(), 0) << "as the font file says";
    EXPECT_FALSE(dynamic_cast<PolygonalFont*>(&FontOf(scene)));
    EXPECT_TRUE(FontOf(scene).GetGlyph('A')->m_pTexture);

    ReadGood(SceneWith(Sans("\"kind\": \"outline\", \"size\": 100"), TextOf()), scene);
    EXPECT_TRUE(dynamic_cast<PolygonalFont*>(&FontOf(scene)));
    EXPECT_GE(FontOf(scene).GetGlyph('A')->m_nMesh, 0);
}

/** Black where a nine-patch's border marks something; the picture itself is one grey. */
Bytes NinePatchPng(int nWidth, int nHeight, std::vector<Vector2T<int>> const& marks) {
    Bytes pixels(static_cast<std::size_t>(nWidth * nHeight) * 4, 0);
    for (int y = 0; y < nHeight; ++y) {
        for (int x = 0; x < nWidth; ++x) {
            bool const fInside = x > 0 && y > 0 && x < nWidth - 1 && y < nHeight - 1;
            bool const fMarked = std::find(marks.begin(), marks.end(), Vector2T<int>(x, y)) != marks.end();
            std::uint8_t* const pPixel = &pixels[static_cast<std::size_t>(y * nWidth + x) * 4];
            std::fill(pPixel, pPixel + 3, static_cast<std::uint8_t>(fInside ? 150 : 0));
            pPixel[3] = fInside || fMarked ? 255 : 0;
        }
    }
    return RgbaPng(nWidth, nHeight, pixels);
}

/** A folder with pictures, a nine-patch image and a bitmap font of the letters A and B. */
class SceneTextFilesTest : public ::testing::Test {
protected:
    SceneTextFilesTest() {
        m_folder.Write("heart.png", RgbaPng(9, 7, Bytes(9 * 7 * 4, 200)));
        // Columns 1 and 2 of 6 stretch, rows 0 and 1 of 4 from the top; content in columns 1 to 3, row 1.
        Bytes const patch =
            NinePatchPng(8, 6, {{2, 0}, {3, 0}, {0, 1}, {0, 2}, {2, 5}, {3, 5}, {4, 5}, {7, 2}});
        m_folder.Write("bubble.9.png", patch);
        m_folder.Write("bubble.png", patch);
        WriteFont("title.fnt");
        WriteFont("title.txt");
    }
    void WriteFont(std::string const& name) const {
        m_folder.Write("page.png", RgbaPng(8, 8, Bytes(8 * 8 * 4, 255)));
        std::string const text =
            "info face=\"title\" size=8\n"
            "common lineHeight=8 base=6 scaleW=8 scaleH=8 pages=1 packed=0\n"
            "page id=0 file=\"page.png\"\n"
            "chars count=2\n"
            "char id=65 x=0 y=0 width=4 height=6 xoffset=0 yoffset=0 xadvance=5 page=0 chnl=15\n"
            "char id=66 x=4 y=0 width=4 height=6 xoffset=0 yoffset=0 xadvance=5 page=0 chnl=15\n";
        m_folder.Write(name, Bytes(text.begin(), text.end()));
    }
    std::string Folder() const { return m_folder.Path(""); }

    TemporaryFolder m_folder;
};

TEST_F(SceneTextFilesTest, KnowsDescribedFontsByEndingAndByContent) {
    for (char const* pName : {"title.fnt", "title.txt"}) {
        Scene scene;
        ReadGood(SceneWith(std::string("{\"file\": \"") + pName +
                               "\", \"underline\": true, \"underlineThickness\": 3, "
                               "\"images\": {\"\u2665\": \"heart.png\"}}",
                           TextOf("\"Text\": \"AZ\"")),
                 scene, Folder());
        Font& font = FontOf(scene);
        EXPECT_EQ(CharactersOf(font), (std::vector<unsigned int>{'A', 'B', 0x2665})) << pName;
        EXPECT_TRUE(font.GetUnderlineProperty().GetValue());
        EXPECT_EQ(font.GetUnderlineThicknessProperty().GetValue(), 3);
        EXPECT_FALSE(font.GetGlyph('A')->m_fImage);
        EXPECT_TRUE(font.GetGlyph(0x2665)->m_fImage);
    }
}

TEST_F(SceneTextFilesTest, ShowsPicturesForCharacters) {
    Scene scene;
    ReadGood(R"({"textures": {"heart": {"file": "heart.png", "powerOfTwo": true}},
        "fonts": {"f": {"family": "DejaVu Sans", "images": {
            "\u2665": "heart",
            "x": {"texture": "bubble.9.png", "offset": [2, -3], "advance": 20},
            "\ud83d\ude00": {"texture": "heart.png"}}}},
        "nodes": [{"class": "Text", "name": "t", "font": "f", "Text": "x\u2665"}]})",
             scene, Folder());
    struct {
        unsigned int nCharacter;
        int nWidth, nHeight, nOffsetX, nOffsetY, nAdvance;
    } const cases[] = {{0x2665, 9, 7, 0, 0, 9}, {'x', 6, 4, 2, 3, 20}, {0x1f600, 9, 7, 0, 0, 9}};
    for (auto const& image : cases) {
        Glyph const* const pGlyph = FontOf(scene).GetGlyph(image.nCharacter);
        ASSERT_TRUE(pGlyph) << image.nCharacter;
        EXPECT_TRUE(pGlyph->m_fImage);
        EXPECT_EQ(pGlyph->m_nWidth, image.nWidth);
        EXPECT_EQ(pGlyph->m_nHeight, image.nHeight);
        EXPECT_EQ(pGlyph->m_nOffsetX, image.nOffsetX);
        EXPECT_EQ(pGlyph->m_nOffsetY, image.nOffsetY) << "downwards";
        EXPECT_EQ(pGlyph->m_nAdvance, image.nAdvance);
        ASSERT_TRUE(pGlyph->m_pTexture);
        EXPECT_EQ(pGlyph->m_pTexture->GetWidth(), image.nWidth);
    }
    EXPECT_FALSE(FontOf(scene).GetGlyph('y')->m_fImage);
}

TEST_F(SceneTextFilesTest, GivesNinePatchesTheirBands) {
    Scene scene;
    ReadGood(R"({"textures": {"b": "bubble.9.png", "named": {"file": "bubble.png", "ninePatch": true},
                              "raw": {"file": "bubble.9.png", "ninePatch": false}},
        "nodes": [
            {"class": "NinePatchSprite", "name": "patch", "texture": "b"},
            {"class": "NinePatchSprite", "name": "named", "texture": "named"},
            {"class": "NinePatchSprite", "name": "own", "texture": "b", "NinePatchPairX": [[0, 3]],
             "ContentMargin": [9, 8, 7, 6]},
            {"class": "NinePatchSprite", "name": "raw", "texture": "raw"},
            {"class": "Sprite", "name": "plain", "texture": "b"}]})",
             scene, Folder());
    for (char const* pName : {"patch", "named"}) {
        Node& patch = Find(scene, pName);
        EXPECT_EQ(BandsOf(patch, "NinePatchPairX"), (Pairs{{1, 2}})) << pName;
        EXPECT_EQ(BandsOf(patch, "NintPatchPairY"), (Pairs{{2, 2}})) << "from the bottom";
        EXPECT_EQ(PropertyOf<RectangleT<RealFloat>>(patch, "ContentMargin").GetValue(),
                  RectangleT<RealFloat>(1, 2, 2, 1))
            << "left, below, right, above";
        EXPECT_EQ(PropertyOf<SizeT<int>>(patch, "Size").GetValue(), SizeT<int>(6, 4));
    }
    Node& own = Find(scene, "own");
    EXPECT_EQ(BandsOf(own, "NinePatchPairX"), (Pairs{{0, 3}}));
    EXPECT_EQ(BandsOf(own, "NintPatchPairY"), (Pairs{{2, 2}}));
    EXPECT_EQ(PropertyOf<RectangleT<RealFloat>>(own, "ContentMargin").GetValue(),
              RectangleT<RealFloat>(9, 8, 7, 6));
    EXPECT_EQ(PropertyOf<SizeT<int>>(Find(scene, "raw"), "Size").GetValue(), SizeT<int>(8, 6))
        << "with its border";
    EXPECT_TRUE(BandsOf(Find(scene, "raw"), "NinePatchPairX").empty());
    EXPECT_EQ(PropertyOf<SizeT<int>>(Find(scene, "plain"), "Size").GetValue(), SizeT<int>(6, 4))
        << "without its border";
}

TEST_F(SceneTextFilesTest, PutsSpritesBehindTexts) {
    Scene scene;
    ReadGood(
        R"({"textures": {"b": "bubble.9.png", "h": "heart.png"}, "fonts": {"f": {"family": "DejaVu Sans"}},
        "nodes": [
            {"class": "Text", "name": "t", "font": "f",
             "background": {"class": "NinePatchSprite", "name": "behind", "texture": "b"}},
            {"class": "Text", "name": "u", "font": "f", "background": {"class": "Sprite", "texture": "h"}}]})",
        scene, Folder());
    Sprite* const pPatch = FindText(scene).GetBackground();
    ASSERT_TRUE(pPatch);
    EXPECT_EQ(pPatch->GetFactoryClassID(), HashName("NinePatchSprite"));
    EXPECT_EQ(pPatch->GetName(), String16(u"behind"));
    EXPECT_EQ(BandsOf(*pPatch, "NinePatchPairX"), (Pairs{{1, 2}}));
    Sprite* const pSprite = FindText(scene, "u").GetBackground();
    ASSERT_TRUE(pSprite);
    EXPECT_EQ(pSprite->GetFactoryClassID(), HashName("Sprite"));
    EXPECT_EQ(pSprite->GetTexture()->GetWidth(), 9);
    EXPECT_EQ(scene.GetRoot()->GetChildCount(), 2u) << "a background is no child";
}

struct BadScene {
    std::string text;
    std::string error;
};

TEST_F(SceneTextFilesTest, SaysWhatIsWrongWithAFont) {
    BadScene const cases[] = {
        {"{}", R"(: there is no "file" and no "family")"},
        {R"("title.fnt")",
         R"(: expected a font: an object with "file" or "family", found string "title.fnt")"},
        {R"({"file": "title.fnt", "family": "DejaVu Sans"})",
         R"(: a font has either "file" or "family", not both)"},
        {R"({"file": ""})", R"(/file: expected the path of a font file, found string "")"},
        {R"({"file": "none.ttf"})",
         "/file: " + m_folder.Path("none.ttf") + ": cannot be opened: No such file or directory"},
        {R"({"file": "title.fnt", "size": 12})",
         "/size: unknown key \"size\"; known are \"underline\", \"underlinePosition\", "
         "\"underlineThickness\", \"images\" and \"file\""},
        {Sans(R"("sise": 12)"), R"(/sise: unknown key "sise"; did you mean "size"?)"},
        {Sans(R"("face": 0)"), "/face: unknown key \"face\"; known are \"underline\", \"underlinePosition\", "
                               "\"underlineThickness\", \"images\", \"family\", \"style\", \"size\", "
                               "\"kind\", \"hinting\", \"characters\" and \"ranges\""},
        {Sans(R"("size": 513)"), "/size: expected a whole number from 1 to 512, found 513"},
        {Sans(R"("size": 0)"), "/size: expected a whole number from 1 to 512, found 0"},
        {Sans(R"("kind": "outlined")"), R"(/kind: unknown kind of font "outlined"; did you mean "outline"?)"},
        {Sans(R"("kind": "outline", "underline": true)"),
         "/underline: texts in outlines cannot be underlined"},
        {Sans(R"("hinting": 1)"), "/hinting: expected true or false, found 1"},
        {Sans(R"("characters": ["a"])"), "/characters: expected a string, found an array of 1"},
        {Sans(R"("ranges": "U+0410")"),
         R"(/ranges: expected an array of ranges of characters, found string "U+0410")"},
        {Sans(R"("ranges": ["U+0412-U+0410"])"),
         R"(/ranges/0: the range "U+0412-U+0410" ends before it begins)"},
        {Sans(R"("underlineThickness": -1)"),
         "/underlineThickness: expected a number from 0 to 1000, found -1"},
        {Sans(R"("images": ["heart.png"])"),
         "/images: expected an object with an image under each character, found an array of 1"},
        {Sans(R"("images": {"ab": "heart.png"})"),
         "/images/ab: the name of an image is the character that it stands for, a single code point"},
        {Sans(R"("images": {"": "heart.png"})"),
         "/images/: the name of an image is the character that it stands for, a single code point"},
        {Sans("\"images\": {\"\\n\": \"heart.png\"}"),
         "/images/?: the name of an image is the character that it stands for, a single code point"},
        {Sans(R"("images": {"a": "hart"})"), R"(/images/a: unknown texture "hart"; did you mean "heart"?)"},
        {Sans(R"("images": {"a": "hart.png"})"),
         "/images/a: " + m_folder.Path("hart.png") + ": cannot be opened: No such file or directory"},
        {Sans(R"("images": {"a": {"offset": [0, 1]}})"), R"(/images/a: there is no "texture")"},
        {Sans(R"("images": {"a": {"texture": "heart", "offset": [1]}})"),
         "/images/a/offset: expected 2 whole numbers: to the right, upward, found an array of 1"},
        {Sans(R"("images": {"a": {"texture": "etc1"}})"),
         "/images/a/texture: a texture in ETC1 with alpha cannot stand for a character: its alpha would not "
         "be drawn"},
        {Sans(R"("ranges": ["U+4E00-U+FFFF"])"), "/ranges/0: a font has at most 20000 characters"},
        {Sans(R"("ranges": ["U+3000-U+6FFF", "U+7000-U+7FFF"])"),
         ": a font has at most 20000 characters; this one and its texts ask for 20575"},
    };
    for (BadScene const& bad : cases) {
        EXPECT_EQ(ErrorOf("{\"textures\": {\"heart\": \"heart.png\", \"etc1\": {\"file\": \"heart.png\", "
                          "\"etc1\": true}}, \"nodes\": [], \"fonts\": {\"f\": " +
                              bad.text + "}}",
                          Folder()),
                  "1: /fonts/f" + bad.error)
            << bad.text;
    }
}

TEST(SceneText, SaysWhichCharactersARangeMayHave) {
    for (char const* pRange : {"", "A-Z", "U+", "U+41-", "U+41-U+", "U+41-5A", "U+41-U+5A ", "U+0000041",
                               "U+110000", "U+D800", "U+D700-U+DFFF", "U+-41", "U+0x41"}) {
        EXPECT_EQ(ErrorOf(SceneWith(Sans(std::string("\"ranges\": [\"") + pRange + "\"]"), "")),
                  std::string("1: /fonts/f/ranges/0: expected characters as \"U+0400-U+04FF\" or \"U+20AC\", "
                              "found string \"") +
                      pRange + "\"");
    }
}

TEST_F(SceneTextFilesTest, SaysWhatIsWrongWithAText) {
    BadScene const cases[] = {
        {R"("name": "t")", R"(: there is no "font")"},
        {R"("font": "fonts")", R"(/font: unknown font "fonts"; did you mean "font"?)"},
        {R"("font": "font", "Text": 3)", "/Text: expected a string, or an array of its lines, found 3"},
        {R"("font": "font", "Text": ["a", 3])", "/Text/1: expected a string, found 3"},
        {R"("font": "font", "Text": {"samples": ["a"]})",
         R"(/Text: "Text" cannot be animated; expected a string, or an array of its lines)"},
        {R"("font": "font", "HorizontalAlignment": "centre")",
         R"(/HorizontalAlignment: unknown value "centre"; did you mean "center"?)"},
        {R"("font": "font", "background": {"class": "Camera"})",
         R"(/background/class: class "Camera" is no class of sprites)"},
        {R"("font": "font", "background": "b")",
         R"(/background: expected a node: an object with "class", found string "b")"},
        {R"("font": "font", "background": {"class": "Sprite"})",
         R"(/background: there is no "texture", without which a background is not drawn)"},
    };
    for (BadScene const& bad : cases) {
        EXPECT_EQ(ErrorOf(R"({"fonts": {"font": {"file": "title.fnt"}}, "nodes": [{"class": "Text", )" +
                              bad.text + "}]}",
                          Folder()),
                  "1: /nodes/0" + bad.error)
            << bad.text;
    }
}

TEST_F(SceneTextFilesTest, SaysWhatTheReadersOfFilesSay) {
    m_folder.Write("broken.fnt", Bytes(40, 7));
    m_folder.Write("broken.ttf", Bytes(40, 7));
    m_folder.Write("broken.9.png", RgbaPng(9, 7, Bytes(9 * 7 * 4, 200)));
    struct {
        char const* pScene;
        char const* pError;
    } const cases[] = {
        {R"({"nodes": [], "fonts": {"f": {"file": "broken.fnt"}}})", "1: /fonts/f: "},
        {R"({"nodes": [], "fonts": {"f": {"file": "broken.ttf"}}})", "1: /fonts/f: "},
        {R"({"nodes": [], "fonts": {"f": {"family": "No Such Family"}}})", "1: /fonts/f/family: "},
        {R"({"nodes": [], "fonts": {"f": {"family": "DejaVu Sans", "style": "Wobbly"}}})",
         "1: /fonts/f/style: "},
        {R"({"nodes": [], "textures": {"t": "broken.9.png"}})", "1: /textures/t: "},
        {R"({"nodes": [], "textures": {"t": {"file": "bubble.9.png", "powerOfTwo": true}}})",
         "1: /textures/t: a nine-patch image must fill its texture: it is 6x4 pixels, its texture would be "
         "8x4 "},
    };
    for (auto const& bad : cases) {
        std::string const error = ErrorOf(bad.pScene, Folder());
        EXPECT_EQ(error.rfind(bad.pError, 0), 0u) << error;
        EXPECT_GT(error.size(), std::string(bad.pError).size() + 5) << error;
    }
}

TEST(SceneText, KeepsToTheLimitsOfCharacters) {
    std::string ranges;
    for (int n = 0; n < 11; ++n) {
        ranges += std::string(n == 0 ? "" : ", ") + "\"U+4E00-U+77FF\""; // 10752 of them
    }
    EXPECT_EQ(ErrorOf(SceneWith(Sans("\"ranges\": [" + ranges + "]"), "")),
              "1: /fonts/f/ranges/9: the scene's ranges have more than 100000 characters together");

    std::string characters;
    for (int n = 0; n < 19000; ++n) {
        characters += String8(String16(String16::Format(u"%c", 0x4e00 + n))).GetData();
    }
    std::string fonts;
    for (int n = 0; n < 6; ++n) {
        fonts += (n == 0 ? "\"" : ",\n\"") + std::to_string(n) +
                 "\": " + Sans("\"characters\": \"" + characters + "\"");
    }
    EXPECT_EQ(ErrorOf("{\"nodes\": [], \"fonts\": {" + fonts + "}}"),
              "6: /fonts/5: the scene's fonts have more than 100000 characters together");
}

TEST(SceneText, KeepsToTheLimitOfFontPages) {
    std::string fonts;
    for (int n = 0; n < 200; ++n) {
        fonts += (n == 0 ? "\"" : ",\n\"") + std::to_string(n) + "\": " + Sans("\"size\": 500");
    }
    std::string const error = ErrorOf("{\"nodes\": [], \"fonts\": {" + fonts + "}}");
    EXPECT_NE(error.find("the glyphs of the scene's fonts take more than 256 MiB"), std::string::npos)
        << error;
}

} // namespace
} // namespace trevik::kelvo::assets::testing
