#include "scene/SceneFaults.h"

#include <algorithm>

namespace trevik::kelvo::assets {

std::string ToOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char unit) { return unit < ' ' || unit == 127; }, '?');
    return text;
}

void SceneFaults::Add(Fault const& fault) {
    if (m_faults.size() == Most) {
        m_fMore = true;
        throw TooMany();
    }
    m_faults.emplace_back(ToOneLine(fault.GetWhere()), ToOneLine(fault.GetWhat()), ToOneLine(fault.GetWhy()));
}

} // namespace trevik::kelvo::assets
