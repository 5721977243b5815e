#pragma once

#include "kelvo_host/Fault.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kelvokit::player {

/**
 * Notices when files change, however programs write them: in place, piece by piece, or as a new file that
 * takes the old one's name, itself or with its folder, or by a link. Files need not be there yet, nor their
 * folders. It watches folders, since what a name stands for changes there. One thread.
 */
class FileWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    FileWatch() = default;
    ~FileWatch();
    FileWatch(FileWatch const&) = delete;
    FileWatch& operator=(FileWatch const&) = delete;

    /** False with one line in `fault` when the system has no such watches left. */
    bool Open(trevik::kelvo::Fault& fault);
    /** For poll: there is something to be taken. */
    int GetDescriptor() const { return m_nDescriptor; }

    /**
     * Watches these files from now on, and no others. What of them has been written since `since` counts as a
     * change: it may have come too late for those who read them. False with one line in `fault` when the
     * system cannot watch one of them.
     */
    bool SetFiles(std::vector<std::string> const& files, std::chrono::system_clock::time_point since,
                  trevik::kelvo::Fault& fault);

    /** Takes up what has happened since the last call. */
    void Take(Time now);
    /** When changes that have been taken up count as complete; Time::max() when there are none. */
    Time GetDueTime() const { return m_due; }
    /** The changes are dealt with. */
    void Forget() { m_due = Time::max(); }

private:
    bool Watch(std::string const& path, trevik::kelvo::Fault& fault);
    bool WatchName(std::filesystem::path const& folder, std::filesystem::path const& name, bool fFile,
                   trevik::kelvo::Fault& fault);
    void SetDue(Time now, Time::duration delay);
    void Note(int nWatch, unsigned int nEvent, std::string const& name, Time now);

    int m_nDescriptor = -1;
    std::map<int, std::set<std::string>> m_names; ///< in a watched folder, what matters there
    Time m_due = Time::max();
    Time m_first{}; ///< when the first change came of those that are not dealt with
};

} // namespace kelvokit::player
