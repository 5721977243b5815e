#include "kelvo_host/Fault.h"

namespace trevik::kelvo {

namespace {

void AppendPart(std::string& sText, std::string const& sPart) {
    if (!sText.empty() && !sPart.empty()) {
        sText += ": ";
    }
    sText += sPart;
}

std::string ToText(String8 const& sPart) {
    return std::string(sPart.GetData(), sPart.GetLength());
}

} // namespace

Fault::Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy)
    : Fault(ToText(sWhere), ToText(sWhat), ToText(sWhy)) {}

Fault::Fault(std::string const& sWhere, std::string const& sWhat, std::string const& sWhy)
    : m_sWhere(sWhere), m_sWhat(sWhat), m_sWhy(sWhy) {
    AppendPart(m_sText, sWhere);
    AppendPart(m_sText, sWhat);
    AppendPart(m_sText, sWhy);
}

Fault Fault::Within(std::string const& sWhere) const {
    std::string sBoth = sWhere;
    AppendPart(sBoth, m_sWhere);
    return Fault(sBoth, m_sWhat, m_sWhy);
}

} // namespace trevik::kelvo
