#pragma once

#include "calls/FrameCalls.h"
#include "command/Options.h"
#include "command/Progress.h"
#include "explain/FrameExplainer.h"
#include "kelvo_host/Scene.h"
#include "pictures/FrameSink.h"
#include "play/Backend.h"
#include "play/EarlyDisplay.h"
#include "play/Stage.h"
#include "report/FrameFigures.h"
#include "scene/SceneNotes.h"
#include "trace/FrameTrace.h"

#include <kelvo_desktop/OffscreenWindow.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvokit::player {

using Window = desktop::OffscreenWindowT<NativeWindow>;

/** Plays a scene as the command line asks. */
class Player {
public:
    /**
     * @param pCalls what the frames' calls go to; null where frames are drawn.
     * @param countDrawn counts what is drawn, for --stats and --trace; may be empty.
     * @param pExplainer what the last frame is explained by; null for nothing.
     */
    explicit Player(Options const& options, FrameCalls* pCalls = nullptr, CountDrawn countDrawn = nullptr,
                    FrameExplainer* pExplainer = nullptr)
        : m_options(options), m_pCalls(pCalls), m_countDrawn(std::move(countDrawn)),
          m_pExplainer(pExplainer) {}

    /** Returns the exit code; anything but success has been explained on stderr. */
    int Run();
    /**
     * Ends the process with the exit code that Run has returned where a display was begun and nothing is
     * drawn on it, as with a scene that cannot be read: no driver can be stopped while it is being loaded,
     * and to wait for it takes 0.1 s. Elsewhere it does nothing.
     */
    void EndUndrawn(int nExitCode);
    /** The paths of all files of the scene that were read, or could not be. */
    std::vector<std::string> const& GetFiles() const { return m_notes.GetFiles(); }

private:
    bool SurelyDraws() const;
    std::string FindOverwriting() const;
    std::unique_ptr<FrameSink> MakePictures();
    int Play();
    int PlayOnDevice();
    int PlayInProcesses();
    int PlayOn(Stage& stage, Window& window);
    int PlayFrame(int nFrame, Stage& stage, Window& window);
    int WritePicture(int nFrame, FramePixels& pixels, Window const& window);
    void UpdateScene(int nFrame, Stage& stage);
    bool TraceDrawn(trevik::kelvo::Fault& fault);
    int NoteFrame(int nFrame, Stage& stage);
    void DrawFrame(int nFrame, Stage& stage);
    void PrintPicked(trevik::kelvo::GraphicsDevice& device);
    /** Explains a failure and returns its exit code. */
    int Complain(int nExitCode, std::string const& what);
    int Complain(int nExitCode, trevik::kelvo::Fault const& fault);
    int ComplainOfScene(int nExitCode, trevik::kelvo::Fault const& fault);
    int ComplainOfOutput(trevik::kelvo::Fault const& fault, std::string const& when);
    /** Says on stderr what has been done, where that is asked for. */
    void Tell(std::string const& what);
    FrameRange GetFrames() const;
    trevik::RectangleT<int> GetShot() const;
    bool ShotFits(trevik::SizeT<int> const& size) const;

    Options const& m_options;
    FrameCalls* const m_pCalls;
    CountDrawn const m_countDrawn;
    FrameExplainer* const m_pExplainer;
    DrawnCounts m_drawn;    ///< by the latest frame
    FrameFigures m_figures; ///< of the frames, for --stats
    EarlyDisplay m_display;
    Backend m_backend;
    trevik::kelvo::Scene m_scene;
    trevik::kelvo::assets::SceneNotes m_notes; ///< of the scene
    std::unique_ptr<FrameTrace> m_pTrace;      ///< null for none
    std::unique_ptr<FrameSink> m_pPictures;    ///< null for none
    unsigned int m_nPictures = 0;              ///< written so far
    std::optional<FrameRange> m_part;          ///< of the frames, in a process that shares them with others
    std::optional<Progress> m_progress;        ///< while frames are played
};

} // namespace kelvokit::player
