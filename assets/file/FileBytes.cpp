#include "file/FileBytes.h"

#include "file/FileNotes.h"
#include "kelvo_host/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace trevik::kelvo::assets {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : m_nDescriptor(descriptor) {}
    FileDescriptor(FileDescriptor const&) = delete;
    FileDescriptor& operator=(FileDescriptor const&) = delete;
    ~FileDescriptor() {
        if (m_nDescriptor >= 0) {
            close(m_nDescriptor);
        }
    }
    int Get() const { return m_nDescriptor; }

private:
    int m_nDescriptor;
};

bool FailErrno(Fault& fault, std::string const& path, char const* what) {
    return Fail(fault, path, what, std::strerror(errno));
}

bool ReadAll(int descriptor, std::vector<std::uint8_t>& bytes, std::string const& path, Fault& fault) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t const got = read(descriptor, bytes.data() + done, bytes.size() - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return FailErrno(fault, path, "cannot be read");
        }
        if (got == 0) {
            return Fail(fault, path, "shrank to " + std::to_string(done) + " bytes while being read");
        }
        done += std::size_t(got);
    }
    return true;
}

} // namespace

bool ReadFile(std::string const& path, std::size_t maxBytes, std::vector<std::uint8_t>& out, Fault& fault) {
    FileNotes::Note(path);
    // Opening a pipe would wait for a writer; what is not a regular file is told by the next step.
    FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (descriptor.Get() < 0 || fstat(descriptor.Get(), &status) != 0) {
        return FailErrno(fault, path, "cannot be opened");
    }
    if (!S_ISREG(status.st_mode)) {
        return Fail(fault, path, "is not a regular file");
    }
    if (static_cast<unsigned long long>(status.st_size) > maxBytes) {
        return Fail(fault, path,
                    "has " + std::to_string(status.st_size) + " bytes, more than the " +
                        std::to_string(maxBytes) + " allowed");
    }
    try {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
        if (!ReadAll(descriptor.Get(), bytes, path, fault)) {
            return false;
        }
        out = std::move(bytes);
        return true;
    } catch (std::bad_alloc const&) {
        return Fail(fault, path, "not enough memory for its " + std::to_string(status.st_size) + " bytes");
    }
}

bool FileExists(std::string const& path) {
    FileNotes::Note(path);
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

bool WriteFiles(std::vector<FileToWrite> const& files, Fault& fault) {
    std::vector<FileReplacement> replacements(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        FileToWrite const& file = files[i];
        if (!replacements[i].Open(file.path.c_str())) {
            return FailErrno(fault, file.path, "cannot be created");
        }
        if (!replacements[i].Write(file.bytes.data, file.bytes.size) || !replacements[i].Close()) {
            return FailErrno(fault, file.path, "cannot be written");
        }
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (!replacements[i].TakePlace()) {
            return FailErrno(fault, files[i].path, "cannot be replaced");
        }
    }
    return true;
}

} // namespace trevik::kelvo::assets
