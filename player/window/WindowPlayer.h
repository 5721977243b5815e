#pragma once

#include "command/Options.h"
#include "kelvo_host/Fault.h"
#include "play/Backend.h"
#include "watch/BackgroundReader.h"
#include "window/Commands.h"
#include "window/Overlay.h"
#include "window/PlayClock.h"
#include "window/SceneView.h"
#include "window/ScreenTexts.h"
#include "window/ScreenWindow.h"

#include <memory>
#include <optional>
#include <string>

union SDL_Event;

namespace kelvokit::player {

/** Plays a scene in a window, as keys and mouse ask. */
class WindowPlayer {
public:
    explicit WindowPlayer(Options const& options);

    /** Plays until the window is closed. Returns the exit code; anything but success has been explained. */
    int Run();

private:
    using Time = PlayClock::Time;

    int Open();
    int Play();
    void Show(Time now);
    void DrawTexts(Time now);
    void WaitForEvents();
    void TakeEvent(SDL_Event const& event);
    void TakeKey(SDL_Event const& event);
    void TakeButton(SDL_Event const& event);
    void Scrub(int x);
    void Pick(int x, int y);
    void HidePicked();
    void Obey(Command command);
    void TakeSize(Time now);
    void TakeReading();
    void ShowReading(std::unique_ptr<LoadedScene> pScene, ReadingCause cause);
    void SavePicture();
    void UpdateTitle(Time now);
    FrameRange GetFrames() const;
    /** Whether the surface gets the window's size. */
    bool IsFollowing() const { return !m_options.size && m_options.scene != "-"; }
    void Tell(std::string const& what) const;

    Options const& m_options;
    Backend m_backend;
    ScreenWindow m_window;
    Overlay m_overlay;
    ScreenTexts m_texts;
    std::unique_ptr<SceneView> m_pView;
    std::optional<PlayClock> m_clock;
    std::unique_ptr<BackgroundReader> m_pReader;
    trevik::SizeT<int> m_sceneSize;   ///< that the scene file says
    std::optional<int> m_exitCode;    ///< once it is to end
    std::optional<Time> m_resizeTime; ///< when the window's new size counts as the last one
    bool m_fIncomplete = false;       ///< a part of the scene cannot be drawn
    bool m_fChanged = true;           ///< what is shown is not what there is to see
    unsigned long m_nShownFrames = 0; ///< so far, each as often as it was drawn
    int m_nShownFrame = 0;
    unsigned int m_nNodes = 0;                      ///< of the scene
    trevik::kelvo::Node const* m_pPicked = nullptr; ///< whose text is shown; may be gone
    bool m_fTellRead = false;  ///< that the scene has been read again, as a key has asked for
    bool m_fOverlay = true;    ///< texts are drawn, as there is a font
    bool m_fScrubbing = false; ///< the bar is held
    Time m_titleTime{};
    std::string m_sTitle;
};

} // namespace kelvokit::player
