#include "CallsFile.h"

#include "file/Failure.h"

#include <kelvo_recording/Recording.h>

#include <cerrno>
#include <cstring>

namespace kelvokit::player {

CallsFile::~CallsFile() {
    if (m_pFile && m_pFile != stdout) {
        std::fclose(m_pFile);
    }
}

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
    if (!m_pFile) {
        m_pFile = m_path == "-" ? stdout : std::fopen(m_path.c_str(), "w");
    }
    std::string const text = recording::ToText();
    bool const fWritten = m_pFile && std::fwrite(text.data(), 1, text.size(), m_pFile) == text.size() &&
                          std::fflush(m_pFile) == 0;
    if (!fWritten) {
        trevik::kelvo::assets::Fail(fault, m_path, "cannot be written", std::strerror(errno));
    }
    recording::Clear();
    return fWritten;
}

} // namespace kelvokit::player
