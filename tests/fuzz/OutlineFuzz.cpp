// Any outline, cut into triangles: two bytes a point, on a small grid so that lines often cross, touch and
// coincide. Away from all lines, one triangle covers what is inside and none what is outside. The tessellator
// moves lines a little where many of them coincide, so a few of the places looked at may differ.

#include "FuzzChecks.h"
#include "font/GlyphTriangles.h"
#include "kelvo_test/Plane.h"

#include <algorithm>
#include <cmath>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::assets;
using fuzz::Require;
using kelvokit::test::Cross;
using kelvokit::test::DistanceToSegment;

namespace {

constexpr int PlacesToLookAt = 150;
constexpr int PlacesThatMayDiffer = 7;

using Point = Vector2T<RealFloat>;

/** The first byte is the rule; 255 ends a contour, all others are places. */
GlyphOutline MakeOutline(std::uint8_t const* data, std::size_t size) {
    GlyphOutline outline;
    outline.fEvenOdd = (data[0] & 1) != 0;
    outline.contours.emplace_back();
    for (std::size_t i = 1; i + 1 < size; ++i) {
        if (data[i] == 255) {
            outline.contours.emplace_back();
        } else {
            outline.contours.back().emplace_back(RealFloat(data[i]) / 4, RealFloat(data[i + 1]) / 4);
            ++i;
        }
    }
    return outline;
}

/** How often the outline goes around a point; false when one of its lines is near. */
bool CountTurns(GlyphOutline const& outline, Point const& p, int& nTurns) {
    nTurns = 0;
    for (auto const& contour : outline.contours) {
        for (std::size_t i = 0; i < contour.size(); ++i) {
            Point const& a = contour[i];
            Point const& b = contour[(i + 1) % contour.size()];
            if (DistanceToSegment(p, a, b) < 0.01) {
                return false;
            }
            if ((a.y <= p.y) != (b.y <= p.y) && (Cross(a, b, p) > 0) == (a.y < b.y)) {
                nTurns += a.y < b.y ? 1 : -1;
            }
        }
    }
    return true;
}

/** How many triangles cover a point; false when an edge of one is so near that rounding decides. */
bool CountTriangles(GlyphMesh const& mesh, Point const& p, int& nCovering) {
    List<Vector3T<RealFloat>> const& positions = mesh.m_positions.GetValue();
    List<unsigned short> const& indices = mesh.m_indices.GetValue();
    nCovering = 0;
    for (unsigned int i = 0; i < indices.GetCount(); i += 3) {
        int nLeftOf = 0;
        for (unsigned int j = 0; j < 3; ++j) {
            Vector3T<RealFloat> const& a = positions[indices[i + j]];
            Vector3T<RealFloat> const& b = positions[indices[i + (j + 1) % 3]];
            if (DistanceToSegment(p, a, b) < 0.0001) {
                return false;
            }
            nLeftOf += Cross(a, b, p) > 0;
        }
        nCovering += nLeftOf == 3;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    GlyphOutline const outline = MakeOutline(data, std::min<std::size_t>(size, 256));
    GlyphMesh mesh;
    std::string what;
    Require(CutIntoTriangles(outline, mesh, what));
    int nDifferent = 0;
    for (int i = 0; i < PlacesToLookAt; ++i) {
        Point const p(std::fmod(float(i) * 39.5527f, 64.0f), std::fmod(float(i) * 17.9131f, 64.0f));
        int nTurns = 0;
        int nCovering = 0;
        if (CountTurns(outline, p, nTurns) && CountTriangles(mesh, p, nCovering)) {
            bool const fInside = outline.fEvenOdd ? nTurns % 2 != 0 : nTurns != 0;
            nDifferent += nCovering != (fInside ? 1 : 0);
        }
    }
    Require(nDifferent <= PlacesThatMayDiffer);
    return 0;
}
