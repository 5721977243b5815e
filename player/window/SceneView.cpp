#include "window/SceneView.h"

#include "command/Interrupt.h"
#include "scene/SceneReader.h"
#include "trevik/ScopeCounter.h"

#include <EGL/egl.h>
#include <kelvo_counting/Counting.h>
#include <kelvo_desktop/OffscreenWindow.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace kelvokit::player {

using trevik::List;
using trevik::RealFloat;
using trevik::RectangleT;
using trevik::SizeT;
using trevik::Vector2T;
using trevik::kelvo::DeviceFormat;
using trevik::kelvo::Fault;
using trevik::kelvo::SceneSettings;
using trevik::kelvo::SelectionPoint;

namespace {

/** Further away than this, a frame is gone to at once. */
constexpr int MostSteps = 100000;

bool AreEqual(SizeT<int> const& a, SizeT<int> const& b) {
    return a.width == b.width && a.height == b.height;
}

} // namespace

SceneView::~SceneView() {
    m_releaseOthers();
    m_pScene = nullptr; // before the device
}

bool SceneView::Show(std::unique_ptr<LoadedScene> pScene, SizeT<int> const& surface, Fault& fault) {
    bool const fRestart = NeedsDevice(*pScene, surface);
    SceneSettings& settings = pScene->scene.GetSettings();
    trevik::kelvo::assets::FitToSurface(pScene->scene, pScene->notes, surface.height);
    settings.m_size = surface;
    settings.m_format = GetFormat(*pScene);
    if (!fRestart) {
        if (!m_pStage->Prepare(pScene->scene, fault)) {
            Fault ignored;
            static_cast<void>(m_pStage->Prepare(m_pScene->scene, ignored));
            return false;
        }
        m_pScene = std::move(pScene);
        m_fUpdated = false;
        m_fEmpty = false;
        return true;
    }
    std::optional<SceneSettings> before;
    if (m_pScene) {
        before = m_pScene->scene.GetSettings();
    }
    m_fEmpty = !Restart(std::move(pScene), surface, fault);
    if (m_fEmpty && before) {
        ShowEmpty(*before);
    }
    return !m_fEmpty;
}

/** Has an empty scene on a device for frames of these settings, as it was there before. */
void SceneView::ShowEmpty(SceneSettings const& settings) {
    std::string const text = R"({"nodes": []})";
    auto pEmpty = std::make_unique<LoadedScene>();
    Fault ignored; // there has been such a device
    if (trevik::kelvo::assets::ReadSceneText(
            {reinterpret_cast<std::uint8_t const*>(text.data()), text.size()}, "", "",
            m_backend.GetRegistry(), pEmpty->scene, ignored)) {
        pEmpty->scene.GetSettings() = settings;
        static_cast<void>(Restart(std::move(pEmpty), settings.m_size, ignored));
    }
}

/** Shows a scene on a new device; without either when that fails. */
bool SceneView::Restart(std::unique_ptr<LoadedScene> pScene, SizeT<int> const& surface, Fault& fault) {
    m_releaseOthers();
    m_pScene = nullptr;
    m_pStage = nullptr; // a window has one device at a time
    m_surface = surface;
    m_pStage = std::make_unique<Stage>(m_backend, m_options);
    if (m_pStage->Start(m_window.GetNative(), pScene->scene.GetSettings(), fault)) {
        // The clock tells when a frame is shown. Of a window that nobody sees some systems do not take a
        // frame that would have to be waited for, and it could not be closed then.
        eglSwapInterval(eglGetCurrentDisplay(), 0);
        if (m_pStage->Prepare(pScene->scene, fault)) {
            m_pScene = std::move(pScene);
            m_fUpdated = false;
            return true;
        }
    }
    pScene = nullptr; // before the device
    m_pStage = nullptr;
    return false;
}

DeviceFormat::Enum SceneView::GetFormat(LoadedScene const& scene) const {
    return m_options.format.value_or(scene.scene.GetSettings().m_format);
}

bool SceneView::NeedsDevice(LoadedScene const& scene, SizeT<int> const& surface) const {
    return !m_pStage || !AreEqual(surface, m_surface) ||
           GetFormat(scene) != m_pStage->GetDevice().GetFormat();
}

