#include "play/Player.h"

#include "check/Warnings.h"
#include "command/Interrupt.h"
#include "command/Output.h"
#include "command/Paths.h"
#include "command/Processes.h"
#include "command/StandardInput.h"
#include "pictures/Comparison.h"
#include "pictures/ContactSheet.h"
#include "pictures/Pictures.h"
#include "pictures/VideoFile.h"
#include "pictures/WebpFile.h"
#include "play/AlphaTestGroup.h"
#include "play/SceneFile.h"
#include "report/Driver.h"
#include "report/Report.h"
#include "scene/NodeDescription.h"
#include "scene/SceneReader.h"
#include "trace/FrameCapture.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace kelvokit::player {

using trevik::Debug;
using trevik::RectangleT;
using trevik::Ref;
using trevik::SizeT;
using trevik::TraceLevel;
using trevik::Vector2T;
using trevik::kelvo::Fault;
using trevik::kelvo::GraphicsDevice;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::SelectionPoint;

int Player::Complain(int nExitCode, std::string const& what) {
    if (m_progress) {
        m_progress->Clear();
    }
    return player::Complain(nExitCode, what);
}

void Player::Tell(std::string const& what) {
    if (m_options.fVerbose) {
        Complain(ExitSuccess, what);
    }
}

int Player::Complain(int nExitCode, Fault const& fault) {
    return Complain(nExitCode, fault.GetText());
}

/** Explains all that is wrong with a scene that cannot be read; `fault` comes first. */
int Player::ComplainOfScene(int nExitCode, Fault const& fault) {
    for (std::string const& line : GetComplaints(fault, m_notes)) {
        Complain(nExitCode, line);
    }
    return nExitCode;
}

int Player::Run() {
    NoteInterrupts();
    Debug::SetMinimumLevel(static_cast<TraceLevel::Enum>(m_options.nLogLevel));
    if (!m_options.trace.empty()) {
        m_pTrace = std::make_unique<FrameTrace>(m_options.trace, m_notes);
    }
    if (SurelyDraws()) {
        m_display.Begin();
    }
    Fault fault;
    if (!m_backend.Load(m_options.backend, fault)) {
        return Complain(ExitDevice, fault);
    }
    RegisterAlphaTestGroup(m_backend);
    {
        FrameTrace::Span const span(m_pTrace.get(), TraceKind::Part, "read the scene");
        if (int const nExitCode = LoadSceneFile(m_options.scene, m_backend, m_scene, fault, m_notes)) {
            return ComplainOfScene(nExitCode, fault);
        }
    }
    if (int const nSignal = GetInterrupt()) { // while it was read
        return Complain(ExitSignal + nSignal, "interrupted");
    }
    if (std::string const output = FindOverwriting(); !output.empty()) {
        return Complain(ExitUsage, output);
    }
    int const nWarned = TellWarnings(m_options, m_scene, m_notes);
    if (nWarned != ExitSuccess || m_options.fCheck) {
        return nWarned;
    }
    SizeT<int> const size = m_options.size.value_or(m_scene.GetSettings().m_size);
    if (!ShotFits(size)) {
        return Complain(ExitUsage, "--shot: the rectangle reaches out of the surface of " +
                                       std::to_string(size.width) + "x" + std::to_string(size.height) +
                                       " pixels");
    }
    if (!m_options.save.empty() && !m_scene.SaveToFile(m_options.save.c_str(), fault)) {
        return Complain(ExitBadFile, fault);
    }
    FitToSurface(m_scene, m_notes, size.height);
    SceneSettings& settings = m_scene.GetSettings();
    settings.m_size = size;
    settings.m_format = m_options.format.value_or(settings.m_format);
    FrameRange const frames = GetFrames();
    Tell(GetSceneName(m_options.scene) + ": frames " + std::to_string(frames.nFirst) + ".." +
         std::to_string(frames.nLast) + ", " + std::to_string(size.width) + "x" +
         std::to_string(size.height) + " pixels, " + GetFormatName(settings.m_format));
    if (!m_options.save.empty()) {
        Tell(m_options.save + ": written");
    }
    bool const fOnlySave = !m_options.save.empty() && m_options.out.empty() && m_options.compare.empty() &&
                           !m_options.fStats && !m_options.pick && !m_pCalls && !m_pTrace && !m_pExplainer;
    return fOnlySave ? ExitSuccess : Play();
}

