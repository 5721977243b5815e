// Any outline, cut into triangles: two bytes a point, on a small grid so that lines often cross, touch and
// coincide. Wherever no line is near, exactly one triangle covers what is inside, and none what is outside.

#include "GlyphTriangles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::assets;

namespace {

using Point = Vector2T<RealFloat>;

void Require(bool fHolds) {
    if (!fHolds) {
        std::abort();
    }
}

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

double Cross(Point const& a, Point const& b, Point const& c) {
    return (double(b.x) - a.x) * (double(c.y) - a.y) - (double(c.x) - a.x) * (double(b.y) - a.y);
}

bool IsNear(Point const& p, Point const& a, Point const& b) {
    double const dx = b.x - a.x;
    double const dy = b.y - a.y;
    double const length = dx * dx + dy * dy;
    double const t = length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy) < 0.01;
}

/** How often the outline goes around a point; false when one of its lines is near. */
bool CountTurns(GlyphOutline const& outline, Point const& p, int& nTurns) {
    nTurns = 0;
    for (auto const& contour : outline.contours) {
        for (std::size_t i = 0; i < contour.size(); ++i) {
            Point const& a = contour[i];
            Point const& b = contour[(i + 1) % contour.size()];
            if (IsNear(p, a, b)) {
                return false;
            }
            if ((a.y <= p.y) != (b.y <= p.y) && (Cross(a, b, p) > 0) == (a.y < b.y)) {
                nTurns += a.y < b.y ? 1 : -1;
            }
        }
    }
    return true;
}

int CountTriangles(GlyphMesh const& mesh, Point const& p) {
    List<Vector3T<RealFloat>> const& positions = mesh.m_positions.GetValue();
    List<unsigned short> const& indices = mesh.m_indices.GetValue();
    int nCovering = 0;
    for (unsigned int i = 0; i < indices.GetCount(); i += 3) {
        Point corners[3];
        for (unsigned int j = 0; j < 3; ++j) {
            corners[j] = {positions[indices[i + j]].x, positions[indices[i + j]].y};
        }
        nCovering += Cross(corners[0], corners[1], p) > 0 && Cross(corners[1], corners[2], p) > 0 &&
                     Cross(corners[2], corners[0], p) > 0;
    }
    return nCovering;
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
    for (int i = 0; i < 150; ++i) {
        Point const p(std::fmod(float(i) * 39.5527f, 64.0f), std::fmod(float(i) * 17.9131f, 64.0f));
        int nTurns = 0;
        if (CountTurns(outline, p, nTurns)) {
            bool const fInside = outline.fEvenOdd ? nTurns % 2 != 0 : nTurns != 0;
            Require(CountTriangles(mesh, p) == (fInside ? 1 : 0));
        }
    }
    return 0;
}
