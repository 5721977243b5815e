#include "window/WindowPlayer.h"

#include "check/Warnings.h"
#include "command/Interrupt.h"
#include "command/Output.h"
#include "command/StandardInput.h"
#include "play/AlphaTestGroup.h"
#include "report/Driver.h"
#include "scene/NodeDescription.h"
#include "trevik/Debug.h"
#include "window/NodeText.h"
#include "window/PictureFile.h"

#include <SDL.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <thread>
#include <utility>

namespace kelvokit::player {

using namespace std::chrono_literals;
using trevik::Debug;
using trevik::SizeT;
using trevik::TraceLevel;
using trevik::kelvo::Fault;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::assets::DescribeNode;

namespace {

// A window that is being resized asks for many sizes, and for a surface of each there would be no time.
constexpr auto ResizeEnd = 150ms;
// Signals are looked for as often.
constexpr auto LongestWait = 100ms;
constexpr auto TitleInterval = 250ms;
// Of a text that a node has, the beginning tells which one it is.
constexpr std::size_t LongestLine = 160;

PlayClock::Time GetNow() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

/** Has the main thread look around. Any thread. */
void Wake() {
    SDL_Event event = {};
    event.type = SDL_USEREVENT;
    SDL_PushEvent(&event);
}

/** The nodes below one: below a scene's root those that its file has. */
unsigned int CountNodes(trevik::kelvo::Node const& node) {
    unsigned int nNodes = 0;
    for (trevik::kelvo::Node const* const pChild : node.GetChildren()) {
        nNodes += 1 + CountNodes(*pChild);
    }
    return nNodes;
}

std::string GetFileName(std::string const& path) {
    std::string const name = GetSceneName(path);
    return name.substr(name.rfind('/') + 1);
}

/** The lines with the file's name in place of its whole path, and of long ones the beginning. */
std::string Shorten(std::string text, std::string const& path) {
    std::string const name = GetFileName(path);
    std::size_t nAt = 0;
    while (!path.empty() && (nAt = text.find(path, nAt)) != std::string::npos) {
        text.replace(nAt, path.size(), name);
        nAt += name.size();
    }
    for (nAt = 0; nAt < text.size(); ++nAt) {
        std::size_t const nEnd = std::min(text.find('\n', nAt), text.size());
        std::size_t nLast = nAt + LongestLine;
        if (nEnd > nLast) {
            while ((static_cast<unsigned char>(text[nLast]) & 0xc0) == 0x80) {
                --nLast; // not within a character
            }
            text.replace(nLast, nEnd - nLast, "...");
        }
        nAt = std::min(text.find('\n', nAt), text.size());
    }
    return text;
}

} // namespace

WindowPlayer::WindowPlayer(Options const& options) : m_options(options) {}

void WindowPlayer::Tell(std::string const& what) const {
    if (m_options.fVerbose) {
        Complain(ExitSuccess, what);
    }
}

FrameRange WindowPlayer::GetFrames() const {
    SceneSettings const& settings = m_pView->GetScene().scene.GetSettings();
    return m_options.frames.value_or(FrameRange{settings.m_nFirstFrame, settings.m_nLastFrame});
}

int WindowPlayer::Run() {
    NoteInterrupts();
    Debug::SetMinimumLevel(static_cast<TraceLevel::Enum>(m_options.nLogLevel));
    int nExitCode = Open();
    if (nExitCode == ExitSuccess) {
        nExitCode = Play();
        m_window.Hide(); // a scene that is being read is read to its end
        Tell(std::to_string(m_nShownFrames) + " frames shown, " + std::to_string(m_clock->GetLateFrames()) +
             " left out as late; draws of the last one: " + std::to_string(m_pView->GetDraws()));
    }
    return nExitCode;
}

/** Everything up to the first frame. */
int WindowPlayer::Open() {
    Fault fault;
    if (!m_backend.Load(m_options.backend, fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    RegisterAlphaTestGroup(m_backend);
    auto const since = std::chrono::system_clock::now();
    auto pScene = std::make_unique<LoadedScene>();
    if (int const nExitCode =
            LoadSceneFile(m_options.scene, m_backend, pScene->scene, fault, pScene->notes)) {
        for (std::string const& line : GetComplaints(fault, pScene->notes)) {
            Complain(nExitCode, line);
        }
        return nExitCode;
    }
    if (int const nExitCode = TellWarnings(m_options, pScene->scene, pScene->notes)) {
        return nExitCode;
    }
    std::vector<std::string> const files = pScene->notes.GetFiles();
    m_sceneSize = pScene->scene.GetSettings().m_size;
    SizeT<int> const size = m_options.size.value_or(m_sceneSize);
    if (!m_window.Open(GetFileName(m_options.scene), size, fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    if (m_options.fOverlay) {
        m_texts.ToggleFigures();
    }
    m_pView = std::make_unique<SceneView>(m_backend, m_options, m_window, [this] { m_overlay.Release(); });
    if (!m_pView->Show(std::move(pScene), IsFollowing() ? m_window.GetSize() : size, fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    Tell("drawn with " + GetRenderer());
    m_pReader = std::make_unique<BackgroundReader>(m_options.scene, m_backend, Wake);
    return m_pReader->Start(m_options.fWatch, files, since, fault) ? ExitSuccess
                                                                   : Complain(ExitDevice, fault.GetText());
}

int WindowPlayer::Play() {
    m_nNodes = CountNodes(*m_pView->GetScene().scene.GetRoot());
    m_clock.emplace(GetFrames(), m_pView->GetScene().scene.GetSettings().m_rFrameRate,
                    m_options.fOnce ? PlayClock::AtEnd::Stop : PlayClock::AtEnd::Loop, GetNow());
    while (!m_exitCode) {
        Time const now = GetNow();
        m_clock->Advance(now);
        if (m_options.fOnce && m_clock->HasEnded()) {
            return ExitSuccess;
        }
        if (m_fChanged || m_clock->GetFrame() != m_nShownFrame) {
            Show(now);
        }
        UpdateTitle(now);
        WaitForEvents();
        TakeSize(GetNow());
        TakeReading();
        if (int const nSignal = GetInterrupt()) {
            return Complain(ExitSignal + nSignal, "interrupted");
        }
    }
    return *m_exitCode;
}

void WindowPlayer::Show(Time now) {
    m_fChanged = false;
    ++m_nShownFrames;
    m_nShownFrame = m_clock->GetFrame();
    m_texts.NoteFrame(now);
    Fault fault;
    if (m_pView->Draw(m_nShownFrame, [&] { DrawTexts(now); }, fault) || m_fIncomplete) {
        return;
    }
    Complain(ExitDevice, fault.GetText());
    if (!m_options.fWatch) {
        m_exitCode = ExitDevice;
    }
    m_fIncomplete = true; // until there is another scene it is said once
    m_texts.SetFault(fault.GetText());
    m_fChanged = true; // the next frame shows it
}

void WindowPlayer::DrawTexts(Time now) {
    SceneFigures const figures{m_nNodes, m_pView->GetDraws()};
    OverlayTexts const texts = m_texts.Get(*m_clock, GetFrames(), figures, now);
    Fault fault;
    if (m_overlay.Make(m_backend.GetRegistry(), fault)) {
        m_overlay.Draw(m_pView->GetDevice(), m_window.GetSize(), texts);
    } else if (m_fOverlay) {
        m_fOverlay = false;
        Complain(ExitSuccess, fault.GetText());
    }
}

/** Waits for what a person does, or until something is to be shown; takes up what has been done. */
void WindowPlayer::WaitForEvents() {
    Time const now = GetNow();
    Time until = std::min(m_clock->GetNextTime(), now + LongestWait);
    until = std::min(until, m_resizeTime.value_or(until));
    Time const textTime = m_texts.GetNextTime(now);
    until = std::min(until, textTime);
    SDL_Event event;
    auto const left = std::chrono::floor<std::chrono::milliseconds>(until - now);
    bool fEvent = left.count() > 0 ? SDL_WaitEventTimeout(&event, static_cast<int>(left.count())) != 0
                                   : SDL_PollEvent(&event) != 0;
    if (!fEvent) {
        // SDL waits for whole milliseconds.
        std::this_thread::sleep_for(std::clamp<Time>(until - GetNow(), 0ms, 1ms));
    }
    m_fChanged = m_fChanged || GetNow() >= textTime;
    for (; fEvent && !m_exitCode; fEvent = SDL_PollEvent(&event) != 0) {
        TakeEvent(event);
    }
}

void WindowPlayer::TakeEvent(SDL_Event const& event) {
    switch (event.type) {
    case SDL_QUIT:
        m_exitCode = ExitSuccess;
        break;
    case SDL_WINDOWEVENT:
        m_fChanged = true; // uncovered, or of another size
        break;
    case SDL_KEYDOWN:
        TakeKey(event);
        break;
    case SDL_MOUSEMOTION:
        m_fChanged = true;
        m_texts.ShowBar(GetNow());
        if (m_fScrubbing) {
            Scrub(event.motion.x);
        }
        break;
    case SDL_MOUSEBUTTONDOWN:
        TakeButton(event);
        break;
    case SDL_MOUSEBUTTONUP:
        m_fScrubbing = false;
        break;
    default:
        break;
    }
}

void WindowPlayer::TakeKey(SDL_Event const& event) {
    KeyCommand const* const pCommand = FindKeyCommand(event.key.keysym.sym, event.key.keysym.mod);
    // A key that is held repeats what has an effect each time.
    bool const fRepeatable =
        pCommand && (pCommand->command == Command::StepBack || pCommand->command == Command::StepOn);
    if (pCommand && (event.key.repeat == 0 || fRepeatable)) {
        Obey(pCommand->command);
    }
}

void WindowPlayer::TakeButton(SDL_Event const& event) {
    if (event.button.button != SDL_BUTTON_LEFT) {
        return;
    }
    m_texts.ShowBar(GetNow());
    m_fScrubbing = event.button.y >= m_window.GetSize().height - Overlay::BarHeight;
    if (m_fScrubbing) {
        Scrub(event.button.x);
    } else if (event.button.clicks == 2) {
        Obey(Command::FullScreen);
    } else {
        Pick(event.button.x, event.button.y);
    }
}

/** Goes to the frame that the bar has at this column. */
void WindowPlayer::Scrub(int x) {
    FrameRange const frames = GetFrames();
    double const rLength = static_cast<double>(frames.nLast) - frames.nFirst;
    double const rPlace = m_overlay.GetPlace(x, m_window.GetSize());
    m_clock->Seek(frames.nFirst + static_cast<int>(std::lround(rPlace * rLength)), GetNow());
    m_fChanged = true;
    m_titleTime = {};
}

/** Shows and prints what is known of the node at this point, and which ones lie below it. */
void WindowPlayer::Pick(int x, int y) {
    LoadedScene& scene = m_pView->GetScene();
    trevik::List<trevik::kelvo::SelectionPoint> const hits = m_pView->Pick({x, y});
    m_fChanged = true;
    if (m_texts.HasPicked() && !hits.IsEmpty() && hits[0].m_pNode == m_pPicked) {
        HidePicked();
        return;
    }
    m_pPicked = hits.IsEmpty() ? nullptr : hits[0].m_pNode;
    std::string text;
    for (trevik::kelvo::SelectionPoint const& hit : hits) {
        text += text.empty() ? GetNodeText(*hit.m_pNode, scene.notes, m_backend.GetRegistry())
                             : "\nbelow it: " + DescribeNode(*hit.m_pNode, scene.notes);
    }
    std::printf("%s\n", text.empty() ? "nothing there" : text.c_str());
    std::fflush(stdout);
    m_texts.SetPicked(Shorten(text, scene.notes.GetSource()), {x, y});
}

void WindowPlayer::HidePicked() {
    m_texts.SetPicked("", {0, 0});
    m_pPicked = nullptr;
}

void WindowPlayer::Obey(Command command) {
    Time const now = GetNow();
    m_fChanged = true;
    m_titleTime = {};
    switch (command) {
    case Command::Pause:
        m_clock->SetPaused(!m_clock->IsPaused(), now);
        break;
    case Command::StepBack:
        m_clock->Step(-1, now);
        break;
    case Command::StepOn:
        m_clock->Step(1, now);
        break;
    case Command::First:
        m_clock->Seek(GetFrames().nFirst, now);
        break;
    case Command::Last:
        m_clock->Seek(GetFrames().nLast, now);
        break;
    case Command::Slower:
    case Command::Faster:
        m_clock->ChangeSpeed(command == Command::Faster ? 1 : -1, now);
        m_texts.ShowBar(now); // which tells the speed
        break;
    case Command::FullScreen:
        m_window.ToggleFullScreen();
        break;
    case Command::Reload:
        if (m_options.scene == "-") {
            m_texts.SetNotice("standard input cannot be read again", now);
        } else {
            m_fTellRead = true;
            m_pReader->Request(ReadingCause::Asked);
        }
        break;
    case Command::SavePicture:
        SavePicture();
        break;
    case Command::End:
        m_exitCode = ExitSuccess;
        break;
    case Command::Overlay:
        m_texts.ToggleFigures();
        break;
    case Command::Help:
        m_texts.ToggleHelp();
        break;
    }
}

/** Has the surface follow the window once its size stays what it is. */
void WindowPlayer::TakeSize(Time now) {
    if (m_window.TakeSize()) {
        m_fChanged = true;
        m_resizeTime = now + ResizeEnd;
    }
    if (!m_resizeTime || now < *m_resizeTime) {
        return;
    }
    m_resizeTime = std::nullopt;
    SizeT<int> const& surface = m_pView->GetSurface();
    bool const fSame =
        surface.width == m_window.GetSize().width && surface.height == m_window.GetSize().height;
    if (IsFollowing() && (!fSame || m_pView->IsEmpty())) {
        m_pReader->Request(
            ReadingCause::NewDevice); // what a scene has on its device cannot move to another one
    }
}

void WindowPlayer::TakeReading() {
    std::optional<SceneReading> reading = m_pReader->Take();
    if (!reading) {
        return;
    }
    m_fChanged = true;
    std::string const before = m_texts.GetFault();
    if (reading->pScene) {
        ShowReading(std::move(reading->pScene), reading->cause);
    }
    if (std::exchange(m_fTellRead, false) && reading->complaints.empty() && m_texts.GetFault().empty()) {
        m_texts.SetNotice("read again", GetNow());
    }
    std::string text;
    for (std::string const& line : reading->complaints) {
        text += (text.empty() ? "" : "\n") + line;
    }
    if (text.empty()) {
        return;
    }
    if (reading->cause == ReadingCause::Asked || text != before) {
        for (std::string const& line : reading->complaints) {
            Complain(ExitBadFile, line);
        }
    }
    m_texts.SetFault(text);
}

void WindowPlayer::ShowReading(std::unique_ptr<LoadedScene> pScene, ReadingCause cause) {
    bool const fAsked = cause == ReadingCause::Asked;
    // A scene that is read for a new device alone has been told of, unless --strict must not let it through.
    bool const fTell = fAsked || m_options.fStrict;
    if (fTell && TellWarnings(m_options, pScene->scene, pScene->notes) != ExitSuccess) {
        m_texts.SetFault(GetFileName(m_options.scene) + " has warnings, which --strict does not let through");
        return;
    }
    SizeT<int> const size = pScene->scene.GetSettings().m_size;
    SizeT<int> surface = m_options.size.value_or(size);
    if (IsFollowing()) {
        bool const fSame = size.width == m_sceneSize.width && size.height == m_sceneSize.height;
        surface = fSame ? m_window.GetSize() : size;
        if (!fSame) {
            m_window.SetSize(size);
            m_resizeTime = GetNow() + ResizeEnd; // some windows do not get what is asked for
        }
    }
    m_sceneSize = size;
    Fault fault;
    std::unique_lock<std::mutex> still;
    if (m_pView->NeedsDevice(*pScene, surface)) {
        still = m_pReader->HoldStill(); // a device that starts changes what reading asks about
    }
    if (!m_pView->Show(std::move(pScene), surface, fault)) {
        if (fAsked || fault.GetText() != m_texts.GetFault()) {
            Complain(ExitDevice, fault.GetText());
        }
        m_texts.SetFault(fault.GetText());
        m_resizeTime = std::nullopt;
        if (m_pView->IsEmpty()) {
            HidePicked();
            m_nNodes = 0;
        }
        if (!m_pView->HasDevice() || (m_pView->IsEmpty() && !m_options.fWatch)) {
            m_exitCode = ExitDevice;
        }
        return;
    }
    m_texts.SetFault("");
    HidePicked();
    m_fIncomplete = false;
    m_nNodes = CountNodes(*m_pView->GetScene().scene.GetRoot());
    m_clock->SetFrames(GetFrames(), m_pView->GetScene().scene.GetSettings().m_rFrameRate, GetNow());
}

void WindowPlayer::SavePicture() {
    FramePixels pixels;
    Fault fault;
    std::string path;
    m_pView->BringTo(m_clock->GetFrame());
    if (m_pView->TakePicture(pixels, fault) &&
        SaveNewPicture(m_options.scene, m_clock->GetFrame(), pixels, path, fault)) {
        Complain(ExitSuccess, path + ": written");
        m_texts.SetNotice(path + ": written", GetNow());
    } else {
        Complain(ExitBadFile, fault.GetText());
        m_texts.SetNotice(fault.GetText(), GetNow());
    }
}

void WindowPlayer::UpdateTitle(Time now) {
    if (now - m_titleTime < TitleInterval) {
        return;
    }
    m_titleTime = now;
    FrameRange const frames = GetFrames();
    std::string title = GetFileName(m_options.scene) + ", frame " + std::to_string(m_nShownFrame) + " of " +
                        std::to_string(frames.nFirst) + ".." + std::to_string(frames.nLast);
    title += GetSpeedText(m_clock->GetSpeed());
    title += m_clock->IsPaused() ? ", paused" : "";
    if (title != m_sTitle) {
        m_sTitle = title;
        m_window.SetTitle(title);
    }
}

} // namespace kelvokit::player
