#!/usr/bin/env python3
"""Writes the small fonts that the font fuzzer starts from, into the folder given. Needs fonttools.

The glyphs: "A" is a square with a hole, "B" a shape with curves that crosses itself, "C" both, one of them moved and
scaled, and " " is empty. "A" and "B" are kerned.
"""

import array
import pathlib
import sys

from fontTools.fontBuilder import FontBuilder
from fontTools.pens.t2CharStringPen import T2CharStringPen
from fontTools.pens.ttGlyphPen import TTGlyphPen
from fontTools.ttLib import TTCollection, TTFont, newTable
from fontTools.ttLib.tables import ttProgram
from fontTools.ttLib.tables._k_e_r_n import KernTable_format_0

NAMES = [".notdef", "space", "A", "B", "C"]
CHARACTERS = {32: "space", 65: "A", 66: "B", 67: "C"}
WIDTHS = {".notdef": 300, "space": 250, "A": 620, "B": 560, "C": 640}


def draw_frame(pen):
    for corners in ([(50, 0), (50, 500), (550, 500), (550, 0)], [(150, 100), (450, 100), (450, 400), (150, 400)]):
        pen.moveTo(corners[0])
        for corner in corners[1:]:
            pen.lineTo(corner)
        pen.closePath()


def draw_loop(pen):
    pen.moveTo((50, 0))
    if isinstance(pen, TTGlyphPen):
        pen.qCurveTo((50, 700), (500, 700), (500, 350))
        pen.qCurveTo((500, -100), (100, 600))
    else:
        pen.curveTo((50, 460), (500, 700), (500, 350))
        pen.curveTo((500, 0), (300, 0), (100, 600))
    pen.closePath()


def start(is_ttf):
    builder = FontBuilder(1000, isTTF=is_ttf)
    builder.setupGlyphOrder(NAMES)
    builder.setupCharacterMap(CHARACTERS)
    return builder


def finish(builder):
    builder.setupHorizontalMetrics({name: (width, 0) for name, width in WIDTHS.items()})
    builder.setupHorizontalHeader(ascent=800, descent=-200)
    builder.setupPost(underlinePosition=-120, underlineThickness=50)
    builder.font["head"].created = builder.font["head"].modified = 3786912000
    kern = newTable("kern")
    table = KernTable_format_0()
    table.coverage = 1
    table.apple = False
    table.kernTable = {("A", "B"): -80, ("B", "A"): 40}
    kern.version = 0
    kern.kernTables = [table]
    builder.font["kern"] = kern
    builder.font.recalcTimestamp = False
    return builder.font


def make_truetype(hinted):
    builder = start(True)
    glyphs = {}
    for name in (".notdef", "space"):
        glyphs[name] = TTGlyphPen(None).glyph()
    for name, draw in (("A", draw_frame), ("B", draw_loop)):
        pen = TTGlyphPen(None)
        draw(pen)
        glyphs[name] = pen.glyph()
    pen = TTGlyphPen(glyphs)
    pen.addComponent("A", (1, 0, 0, 1, 20, 10))
    pen.addComponent("B", (0.5, 0.25, -0.25, 0.5, 200, 50))
    glyphs["C"] = pen.glyph()
    if hinted:
        glyphs["A"].program = ttProgram.Program()
        glyphs["A"].program.fromAssembly(["SVTCA[0]", "PUSHB[ ]", "2 1", "MDAP[1]", "MDRP[11101]", "IUP[0]", "IUP[1]"])
    builder.setupGlyf(glyphs)
    font = finish(builder)
    if hinted:
        font["fpgm"] = newTable("fpgm")
        font["fpgm"].program = ttProgram.Program()
        font["fpgm"].program.fromAssembly(["PUSHB[ ]", "0", "FDEF[ ]", "POP[ ]", "ENDF[ ]"])
        font["prep"] = newTable("prep")
        font["prep"].program = ttProgram.Program()
        font["prep"].program.fromAssembly(["PUSHB[ ]", "7 0", "CALL[ ]"])
        font["cvt "] = newTable("cvt ")
        font["cvt "].values = array.array("h", [0, 500, 50])
        maxp = font["maxp"]
        maxp.maxFunctionDefs, maxp.maxStackElements, maxp.maxStorage, maxp.maxZones = 1, 8, 1, 2
        maxp.maxSizeOfInstructions = 16
    return font


def make_postscript():
    builder = start(False)
    strings = {}
    for name in NAMES:
        pen = T2CharStringPen(WIDTHS[name], None)
        if name in ("A", "C"):
            draw_frame(pen)
        if name in ("B", "C"):
            draw_loop(pen)
        strings[name] = pen.getCharString()
    builder.setupCFF("Tiny", {}, strings, {})
    return finish(builder)


PICTURES = """STARTFONT 2.1
FONT -a-b-Medium-R-Normal--9-80-75-75-C-80-ISO10646-1
SIZE 8 75 75
FONTBOUNDINGBOX 8 8 0 -2
STARTPROPERTIES 5
PIXEL_SIZE 9
FONT_ASCENT 6
FONT_DESCENT 2
CHARSET_REGISTRY "ISO10646"
CHARSET_ENCODING "1"
ENDPROPERTIES
CHARS 1
STARTCHAR A
ENCODING 65
SWIDTH 500 0
DWIDTH 5 0
BBX 3 4 1 -1
BITMAP
40
A0
E0
A0
ENDCHAR
ENDFONT
"""


def read(path):
    return TTFont(path, recalcTimestamp=False)


def main():
    folder = pathlib.Path(sys.argv[1])
    plain, hinted, postscript = make_truetype(False), make_truetype(True), make_postscript()
    plain.save(folder / "outlines.ttf")
    hinted.save(folder / "hinted.ttf")
    postscript.save(folder / "cubic.otf")
    collection = TTCollection()
    collection.fonts = [read(folder / "outlines.ttf"), read(folder / "hinted.ttf")]
    collection.save(folder / "collection.ttc")
    packed = read(folder / "outlines.ttf")
    packed.flavor = "woff"
    packed.save(folder / "packed.woff")
    (folder / "pictures.bdf").write_text(PICTURES)


if __name__ == "__main__":
    main()
