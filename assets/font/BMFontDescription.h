#pragma once

#include "image/Image.h"

#include <optional>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** Stands for a place in a description where there is none. */
constexpr std::size_t NoBMFontPlace = std::size_t(-1);

/**
 * Throws a Fault inside the readers. It lies at `place`, a line, or in binary form a byte; the reader that
 * catches it knows the file's name.
 */
[[noreturn]] void ThrowFault(std::size_t place, std::string const& what);

/** What a bitmap font's description says, whichever form it has. */
class BMFontDescription {
public:
    struct Common {
        int lineHeight = 0;
        int base = 0;
        int scaleW = 0;
        int scaleH = 0;
        int pages = 0;
        bool packed = false;
        int alphaChannel = 0; ///< what alpha contains: 0 glyphs, 1 outlines, 2 both, 3 zero, 4 one
        std::size_t place = NoBMFontPlace;
    };
    struct Page {
        int id = 0;
        std::string file;
        std::size_t place = NoBMFontPlace;
    };
    /** Sizes and distances are within 16 bits. */
    struct Char {
        unsigned int id = 0;
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        int xOffset = 0;
        int yOffset = 0;
        int xAdvance = 0;
        int page = 0;
        int channels = 15;
        std::size_t place = NoBMFontPlace;

        bool IsEmpty() const { return width == 0 || height == 0; }
    };
    struct Kerning {
        unsigned int first = 0;
        unsigned int second = 0;
        int amount = 0;
        std::size_t place = NoBMFontPlace;
    };

    static constexpr std::size_t MaximumBytes = std::size_t(16) << 20;
    static constexpr std::size_t MaximumChars = 65536;
    static constexpr std::size_t MaximumPages = 256;
    static constexpr std::size_t MaximumKernings = std::size_t(1) << 20;
    /** The id of the glyph that stands for characters the font lacks. */
    static constexpr unsigned int InvalidChar = 0xFFFFFFFF;

    /** All throw a Fault for what is there already, out of range or beyond the limits. */
    void SetSize(int size, std::size_t place);
    void SetCommon(Common const& common);
    void AddPage(Page page);
    void AddChar(Char const& record);
    void AddKerning(Kerning const& kerning);

    /** Once everything is there: puts it in order, and throws for what is missing or does not fit together.
     */
    void Check();

    /** The font's height in pixels, of a character when negative; 0 when it is not said. */
    int GetSize() const { return m_size.value_or(0); }
    /** What follows is for after Check. */
    Common const& GetCommon() const { return *m_common; }
    std::vector<Page> const& GetPages() const { return m_pages; } ///< by their ids, which are 0, 1, ...
    std::vector<Char> const& GetChars() const { return m_chars; } ///< by their ids, which differ
    std::vector<Kerning> const& GetKernings() const { return m_kernings; } ///< by first, then second

private:
    void CheckCommon() const;
    void CheckPages();
    void CheckChars();
    void CheckChar(Char const& record) const;
    void CheckKernings();

    std::optional<int> m_size;
    std::optional<Common> m_common;
    std::vector<Page> m_pages;
    std::vector<Char> m_chars;
    std::vector<Kerning> m_kernings;
};

/** The three forms. All throw a Fault; what they have read is checked by itself, but not as a whole. */
void ReadBMFontText(ByteSpan text, BMFontDescription& description);
void ReadBMFontXml(ByteSpan text, BMFontDescription& description);
void ReadBMFontBinary(ByteSpan bytes, BMFontDescription& description);

} // namespace trevik::kelvo::assets
