#pragma once

#include "command/Options.h"
#include "explain/Explanation.h"
#include "explain/FrameExplainer.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/** Explains the last frame, over the GL functions that count. */
class Explainer : public FrameExplainer {
public:
    explicit Explainer(Options const& options) : m_options(options) {}

    void Measure(int nFrame, trevik::kelvo::Scene& scene, Stage& stage) override;
    bool Finish(trevik::kelvo::Scene& scene, trevik::kelvo::assets::SceneNotes const& notes, Stage& stage,
                trevik::kelvo::Fault& fault) override;

private:
    void CountCalls(trevik::kelvo::Scene& scene, Stage& stage);
    void CountPixels(trevik::kelvo::Scene& scene, Stage& stage);
    void Print(trevik::kelvo::assets::SceneNotes const& notes) const;

    Options const& m_options;
    Explanation m_explanation;
    std::vector<unsigned int> m_times; ///< how often each pixel was written, the top row first
};

} // namespace kelvokit::player