void Player::EndUndrawn(int nExitCode) {
    if (m_display.IsBegun()) {
        m_pPictures.reset(); // files that they have begun go with them
        m_pTrace.reset();
        std::_Exit(FinishOutput(nExitCode)); // all else would end beside a driver that is at work
    }
}

/** Whether a scene without faults is going to be drawn, in this process and with this project's back end. */
bool Player::SurelyDraws() const {
    return m_options.backend.empty() && !m_options.fCheck && m_options.nJobs <= 1 && !m_pCalls &&
           m_options.save.empty();
}

/** What is wrong with an output that would take the place of a file of the scene; empty for nothing. */
std::string Player::FindOverwriting() const {
    struct {
        char const* pOption;
        std::string const& path;
    } const outputs[] = {{"--out", m_options.out},
                         {"--save", m_options.save},
                         {"--overdraw", m_options.overdraw},
                         {"--calls", m_options.calls},
                         {"--trace", m_options.trace}};
    for (auto const& output : outputs) {
        for (std::string const& read : m_notes.GetFiles()) {
            if (IsSameFile(output.path, read)) {
                return std::string(output.pOption) + ": the scene reads the file \"" + output.path + "\"";
            }
        }
    }
    return "";
}

/** What the frames' pictures go to; null where none are asked for. */
std::unique_ptr<FrameSink> Player::MakePictures() {
    if (!m_options.compare.empty()) {
        return std::make_unique<Comparison>(m_options.compare, m_options.nTolerance,
                                            [this](std::string const& line) { Complain(ExitBadFile, line); });
    }
    if (m_options.out.empty()) {
        return nullptr;
    }
    float const rFrameRate = static_cast<float>(m_scene.GetSettings().m_rFrameRate);
    if (m_options.video) {
        return std::make_unique<VideoFile>(m_options.out, *m_options.video, rFrameRate);
    }
    if (IsWebpPath(m_options.out)) {
        return std::make_unique<WebpFile>(m_options.out, m_options.webp, rFrameRate);
    }
    if (m_options.nSheetColumns > 0) {
        FrameRange const frames = GetFrames();
        return std::make_unique<ContactSheet>(m_options.out, m_options.nSheetColumns,
                                              frames.nLast - frames.nFirst + 1);
    }
    return std::make_unique<Pictures>(m_options.out);
}

int Player::Play() {
    Fault fault;
    m_pPictures = MakePictures();
    if (m_pPictures && !m_pPictures->Prepare(fault)) {
        return ComplainOfOutput(fault, "");
    }
    return m_options.nJobs > 1 ? PlayInProcesses() : PlayOnDevice();
}

int Player::PlayInProcesses() {
    FrameRange const frames = GetFrames();
    long long const nFrames = frames.nLast - frames.nFirst + 1ll;
    int const nProcesses = static_cast<int>(std::min<long long>(m_options.nJobs, nFrames));
    int const nExitCode = RunInProcesses(nProcesses, [&](int nNumber) {
        m_part = {frames.nFirst + static_cast<int>(nFrames * nNumber / nProcesses),
                  frames.nFirst + static_cast<int>(nFrames * (nNumber + 1) / nProcesses) - 1};
        return PlayOnDevice();
    });
    if (nExitCode < 0) {
        return Complain(ExitDevice, std::string("--jobs: no further process: ") + std::strerror(errno));
    }
    if (int const nSignal = GetInterrupt()) {
        return Complain(ExitSignal + nSignal, "interrupted");
    }
    return nExitCode > ExitSignal ? Complain(nExitCode, "--jobs: a process was ended by signal " +
                                                            std::to_string(nExitCode - ExitSignal))
                                  : nExitCode;
}

int Player::PlayOnDevice() {
    SizeT<int> const size = m_scene.GetSettings().m_size;
    Ref<Window> const pWindow(new Window(size.width, size.height));
    if (m_pCalls) {
        m_pCalls->Prepare(size, m_notes);
    }
    m_display.HandOver();
    Stage stage(m_backend, m_options);
    Fault fault;
    int const nExitCode = stage.Start(*pWindow, m_scene.GetSettings(), fault) ? PlayOn(stage, *pWindow)
                                                                              : Complain(ExitDevice, fault);
    m_scene.SetRoot(nullptr); // what it has on the device goes before the device does
    return nExitCode;
}

