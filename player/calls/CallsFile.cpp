#include "calls/CallsFile.h"

#include <kelvo_recording/Recording.h>

namespace kelvokit::player {

void CallsFile::Prepare(trevik::SizeT<int> const& size) {
    recording::SetWindowSize(size.width, size.height);
}

void CallsFile::BeginFrame(int nFrame) {
    recording::Clear();
    recording::BeginGroup("frame " + std::to_string(nFrame));
    m_groups.emplace();
}

bool CallsFile::EndFrame(trevik::kelvo::Fault& fault) {
    m_groups.reset();
    recording::EndGroup();
    std::string const text = recording::ToText();
    recording::Clear();
    m_fOpen = m_fOpen || m_output.Open(fault);
    return m_fOpen &&
           m_output.Write({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, fault);
}

bool CallsFile::Finish(trevik::kelvo::Fault& fault) {
    return m_output.Finish(fault);
}

} // namespace kelvokit::player
