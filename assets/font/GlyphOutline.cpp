#include "font/GlyphOutline.h"

#include <algorithm>
#include <cmath>

#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

struct Point {
    double x;
    double y;
};

Point ToPixels(FT_Vector const& position) {
    return {static_cast<double>(position.x) / 64, static_cast<double>(position.y) / 64};
}

/** How far the middle one of three points lies from the middle between the others, doubled. */
double Bend(Point const& a, Point const& b, Point const& c) {
    return std::hypot(a.x - 2 * b.x + c.x, a.y - 2 * b.y + c.y);
}

/** Takes an outline's pieces as they come. FreeType stops at the first one that is refused. */
class Flattener {
public:
    Flattener(double tolerance, std::size_t maximumPoints, GlyphOutline& outline)
        : m_rTolerance(tolerance), m_nMaximumPoints(maximumPoints), m_outline(outline) {}

    bool MoveTo(Point const& to) {
        m_outline.contours.emplace_back();
        return LineTo(to);
    }

    bool LineTo(Point const& to) {
        m_outline.contours.back().push_back({static_cast<RealFloat>(to.x), static_cast<RealFloat>(to.y)});
        m_last = to;
        return ++m_nPoints <= m_nMaximumPoints;
    }

    bool ConicTo(Point const& control, Point const& to) {
        // A piece of a curve is off its chord by at most an eighth of the second derivative, which is twice
        // the bend here, times the square of its share of the curve.
        Point const from = m_last;
        return Draw(Bend(from, control, to) / 4, [&](double t) {
            double const a = (1 - t) * (1 - t);
            double const b = 2 * t * (1 - t);
            double const c = t * t;
            return Point{a * from.x + b * control.x + c * to.x, a * from.y + b * control.y + c * to.y};
        });
    }

    bool CubicTo(Point const& first, Point const& second, Point const& to) {
        // The same, with a second derivative of up to six times the greater bend.
        Point const from = m_last;
        double const bend = std::max(Bend(from, first, second), Bend(first, second, to));
        return Draw(bend * 0.75, [&](double t) {
            double const a = (1 - t) * (1 - t) * (1 - t);
            double const b = 3 * t * (1 - t) * (1 - t);
            double const c = 3 * t * t * (1 - t);
            double const d = t * t * t;
            return Point{a * from.x + b * first.x + c * second.x + d * to.x,
                         a * from.y + b * first.y + c * second.y + d * to.y};
        });
    }

private:
    /** Draws a curve whose chord is off it by `error` in as many pieces as it takes. */
    template <class Curve>
    bool Draw(double error, Curve curve) {
        double const pieces = std::max(std::ceil(std::sqrt(error / m_rTolerance)), 1.0);
        bool fRoom = pieces <= static_cast<double>(m_nMaximumPoints);
        for (double i = 1; fRoom && i <= pieces; ++i) {
            fRoom = LineTo(curve(i / pieces));
        }
        return fRoom;
    }

    double m_rTolerance;
    std::size_t m_nMaximumPoints;
    std::size_t m_nPoints = 0;
    GlyphOutline& m_outline;
    Point m_last = {0, 0};
};

Flattener& From(void* pUser) {
    return *static_cast<Flattener*>(pUser);
}

} // namespace

bool FlattenOutline(FT_Outline const& source, RealFloat tolerance, std::size_t maximumPoints,
                    GlyphOutline& outline) {
    FT_Outline_Funcs functions = {};
    functions.move_to = [](FT_Vector const* pTo, void* pUser) {
        return From(pUser).MoveTo(ToPixels(*pTo)) ? 0 : 1;
    };
    functions.line_to = [](FT_Vector const* pTo, void* pUser) {
        return From(pUser).LineTo(ToPixels(*pTo)) ? 0 : 1;
    };
    functions.conic_to = [](FT_Vector const* pControl, FT_Vector const* pTo, void* pUser) {
        return From(pUser).ConicTo(ToPixels(*pControl), ToPixels(*pTo)) ? 0 : 1;
    };
    functions.cubic_to = [](FT_Vector const* pFirst, FT_Vector const* pSecond, FT_Vector const* pTo,
                            void* pUser) {
        return From(pUser).CubicTo(ToPixels(*pFirst), ToPixels(*pSecond), ToPixels(*pTo)) ? 0 : 1;
    };
    outline.contours.clear();
    outline.fEvenOdd = (source.flags & FT_OUTLINE_EVEN_ODD_FILL) != 0;
    Flattener flattener(tolerance, maximumPoints, outline);
    // It only reads the outline.
    return FT_Outline_Decompose(const_cast<FT_Outline*>(&source), &functions, &flattener) == 0;
}

} // namespace trevik::kelvo::assets
