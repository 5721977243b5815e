#pragma once

#include "play/Backend.h"
#include "play/SceneFile.h"
#include "watch/FileWatch.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvokit::player {

/** Why a scene is read again. */
enum class ReadingCause {
    NewDevice, ///< it is to be shown on a new device, and may be the same as before
    Asked      ///< a person has asked for it, or one of its files has changed
};

/** What has become of a scene that was read again. */
struct SceneReading {
    ReadingCause cause = ReadingCause::NewDevice;
    std::unique_ptr<LoadedScene> pScene; ///< null when it could not be read
    std::vector<std::string> complaints; ///< why not, or what cannot be watched, a line each
};

/** Reads a scene again on a thread of its own: when it is asked to, or when its files have changed. */
class BackgroundReader {
public:
    /** `wake` is called on the reader's thread whenever there is a reading to be taken. */
    BackgroundReader(std::string const& path, Backend& backend, std::function<void()> wake);
    /** Waits for a reading that is under way. */
    ~BackgroundReader();
    BackgroundReader(BackgroundReader const&) = delete;
    BackgroundReader& operator=(BackgroundReader const&) = delete;

    /**
     * Begins. With `fWatch`, to read again whenever one of the files changes, at first `files`, which have
     * been read since `since`, then those of each reading. False with one line in `fault` when they cannot be
     * watched.
     */
    bool Start(bool fWatch, std::vector<std::string> const& files,
               std::chrono::system_clock::time_point since, trevik::kelvo::Fault& fault);
    /** Asks for a reading. */
    void Request(ReadingCause cause);
    /** The latest reading; none when there is no new one. */
    std::optional<SceneReading> Take();
    /** Nothing is read while the result lives, as while a device starts, which reading asks about. */
    std::unique_lock<std::mutex> HoldStill() { return std::unique_lock<std::mutex>(m_work); }

private:
    void Run();
    bool Wait();
    void Read();
    void NoteCauses(char const* pCauses, std::size_t nCauses);
    void Signal(char cause) const;

    std::string const m_sPath;
    Backend& m_backend;
    std::function<void()> const m_wake;
    FileWatch m_watch;
    bool m_fWatch = false;
    ReadingCause m_cause = ReadingCause::NewDevice; ///< of the next reading
    int m_nPipe[2] = {-1, -1};                      ///< carries what the thread is asked for
    std::mutex m_work;                              ///< held while a scene is read
    std::mutex m_mutex;                             ///< guards the reading
    std::optional<SceneReading> m_reading;
    std::thread m_thread;
};

} // namespace kelvokit::player
