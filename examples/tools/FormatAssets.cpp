// Paints what the scenes in examples/format need besides the showcase's pictures: kelvo-format-assets FOLDER.
// The same files, byte for byte, every time.

#include "Painting.h"
#include "Palette.h"
#include "Shapes.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

using namespace kelvokit::examples;

/** A speech bubble of 40 by 36 pixels with a tail at the lower left, which must not be stretched. */
Paint Speech(double x, double y) {
    Layers layers(Paint{Cream, 0});
    auto const lay = [&](double inset, Colour const& colour) {
        layers.LayInside(Box(x, y, inset, inset, 40 - inset, 27 - inset, 9 - inset), colour);
        // The tail, between the bubble's lower edge and its tip.
        double const depth = (y - 24) / (11 - 2 * inset);
        double const left = 8 + inset - 3 * depth;
        double const right = 18 - inset - 13 * depth;
        layers.LayInside(depth > 0 && depth < 1 && x > left && x < right ? -1 : 1, colour);
    };
    lay(0.5, Plum);
    lay(2, Cream);
    return layers.Get();
}

bool PaintSpeech(std::string const& path) {
    NinePatchMarks marks;
    marks.stretchX = {Run{21, 8}};
    marks.stretchY = {Run{10, 6}};
    marks.contentX = Run{7, 26};
    marks.contentY = Run{4, 19};
    return SaveNinePatch(path, PaintedInPixels(40, 36, Speech), marks);
}

/** A heart in a unit square. */
Paint Heart(double u, double v) {
    double const x = 2.5 * u - 1.25;
    double const y = 1.2 - 2.4 * v;
    double const body = x * x + y * y - 1;
    double const inside = body * body * body - x * x * y * y * y;
    return Paint{Mix(Coral, Plum, 0.7 * v), inside < 0 ? 1.0 : 0.0};
}

/** A character of the clock's font: its segments are the bits from the top one clockwise, the middle one
 * last. */
struct Segments {
    char unit;
    int nSegments;
};
constexpr Segments Characters[] = {{'0', 0x3f}, {'1', 0x06}, {'2', 0x5b}, {'3', 0x4f},
                                   {'4', 0x66}, {'5', 0x6d}, {'6', 0x7d}, {'7', 0x07},
                                   {'8', 0x7f}, {'9', 0x6f}, {'-', 0x40}, {':', 0}};
constexpr int CellWidth = 20;
constexpr int CellHeight = 32;
constexpr int CellsPerRow = 6;
constexpr int PageSide = 128;

/** Whether a point of a cell, from its upper left corner, lies on a character. */
bool IsLit(Segments const& character, double x, double y) {
    constexpr double Left = 4, Right = 14, Top = 4, Middle = 15, Bottom = 26, Half = 1.9;
    constexpr double Strokes[][4] = {{Left, Top, Right, Top},        {Right, Top, Right, Middle},
                                     {Right, Middle, Right, Bottom}, {Left, Bottom, Right, Bottom},
                                     {Left, Middle, Left, Bottom},   {Left, Top, Left, Middle},
                                     {Left, Middle, Right, Middle}};
    if (character.unit == ':') {
        return Disc(x, y, 9, 10, 2.2) < 0 || Disc(x, y, 9, 21, 2.2) < 0;
    }
    for (int n = 0; n < 7; ++n) {
        double const* const p = Strokes[n];
        // Cut off before the corners, where two segments meet.
        double const fx = p[0] == p[2] ? 0 : 1.4;
        double const fy = p[1] == p[3] ? 0 : 1.4;
        if ((character.nSegments >> n & 1) != 0 &&
            Stroke(x, y, p[0] + fx, p[1] + fy, p[2] - fx, p[3] - fy, Half - 0.7) < 0) {
            return true;
        }
    }
    return false;
}

Paint SegmentPage(double x, double y) {
    int const nColumn = static_cast<int>(x) / CellWidth;
    int const nIndex = static_cast<int>(y) / CellHeight * CellsPerRow + nColumn;
    bool const fCell = nColumn < CellsPerRow && nIndex < static_cast<int>(std::size(Characters));
    double const cellX = x - nColumn * CellWidth;
    int const nTop = static_cast<int>(y) / CellHeight * CellHeight;
    double const cellY = y - nTop;
    return Paint{{1, 1, 1}, fCell && IsLit(Characters[nIndex], cellX, cellY) ? 1.0 : 0.0};
}

/** The font's description. All characters are as wide; the colon lets the others come nearer. */
bool DescribeSegments(std::string const& path) {
    std::ofstream file(path, std::ios::binary);
    file << "info face=\"segments\" size=32 bold=0 italic=0 unicode=1\n"
         << "common lineHeight=34 base=30 scaleW=" << PageSide << " scaleH=" << PageSide
         << " pages=1 packed=0\n"
         << "page id=0 file=\"segments.png\"\n"
         << "chars count=" << std::size(Characters) + 1 << "\n"
         << "char id=32 x=0 y=0 width=0 height=0 xoffset=0 yoffset=0 xadvance=18 page=0 chnl=15\n";
    int nIndex = 0;
    for (Segments const& character : Characters) {
        bool const fColon = character.unit == ':';
        file << "char id=" << static_cast<int>(character.unit) << " x=" << nIndex % CellsPerRow * CellWidth
             << " y=" << nIndex / CellsPerRow * CellHeight
             << " width=18 height=30 xoffset=" << (fColon ? -4 : 0)
             << " yoffset=0 xadvance=" << (fColon ? 10 : 18) << " page=0 chnl=15\n";
        ++nIndex;
    }
    file << "kernings count=1\nkerning first=55 second=45 amount=-3\n";
    if (!file.flush()) {
        std::fprintf(stderr, "%s: cannot be written\n", path.c_str());
        return false;
    }
    return true;
}

bool PaintAll(std::string const& folder) {
    return PaintSpeech(folder + "/speech.9.png") &&
           SavePicture(folder + "/heart.png", Painted(24, 22, Heart)) &&
           SavePicture(folder + "/segments.png", PaintedInPixels(PageSide, PageSide, SegmentPage)) &&
           DescribeSegments(folder + "/segments.fnt");
}

} // namespace

int main(int nArguments, char** ppArguments) {
    if (nArguments != 2) {
        std::fprintf(
            stderr,
            "usage: %s FOLDER\nPaints the pictures and the bitmap font of the scenes in examples/format "
            "into an existing folder.\n",
            ppArguments[0]);
        return 2;
    }
    return PaintAll(ppArguments[1]) ? 0 : 1;
}
