#include "explain/Explainer.h"

#include "command/Interrupt.h"
#include "command/StandardInput.h"
#include "explain/NodeMemory.h"
#include "explain/NodeParts.h"
#include "explain/NodePixels.h"
#include "report/Driver.h"

#include <cstdio>

namespace kelvokit::player {

using trevik::kelvo::Fault;
using trevik::kelvo::Scene;
using trevik::kelvo::assets::SceneNotes;

void Explainer::Measure(int nFrame, Scene& scene, Stage& stage) {
    m_explanation.nFrame = nFrame;
    m_explanation.nWidth = stage.GetDevice().GetSize().width;
    m_explanation.nHeight = stage.GetDevice().GetSize().height;
    m_explanation.costs.SetScene(scene);
    CountCalls(scene, stage);
    CountPixels(scene, stage);
}

/** Of a frame that has been drawn: what is made once, such as textures, is not in it. */
void Explainer::CountCalls(Scene& scene, Stage& stage) {
    counting::Counts last = counting::GetCounts();
    NodeParts const parts(m_explanation.costs, [&](std::size_t nNode) {
        counting::Counts const now = counting::GetCounts();
        m_explanation.costs.GetNodes()[nNode].itself.counts += now - last;
        last = now;
    });
    stage.Draw(scene);
}

void Explainer::CountPixels(Scene& scene, Stage& stage) {
    NodePixels pixels(m_explanation.costs, m_explanation.nWidth, m_explanation.nHeight);
    {
        counting::Coverage coverage(m_explanation.nWidth, m_explanation.nHeight, pixels);
        NodeParts const parts(m_explanation.costs, [&](std::size_t nNode) {
            pixels.SetNode(nNode);
            coverage.Flush();
            m_explanation.nUnmeasuredDraws = coverage.GetUnmeasuredDraws();
        });
        stage.Draw(scene);
    }
    pixels.CountCovered();
    m_times = pixels.GetTimes();
    m_explanation.overdraw = GetOverdraw(m_times, m_explanation.nWidth);
}

bool Explainer::Finish(Scene& scene, SceneNotes const& notes, Stage& stage, Fault& fault) {
    if (m_options.fExplain) {
        m_explanation.scene = GetSceneName(m_options.scene);
        m_explanation.renderer = GetRenderer();
        MeasureMemory(m_explanation.costs);
        m_explanation.times = MeasureTimes(m_explanation.costs, m_explanation.nFrame, scene, stage,
                                           [] { return GetInterrupt() == 0; });
        if (GetInterrupt() != 0) {
            return false;
        }
        m_explanation.costs.AddUp();
        Print(notes);
    }
    if (m_options.overdraw.empty()) {
        return true;
    }
    if (m_options.fVerbose) {
        Overdraw const& overdraw = m_explanation.overdraw;
        std::fprintf(stderr,
                     "kelvo-player: each pixel is written %.2f times in the mean; most, at %d,%d, %u times\n",
                     overdraw.rMean, overdraw.nMostX, overdraw.nMostY, overdraw.nMost);
    }
    return SaveHeatMap(m_options.overdraw, m_times, m_explanation.nWidth, fault);
}

void Explainer::Print(SceneNotes const& notes) const {
    std::string const text =
        m_options.fExplainJson ? ToJson(m_explanation, notes) : ToText(m_explanation, notes);
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout)); // checked when all is written
}

} // namespace kelvokit::player
