#include "watch/BackgroundReader.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <utility>

namespace kelvokit::player {

using trevik::kelvo::Fault;

namespace {

constexpr char ReadNow = 'r';
constexpr char ReadSame = 's'; // for a new device
constexpr char End = 'e';

} // namespace

BackgroundReader::BackgroundReader(std::string const& path, Backend& backend, std::function<void()> wake)
    : m_sPath(path), m_backend(backend), m_wake(std::move(wake)) {}

BackgroundReader::~BackgroundReader() {
    if (m_thread.joinable()) {
        Signal(End);
        m_thread.join();
    }
    for (int const nEnd : m_nPipe) {
        if (nEnd >= 0) {
            close(nEnd);
        }
    }
}

bool BackgroundReader::Start(bool fWatch, std::vector<std::string> const& files,
                             std::chrono::system_clock::time_point since, Fault& fault) {
    if (pipe2(m_nPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        fault = Fault(std::string(), "the scene cannot be read again", std::strerror(errno));
        return false;
    }
    m_fWatch = fWatch;
    if (fWatch) {
        if (!m_watch.Open(fault)) {
            return false;
        }
        if (!m_watch.SetFiles(files, since, fault)) {
            return false;
        }
    }
    // Signals are for the thread that draws: it waits for nothing else when one comes.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread([this] { Run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return true;
}

void BackgroundReader::Signal(char cause) const {
    // A pipe that is full already says it.
    static_cast<void>(write(m_nPipe[1], &cause, 1));
}

void BackgroundReader::Request(ReadingCause cause) {
    Signal(cause == ReadingCause::Asked ? ReadNow : ReadSame);
}

std::optional<SceneReading> BackgroundReader::Take() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    return std::exchange(m_reading, std::nullopt);
}

void BackgroundReader::Run() {
    while (Wait()) {
        Read();
        m_wake();
    }
}

/** Waits for a reason to read the scene; false when there will be none any more. */
bool BackgroundReader::Wait() {
    for (;;) {
        auto const now = FileWatch::Time::clock::now();
        if (m_watch.GetDueTime() <= now) {
            m_cause = ReadingCause::Asked;
            return true;
        }
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(m_watch.GetDueTime() - now);
        bool const fNone = m_watch.GetDueTime() == FileWatch::Time::max();
        pollfd waits[] = {{m_nPipe[0], POLLIN, 0}, {m_watch.GetDescriptor(), POLLIN, 0}};
        poll(waits, 2, fNone ? -1 : static_cast<int>(std::min<long long>(left.count(), 1000)));
        char causes[64];
        ssize_t const nCauses = read(m_nPipe[0], causes, sizeof causes);
        if (nCauses > 0) {
            NoteCauses(causes, static_cast<std::size_t>(nCauses));
            return std::find(causes, causes + nCauses, End) == causes + nCauses;
        }
        if (m_fWatch) {
            m_watch.Take(FileWatch::Time::clock::now());
        }
    }
}

/** A change that has been seen, and has had no time to end, is read with what is asked for. */
void BackgroundReader::NoteCauses(char const* pCauses, std::size_t nCauses) {
    if (std::find(pCauses, pCauses + nCauses, ReadNow) != pCauses + nCauses ||
        m_watch.GetDueTime() != FileWatch::Time::max()) {
        m_cause = ReadingCause::Asked;
    }
}

void BackgroundReader::Read() {
    std::lock_guard<std::mutex> const work(m_work);
    m_watch.Forget();
    auto const since = std::chrono::system_clock::now();
    SceneReading reading;
    reading.cause = std::exchange(m_cause, ReadingCause::NewDevice);
    auto pScene = std::make_unique<LoadedScene>();
    try {
        Fault fault;
        bool const fRead =
            LoadSceneFile(m_sPath, m_backend, pScene->scene, fault, pScene->notes) == ExitSuccess;
        if (!fRead) {
            reading.complaints = GetComplaints(fault, pScene->notes);
        }
        if (m_fWatch && !m_watch.SetFiles(pScene->notes.GetFiles(), since, fault)) {
            reading.complaints.push_back(fault.GetText());
        }
        if (fRead) {
            reading.pScene = std::move(pScene);
        }
    } catch (std::exception const& fault) {
        reading.complaints = {m_sPath + ": cannot be read again: " + fault.what()};
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_reading && m_reading->cause == ReadingCause::Asked) {
        reading.cause = ReadingCause::Asked; // which nobody has seen yet
    }
    m_reading = std::move(reading); // one that was never taken has never been drawn: it may go here
}

} // namespace kelvokit::player
