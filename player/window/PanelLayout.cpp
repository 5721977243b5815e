#include "window/PanelLayout.h"

#include <algorithm>

namespace kelvokit::player {

using trevik::RectangleT;
using trevik::SizeT;

namespace {

constexpr int Gap = 4; ///< between panels

} // namespace

RectangleT<int> PanelLayout::GetBox(SizeT<int> const& size, PanelPlace place) const {
    int const nFreeX = std::max(0, m_area.GetWidth() - size.width);
    int const nFreeY = std::max(0, m_area.GetHeight() - size.height);
    int nLeft = m_area.left;
    int nTop = m_area.top;
    if (place == PanelPlace::Middle) {
        nLeft += nFreeX / 2;
        nTop += nFreeY / 2;
    }
    if (place == PanelPlace::UpperRight || place == PanelPlace::LowerRight) {
        nLeft += nFreeX;
    }
    if (place == PanelPlace::LowerLeft || place == PanelPlace::LowerRight) {
        nTop += nFreeY;
    }
    return {nLeft, nTop, nLeft + size.width, nTop + size.height};
}

bool PanelLayout::CoversPanel(RectangleT<int> const& box) const {
    return std::any_of(m_placed.begin(), m_placed.end(), [&](RectangleT<int> const& other) {
        return box.left < other.right + Gap && other.left < box.right + Gap && box.top < other.bottom + Gap &&
               other.top < box.bottom + Gap;
    });
}

bool PanelLayout::CoversPoint(RectangleT<int> const& box) const {
    return m_visible && m_visible->x >= box.left && m_visible->x < box.right && m_visible->y >= box.top &&
           m_visible->y < box.bottom;
}

std::optional<RectangleT<int>> PanelLayout::Place(SizeT<int> const& size,
                                                  std::vector<PanelPlace> const& places) {
    for (bool const fPointToo : {false, true}) {
        for (PanelPlace const place : places) {
            RectangleT<int> const box = GetBox(size, place);
            if (!CoversPanel(box) && (fPointToo || !CoversPoint(box))) {
                m_placed.push_back(box);
                return box;
            }
        }
    }
    return std::nullopt;
}

} // namespace kelvokit::player
