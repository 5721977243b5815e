#include "trevik/kelvo/GraphicsDevice.h"

#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/EffectResource.h"

#include <atomic>
#include <climits>

namespace trevik::kelvo {

namespace {

/** Hits on one plane come out at distances that differ by rounding only. */
constexpr RealFloat DistanceTolerance = RealFloat(0.0001);

/** The sum, or the int nearest to it. */
int AddWithin(int nStart, int nLength) {
    long long const nEnd = static_cast<long long>(nStart) + nLength;
    return static_cast<int>(nEnd < INT_MIN ? INT_MIN : nEnd > INT_MAX ? INT_MAX : nEnd);
}

} // namespace

GraphicsDevice::GraphicsDevice()
    : m_clearColor(ColorT<RealFloat>::Black), m_highlightColor(ColorT<RealFloat>::Black) {
    static std::atomic<unsigned int> s_nDevices{0};
    m_nResourceState = (s_nDevices.fetch_add(1, std::memory_order_relaxed) + 1ull) << 32;
}

GraphicsDevice::~GraphicsDevice() = default;

bool GraphicsDevice::Initialize(void*, DeviceFormat::Enum format, SizeT<int> const& size) {
    m_format = format;
    m_size = size;
    ChangeResourceState();
    return true;
}

bool GraphicsDevice::Reset(RectangleT<int> const& rectangle) {
    m_size = SizeT<int>(rectangle.GetWidth(), rectangle.GetHeight());
    RecordViewport(rectangle);
    return true;
}

/** Applications that set the same viewport in each frame change nothing. */
void GraphicsDevice::RecordViewport(RectangleT<int> const& viewport) {
    if (viewport != m_viewport) {
        m_viewport = viewport;
        ChangeResourceState();
    }
}

void GraphicsDevice::SetClearColor(ColorT<RealFloat> const& color) {
    m_clearColor = color;
}

ColorT<RealFloat> GraphicsDevice::GetClearColor() {
    return m_clearColor;
}

void GraphicsDevice::Clear() {
    m_opacities.Clear();
    m_transforms.Clear();
}

void GraphicsDevice::SetViewport(RectangleT<int> const& rectangle) {
    RecordViewport(rectangle);
}

void GraphicsDevice::SetViewport(int nX, int nY, int nWidth, int nHeight) {
    RecordViewport(RectangleT<int>(nX, nY, AddWithin(nX, nWidth), AddWithin(nY, nHeight)));
}

RectangleT<int> GraphicsDevice::GetViewport() const {
    return m_viewport;
}

void GraphicsDevice::SetRenderMode() {
    m_pSelected = nullptr;
}

void GraphicsDevice::SetSelectionMode(Vector2T<RealFloat> const& point, List<SelectionPoint>* pSelected) {
    m_selectionPoint = point;
    m_pSelected = pSelected;
}

Vector2T<RealFloat> GraphicsDevice::GetSelectionPoint() {
    return m_selectionPoint;
}

void GraphicsDevice::PushSelected(Node* pNode, Vector2T<RealFloat> const& position,
                                  RealFloat const& distance) {
    if (!m_pSelected) {
        return;
    }
    SelectionPoint hit;
    hit.m_pNode = pNode;
    hit.m_position = position;
    hit.m_distance = distance;
    RealFloat const nearest = distance - DistanceTolerance * (distance < 0 ? -distance : distance);
    unsigned int nPlace = 0;
    while (nPlace < m_pSelected->GetCount() && (*m_pSelected)[nPlace].m_distance < nearest) {
        ++nPlace;
    }
    m_pSelected->Insert(nPlace, hit);
}

bool GraphicsDevice::IsDepthTestEnabled() {
    return m_fDepthTest;
}

void GraphicsDevice::PushOpacity(RealFloat const& opacity) {
    m_opacities.Push(opacity);
}

void GraphicsDevice::PopOpacity() {
    m_opacities.Pop();
}

void GraphicsDevice::MergeOpacity(RealFloat const& opacity) {
    m_opacities.Push(opacity * GetOpacity());
}

RealFloat GraphicsDevice::GetOpacity() {
    return m_opacities.IsEmpty() ? RealFloat(1) : m_opacities.Top();
}

void GraphicsDevice::PushTransformMatrix(Matrix4T<RealFloat> const& matrix) {
    m_transforms.Push(matrix);
}

void GraphicsDevice::PopTransformMatrix() {
    m_transforms.Pop();
}

void GraphicsDevice::MergeTransformMatrix(Matrix4T<RealFloat> const& matrix) {
    m_transforms.Push(matrix * GetTransformMatrix());
}

Matrix4T<RealFloat> GraphicsDevice::GetTransformMatrix() const {
    return m_transforms.IsEmpty() ? Matrix4T<RealFloat>::Identity : m_transforms.Top();
}

EffectResource* GraphicsDevice::CreateEffectResource(unsigned int nClassID) {
    ClassRegistry* const pRegistry = ClassRegistry::GetDefault();
    // The id comes from the caller: it may create an object that is no resource.
    return pRegistry ? static_cast<EffectResource*>(pRegistry->Create(nClassID, ObjectKind::EffectResource))
                     : nullptr;
}

void GraphicsDevice::SetHighlight(bool fEnabled, ColorT<RealFloat> const& color) {
    m_fHighlight = fEnabled;
    m_highlightColor = color;
}

ColorT<RealFloat> GraphicsDevice::GetHighlightColor(RealFloat const& opacity) const {
    ColorT<RealFloat> color = m_highlightColor;
    color.a *= opacity;
    return color;
}

} // namespace trevik::kelvo
