#pragma once

#include "kelvo_assets/image/Image.h"
#include "kelvo_host/GlyphSource.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/PolygonalFont.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** What is made of a font file. */
struct FontOptions {
    /** The font's size, 1 .. 512. Measures of the fonts made are in these pixels. */
    int pixelsPerEm = 32;
    /** Which font of a collection, from 0; a variable font's named instances count in the upper 16 bits. */
    int faceIndex = 0;
    /**
     * The glyphs to make, in any order. Those that the font lacks are left out, and so is what is no code
     * point.
     */
    std::vector<std::uint32_t> codePoints;
    /** Underlines all texts in the font. */
    bool underline = false;
    /** Moves outlines to the pixel grid, as the font says, before they are rasterised. */
    bool hinting = true;
    /** Pages are square powers of two, as small as they can be and no larger than this, 4 .. 8192. */
    int maximumPageSize = 1024;
    /** Bytes that glyphs made on demand may take (GlyphSource); with 0 none are. */
    unsigned int glyphMemory = GlyphSource::DefaultMemoryLimit;
};

/**
 * Looks up the file that the system uses for a family and style ("DejaVu Sans", "Bold"; any style when empty,
 * the upright and plain one before others), and the face in it. Fails, leaving both alone, when the system
 * has no such family, or the family no such style, whatever other font it would put in their place.
 */
bool FindFontFile(std::string const& family, std::string const& style, std::string& path, int& faceIndex,
                  Fault& fault);

/**
 * Makes a font of glyph pictures. Each is rasterised with 256 shades into a page of format `Alpha8`, one
 * empty pixel or more apart from its neighbours and the page's edges. Pages are named after the file. Font
 * and pages are created through `registry` ("Font", "Texture"). Glyphs without ink, such as the space,
 * have an advance, but neither a size nor a texture; texts make no instances of them.
 *
 * Kerning comes from the font's "GPOS" table (the feature "kern" of the two characters' script), or from its
 * "kern" table where "GPOS" does not kern that script; it is fitted to whole pixels when hinting is on. Of
 * more than 1000 glyphs only the first 1000, by code point, are paired.
 *
 * Glyphs on demand: the font has a GlyphSource, which reads the file again for characters that texts ask for
 * later. What it makes of them is the same as if `codePoints` had had them, but that it lies on further
 * pages, of 256 pixels a side at first, which are created through ClassRegistry::GetDefault(); and that only
 * fonts of up to 1000 glyphs get more kerning. Kept beside a page is a copy while there is room on it. A file
 * that has changed is not used.
 *
 * Makes no GL calls; any thread. Fails with null and one line that names the file and what is wrong: a file
 * that cannot be read, is larger than 64 MiB or no font, a face that it has not, options out of their range,
 * a font of fixed sizes without the one asked for, a glyph that is damaged or larger than a page, more than
 * 65536 glyphs, and pages of more than 256 MiB in all.
 */
Ref<BitmapFont> ReadBitmapFont(std::string const& path, FontOptions const& options,
                               ClassRegistry const& registry, Fault& fault);

/** The same from memory; `name` stands for the path in messages. Makes no glyphs on demand. */
Ref<BitmapFont> ReadBitmapFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                               ClassRegistry const& registry, Fault& fault);

/**
 * Makes a font of glyph meshes: outlines, not hinted, with curves drawn as lines that are nowhere further
 * than a tenth of a pixel away from them, cut into triangles that do not overlap. Glyph sizes are those of
 * the meshes' boxes, rounded outwards to whole pixels; glyphs without an area have an advance, but neither
 * a size nor a mesh. The font is created through `registry` ("PolygonalFont"). Kerning as for bitmap fonts,
 * but not fitted to pixels; glyphs on demand likewise; `hinting` and `maximumPageSize` mean nothing here.
 *
 * Makes no GL calls; any thread. Fails like ReadBitmapFont, and for a font without outlines, a glyph of more
 * than 65535 vertices or pixels across, one whose lines cross too often to be cut in good time, and more than
 * 32767 glyphs with a mesh.
 */
Ref<PolygonalFont> ReadPolygonalFont(std::string const& path, FontOptions const& options,
                                     ClassRegistry const& registry, Fault& fault);

/** The same from memory; `name` stands for the path in messages. Makes no glyphs on demand. */
Ref<PolygonalFont> ReadPolygonalFont(ByteSpan bytes, std::string const& name, FontOptions const& options,
                                     ClassRegistry const& registry, Fault& fault);

} // namespace trevik::kelvo::assets
