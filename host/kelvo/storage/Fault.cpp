#include "kelvo_host/Fault.h"

namespace trevik::kelvo {

namespace {

void AppendPart(String8& sText, String8 const& sPart) {
    if (!sText.IsEmpty() && !sPart.IsEmpty()) {
        sText.Append(": ");
    }
    sText += sPart;
}

} // namespace

Fault::Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy)
    : m_sWhere(sWhere), m_sWhat(sWhat), m_sWhy(sWhy) {
    AppendPart(m_sText, sWhere);
    AppendPart(m_sText, sWhat);
    AppendPart(m_sText, sWhy);
}

Fault Fault::Within(String8 const& sWhere) const {
    String8 sBoth = sWhere;
    AppendPart(sBoth, m_sWhere);
    return Fault(sBoth, m_sWhat, m_sWhy);
}

} // namespace trevik::kelvo
