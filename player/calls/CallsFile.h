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

    void Prepare(trevik::SizeT<int> const& size) override;
    void BeginFrame(int nFrame) override;
    bool EndFrame(trevik::kelvo::Fault& fault) override;
    bool Finish(trevik::kelvo::Fault& fault) override;

private:
    ByteOutput m_output;
    bool m_fOpen = false;
    std::optional<NodeGroups> m_groups; ///< while a frame is drawn
};

} // namespace kelvokit::player