void SceneView::BringTo(int nFrame) {
    auto const update = [this](int nTo) {
        m_pScene->scene.Update(m_pStage->GetDevice(), static_cast<RealFloat>(nTo));
    };
    int const nFirst = std::min(m_pScene->scene.GetSettings().m_nFirstFrame, nFrame);
    int nAt = m_nUpdated;
    if (!m_fUpdated || nFrame < nAt) {
        nAt = nFirst;
        update(nAt);
    }
    for (nAt = std::max(nAt, nFrame - MostSteps); nAt < nFrame && GetInterrupt() == 0;) {
        update(++nAt);
    }
    m_fUpdated = true;
    m_nUpdated = nAt;
}

bool SceneView::IsScaled() const {
    return !AreEqual(m_surface, m_window.GetSize());
}

/** Where the scene is in the window; as it lies in the middle, y may go up or down. */
RectangleT<int> SceneView::GetArea() const {
    SizeT<int> const& window = m_window.GetSize();
    double const rScale = std::min(static_cast<double>(window.width) / m_surface.width,
                                   static_cast<double>(window.height) / m_surface.height);
    int const nWidth = std::max(1, static_cast<int>(std::lround(m_surface.width * rScale)));
    int const nHeight = std::max(1, static_cast<int>(std::lround(m_surface.height * rScale)));
    int const nLeft = (window.width - nWidth) / 2;
    int const nTop = (window.height - nHeight) / 2;
    return {nLeft, nTop, nLeft + nWidth, nTop + nHeight};
}

void SceneView::DrawScene() {
    if (!IsScaled()) {
        m_pStage->Draw(m_pScene->scene);
        return;
    }
    RectangleT<int> area = GetArea();
    int const nHeight = area.GetHeight();
    area.top = m_window.GetSize().height - area.bottom;
    area.bottom = area.top + nHeight;
    m_pStage->DrawScaled(m_pScene->scene, area);
}

bool SceneView::Draw(int nFrame, std::function<void()> const& drawAbove, Fault& fault) {
    BringTo(nFrame);
    unsigned long long const nBefore = counting::GetCounts().nDraws;
    DrawScene();
    m_nDraws = counting::GetCounts().nDraws - nBefore;
    bool const fWhole = m_pStage->HasDrawn(nFrame, fault);
    drawAbove();
    m_pStage->GetDevice().Present();
    m_pStage->GetDevice().Process();
    trevik::ScopeCounter::MarkFrame();
    return fWhole;
}

bool SceneView::TakePicture(FramePixels& pixels, Fault& fault) {
    SizeT<int> const& window = m_window.GetSize();
    RectangleT<int> const area = IsScaled() ? GetArea() : RectangleT<int>(0, 0, window.width, window.height);
    trevik::kelvo::GraphicsDevice& device = m_pStage->GetDevice();
    DrawScene();
    device.SetViewport(0, 0, window.width, window.height);
    if (!pixels.Read(device, area)) {
        fault = Fault(std::string(), "the frame cannot be read from the device");
        return false;
    }
    NativeWindow& native = m_window.GetNative();
    unsigned long const nBefore = native.frameCount;
    desktop::SetCapture(native, true);
    device.Present();
    device.Process();
    desktop::SetCapture(native, false);
    // The window may be of another size already than it is known to be.
    desktop::FinishedFrame const& frame = desktop::LastFrame(native);
    if (native.frameCount == nBefore || !AreEqual(SizeT<int>(frame.width, frame.height), window)) {
        fault = Fault(std::string(), "the frame cannot be read: the window is changing");
        return false;
    }
    if (device.GetFormat() == DeviceFormat::RGBA8888) {
        pixels.AddAlpha(frame, area);
    }
    return true;
}

List<SelectionPoint> SceneView::Pick(Vector2T<int> const& point) {
    trevik::kelvo::GraphicsDevice& device = m_pStage->GetDevice();
    device.SetViewport(0, 0, m_surface.width, m_surface.height);
    RectangleT<int> const area = GetArea();
    // The middle of the pixel.
    Vector2T<RealFloat> const at(
        static_cast<RealFloat>((point.x - area.left + 0.5) * m_surface.width / area.GetWidth()),
        static_cast<RealFloat>((point.y - area.top + 0.5) * m_surface.height / area.GetHeight()));
    return m_pScene->scene.Pick(device, at);
}

} // namespace kelvokit::player
