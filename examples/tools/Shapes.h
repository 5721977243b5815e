#pragma once

#include "Canvas.h"

#include <algorithm>
#include <cmath>

namespace kelvokit::examples {

// Distances from shapes, in the units of what goes in: negative inside, positive outside.

inline double Disc(double x, double y, double centreX, double centreY, double radius) {
    return std::hypot(x - centreX, y - centreY) - radius;
}

inline double Box(double x, double y, double left, double top, double right, double bottom,
                  double radius = 0) {
    double const dx = std::abs(x - 0.5 * (left + right)) - 0.5 * (right - left) + radius;
    double const dy = std::abs(y - 0.5 * (top + bottom)) - 0.5 * (bottom - top) + radius;
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - radius;
}

/** A stroke with round ends. */
inline double Stroke(double x, double y, double ax, double ay, double bx, double by, double radius) {
    double const length = (bx - ax) * (bx - ax) + (by - ay) * (by - ay);
    double const t = std::clamp(((x - ax) * (bx - ax) + (y - ay) * (by - ay)) / length, 0.0, 1.0);
    return std::hypot(x - ax - t * (bx - ax), y - ay - t * (by - ay)) - radius;
}

/** The inside of an ellipse; not a distance, but 0 on the outline and -1 in the middle. */
inline double Ellipse(double x, double y, double centreX, double centreY, double radiusX, double radiusY) {
    return std::hypot((x - centreX) / radiusX, (y - centreY) / radiusY) - 1;
}

/** One point of a picture that is painted layer by layer. */
class Layers {
public:
    explicit Layers(Paint const& ground = Paint{{0, 0, 0}, 0}) : m_paint(ground) {}

    /** Lays a colour over what is there. */
    void Lay(Colour const& colour, double alpha = 1) {
        double const below = m_paint.alpha * (1 - alpha);
        double const sum = alpha + below;
        if (sum > 0) {
            m_paint.colour = Mix(m_paint.colour, colour, alpha / sum);
        }
        m_paint.alpha = sum;
    }
    /** The same inside a shape only. */
    void LayInside(double distance, Colour const& colour, double alpha = 1) {
        if (distance < 0) {
            Lay(colour, alpha);
        }
    }
    Paint const& Get() const { return m_paint; }

private:
    Paint m_paint;
};

} // namespace kelvokit::examples
