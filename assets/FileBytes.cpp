#include "FileBytes.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trevik::kelvo::assets {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : m_nDescriptor(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (m_nDescriptor >= 0)
            close(m_nDescriptor);
    }
    int Get() const { return m_nDescriptor; }
    /** Closing reports what a write-back of the data failed with, on file systems that delay it. */
    bool Close() {
        const int descriptor = m_nDescriptor;
        m_nDescriptor = -1;
        return close(descriptor) == 0;
    }

private:
    int m_nDescriptor;
};

bool FailErrno(std::string& error, const std::string& path, const char* what) {
    return Fail(error, path + ": " + what + ": " + std::strerror(errno));
}

bool ReadAll(int descriptor, std::vector<std::uint8_t>& bytes, const std::string& path, std::string& error) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = read(descriptor, bytes.data() + done, bytes.size() - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return FailErrno(error, path, "cannot be read");
        if (got == 0)
            return Fail(error, path + ": shrank to " + std::to_string(done) + " bytes while being read");
        done += std::size_t(got);
    }
    return true;
}

bool WriteAll(int descriptor, ByteSpan bytes) {
    std::size_t done = 0;
    while (done < bytes.size) {
        const ssize_t put = write(descriptor, bytes.data + done, bytes.size - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return false;
        done += std::size_t(put);
    }
    return true;
}

/** Opens a file that did not exist, beside `path`. Not mkstemp: its files are for their owner only. */
int OpenTemporary(const std::string& path, std::string& temporary) {
    static std::atomic<unsigned> s_nSerial{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = path + "." + std::to_string(getpid()) + "-" + std::to_string(s_nSerial++) + ".part";
        const int descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return descriptor;
    }
    return -1;
}

bool WriteTemporary(const FileToWrite& file, std::string& temporary, std::string& error) {
    FileDescriptor descriptor(OpenTemporary(file.path, temporary));
    if (descriptor.Get() < 0)
        return FailErrno(error, file.path, "cannot be created");
    if (WriteAll(descriptor.Get(), file.bytes) && descriptor.Close())
        return true;
    FailErrno(error, file.path, "cannot be written");
    unlink(temporary.c_str());
    return false;
}

} // namespace

bool ReadFile(const std::string& path, std::size_t maxBytes, std::vector<std::uint8_t>& out,
              std::string& error) {
    // Opening a pipe would wait for a writer; what is not a regular file is told by the next step.
    FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (descriptor.Get() < 0 || fstat(descriptor.Get(), &status) != 0)
        return FailErrno(error, path, "cannot be opened");
    if (!S_ISREG(status.st_mode))
        return Fail(error, path + ": is not a regular file");
    if (static_cast<unsigned long long>(status.st_size) > maxBytes)
        return Fail(error, path + ": has " + std::to_string(status.st_size) + " bytes, more than the " +
                               std::to_string(maxBytes) + " allowed");
    try {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
        if (!ReadAll(descriptor.Get(), bytes, path, error))
            return false;
        out = std::move(bytes);
        return true;
    } catch (const std::bad_alloc&) {
        return Fail(error, path + ": not enough memory for its " + std::to_string(status.st_size) + " bytes");
    }
}

bool FileExists(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

bool WriteFiles(const std::vector<FileToWrite>& files, std::string& error) {
    std::vector<std::string> temporaries;
    bool fDone = true;
    for (const FileToWrite& file : files) {
        std::string temporary;
        if (!WriteTemporary(file, temporary, error)) {
            fDone = false;
            break;
        }
        temporaries.push_back(temporary);
    }
    std::size_t renamed = 0;
    while (fDone && renamed < files.size()) {
        if (std::rename(temporaries[renamed].c_str(), files[renamed].path.c_str()) != 0)
            fDone = FailErrno(error, files[renamed].path, "cannot be replaced");
        else
            ++renamed;
    }
    for (std::size_t i = renamed; i < temporaries.size(); ++i)
        unlink(temporaries[i].c_str());
    return fDone;
}

} // namespace trevik::kelvo::assets
