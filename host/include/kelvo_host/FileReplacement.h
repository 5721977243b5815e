#pragma once

#include "trevik/Encoding.h"
#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

/**
 * A file that takes the place of another, or of none, only once it is whole. It is written under a name of
 * its own in the same folder; until it takes its place the old file stays as it is. Where the path is a
 * symbolic link, the file that it leads to is replaced, and the link stays. The new file can be read and
 * written by those who could the old one: it gets its permissions and, as far as the process may give files
 * away, its owner and group.
 *
 * Operations answer false with the reason in errno; each needs the success of those before. One thread at a
 * time.
 */
class TREVIK_API FileReplacement {
public:
    FileReplacement() = default;
    /** Removes the new file if it has not taken its place. */
    ~FileReplacement();
    FileReplacement(FileReplacement const&) = delete;
    FileReplacement& operator=(FileReplacement const&) = delete;

    /** Begins a file that is to stand at this path (UTF-8). A device or a pipe there fails with EINVAL. */
    bool Open(char const* pPath);
    /** Appends to it. */
    bool Write(unsigned char const* pData, unsigned long nLength);
    /** Waits until all that was written is on disk, so that a crash later leaves one of the files whole. */
    bool Sync();
    /** Ends writing. */
    bool Close();
    /** Makes it the file at the path. */
    bool TakePlace();

private:
    String8 m_sPath;      ///< after following links
    String8 m_sTemporary; ///< empty: nothing to remove
    int m_nDescriptor = -1;
};

} // namespace trevik::kelvo
