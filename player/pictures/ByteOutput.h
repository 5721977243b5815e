#pragma once

#include "image/Image.h"
#include "kelvo_host/Fault.h"
#include "kelvo_host/FileReplacement.h"

#include <string>

namespace kelvokit::player {

/**
 * Bytes that become a file, which is there once all are, or go to standard output, a pipe or a device as they
 * come.
 */
class ByteOutput {
public:
    /** @param path "-" for standard output. */
    explicit ByteOutput(std::string const& path) : m_sPath(path) {}
    ~ByteOutput();
    ByteOutput(ByteOutput const&) = delete;
    ByteOutput& operator=(ByteOutput const&) = delete;

    // False with one line in `fault` when they fail.

    bool Open(trevik::kelvo::Fault& fault);
    /** Where they go as they come it fails, too, when a signal has been noted before the bytes are out. */
    bool Write(trevik::kelvo::assets::ByteSpan const& bytes, trevik::kelvo::Fault& fault);
    /** Puts the file in its place. */
    bool Finish(trevik::kelvo::Fault& fault);

private:
    bool IsStandardOutput() const { return m_sPath == "-"; }
    bool Fail(char const* pWhat, trevik::kelvo::Fault& fault) const;

    std::string m_sPath;
    int m_nStream = -1; ///< what takes bytes as they come; -1: a file
    trevik::kelvo::FileReplacement m_file;
};

} // namespace kelvokit::player
