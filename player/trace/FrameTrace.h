#pragma once

#include "kelvo_host/Fault.h"
#include "kelvo_host/RenderObserver.h"
#include "kelvo_host/ScopeObserver.h"
#include "kelvo_host/UpdateObserver.h"
#include "pictures/ByteOutput.h"
#include "report/FrameFigures.h"
#include "scene/SceneNotes.h"
#include "trace/TraceEvents.h"
#include "trevik/ScopeCounter.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace kelvokit::player {

/**
 * Writes what frames, their parts, nodes and profiled scopes take, in the trace event format that Perfetto
 * and browsers show. To be made before the scene is read; render thread.
 */
class FrameTrace : trevik::kelvo::RenderObserver, trevik::kelvo::UpdateObserver, trevik::ScopeObserver {
public:
    /**
     * @param path "-" for standard output.
     * @param notes of the scene that will be played.
     */
    FrameTrace(std::string const& path, trevik::kelvo::assets::SceneNotes const& notes);
    ~FrameTrace() override;
    FrameTrace(FrameTrace const&) = delete;
    FrameTrace& operator=(FrameTrace const&) = delete;

    /** Shows as curves what a frame has asked GL for. */
    void AddCounts(DrawnCounts const& counts);

    // False with one line in `fault` when they fail.

    /** Writes what has come since the last call. Between frames, since it takes its time. */
    bool Write(trevik::kelvo::Fault& fault);
    /** After the last frame: the file takes its place. */
    bool Finish(trevik::kelvo::Fault& fault);

    /** Something that takes as long as this lives; nothing where there is no trace. */
    class Span {
    public:
        Span(FrameTrace* pTrace, TraceKind kind, std::string const& name);
        ~Span();
        Span(Span const&) = delete;
        Span& operator=(Span const&) = delete;

    private:
        FrameTrace* const m_pTrace;
        unsigned int m_nName = 0;
        Nanoseconds m_start = 0;
    };

    /** The same for the update or the drawing of a whole tree of nodes. */
    class TreeSpan {
    public:
        TreeSpan(FrameTrace* pTrace, std::string const& name, trevik::kelvo::Node& root);
        ~TreeSpan();
        TreeSpan(TreeSpan const&) = delete;
        TreeSpan& operator=(TreeSpan const&) = delete;

    private:
        Span m_span;
        FrameTrace* const m_pTrace;
    };

private:
    struct OpenNode {
        trevik::kelvo::Node const* pNode;
        unsigned int nName;
        Nanoseconds start;
    };

    void BeginNode(trevik::kelvo::Node& node) override;
    void EndNode(trevik::kelvo::Node& node) override;
    void BeginUpdate(trevik::kelvo::Node& node) override;
    void EndScope(unsigned int id, unsigned long long start, unsigned long long end) override;

    void Open(trevik::kelvo::Node& node);
    /** Ends the nodes that have been begun behind the one at this place, and it. */
    void Close(std::size_t nPlace);
    unsigned int NameNode(trevik::kelvo::Node const& node);
    unsigned int NamePart(TraceKind kind, std::string const& name);
    bool WriteText(std::string const& text, trevik::kelvo::Fault& fault);

    trevik::kelvo::assets::SceneNotes const& m_notes;
    TraceEvents m_events;
    ByteOutput m_output;
    bool m_fOpen = false;
    std::vector<OpenNode> m_open; ///< nodes that are updated or drawn right now, each below the one before
    std::unordered_map<trevik::kelvo::Node const*, unsigned int> m_nodeNames;
    std::unordered_map<std::string, unsigned int> m_partNames;
    unsigned int m_scopeNames[trevik::ScopeCounter::MaximumIds];
    RenderObserver* m_pRenderBefore;
    UpdateObserver* m_pUpdateBefore;
    ScopeObserver* m_pScopeBefore;
};

} // namespace kelvokit::player
