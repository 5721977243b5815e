#include "trevik/kelvo/Font.h"

#include <atomic>

#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

constexpr unsigned int MetricsID = HashName("Metrics");

std::atomic<unsigned int> g_nLastFontID{0};

} // namespace

Font::Font() : m_underlineScale(1) {
    m_properties.Register(u"Underline", &m_underline);
    m_properties.Register(u"UnderlinePosition", &m_underlinePosition);
    m_properties.Register(u"UnderlineThickness", &m_underlineThickness);
    m_properties.Register(u"UnderlineScale", &m_underlineScale);
}

Font::~Font() = default;

RealFloat Font::GetXPixelsPerEm() const {
    return m_metrics.m_rXPixelsPerEm;
}

RealFloat Font::GetYPixelsPerEm() const {
    return m_metrics.m_rYPixelsPerEm;
}

RealFloat Font::GetScaleFactorX() const {
    return m_metrics.m_rScaleFactorX;
}

RealFloat Font::GetScaleFactorY() const {
    return m_metrics.m_rScaleFactorY;
}

RealFloat Font::GetAscent() const {
    return m_metrics.m_rAscent;
}

RealFloat Font::GetDescent() const {
    return m_metrics.m_rDescent;
}

RealFloat Font::GetLeading() const {
    return m_metrics.m_rLeading;
}

bool Font::Initialize() {
    if (m_nID == 0) {
        GenerateID();
    }
    return true;
}

void Font::GenerateID() {
    m_nID = ++g_nLastFontID;
}

bool Font::Save(Serializer& serializer) {
    return serializer.WriteValue(MetricsID, m_metrics) && m_properties.Save(serializer);
}

bool Font::Load(Deserializer& deserializer) {
    if (!deserializer.ReadValue(MetricsID, m_metrics)) {
        return deserializer.Fail(u"a font lacks its metrics");
    }
    return m_properties.Load(deserializer);
}

Glyph const* Font::GetGlyph(unsigned int) const {
    return nullptr;
}

void Font::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(sizeof(*this), MemoryType::Object);
    m_properties.Emit(pTracer);
}

} // namespace trevik::kelvo
