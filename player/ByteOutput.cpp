#include "ByteOutput.h"

#include "file/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kelvokit::player {

bool ByteOutput::Open(trevik::kelvo::Fault& fault) {
    return IsStandardOutput() || m_file.Open(m_sPath.c_str()) || Fail("cannot be created", fault);
}

bool ByteOutput::Write(std::vector<std::uint8_t> const& bytes, trevik::kelvo::Fault& fault) {
    bool const fWritten =
        IsStandardOutput()
            ? std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0
            : m_file.Write(bytes.data(), bytes.size());
    return fWritten || Fail("cannot be written", fault);
}

bool ByteOutput::Finish(trevik::kelvo::Fault& fault) {
    return IsStandardOutput() || ((m_file.Close() || Fail("cannot be written", fault)) &&
                                  (m_file.TakePlace() || Fail("cannot be replaced", fault)));
}

bool ByteOutput::Fail(char const* pWhat, trevik::kelvo::Fault& fault) const {
    return trevik::kelvo::assets::Fail(fault, IsStandardOutput() ? "standard output" : m_sPath, pWhat,
                                       std::strerror(errno));
}

} // namespace kelvokit::player
