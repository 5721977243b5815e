#include "ByteOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kelvokit::player {

bool ByteOutput::Open(std::string& error) {
    return IsStandardOutput() || m_file.Open(m_sPath.c_str()) || Fail("cannot be created", error);
}

bool ByteOutput::Write(std::vector<std::uint8_t> const& bytes, std::string& error) {
    bool const fWritten =
        IsStandardOutput()
            ? std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0
            : m_file.Write(bytes.data(), bytes.size());
    return fWritten || Fail("cannot be written", error);
}

bool ByteOutput::Finish(std::string& error) {
    return IsStandardOutput() || ((m_file.Close() || Fail("cannot be written", error)) &&
                                  (m_file.TakePlace() || Fail("cannot be replaced", error)));
}

bool ByteOutput::Fail(char const* pWhat, std::string& error) const {
    std::string const reason = std::strerror(errno);
    error = (IsStandardOutput() ? "standard output" : m_sPath) + ": " + pWhat + ": " + reason;
    return false;
}

} // namespace kelvokit::player
