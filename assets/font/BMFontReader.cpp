#include "font/BMFontReader.h"

#include "file/FileBytes.h"
#include "font/BMFontDescription.h"
#include "font/BMFontTag.h"
#include "image/PixelPacking.h"
#include "image/PngReader.h"
#include "scene/TextureMaker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

using Description = BMFontDescription;

enum class Form { Unknown, Text, Xml, Binary };

std::string_view SkipByteOrderMark(std::string_view text) {
    return text.substr(0, 3) == "\xEF\xBB\xBF" ? text.substr(3) : text;
}

Form RecogniseForm(std::string_view text) {
    constexpr std::string_view Blanks = " \t\r\n\v\f";
    if (text.substr(0, 3) == "BMF") {
        return Form::Binary;
    }
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    if (!text.empty() && text[0] == '<') {
        return Form::Xml;
    }
    std::string_view const word = text.substr(0, text.find_first_of(Blanks));
    return BMFontTagReader::IsKnown(word) ? Form::Text : Form::Unknown;
}

/** Makes a font, and its textures, of a description that has been checked. Throws a Fault. */
class FontMaker {
public:
    FontMaker(Description const& description, BMFontPageReader const& readPage, ClassRegistry const& registry)
        : m_description(description), m_readPage(readPage), m_registry(registry) {}

    Ref<BitmapFont> Make();

private:
    void ReadPages();
    Ref<Texture> ReadPage(Description::Page const& page) const;
    ImageData ReadPicture(Description::Page const& page) const;
    void SetMeasures(BitmapFont& font) const;
    void AddGlyphs(BitmapFont& font) const;
    Glyph MakeGlyph(Description::Char const& record) const;

    Description const& m_description;
    BMFontPageReader const& m_readPage;
    ClassRegistry const& m_registry;
    std::vector<Ref<Texture>> m_pages; ///< by their ids
};

Ref<BitmapFont> FontMaker::Make() {
    Ref<Referenced> const pObject(m_registry.Create(HashName("Font")));
    Ref<BitmapFont> pFont(dynamic_cast<BitmapFont*>(pObject.Get()));
    if (!pFont) {
        ThrowFault(NoBMFontPlace, "no font can be made: the back end has no class \"Font\" of bitmap "
                                  "fonts, or there is not enough memory");
    }
    ReadPages();
    SetMeasures(*pFont);
    AddGlyphs(*pFont);
    return pFont;
}

void FontMaker::ReadPages() {
    std::map<std::string, Ref<Texture>> known;
    for (Description::Page const& page : m_description.GetPages()) {
        Ref<Texture>& pTexture = known[page.file];
        if (!pTexture) {
            pTexture = ReadPage(page);
        }
        m_pages.push_back(pTexture);
    }
}

Ref<Texture> FontMaker::ReadPage(Description::Page const& page) const {
    Description::Common const& common = m_description.GetCommon();
    ImageData const image = ReadPicture(page);
    if (image.width != common.scaleW || image.height != common.scaleH) {
        ThrowFault(page.place, page.file + " has " + std::to_string(image.width) + " x " +
                                   std::to_string(image.height) + " pixels; the font says its pages have " +
                                   std::to_string(common.scaleW) + " x " + std::to_string(common.scaleH));
    }
    Ref<Texture> pTexture = MakeTexture(image, page.file, m_registry);
    if (!pTexture) {
        ThrowFault(page.place, "no texture can be made: the back end has no class \"Texture\", or there "
                               "is not enough memory");
    }
    return pTexture;
}

/** Alpha alone, which is all that glyphs are drawn with. */
ImageData FontMaker::ReadPicture(Description::Page const& page) const {
    // Where the font says that alpha is the same everywhere, the file's alpha has no shapes.
    bool const fConstantAlpha = m_description.GetCommon().alphaChannel >= 3;
    ImageOptions options;
    options.format = fConstantAlpha ? TextureFormat::RGB888 : TextureFormat::Alpha8;
    ImageData image;
    Fault fault;
    bool fRead = m_readPage(page.file, options, image, fault);
    if (fRead && fConstantAlpha) {
        options.format = TextureFormat::Alpha8;
        fRead = BuildImage(UnpackLevel(image, 0), false, options, page.file, image, fault);
    }
    if (!fRead) {
        ThrowFault(page.place, fault.GetText());
    }
    return image;
}

void FontMaker::SetMeasures(BitmapFont& font) const {
    Description::Common const& common = m_description.GetCommon();
    int const nSize = m_description.GetSize() != 0 ? std::abs(m_description.GetSize()) : common.lineHeight;
    int const nDescent = std::max(common.lineHeight - common.base, 0);
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = static_cast<RealFloat>(nSize);
    metrics.m_rAscent = static_cast<RealFloat>(common.base);
    metrics.m_rDescent = static_cast<RealFloat>(nDescent);
    font.SetMetrics(metrics);
    int const nPosition = 1 + nDescent / 4; // whole pixels
    font.GetUnderlinePositionProperty().SetValue(static_cast<RealFloat>(nPosition));
    font.GetUnderlineThicknessProperty().SetValue(static_cast<RealFloat>(std::max(nSize / 16, 1)));
}