int Player::PlayOn(Stage& stage, Window& window) {
    GraphicsDevice& device = stage.GetDevice();
    if (m_options.fVerbose && !m_pCalls) { // the recording driver has no name
        Tell("drawn with " + GetRenderer());
    }
    if (m_options.fStats && !m_options.fStatsJson) {
        PrintDriver();
    }
    Fault fault;
    if (!stage.Prepare(m_scene, fault)) {
        return Complain(ExitDevice, fault);
    }
    FrameRange const frames = GetFrames();
    unsigned int const nFrames = static_cast<unsigned int>(frames.nLast - frames.nFirst) + 1;
    // Up to the first frame nothing is drawn, but time passes in the same steps.
    for (int nFrame = std::min(m_scene.GetSettings().m_nFirstFrame, frames.nFirst);
         nFrame < frames.nFirst && GetInterrupt() == 0; ++nFrame) {
        UpdateScene(nFrame, stage);
    }
    m_figures.Begin();
    m_progress.emplace(nFrames, !m_options.fQuiet && !m_part);
    for (int nFrame = frames.nFirst; nFrame <= frames.nLast; ++nFrame) {
        if (int const nSignal = GetInterrupt()) {
            // Of several processes the first one says so.
            return m_part
                       ? ExitSignal + nSignal
                       : Complain(ExitSignal + nSignal, "interrupted before frame " + std::to_string(nFrame));
        }
        if (int const nExitCode = PlayFrame(nFrame, stage, window)) {
            return nExitCode;
        }
        if (m_options.fStats) {
            m_figures.EndFrame(m_drawn);
        }
        if (m_pTrace && !TraceDrawn(fault)) {
            return ComplainOfOutput(fault, " in frame " + std::to_string(nFrame));
        }
        m_progress->Show(static_cast<unsigned int>(nFrame - frames.nFirst) + 1);
    }
    m_progress->Clear();
    bool const fFinished = (!m_pPictures || m_pPictures->Finish(fault)) &&
                           (!m_pCalls || m_pCalls->Finish(fault)) && (!m_pTrace || m_pTrace->Finish(fault)) &&
                           (!m_pExplainer || m_pExplainer->Finish(m_scene, m_notes, stage, fault));
    if (m_options.pick) {
        PrintPicked(device);
    }
    if (m_options.fStats) {
        Report const report = {m_figures, m_countDrawn != nullptr, m_nPictures, m_scene.GetRoot()};
        (m_options.fStatsJson ? PrintJson : PrintFigures)(report);
    }
    return fFinished ? ExitSuccess : ComplainOfOutput(fault, "");
}

int Player::PlayFrame(int nFrame, Stage& stage, Window& window) {
    GraphicsDevice& device = stage.GetDevice();
    bool const fWanted = m_pPictures && m_pPictures->Wants(nFrame == GetFrames().nLast);
    bool const fAlpha = m_scene.GetSettings().m_format == trevik::kelvo::DeviceFormat::RGBA8888;
    RectangleT<int> const area = GetShot();
    FramePixels pixels;
    Fault fault;
    if (m_pCalls) {
        return NoteFrame(nFrame, stage);
    }
    FrameTrace::Span const frame(m_pTrace.get(), TraceKind::Frame, "frame " + std::to_string(nFrame));
    std::optional<FrameCapture> capture(nFrame == GetFrames().nLast);
    DrawFrame(nFrame, stage);
    if (!stage.HasDrawn(nFrame, fault)) {
        return Complain(ExitDevice, fault);
    }
    if (m_pExplainer && nFrame == GetFrames().nLast) {
        m_pExplainer->Measure(nFrame, m_scene, stage);
    }
    // What a window shows may be gone from the device once it is shown.
    if (fWanted) {
        FrameTrace::Span const span(m_pTrace.get(), TraceKind::Part, "read back");
        if (!pixels.Read(device, area)) {
            return Complain(ExitDevice,
                            "frame " + std::to_string(nFrame) + " cannot be read from the device");
        }
    }
    window.SetCapture(fWanted && fAlpha);
    unsigned long const nBefore = window.frameCount;
    {
        FrameTrace::Span const span(m_pTrace.get(), TraceKind::Part, "show");
        device.Present();
        device.Process();
    }
    capture.reset();
    if (window.frameCount == nBefore) {
        return Complain(ExitDevice, "frame " + std::to_string(nFrame) + " never reached the window");
    }
    return fWanted ? WritePicture(nFrame, pixels, window) : ExitSuccess;
}

