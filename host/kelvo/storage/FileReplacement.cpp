#include "kelvo_host/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>

namespace trevik::kelvo {

namespace {

constexpr int MaximumLinks = 40;
constexpr int MaximumAttempts = 100;

/** Replaces all of a path from `nLength` units on; false, with ENOMEM, when out of memory. */
bool ReplaceEnd(String8& sPath, unsigned int nLength, char const* pEnd) {
    String8 sReplaced;
    if (!sReplaced.Append(sPath.GetData(), nLength) || !sReplaced.Append(pEnd)) {
        errno = ENOMEM;
        return false;
    }
    sPath = sReplaced;
    return true;
}

/** Number of units of a path up to its last slash, that one included. */
unsigned int GetFolderLength(String8 const& sPath) {
    unsigned int nLength = sPath.GetLength();
    while (nLength > 0 && sPath[nLength - 1] != '/') {
        --nLength;
    }
    return nLength;
}

/** Turns the path of a symbolic link into the one that it leads to, whether or not a file is there. */
bool FollowLinks(String8& sPath) {
    for (int nLink = 0; nLink < MaximumLinks; ++nLink) {
        char target[PATH_MAX];
        ssize_t const nLength = readlink(sPath.GetData(), target, sizeof(target));
        if (nLength < 0) {
            return true; // no link
        }
        if (nLength == static_cast<ssize_t>(sizeof(target))) {
            errno = ENAMETOOLONG;
            return false;
        }
        target[nLength] = '\0';
        if (!ReplaceEnd(sPath, target[0] == '/' ? 0 : GetFolderLength(sPath), target)) {
            return false;
        }
    }
    errno = ELOOP;
    return false;
}

/**
 * Gives the new file the owner, group and rights of the old one. Where that fails nobody gains rights: the
 * file was made for its owner alone.
 */
void KeepAccess(int nDescriptor, struct stat const& old) {
    mode_t nMode = old.st_mode & 0777;
    if (fchown(nDescriptor, old.st_uid, old.st_gid) != 0 &&
        fchown(nDescriptor, static_cast<uid_t>(-1), old.st_gid) != 0) {
        // The group is another one now; it has the rights that all others have.
        nMode = (nMode & ~mode_t(070)) | (nMode & 07) << 3;
    }
    static_cast<void>(fchmod(nDescriptor, nMode));
}

/** Turns a path into one in the same folder that no other process and no other call uses. */
bool MakeTemporary(String8& sPath) {
    static std::atomic<unsigned int> s_nCount{0};
    char suffix[48];
    std::snprintf(suffix, sizeof(suffix), ".%ld-%u.part", static_cast<long>(getpid()), s_nCount.fetch_add(1));
    return ReplaceEnd(sPath, sPath.GetLength(), suffix);
}

} // namespace

FileReplacement::~FileReplacement() {
    if (m_nDescriptor >= 0) {
        close(m_nDescriptor);
    }
    if (!m_sTemporary.IsEmpty()) {
        unlink(m_sTemporary.GetData());
    }
}

bool FileReplacement::Open(char const* pPath) {
    if (!ReplaceEnd(m_sPath, 0, pPath) || !FollowLinks(m_sPath)) {
        return false;
    }
    struct stat old;
    bool const fReplaces = stat(m_sPath.GetData(), &old) == 0;
    if (fReplaces && !S_ISREG(old.st_mode) && !S_ISDIR(old.st_mode)) { // a folder cannot be replaced, anyway
        errno = EINVAL;
        return false;
    }
    for (int nAttempt = 0; nAttempt < MaximumAttempts; ++nAttempt) {
        String8 sTemporary = m_sPath;
        if (!MakeTemporary(sTemporary)) {
            return false;
        }
        m_nDescriptor = open(sTemporary.GetData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                             fReplaces ? mode_t(0600) : mode_t(0666));
        if (m_nDescriptor >= 0) {
            m_sTemporary = sTemporary;
            if (fReplaces) {
                KeepAccess(m_nDescriptor, old);
            }
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

bool FileReplacement::Write(unsigned char const* pData, unsigned long nLength) {
    while (nLength > 0) {
        ssize_t const nWritten = write(m_nDescriptor, pData, nLength);
        if (nWritten < 0 && errno != EINTR) {
            return false;
        }
        if (nWritten > 0) {
            pData += nWritten;
            nLength -= static_cast<unsigned long>(nWritten);
        }
    }
    return true;
}

bool FileReplacement::Sync() {
    return fsync(m_nDescriptor) == 0;
}

bool FileReplacement::Close() {
    int const nDescriptor = m_nDescriptor;
    m_nDescriptor = -1;
    return close(nDescriptor) == 0; // fails, too, where a delayed write has failed
}

bool FileReplacement::TakePlace() {
    if (std::rename(m_sTemporary.GetData(), m_sPath.GetData()) != 0) {
        return false;
    }
    m_sTemporary.Clear();
    return true;
}

} // namespace trevik::kelvo
