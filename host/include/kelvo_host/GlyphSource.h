#pragma once

#include "kelvo_host/Fault.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

class Font;

/** A glyph that a font is asked for, and what has become of it. */
struct TREVIK_API GlyphRequest {
    /** What has become of it. */
    enum Outcome {
        Failed,   ///< not now, as without memory: asked for again by the next layout that needs it
        Made,     ///< the font has it
        Lacking,  ///< there is none, nor will there be
        Unusable, ///< what there is cannot be made a glyph of: not asked for again
        NoRoom    ///< it would exceed the memory limit: asked for again once the limit has been raised
    };

    unsigned int m_nCodePoint = 0; ///< the character
    Outcome m_outcome = Failed;    ///< set by who makes the glyph
    Fault m_fault;                 ///< why, for what has Failed or is Unusable; empty when memory is short
};

/**
 * Makes glyphs of characters that a font does not have yet. Fonts that are made of font files by their paths
 * have one that reads the file again (kelvo_assets/font/FontFile.h); an application may attach one of its
 * own.
 *
 * Texts ask it by themselves: a text whose string has changed is laid out at the next update, or when its
 * measures are asked for, and glyphs that its font lacks are made on the way, before the frame is drawn. A
 * text whose characters are all there never asks. What cannot be had shows the font's U+FFFD or "?", as ever,
 * and is traced once a character: "[kelvo] font DejaVuSans.ttf has no glyph for U+4E2D". To have the glyphs
 * before they are needed, as while a scene loads, call Complete.
 *
 * Render thread; Attach and Find any thread, so that fonts can be made on others.
 */
class TREVIK_API GlyphSource : public Referenced {
public:
    /** Bytes that the glyphs made for one font may take, unless SetMemoryLimit says otherwise. */
    static constexpr unsigned int DefaultMemoryLimit = 4u << 20;

    /** `sName` stands for the font in traces. */
    explicit GlyphSource(StringEncoded<UTF16Encoding> const& sName);
    ~GlyphSource() override;
    GlyphSource(GlyphSource const&) = delete;
    GlyphSource& operator=(GlyphSource const&) = delete;

    /**
     * Makes `pSource`, or with null nobody, the one that texts in this font ask; the font holds it until it
     * goes itself, is loaded from a document, or gets another one. False, with nothing changed, when the
     * source is another font's.
     */
    static bool Attach(Font& font, Ref<GlyphSource> const& pSource);
    /** The source of a font; null when it has none. */
    static Ref<GlyphSource> Find(Font const& font);

    /**
     * Has those characters' glyphs made that the font lacks. True when it has a glyph for every character
     * that shows something; false, traced, when it does not, and false without a font.
     */
    bool Complete(StringEncoded<UTF16Encoding> const& sText);

    /** What stands for the font in traces. */
    StringEncoded<UTF16Encoding> const& GetName() const { return m_sName; }
    /** Bytes that glyphs may take, DefaultMemoryLimit at first. */
    unsigned int GetMemoryLimit() const { return m_nMemoryLimit; }
    /**
     * Glyphs that have been made stay, even above the limit. When the limit is raised, characters that found
     * no room are asked for again by the next layout that needs them.
     */
    void SetMemoryLimit(unsigned int nBytes);
    /** Bytes of the pages or meshes that have been made. */
    unsigned int GetMemoryUsed() const { return m_nMemoryUsed; }

    /** Keeps a character that the font is known to lack from being asked for. */
    void NoteLacking(unsigned int nCodePoint);

protected:
    /**
     * Adds glyphs of the characters that are asked for, which `font` does not have, and sets the requests'
     * outcomes; they come in the order of their code points, each once, at most 1024 of them. What is added
     * counts by TakeMemory. Throws nothing.
     */
    virtual void MakeGlyphs(Font& font, List<GlyphRequest>& requests) = 0;

    /** Counts bytes as used; false, with nothing counted, when they would exceed the limit. */
    bool TakeMemory(unsigned int nBytes);
    /** For bytes that were taken, and are not needed after all. */
    void ReturnMemory(unsigned int nBytes) { m_nMemoryUsed -= nBytes; }

private:
    /** What is known of a character that the font lacks. */
    struct Note {
        unsigned int m_nCodePoint;
        bool m_fRefused; ///< for good
        bool m_fNoRoom;
        bool m_fTraced;
    };

    static Ref<GlyphSource>* FindLink(Font const& font);
    unsigned int FindNote(unsigned int nCodePoint) const;
    Note* GetNote(unsigned int nCodePoint);
    bool IsAskedFor(unsigned int nCodePoint);
    bool CollectMissing(StringEncoded<UTF16Encoding> const& sText, List<unsigned int>& codePoints);
    void Ask(Font& font, unsigned int const* pCodePoints, unsigned int nCount);
    void NoteOutcome(GlyphRequest const& request);
    void TraceMissing(Note& note, GlyphRequest const& request) const;

    StringEncoded<UTF16Encoding> const m_sName;
    Font* m_pFont = nullptr;  ///< that it is attached to
    Ref<GlyphSource> m_pNext; ///< of all that are attached
    unsigned int m_nMemoryLimit = DefaultMemoryLimit;
    unsigned int m_nMemoryUsed = 0;
    bool m_fAsking = false;
    List<Note> m_notes; ///< by code point
};

} // namespace trevik::kelvo