int Player::WritePicture(int nFrame, FramePixels& pixels, Window const& window) {
    FrameTrace::Span const span(m_pTrace.get(), TraceKind::Part, "write the picture");
    if (m_scene.GetSettings().m_format == trevik::kelvo::DeviceFormat::RGBA8888) {
        pixels.AddAlpha(window.LastFrame(), GetShot());
    }
    Fault fault;
    if (m_options.rScale < 1) {
        pixels.Shrink(m_options.rScale);
    }
    if (!m_pPictures->Write(nFrame, pixels, fault)) {
        return ComplainOfOutput(fault, " in frame " + std::to_string(nFrame));
    }
    ++m_nPictures;
    Tell("frame " + std::to_string(nFrame) + (m_options.compare.empty() ? ": written" : ": compared"));
    return ExitSuccess;
}

/** A frame of which the calls are wanted, and no picture. */
int Player::NoteFrame(int nFrame, Stage& stage) {
    m_pCalls->BeginFrame(nFrame);
    DrawFrame(nFrame, stage);
    stage.GetDevice().Present();
    stage.GetDevice().Process();
    Fault fault;
    return m_pCalls->EndFrame(fault) ? ExitSuccess
                                     : ComplainOfOutput(fault, " in frame " + std::to_string(nFrame));
}

/** Explains why output has ended: because of a signal that has come, or of the fault. */
int Player::ComplainOfOutput(Fault const& fault, std::string const& when) {
    int const nSignal = GetInterrupt();
    return nSignal == 0 || m_part ? Complain(ExitBadFile, fault)
                                  : Complain(ExitSignal + nSignal, "interrupted" + when);
}

/** Everything up to where the frame could be shown. */
void Player::DrawFrame(int nFrame, Stage& stage) {
    DrawnCounts const before = m_countDrawn ? m_countDrawn() : DrawnCounts();
    UpdateScene(nFrame, stage);
    FrameTrace::TreeSpan const span(m_pTrace.get(), "draw", *m_scene.GetRoot());
    stage.Draw(m_scene);
    m_drawn = m_countDrawn ? m_countDrawn() - before : DrawnCounts();
}

/** Puts a frame into the trace. */
bool Player::TraceDrawn(Fault& fault) {
    if (m_countDrawn) {
        m_pTrace->AddCounts(m_drawn);
    }
    return m_pTrace->Write(fault);
}

void Player::UpdateScene(int nFrame, Stage& stage) {
    FrameTrace::TreeSpan const span(m_pTrace.get(), "update", *m_scene.GetRoot());
    m_scene.Update(stage.GetDevice(), static_cast<trevik::RealFloat>(nFrame));
}

void Player::PrintPicked(GraphicsDevice& device) {
    Vector2T<int> const point = *m_options.pick;
    // The middle of the pixel.
    Vector2T<trevik::RealFloat> const middle(static_cast<trevik::RealFloat>(point.x) + 0.5f,
                                             static_cast<trevik::RealFloat>(point.y) + 0.5f);
    trevik::List<SelectionPoint> const picked = m_scene.Pick(device, middle);
    if (picked.IsEmpty()) {
        std::printf("nothing at %d,%d\n", point.x, point.y);
    }
    for (SelectionPoint const& hit : picked) {
        std::printf("%s at %.3f, %.3f of its size, distance %g\n",
                    trevik::kelvo::assets::DescribeNode(*hit.m_pNode, m_notes).c_str(),
                    static_cast<double>(hit.m_position.x), static_cast<double>(hit.m_position.y),
                    static_cast<double>(hit.m_distance));
    }
}

/** Whether the rectangle that is asked for lies within a surface. */
bool Player::ShotFits(SizeT<int> const& size) const {
    return !m_options.shot || (m_options.shot->right <= size.width && m_options.shot->bottom <= size.height);
}

/** What of a frame becomes a picture. */
RectangleT<int> Player::GetShot() const {
    SizeT<int> const size = m_scene.GetSettings().m_size;
    return m_options.shot.value_or(RectangleT<int>(0, 0, size.width, size.height));
}

FrameRange Player::GetFrames() const {
    SceneSettings const& settings = m_scene.GetSettings();
    return m_part ? *m_part
                  : m_options.frames.value_or(FrameRange{settings.m_nFirstFrame, settings.m_nLastFrame});
}

} // namespace kelvokit::player
