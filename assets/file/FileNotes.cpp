#include "file/FileNotes.h"

#include <algorithm>

namespace trevik::kelvo::assets {

namespace {

thread_local FileNotes* t_pCurrent = nullptr;

} // namespace

FileNotes::FileNotes() : m_pBefore(t_pCurrent) {
    t_pCurrent = this;
}

FileNotes::~FileNotes() {
    t_pCurrent = m_pBefore;
}

void FileNotes::Note(std::string const& path) {
    if (!t_pCurrent) {
        return;
    }
    std::vector<std::string>& paths = t_pCurrent->m_paths;
    if (std::find(paths.begin(), paths.end(), path) == paths.end()) {
        paths.push_back(path);
    }
}

} // namespace trevik::kelvo::assets
