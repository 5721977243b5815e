#include "kelvo_host/Fault.h"

#include <new>

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

Fault::Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy) {
#ifdef __cpp_exceptions
    try {
        *this = Fault(ToText(sWhere), ToText(sWhat), ToText(sWhy));
    } catch (std::bad_alloc const&) {
        // What was asked for has failed, and its caller will say so. A text this short is kept in the string
        // itself.
        m_sText = m_sWhat = "no memory";
    }
#else
    *this = Fault(ToText(sWhere), ToText(sWhat), ToText(sWhy));
#endif
}

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
