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

template <class Maker>
Fault Fault::Make(Maker make) {
#ifdef __cpp_exceptions
    try {
        return make();
    } catch (std::bad_alloc const&) {
        // What was asked for has failed, and its caller will say so. A text this short is kept in the string
        // itself.
        Fault fault;
        fault.m_sText = fault.m_sWhat = "no memory";
        return fault;
    }
#else
    return make();
#endif
}

Fault::Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy)
    : Fault(Make([&] { return Fault(ToText(sWhere), ToText(sWhat), ToText(sWhy)); })) {}

Fault::Fault(std::string const& sWhere, std::string const& sWhat, std::string const& sWhy)
    : m_sWhere(sWhere), m_sWhat(sWhat), m_sWhy(sWhy) {
    AppendPart(m_sText, sWhere);
    AppendPart(m_sText, sWhat);
    AppendPart(m_sText, sWhy);
}

Fault Fault::Within(std::string const& sWhere) const {
    return Make([&] {
        std::string sBoth = sWhere;
        AppendPart(sBoth, m_sWhere);
        return Fault(sBoth, m_sWhat, m_sWhy);
    });
}

Fault Fault::Within(String8 const& sWhere) const {
    return Make([&] { return Within(ToText(sWhere)); });
}

} // namespace trevik::kelvo
