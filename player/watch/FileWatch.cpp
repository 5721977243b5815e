#include "watch/FileWatch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <system_error>

namespace kelvokit::player {

namespace {

using namespace std::chrono_literals;

// After the end of a file's writing others may follow, as of a program that writes several.
constexpr auto Quiet = 20ms;
// A file that is open still, or has gone, is mostly written to, or back, a moment later.
constexpr auto Unfinished = 300ms;
// Of a program that writes on and on, what there is by then is taken.
constexpr auto Longest = 1s;

// What files are stamped with may lag behind other clocks by so much.
constexpr auto StampLag = 10ms;

constexpr unsigned int Endings = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB;
constexpr unsigned int Beginnings =
    IN_MODIFY | IN_CREATE | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;
// What makes a folder's name stand for another one.
constexpr unsigned int Renamings = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;

constexpr int MostLinks = 40; // as many as a system follows

bool IsWrittenSince(std::string const& path, std::chrono::system_clock::time_point since) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    // An older file that has taken the name keeps the time of its writing; the other one tells of that.
    timespec const stamps[] = {status.st_mtim, status.st_ctim};
    return std::any_of(std::begin(stamps), std::end(stamps), [&](timespec const& stamp) {
        std::chrono::system_clock::time_point const written(
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::seconds(stamp.tv_sec) +
                                                                  std::chrono::nanoseconds(stamp.tv_nsec)));
        // A clock that was wrong when a file was written would let it count for ever.
        return written >= since - StampLag && written <= std::chrono::system_clock::now();
    });
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

/**
 * Watches the names that a path consists of, each in its folder, as far as these are there: any of them may
 * come, go, or come to stand for another one. False with one line in `fault` when the system cannot.
 */
bool FileWatch::Watch(std::string const& path, trevik::kelvo::Fault& fault) {
    std::error_code code;
    std::filesystem::path const whole = std::filesystem::absolute(path, code);
    std::deque<std::filesystem::path> names(whole.begin(), whole.end());
    std::filesystem::path folder;
    int nLinks = 0;
    while (!names.empty()) {
        std::filesystem::path const name = names.front();
        names.pop_front();
        if (name.is_absolute() || name == "..") {
            folder = name.is_absolute() ? name : folder.parent_path();
        } else if (!name.empty() && name != ".") {
            if (!WatchName(folder, name, names.empty(), fault)) {
                return fault.GetText().empty();
            }
            std::filesystem::path const target = std::filesystem::read_symlink(folder / name, code);
            if (code) {
                folder /= name;
            } else if (++nLinks <= MostLinks) {
                names.insert(names.begin(), target.begin(), target.end());
            } else {
                return true; // it leads nowhere
            }
        }
    }
    return true;
}

/** False without a fault when there is no such folder. */
bool FileWatch::WatchName(std::filesystem::path const& folder, std::filesystem::path const& name, bool fFile,
                          trevik::kelvo::Fault& fault) {
    unsigned int const nEvents = fFile ? Endings | Beginnings : Renamings;
    int const nWatch = inotify_add_watch(m_nDescriptor, folder.c_str(), nEvents | IN_ONLYDIR | IN_MASK_ADD);
    if (nWatch >= 0) {
        m_names[nWatch].insert(name);
        return true;
    }
    if (errno == EACCES && !fFile) {
        return true; // it may be gone through, and not looked into
    }
    if (errno != ENOENT && errno != ENOTDIR) {
        fault = trevik::kelvo::Fault("--watch", "\"" + folder.string() + "\" cannot be watched",
                                     std::string(std::strerror(errno)));
    }
    return false;
}

bool FileWatch::SetFiles(std::vector<std::string> const& files, std::chrono::system_clock::time_point since,
                         trevik::kelvo::Fault& fault) {
    std::map<int, std::set<std::string>> const before = std::move(m_names);
    m_names.clear();
    bool fWatched = true;
    for (std::string const& file : files) {
        trevik::kelvo::Fault why;
        if (!Watch(file, why) && fWatched) {
            fault = why;
            fWatched = false;
        }
    }
    for (auto const& folder : before) {
        if (m_names.find(folder.first) == m_names.end()) {
            inotify_rm_watch(m_nDescriptor, folder.first);
        }
    }
    if (std::any_of(files.begin(), files.end(),
                    [&](std::string const& file) { return IsWrittenSince(file, since); })) {
        SetDue(std::chrono::steady_clock::now(), Quiet);
    }
    return fWatched;
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
        SetDue(now, Unfinished); // anything may have happened
        return;
    }
    auto const folder = m_names.find(nWatch);
    bool const fFolderItself = (nEvent & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0;
    if (folder == m_names.end() || (!fFolderItself && folder->second.count(name) == 0)) {
        return;
    }
    // A folder that has come is complete, for all that is known.
    bool const fFolder = (nEvent & IN_ISDIR) != 0 && (nEvent & IN_CREATE) != 0;
    SetDue(now, (nEvent & Endings) != 0 || fFolder ? Time::duration(Quiet) : Time::duration(Unfinished));
}

void FileWatch::SetDue(Time now, Time::duration delay) {
    m_first = m_due == Time::max() ? now : m_first;
    m_due = std::min(now + delay, m_first + Longest);
}

} // namespace kelvokit::player
