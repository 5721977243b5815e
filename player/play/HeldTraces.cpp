#include "play/HeldTraces.h"

namespace kelvokit::player {

using trevik::Debug;
using trevik::String16;
using trevik::TraceLevel;

HeldTraces::HeldTraces() : m_before(Debug::SetSink(&HeldTraces::Hold, this)) {}

HeldTraces::~HeldTraces() {
    Debug::SetSink(m_before);
}

void HeldTraces::Release(bool fAll) {
    static String16 const s_sConfiguration = String16::FromLiteral(u"RGB=");
    Debug::SetSink(m_before);
    for (Line const& line : m_lines) {
        if (fAll || line.text.Find(s_sConfiguration) != 0) {
            Debug::Trace(line.level, line.text);
        }
    }
    m_lines.clear();
    Debug::SetSink(&HeldTraces::Hold, this);
}

void HeldTraces::Hold(void* pUser, TraceLevel::Enum level, String16 const& text) {
    static_cast<HeldTraces*>(pUser)->m_lines.push_back(Line{level, text});
}

} // namespace kelvokit::player
