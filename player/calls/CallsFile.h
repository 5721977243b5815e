#pragma once

#include "calls/FrameCalls.h"
#include "calls/NodeGroups.h"
#include "pictures/ByteOutput.h"

#include <optional>
#include <string>

namespace kelvokit::player {

/** Writes the calls that the recording driver notes into a file, frame by frame. */
class CallsFile : public FrameCalls {
public:
    /** @param path "-" for stdout. The file is there when the last frame has been drawn. */
    explicit CallsFile(std::string const& path) : m_output(path) {}

    void Prepare(trevik::SizeT<int> const& size, trevik::kelvo::assets::SceneNotes const& notes) override;
    void BeginFrame(int nFrame) override;
    bool EndFrame(trevik::kelvo::Fault& fault) override;
    bool Finish(trevik::kelvo::Fault& fault) override;

private:
    /** Groups that are called by the place of the node, too. */
    class SceneGroups : public NodeGroups {
    public:
        explicit SceneGroups(trevik::kelvo::assets::SceneNotes const& notes) : m_notes(notes) {}

    protected:
        std::string Describe(trevik::kelvo::Node const& node) const override;

    private:
        trevik::kelvo::assets::SceneNotes const& m_notes;
    };

    ByteOutput m_output;
    bool m_fOpen = false;
    trevik::kelvo::assets::SceneNotes const* m_pNotes = nullptr;
    std::optional<SceneGroups> m_groups; ///< while a frame is drawn
};

} // namespace kelvokit::player