void FontMaker::AddGlyphs(BitmapFont& font) const {
    for (Description::Char const& record : m_description.GetChars()) {
        if (!font.AddGlyph(MakeGlyph(record))) {
            throw std::bad_alloc();
        }
    }
    for (Description::Kerning const& kerning : m_description.GetKernings()) {
        if (!font.SetKerning(kerning.first, kerning.second, static_cast<RealFloat>(kerning.amount))) {
            throw std::bad_alloc();
        }
    }
}

Glyph FontMaker::MakeGlyph(Description::Char const& record) const {
    Glyph glyph;
    glyph.m_nCodePoint = record.id;
    glyph.m_nAdvance = record.xAdvance;
    if (record.IsEmpty()) {
        return glyph;
    }
    glyph.m_nWidth = static_cast<unsigned short>(record.width);
    glyph.m_nHeight = static_cast<unsigned short>(record.height);
    glyph.m_nOffsetX = record.xOffset;
    // From the base line down to the bottom edge, of what is counted from the line's top down.
    glyph.m_nOffsetY = record.yOffset + record.height - m_description.GetCommon().base;
    Ref<Texture> const& pPage = m_pages[static_cast<std::size_t>(record.page)];
    glyph.m_pTexture = pPage;
    RealFloat const rWidth = static_cast<RealFloat>(pPage->GetAllocatedWidth());
    RealFloat const rHeight = static_cast<RealFloat>(pPage->GetAllocatedHeight());
    glyph.m_textureRectangle[0] = static_cast<RealFloat>(record.y) / rHeight;
    glyph.m_textureRectangle[1] = static_cast<RealFloat>(record.x) / rWidth;
    glyph.m_textureRectangle[2] = static_cast<RealFloat>(record.y + record.height) / rHeight;
    glyph.m_textureRectangle[3] = static_cast<RealFloat>(record.x + record.width) / rWidth;
    return glyph;
}

void ReadDescription(ByteSpan bytes, Form form, Description& description) {
    if (bytes.size > Description::MaximumBytes) {
        ThrowFault(NoBMFontPlace, "has " + std::to_string(bytes.size) + " bytes, more than the " +
                                      std::to_string(Description::MaximumBytes) + " allowed");
    }
    switch (form) {
    case Form::Text:
        ReadBMFontText(bytes, description);
        break;
    case Form::Xml:
        ReadBMFontXml(bytes, description);
        break;
    case Form::Binary:
        ReadBMFontBinary(bytes, description);
        break;
    case Form::Unknown:
        ThrowFault(NoBMFontPlace, "is no bitmap font description, neither as text, nor XML, nor binary");
    }
    description.Check();
}

/** The fault of a description, which says its place there, as one of the file `name`. */
Fault NameFile(Fault const& fault, std::string const& name, Form form) {
    std::string const& place = fault.GetWhere();
    std::string const& what = fault.GetWhat();
    return place.empty()          ? Fault(name, what)
           : form == Form::Binary ? Fault(name, what + " (at byte " + place + ")")
                                  : Fault(name + ":" + place, what);
}

} // namespace

Ref<BitmapFont> ReadBMFont(ByteSpan description, std::string const& name, BMFontPageReader const& readPage,
                           ClassRegistry const& registry, Fault& fault) {
    std::string_view const text =
        SkipByteOrderMark({reinterpret_cast<char const*>(description.data), description.size});
    Form const form = RecogniseForm(text);
    try {
        Description content;
        ReadDescription({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, form, content);
        return FontMaker(content, readPage, registry).Make();
    } catch (Fault const& thrown) {
        fault = NameFile(thrown, name, form);
    } catch (std::bad_alloc const&) {
        Fail(fault, name, "not enough memory for the font");
    }
    return nullptr;
}

Ref<BitmapFont> ReadBMFont(std::string const& path, ClassRegistry const& registry, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadFile(path, Description::MaximumBytes, bytes, fault)) {
        return nullptr;
    }
    std::string const folder = path.substr(0, path.rfind('/') + 1);
    auto const readPage = [&folder](std::string const& file, ImageOptions const& options, ImageData& image,
                                    Fault& pageFault) {
        return LoadPng(file[0] == '/' ? file : folder + file, options, image, pageFault);
    };
    return ReadBMFont({bytes.data(), bytes.size()}, path, readPage, registry, fault);
}

} // namespace trevik::kelvo::assets
