#include "watch/FileWatch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kelvokit::player {

namespace {

using namespace std::chrono_literals;

// After the end of a file's writing others may follow, as of a program that writes several.
constexpr auto Quiet = 20ms;
// A file that is open still, or has gone, is mostly written to, or back, a moment later.
constexpr auto Unfinished = 300ms;

// What files are stamped with may lag behind other clocks by so much.
constexpr auto StampLag = 10ms;

constexpr unsigned int Endings = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB;
constexpr unsigned int Beginnings =
    IN_MODIFY | IN_CREATE | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;

bool IsWrittenSince(std::string const& path, std::chrono::system_clock::time_point since) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    std::chrono::system_clock::time_point const written(std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec)));
    // A clock that was wrong when a file was written would let it count for ever.
    return written >= since - StampLag && written <= std::chrono::system_clock::now();
}

} // namespace

FileWatch::~FileWatch() {
    if (m_nDescriptor >= 0) {
        close(m_nDescriptor);
    }
}

bool FileWatch::Open(trevik::kelvo::Fault& fault) {
    m_nDescriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_nDescriptor < 0) {
        fault = trevik::kelvo::Fault("--watch", "files cannot be watched", std::string(std::strerror(errno)));
    }
    return m_nDescriptor >= 0;
}

/** Watches the folder of a path; where it is not there, for the first of its folders to come. */
void FileWatch::Watch(std::string const& path) {
    std::filesystem::path place = std::filesystem::path(path).lexically_normal();
    for (;;) {
        std::filesystem::path const folder = place.has_parent_path() ? place.parent_path() : ".";
        int const nWatch =
            inotify_add_watch(m_nDescriptor, folder.c_str(), Endings | Beginnings | IN_ONLYDIR);
        if (nWatch >= 0) {
            m_names[nWatch].insert(place.filename());
            return;
        }
        if (folder == place || folder == ".") {
            return; // nothing there may be looked at
        }
        place = folder;
    }
}

void FileWatch::SetFiles(std::vector<std::string> const& files, std::chrono::system_clock::time_point since) {
    std::map<int, std::set<std::string>> const before = std::move(m_names);
    m_names.clear();
    m_files = files;
    for (std::string const& file : files) {
        Watch(file);
        // Of a link, what it leads to changes, too.
        std::error_code code;
        std::filesystem::path const target = std::filesystem::canonical(file, code);
        if (!code && target != std::filesystem::absolute(file, code)) {
            Watch(target);
        }
    }
    for (auto const& folder : before) {
        if (m_names.find(folder.first) == m_names.end()) {
            inotify_rm_watch(m_nDescriptor, folder.first);
        }
    }
    if (std::any_of(files.begin(), files.end(),
                    [&](std::string const& file) { return IsWrittenSince(file, since); })) {
        m_due = std::chrono::steady_clock::now() + Quiet;
    }
}

void FileWatch::Take(Time now) {
    alignas(inotify_event) std::array<char, 16384> buffer;
    ssize_t nBytes = 0;
    while ((nBytes = read(m_nDescriptor, buffer.data(), buffer.size())) > 0) {
        for (char const* pAt = buffer.data(); pAt < buffer.data() + nBytes;) {
            inotify_event event = {};
            std::memcpy(&event, pAt, sizeof event);
            char const* const pName = pAt + sizeof event;
            Note(event.wd, event.mask, event.len > 0 ? std::string(pName) : std::string(), now);
            pAt = pName + event.len;
        }
    }
}

void FileWatch::Note(int nWatch, unsigned int nEvent, std::string const& name, Time now) {
    if ((nEvent & IN_Q_OVERFLOW) != 0) {
        m_due = now + Unfinished; // anything may have happened
        return;
    }
    auto const folder = m_names.find(nWatch);
    bool const fFolderItself = (nEvent & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0;
    if (folder == m_names.end() || (!fFolderItself && folder->second.count(name) == 0)) {
        return;
    }
    bool const fEnding = (nEvent & Endings) != 0 || (nEvent & IN_ISDIR) != 0;
    m_due = now + (fEnding ? Time::duration(Quiet) : Time::duration(Unfinished));
}

} // namespace kelvokit::player
