#include "calls/CallsFile.h"

#include "scene/NodeDescription.h"

#include <kelvo_recording/Recording.h>

namespace kelvokit::player {

std::string CallsFile::SceneGroups::Describe(trevik::kelvo::Node const& node) const {
    return trevik::kelvo::assets::DescribeNode(node, m_notes);
}

void CallsFile::Prepare(trevik::SizeT<int> const& size, trevik::kelvo::assets::SceneNotes const& notes) {
    m_pNotes = &notes;
    recording::SetWindowSize(size.width, size.height);
}

void CallsFile::BeginFrame(int nFrame) {
    recording::Clear();
    recording::BeginGroup("frame " + std::to_string(nFrame));
    m_groups.emplace(*m_pNotes);
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
