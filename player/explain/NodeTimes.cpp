#include "explain/NodeTimes.h"

#include "explain/NodeParts.h"
#include "kelvo_host/UpdateObserver.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <chrono>

namespace kelvokit::player {

using trevik::RealFloat;
using trevik::kelvo::Node;
using trevik::kelvo::Scene;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int FewestDrawings = 3;
constexpr unsigned int MostDrawings = 25;
constexpr double LongEnough = 500; // milliseconds of measuring

double GetMilliseconds(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

double GetMedian(std::vector<double> times) {
    if (times.empty()) {
        return 0;
    }
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

double MeasureFinish() {
    constexpr int Times = 31;
    std::vector<double> times;
    glFinish();
    for (int n = 0; n < Times; ++n) {
        Clock::time_point const begin = Clock::now();
        glFinish();
        times.push_back(GetMilliseconds(begin, Clock::now()));
    }
    return GetMedian(times);
}

/** The times of all nodes, drawing by drawing. */
class TimeTable {
public:
    explicit TimeTable(std::size_t nNodes) : m_times(nNodes) {}

    void BeginDrawing() {
        for (std::vector<double>& times : m_times) {
            times.push_back(0);
        }
    }
    void Add(std::size_t nNode, double rTime) { m_times[nNode].back() += std::max(rTime, 0.0); }
    double GetMedianOf(std::size_t nNode) const { return GetMedian(m_times[nNode]); }

private:
    std::vector<std::vector<double>> m_times;
};

/** Takes the update of a scene apart, while it lives, as NodeParts does its drawing. */
class UpdateParts : public trevik::kelvo::UpdateObserver {
public:
    UpdateParts(NodeCosts const& costs, TimeTable& table)
        : m_costs(costs), m_table(table), m_pBefore(Set(this)) {}
    ~UpdateParts() override {
        EndPart();
        Set(m_pBefore);
    }
    UpdateParts(UpdateParts const&) = delete;
    UpdateParts& operator=(UpdateParts const&) = delete;

    void BeginUpdate(Node& node) override {
        EndPart();
        m_nNode = m_costs.Find(node, m_nNode);
    }

private:
    void EndPart() {
        m_table.Add(m_nNode, GetMilliseconds(m_last, Clock::now()));
        m_last = Clock::now();
    }

    NodeCosts const& m_costs;
    TimeTable& m_table;
    UpdateObserver* const m_pBefore;
    std::size_t m_nNode = 0;
    Clock::time_point m_last = Clock::now();
};

class Measurement {
public:
    Measurement(NodeCosts& costs, int nFrame, Scene& scene, Stage& stage)
        : m_costs(costs), m_nFrame(nFrame), m_scene(scene), m_stage(stage),
          m_updates(costs.GetNodes().size()), m_renders(costs.GetNodes().size()) {
        m_times.rFinish = MeasureFinish();
    }

    void Draw() {
        // A step back, and on again, as frames are played.
        m_scene.Update(m_stage.GetDevice(), static_cast<RealFloat>(m_nFrame - 1));
        m_whole[0].push_back(Update());
        m_whole[1].push_back(Render());
        m_whole[2].push_back(RenderInParts());
        ++m_times.nDrawings;
    }

    FrameTimes Finish() {
        for (std::size_t nNode = 0; nNode < m_costs.GetNodes().size(); ++nNode) {
            Cost& cost = m_costs.GetNodes()[nNode].itself;
            cost.rUpdate = m_updates.GetMedianOf(nNode);
            cost.rRender = m_renders.GetMedianOf(nNode);
        }
        m_times.rUpdate = GetMedian(m_whole[0]);
        m_times.rRender = GetMedian(m_whole[1]);
        m_times.rInParts = GetMedian(m_whole[2]);
        return m_times;
    }

private:
    double Update() {
        m_updates.BeginDrawing();
        Clock::time_point const begin = Clock::now();
        UpdateParts const parts(m_costs, m_updates);
        m_scene.Update(m_stage.GetDevice(), static_cast<RealFloat>(m_nFrame));
        return GetMilliseconds(begin, Clock::now());
    }

    double Render() {
        glFinish();
        Clock::time_point const begin = Clock::now();
        m_stage.Draw(m_scene);
        glFinish();
        return GetMilliseconds(begin, Clock::now());
    }

    double RenderInParts() {
        m_renders.BeginDrawing();
        glFinish();
        Clock::time_point const begin = Clock::now();
        Clock::time_point last = begin;
        {
            NodeParts const parts(m_costs, [&](std::size_t nNode) {
                glFinish();
                m_renders.Add(nNode, GetMilliseconds(last, Clock::now()) - m_times.rFinish);
                last = Clock::now();
            });
            m_stage.Draw(m_scene);
        }
        return GetMilliseconds(begin, last);
    }

    NodeCosts& m_costs;
    int m_nFrame;
    Scene& m_scene;
    Stage& m_stage;
    TimeTable m_updates;
    TimeTable m_renders;
    std::vector<double> m_whole[3]; ///< update, rendering, rendering in parts
    FrameTimes m_times;
};

} // namespace

FrameTimes MeasureTimes(NodeCosts& costs, int nFrame, Scene& scene, Stage& stage,
                        std::function<bool()> const& isWanted) {
    Measurement measurement(costs, nFrame, scene, stage);
    Clock::time_point const begin = Clock::now();
    for (unsigned int nDrawing = 0; nDrawing < MostDrawings && isWanted(); ++nDrawing) {
        if (nDrawing >= FewestDrawings && GetMilliseconds(begin, Clock::now()) > LongEnough) {
            break;
        }
        measurement.Draw();
    }
    return measurement.Finish();
}

} // namespace kelvokit::player
