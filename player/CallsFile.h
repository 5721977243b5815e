#pragma once

#include "FrameCalls.h"
#include "NodeGroups.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace kelvokit::player {

/** Writes the calls that the recording driver notes into a file, frame by frame. */
class CallsFile : public FrameCalls {
public:
    /** @param path "-" for stdout. The file is made when the first frame has been drawn. */
    explicit CallsFile(std::string const& path) : m_path(path) {}
    ~CallsFile() override;
    CallsFile(CallsFile const&) = delete;
    CallsFile& operator=(CallsFile const&) = delete;

    void Prepare(trevik::SizeT<int> const& size) override;
    void BeginFrame(int nFrame) override;
    bool EndFrame(trevik::kelvo::Fault& fault) override;

private:
    std::string const m_path;
    std::FILE* m_pFile = nullptr;
    std::optional<NodeGroups> m_groups; ///< while a frame is drawn
};

} // namespace kelvokit::player
