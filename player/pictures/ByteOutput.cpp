#include "pictures/ByteOutput.h"

#include "command/Interrupt.h"
#include "file/Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kelvokit::player {

namespace {

/** Stops at a signal, since a reader that does not read would keep it waiting; the reason is in errno. */
bool WriteStream(int nStream, trevik::kelvo::assets::ByteSpan bytes) {
    while (bytes.size > 0) {
        ssize_t const nWritten = write(nStream, bytes.data, bytes.size);
        if (nWritten < 0 && errno != EINTR) {
            return false;
        }
        if (nWritten > 0) {
            bytes.data += nWritten;
            bytes.size -= static_cast<std::size_t>(nWritten);
        }
        if (bytes.size > 0 && GetInterrupt() != 0) {
            errno = EINTR;
            return false;
        }
    }
    return true;
}

} // namespace

ByteOutput::~ByteOutput() {
    if (m_nStream > STDERR_FILENO) {
        close(m_nStream);
    }
}

bool ByteOutput::Open(trevik::kelvo::Fault& fault) {
    struct stat old;
    if (IsStandardOutput()) {
        m_nStream = STDOUT_FILENO;
        return true;
    }
    if (stat(m_sPath.c_str(), &old) != 0 || S_ISREG(old.st_mode) || S_ISDIR(old.st_mode)) {
        return m_file.Open(m_sPath.c_str()) || Fail("cannot be created", fault);
    }
    m_nStream = open(m_sPath.c_str(), O_WRONLY | O_CLOEXEC); // of a pipe it waits for the reader
    return m_nStream >= 0 || Fail("cannot be opened", fault);
}

bool ByteOutput::Write(trevik::kelvo::assets::ByteSpan const& bytes, trevik::kelvo::Fault& fault) {
    bool const fWritten =
        m_nStream >= 0 ? WriteStream(m_nStream, bytes) : m_file.Write(bytes.data, bytes.size);
    return fWritten || Fail("cannot be written", fault);
}

bool ByteOutput::Finish(trevik::kelvo::Fault& fault) {
    return m_nStream >= 0 || ((m_file.Close() || Fail("cannot be written", fault)) &&
                              (m_file.TakePlace() || Fail("cannot be replaced", fault)));
}

bool ByteOutput::Fail(char const* pWhat, trevik::kelvo::Fault& fault) const {
    return trevik::kelvo::assets::Fail(fault, IsStandardOutput() ? "standard output" : m_sPath, pWhat,
                                       std::strerror(errno));
}

} // namespace kelvokit::player
