#pragma once

#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/Vector.h"

#include <optional>
#include <vector>

namespace kelvokit::player {

/** Where in the window a panel goes. */
enum class PanelPlace { UpperLeft, UpperRight, LowerLeft, LowerRight, Middle };

/**
 * Finds room for panels in a window so that none covers another one: those that matter most are placed first,
 * and what finds no room any more is not shown. Pixels, y down.
 */
class PanelLayout {
public:
    /** `area`: where panels may be. */
    explicit PanelLayout(trevik::RectangleT<int> const& area) : m_area(area) {}

    /** A point that panels cover only where nothing else is left to them. */
    void KeepVisible(trevik::Vector2T<int> const& point) { m_visible = point; }

    /**
     * The first of these places where a panel of this size covers no other one. What is larger than the area
     * begins at its upper left corner.
     */
    std::optional<trevik::RectangleT<int>> Place(trevik::SizeT<int> const& size,
                                                 std::vector<PanelPlace> const& places);

private:
    trevik::RectangleT<int> GetBox(trevik::SizeT<int> const& size, PanelPlace place) const;
    bool CoversPanel(trevik::RectangleT<int> const& box) const;
    bool CoversPoint(trevik::RectangleT<int> const& box) const;

    trevik::RectangleT<int> m_area;
    std::optional<trevik::Vector2T<int>> m_visible;
    std::vector<trevik::RectangleT<int>> m_placed;
};

} // namespace kelvokit::player
