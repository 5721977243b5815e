#pragma once

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * While it lives, it notes the paths of all files that this room asks for on its thread, whether they can be
 * read or not. One inside of another takes its place meanwhile.
 */
class FileNotes {
public:
    FileNotes();
    ~FileNotes();
    FileNotes(FileNotes const&) = delete;
    FileNotes& operator=(FileNotes const&) = delete;

    /** Each path once, in the order in which they were asked for first. */
    std::vector<std::string> const& GetPaths() const { return m_paths; }

    /** Is called by what opens files. */
    static void Note(std::string const& path);

private:
    FileNotes* const m_pBefore;
    std::vector<std::string> m_paths;
};

} // namespace trevik::kelvo::assets
