#include "TestFonts.h"
#include "font/GlyphOutline.h"
#include "font/GlyphTriangles.h"
#include "kelvo_test/Plane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

namespace trevik::kelvo::assets::testing {
namespace {

using kelvokit::test::Cross;
using Point = Vector2T<RealFloat>;
using Contour = std::vector<Point>;
using Triangle = std::array<Point, 3>;

/** The triangles of a mesh, which has to be sound. */
std::vector<Triangle> TrianglesOf(GlyphMesh const& mesh) {
    auto const& positions = mesh.m_positions.GetValue();
    auto const& indices = mesh.m_indices.GetValue();
    EXPECT_EQ(indices.GetCount() % 3, 0u);
    std::set<std::pair<float, float>> places;
    for (auto const& position : positions) {
        EXPECT_TRUE(places.insert({position.x, position.y}).second) << "a vertex is there twice";
        EXPECT_EQ(position.z, 0);
    }
    std::vector<Triangle> triangles;
    for (unsigned int i = 0; i + 2 < indices.GetCount(); i += 3) {
        Triangle triangle;
        for (unsigned int j = 0; j < 3; ++j) {
            EXPECT_LT(indices[i + j], positions.GetCount());
            triangle[j] = {positions[indices[i + j]].x, positions[indices[i + j]].y};
        }
        triangles.push_back(triangle);
    }
    return triangles;
}

/** The area of all triangles; clockwise ones would make it less. */
double AreaOf(std::vector<Triangle> const& triangles) {
    double area = 0;
    for (Triangle const& triangle : triangles) {
        area += Cross(triangle[0], triangle[1], triangle[2]) / 2;
    }
    return area;
}

int CountAround(std::vector<Triangle> const& triangles, Point const& point) {
    return static_cast<int>(std::count_if(triangles.begin(), triangles.end(), [&point](Triangle const& t) {
        return Cross(t[0], t[1], point) > 0 && Cross(t[1], t[2], point) > 0 && Cross(t[2], t[0], point) > 0;
    }));
}

std::vector<Triangle> TrianglesOf(PolygonalFont const& font, std::uint32_t nCodePoint) {
    Glyph const* const pGlyph = font.GetGlyph(nCodePoint);
    if (!pGlyph || pGlyph->m_nMesh < 0) {
        return {};
    }
    EXPECT_LT(static_cast<unsigned int>(pGlyph->m_nMesh), font.GetMeshCount());
    return TrianglesOf(*font.GetMesh(static_cast<unsigned int>(pGlyph->m_nMesh)));
}

/** Letters with holes, with parts that lie apart or overlap, and composed ones. */
std::vector<std::uint32_t> TellingGlyphs() {
    std::vector<std::uint32_t> codePoints = Range(0x21, 0x7E);
    for (std::uint32_t const nCodePoint : {0xA9, 0xBD, 0xC5, 0xC7, 0xD8, 0xE9, 0x1ED, 0x444, 0x6A9, 0x2603}) {
        codePoints.push_back(nCodePoint);
    }
    return codePoints;
}

/** Size and offset are the mesh's box in whole pixels. */
void ExpectBox(Glyph const& glyph, std::vector<Triangle> const& triangles, FT_GlyphSlot pSlot,
               int nPixelsPerEm) {
    Point least(1e9f, 1e9f), greatest(-1e9f, -1e9f);
    for (Triangle const& triangle : triangles) {
        for (Point const& corner : triangle) {
            least = {std::min(least.x, corner.x), std::min(least.y, corner.y)};
            greatest = {std::max(greatest.x, corner.x), std::max(greatest.y, corner.y)};
        }
    }
    EXPECT_EQ(glyph.m_nOffsetX, std::floor(least.x));
    EXPECT_EQ(-glyph.m_nOffsetY, std::floor(least.y));
    EXPECT_EQ(glyph.m_nOffsetX + glyph.m_nWidth, std::ceil(greatest.x));
    EXPECT_EQ(-glyph.m_nOffsetY + glyph.m_nHeight, std::ceil(greatest.y));
    EXPECT_EQ(glyph.m_nAdvance, std::lround(double(pSlot->advance.x) / 64));
    EXPECT_EQ(glyph.m_rDivisorX, nPixelsPerEm);
    EXPECT_EQ(glyph.m_rDivisorY, nPixelsPerEm);
    EXPECT_EQ(glyph.m_origin, Vector2T<RealFloat>());
}

TEST(GlyphMesh, CoversThePixelsThatFreeTypeDraws) {
    struct {
        int nPixelsPerEm;
        std::vector<std::uint32_t> codePoints;
    } const cases[] = {{64, TellingGlyphs()}, {256, {'O', '8', '%', 0xE9}}};
    for (auto const& test : cases) {
        Ref<PolygonalFont> const pFont = ReadSansOutlines(OptionsFor(test.codePoints, test.nPixelsPerEm));
        ASSERT_TRUE(pFont);
        ReferenceFace const face(test.nPixelsPerEm);
        for (std::uint32_t const nCodePoint : test.codePoints) {
            SCOPED_TRACE(::testing::Message() << nCodePoint << " at " << test.nPixelsPerEm);
            std::vector<Triangle> const triangles = TrianglesOf(*pFont, nCodePoint);
            FT_GlyphSlot const pSlot = face.Load(nCodePoint, FT_LOAD_RENDER | FT_LOAD_NO_HINTING);
            ExpectBox(*pFont->GetGlyph(nCodePoint), triangles, pSlot, test.nPixelsPerEm);
            double covered = 0;
            for (unsigned int y = 0; y < pSlot->bitmap.rows; ++y) {
                for (unsigned int x = 0; x < pSlot->bitmap.width; ++x) {
                    int const nCoverage = pSlot->bitmap.buffer[int(y) * pSlot->bitmap.pitch + int(x)];
                    covered += nCoverage / 255.0;
                    // Off the middle, where edges between triangles like to lie.
                    Point const place(float(pSlot->bitmap_left + int(x)) + 0.4871f,
                                      float(pSlot->bitmap_top - int(y)) - 0.5213f);
                    if (nCoverage == 0 || nCoverage == 255) {
                        ASSERT_EQ(CountAround(triangles, place), nCoverage == 255) << x << ", " << y;
                    }
                }
            }
            EXPECT_NEAR(AreaOf(triangles), covered, 0.01 * covered + 0.5);
        }
    }
}

TEST(GlyphMesh, ASpaceHasAnAdvanceOnly) {
    Ref<PolygonalFont> const pFont = ReadSansOutlines(OptionsFor({' ', 'A', 'B', 0xE000}));
    ASSERT_TRUE(pFont);
    ASSERT_EQ(pFont->GetGlyphCount(), 3u);
    Glyph const& space = *pFont->GetGlyph(' ');
    EXPECT_EQ(space.m_nAdvance, 10);
    EXPECT_TRUE(space.m_nWidth == 0 && space.m_nHeight == 0 && space.m_nMesh == -1);
    EXPECT_EQ(pFont->GetMeshCount(), 2u);
}

/** An outline of FreeType's, drawn from points (64ths of a pixel) and their tags. */
FT_Outline MakeOutline(std::vector<FT_Vector>& points, std::vector<char>& tags, short& nLast) {
    FT_Outline outline = {};
    nLast = short(points.size() - 1);
    outline.n_contours = 1;
    outline.n_points = short(points.size());
    outline.points = points.data();
    outline.tags = tags.data();
    outline.contours = &nLast;
    return outline;
}

double DistanceTo(Contour const& contour, Point const& point) {
    double distance = 1e9;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        Point const& next = contour[(i + 1) % contour.size()];
        distance = std::min(distance, kelvokit::test::DistanceToSegment(point, contour[i], next));
    }
    return distance;
}

TEST(GlyphOutline, CurvesAreNowhereFurtherAwayThanTheTolerance) {
    struct {
        std::vector<FT_Vector> points;
        std::vector<char> tags;
    } cases[] = {
        {{{640, 320}, {6400, 12800}, {12800, 0}}, {FT_CURVE_TAG_ON, FT_CURVE_TAG_CONIC, FT_CURVE_TAG_ON}},
        {{{640, 320}, {19200, 12800}, {-6400, 12800}, {12800, 0}},
         {FT_CURVE_TAG_ON, FT_CURVE_TAG_CUBIC, FT_CURVE_TAG_CUBIC, FT_CURVE_TAG_ON}},
    };
    for (auto& c : cases) {
        short nLast = 0;
        FT_Outline const source = MakeOutline(c.points, c.tags, nLast);
        std::size_t nBefore = 0;
        for (float const tolerance : {2.0f, 0.1f, 0.005f}) {
            GlyphOutline outline;
            ASSERT_TRUE(FlattenOutline(source, tolerance, 65535, outline));
            ASSERT_EQ(outline.contours.size(), 1u);
            double furthest = 0;
            for (int i = 0; i <= 2000; ++i) {
                // De Casteljau's construction of a point of the curve.
                std::vector<Point> p;
                for (FT_Vector const& point : c.points) {
                    p.emplace_back(float(point.x) / 64, float(point.y) / 64);
                }
                for (; p.size() > 1; p.pop_back()) {
                    for (std::size_t j = 0; j + 1 < p.size(); ++j) {
                        p[j] = p[j] + (p[j + 1] - p[j]) * (float(i) / 2000);
                    }
                }
                furthest = std::max(furthest, DistanceTo(outline.contours[0], p[0]));
            }
            EXPECT_LE(furthest, tolerance * 1.01);
            EXPECT_GT(furthest, tolerance / 10) << "far more lines than needed";
            EXPECT_GT(outline.contours[0].size(), nBefore);
            nBefore = outline.contours[0].size();
        }
        GlyphOutline outline;
        EXPECT_TRUE(FlattenOutline(source, 0.005f, nBefore, outline));
        EXPECT_FALSE(FlattenOutline(source, 0.005f, nBefore - 1, outline));
    }
}

Contour Square(float left, float bottom, float side, bool fClockwise = false) {
    Contour contour = {
        {left, bottom}, {left + side, bottom}, {left + side, bottom + side}, {left, bottom + side}};
    if (fClockwise) {
        std::reverse(contour.begin(), contour.end());
    }
    return contour;
}

TEST(GlyphTriangles, FillByTheOutlinesRule) {
    Contour const bowTie = {{0, 0}, {4, 4}, {4, 0}, {0, 4}};
    Contour const outAndBack = {{0, 0}, {4, 0}, {8, 0}, {4, 0}};
    struct {
        char const* what;
        std::vector<Contour> contours;
        double area;
        double areaEvenOdd;
    } const cases[] = {
        {"nothing", {}, 0, 0},
        {"a contour without points", {{}}, 0, 0},
        {"a point", {{{1, 1}}}, 0, 0},
        {"a line", {{{1, 1}, {5, 5}}}, 0, 0},
        {"out and back", {outAndBack}, 0, 0},
        {"a square", {Square(0, 0, 4)}, 16, 16},
        {"half a square", {{{0, 0}, {1, 0}, {0, 1}}}, 0.5, 0.5},
        {"a square the other way round", {Square(0, 0, 4, true)}, 16, 16},
        {"a hole", {Square(0, 0, 4), Square(1, 1, 2, true)}, 12, 12},
        {"a hole that winds the same way", {Square(0, 0, 4), Square(1, 1, 2)}, 16, 12},
        {"squares that overlap", {Square(0, 0, 4), Square(2, 2, 4)}, 28, 24},
        {"squares with a side in common", {Square(0, 0, 4), Square(4, 0, 4)}, 32, 32},
        {"the same square twice", {Square(0, 0, 4), Square(0, 0, 4)}, 16, 0},
        {"a bow tie", {bowTie}, 8, 8},
        {"points that are there twice", {{{0, 0}, {0, 0}, {4, 0}, {4, 4}, {4, 4}}}, 8, 8},
    };
    for (auto const& test : cases) {
        for (bool const fEvenOdd : {false, true}) {
            SCOPED_TRACE(test.what);
            GlyphMesh mesh;
            std::string what;
            GlyphOutline outline;
            outline.contours = test.contours;
            outline.fEvenOdd = fEvenOdd;
            EXPECT_TRUE(CutIntoTriangles(outline, mesh, what)) << what;
            EXPECT_NEAR(AreaOf(TrianglesOf(mesh)), fEvenOdd ? test.areaEvenOdd : test.area, 1e-5);
        }
    }
}

/** A closed line that goes around `nTurns` times in `nPoints` steps and crosses itself all the while. */
GlyphOutline Star(int nPoints, int nTurns) {
    GlyphOutline outline;
    outline.contours.emplace_back();
    for (int i = 0; i < nPoints; ++i) {
        double const angle = 2 * 3.14159265358979 * nTurns * i / nPoints;
        outline.contours[0].emplace_back(float(100 * std::cos(angle)), float(100 * std::sin(angle)));
    }
    return outline;
}

TEST(GlyphTriangles, LinesThatCrossBecomeVerticesWithinLimits) {
    GlyphMesh mesh;
    std::string what;
    ASSERT_TRUE(CutIntoTriangles(Star(5, 2), mesh, what)) << what;
    EXPECT_EQ(mesh.m_positions.GetValue().GetCount(), 10u); // five tips and five crossings
    // Ten triangles from the centre: to a tip at 100, and to a crossing at 100 cos 72° / cos 36°.
    EXPECT_NEAR(AreaOf(TrianglesOf(mesh)), 10 * 0.5 * 100 * 38.19660 * std::sin(0.62831853), 0.01);

    EXPECT_TRUE(CutIntoTriangles(Star(201, 100), mesh, what)) << what;
    EXPECT_FALSE(CutIntoTriangles(Star(2001, 1000), mesh, what));
    EXPECT_EQ(what, "has lines that lie above or cross each other too often to be cut into triangles");

    GlyphOutline comb; // nothing crosses, but everything lies above one another
    for (int i = 0; i < 8000; ++i) {
        comb.contours.push_back({{0, float(i)}, {100, float(i)}, {100, float(i) + 0.5f}});
    }
    EXPECT_FALSE(CutIntoTriangles(comb, mesh, what));
    comb.contours.resize(300);
    EXPECT_TRUE(CutIntoTriangles(comb, mesh, what)) << what;
    EXPECT_NEAR(AreaOf(TrianglesOf(mesh)), 300 * 25, 0.1);
}

} // namespace
} // namespace trevik::kelvo::assets::testing
