#include "trace/FrameTrace.h"

#include "scene/NodeDescription.h"
#include "trevik/Statistics.h"
#include "trevik/kelvo/Node.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kelvokit::player {

using trevik::ScopeCounter;
using trevik::Statistics;
using trevik::kelvo::Fault;
using trevik::kelvo::Node;
using trevik::kelvo::assets::SceneOrigin;

FrameTrace::FrameTrace(std::string const& path, trevik::kelvo::assets::SceneNotes const& notes)
    : m_notes(notes), m_output(path), m_pRenderBefore(RenderObserver::Set(this)),
      m_pUpdateBefore(UpdateObserver::Set(this)), m_pScopeBefore(ScopeObserver::Set(this)) {
    for (unsigned int nID = 0; nID < ScopeCounter::MaximumIds; ++nID) {
        char const* const pName = ScopeCounter::GetName(nID);
        m_scopeNames[nID] = m_events.AddName(TraceKind::Scope, pName ? pName : "unnamed scope");
    }
}

FrameTrace::~FrameTrace() {
    ScopeObserver::Set(m_pScopeBefore);
    UpdateObserver::Set(m_pUpdateBefore);
    RenderObserver::Set(m_pRenderBefore);
}

bool FrameTrace::WriteText(std::string const& text, Fault& fault) {
    return m_output.Write({reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, fault);
}

void FrameTrace::AddCounts(DrawnCounts const& counts) {
    Nanoseconds const time = Now();
    for (DrawnCount const& count : AllDrawnCounts) {
        m_events.AddCounter(count.pName, "a frame", time, static_cast<long long>(counts.*count.pCount));
    }
}

bool FrameTrace::Write(Fault& fault) {
    m_events.AddCounter("texture memory", "bytes", Now(),
                        Statistics::Instance().GetStat(Statistics::StatTextureMemory));
    if (!m_fOpen) {
        m_fOpen = m_output.Open(fault) && WriteText(m_events.GetHead(), fault);
    }
    return m_fOpen && WriteText(m_events.TakeText(), fault);
}

bool FrameTrace::Finish(Fault& fault) {
    return Write(fault) && WriteText(m_events.GetTail(), fault) && m_output.Finish(fault);
}

// What is told

void FrameTrace::EndScope(unsigned int id, unsigned long long start, unsigned long long end) {
    m_events.Add(m_scopeNames[id], start, end);
}

void FrameTrace::BeginNode(Node& node) {
    Open(node);
}

void FrameTrace::EndNode(Node&) {
    Close(m_open.size() - 1);
}

/** Of an update only beginnings are told: a node ends when one begins that is not below it. */
void FrameTrace::BeginUpdate(Node& node) {
    auto const parent = std::find_if(m_open.begin(), m_open.end(),
                                     [&](OpenNode const& open) { return open.pNode == node.GetParent(); });
    // One that has been taken out of the tree meanwhile is shown below the root.
    std::size_t const nPlace =
        parent == m_open.end() ? 1 : static_cast<std::size_t>(parent - m_open.begin()) + 1;
    Close(nPlace);
    Open(node);
}

void FrameTrace::Open(Node& node) {
    unsigned int const nName = NameNode(node);
    m_open.push_back({&node, nName, Now()});
}

void FrameTrace::Close(std::size_t nPlace) {
    Nanoseconds const end = Now();
    for (; m_open.size() > nPlace; m_open.pop_back()) {
        m_events.Add(m_open.back().nName, m_open.back().start, end);
    }
}

// Names

unsigned int FrameTrace::NameNode(Node const& node) {
    auto const known = m_nodeNames.find(&node);
    if (known != m_nodeNames.end()) {
        return known->second;
    }
    std::string arguments;
    if (SceneOrigin const* const pOrigin = m_notes.Find(node)) {
        arguments =
            nlohmann::ordered_json{{"file", pOrigin->sFile}, {"line", pOrigin->nLine}, {"way", pOrigin->way}}
                .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        arguments = arguments.substr(1, arguments.size() - 2); // without its braces
    }
    return m_nodeNames[&node] =
               m_events.AddName(TraceKind::Node, trevik::kelvo::assets::DescribeNode(node), arguments);
}

unsigned int FrameTrace::NamePart(TraceKind kind, std::string const& name) {
    auto const known = m_partNames.find(name);
    return known != m_partNames.end() ? known->second : m_partNames[name] = m_events.AddName(kind, name);
}

// Spans

FrameTrace::Span::Span(FrameTrace* pTrace, TraceKind kind, std::string const& name) : m_pTrace(pTrace) {
    if (m_pTrace) {
        m_nName = m_pTrace->NamePart(kind, name);
        m_start = Now();
    }
}

FrameTrace::Span::~Span() {
    if (m_pTrace) {
        m_pTrace->m_events.Add(m_nName, m_start, Now());
    }
}

FrameTrace::TreeSpan::TreeSpan(FrameTrace* pTrace, std::string const& name, Node& root)
    : m_span(pTrace, TraceKind::Part, name), m_pTrace(pTrace) {
    if (m_pTrace) {
        m_pTrace->Open(root);
    }
}

FrameTrace::TreeSpan::~TreeSpan() {
    if (m_pTrace) {
        m_pTrace->Close(0);
    }
}

} // namespace kelvokit::player
