#include "trevik/kelvo/Timeline.h"

#include "kelvo_host/UpdateObserver.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

#include <cmath>

namespace trevik::kelvo {

namespace {

// Attributes of a timeline in a document.
constexpr unsigned int FrameDelayID = HashName("FrameDelay");
constexpr unsigned int TimeMapID = HashName("TimeMap");
constexpr unsigned int AutoPlayID = HashName("AutoPlay");

bool IsValidDelay(RealFloat delay) {
    return delay > 0 && std::isfinite(delay);
}

/** Reads an attribute, if it is there; false when it is not of the value's length. */
template <class T>
bool ReadOptional(Deserializer& deserializer, unsigned int nAttributeID, T& value) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return !deserializer.FindAttribute(nAttributeID, pData, nLength) ||
           deserializer.ReadValue(nAttributeID, value);
}

/** The remainder in 0 .. length. */
double Wrap(double value, double length) {
    double const remainder = std::fmod(value, length);
    return remainder < 0 ? remainder + length : remainder;
}

} // namespace

// A timeline's own time: the frame shown, how updates advance it, and how it is saved.

void Timeline::Rewind() {
    m_rFrame = m_firstFrame.GetValue();
    m_fBackwards = false;
    m_fPlaying = m_fAutoPlay;
}

void Timeline::Update(GraphicsDevice& device, RealFloat const& frame) {
    if (!m_pParent) {
        SetFrame(frame);
    }
    Update(device, frame, RealFloat(0), false);
}

void Timeline::Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) {
    EnsureRegistered();
    InternalUpdate(device, frame, delta, fForce);
    UpdateChildren(device, delta, fForce);
}

void Timeline::UpdateSynchronous(GraphicsDevice& device, RealFloat const& frame) {
    SetFrame(frame);
    Update(device, m_pParent ? m_rEnclosingFrame : m_rFrame, RealFloat(0), false);
}

void Timeline::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                              bool fForce) {
    TransformNode::InternalUpdate(device, frame, delta, fForce);
    m_rEnclosingFrame = frame;
    Advance(delta);
    if (m_pCamera && !m_pCamera->GetParent()) {
        m_pCamera->Update(device, GetMappedFrame(), delta, fForce);
    }
}

void Timeline::UpdateChildren(GraphicsDevice& device, RealFloat const& delta, bool fForce) {
    RealFloat const frame = GetMappedFrame();
    if (m_fSubtreeChanged) {
        BuildUpdateTree();
    }
    if (!m_fSubtreeChanged) {
        if (__builtin_expect(!m_fOverridersTaken, 0)) {
            TakeOverriders(); // not before: until its constructor has ended an object has not got its class
        }
        if (fForce || m_fOwnUpdateTree || UpdateObserver::Get()) {
            UpdateTree(m_tree, device, frame, delta, fForce);
        } else if (!m_treeNodes.IsEmpty()) {
            UpdateAwake(device, frame, delta);
        }
        return;
    }
    // No memory for the flattened tree: walk the real one.
    for (unsigned int nChild = 0; nChild < m_children.GetCount(); ++nChild) {
        m_children[nChild]->Update(device, frame, delta, fForce);
    }
}

void Timeline::Advance(RealFloat const& delta) {
    RealFloat const step = delta / m_rFrameDelay;
    if (!m_fPlaying || !(step > 0) || !std::isfinite(step)) {
        return;
    }
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const start = m_rFrame < first ? first : m_rFrame;
    // The mode may have changed on the way back.
    m_fBackwards = m_fBackwards && m_playbackMode.GetValue() == PlaybackMode::PingPong;
    RealFloat const frame = m_fBackwards ? start - step : start + step;
    if (HasEnd() && (frame >= m_lastFrame.GetValue() || frame < first)) {
        ProcessPlaybackMode(frame, first, m_lastFrame.GetValue());
    } else {
        m_rFrame = frame;
    }
}

void Timeline::ProcessPlaybackMode(RealFloat const& frame, RealFloat const& first, RealFloat const& last) {
    double const length = double(last) - double(first);
    double const way = double(frame) - double(first);
    double shown = way < 0 ? 0.0 : length;
    switch (m_playbackMode.GetValue()) {
    case PlaybackMode::Loop:
        shown = Wrap(way, length);
        if (shown == 0 && way > 0) {
            shown = length; // the last frame is shown before the first one comes again
        }
        break;
    case PlaybackMode::PingPong: {
        double const unfolded = Wrap(m_fBackwards ? 2 * length - way : way, 2 * length);
        m_fBackwards = unfolded >= length;
        shown = m_fBackwards ? 2 * length - unfolded : unfolded;
        break;
    }
    default:
        m_fPlaying = way < 0;
        break;
    }
    m_rFrame = static_cast<RealFloat>(double(first) + shown);
}

void Timeline::Play() {
    m_fPlaying = true;
}

void Timeline::Stop() {
    m_fPlaying = false;
}

RealFloat Timeline::GetFrame() const {
    return m_rFrame;
}

void Timeline::SetFrame(RealFloat const& frame) {
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const last = m_lastFrame.GetValue();
    if (std::isnan(frame)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: no timeline has a frame that is not a number",
                           GetPath().GetData());
        return;
    }
    m_rFrame = frame < first ? first : HasEnd() && frame > last ? last : frame;
    m_fBackwards = false;
}

void Timeline::SetFrameDelay(RealFloat const& delay) {
    if (!IsValidDelay(delay)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: frames cannot last %g seconds",
                           GetPath().GetData(), double(delay));
        return;
    }
    m_rFrameDelay = delay;
}

Interpolate::Function Timeline::GetTimeMapFunction() const {
    return m_pfnTimeMap;
}

void Timeline::SetTimeMapFunction(Interpolate::Function pfnFunction) {
    m_pfnTimeMap = pfnFunction;
}

RealFloat Timeline::GetMappedFrame() const {
    if (!m_pfnTimeMap || !HasEnd()) {
        return m_rFrame;
    }
    RealFloat const first = m_firstFrame.GetValue();
    RealFloat const length = m_lastFrame.GetValue() - first;
    RealFloat const played = (m_rFrame - first) / length;
    return first + m_pfnTimeMap(played < 0 ? RealFloat(0) : played > 1 ? RealFloat(1) : played) * length;
}

bool Timeline::SavePlayback(Serializer& serializer) const {
    unsigned char const nAutoPlay = m_fAutoPlay ? 1 : 0;
    return serializer.WriteValue(FrameDelayID, m_rFrameDelay) &&
           serializer.WriteValue(AutoPlayID, nAutoPlay) && SaveTimeMap(serializer);
}

bool Timeline::SaveTimeMap(Serializer& serializer) const {
    if (!m_pfnTimeMap) {
        return true;
    }
    char const* const pName = Interpolate::GetName(m_pfnTimeMap);
    if (!pName) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: the time map is a function without a name",
                           GetPath().GetData());
        return false;
    }
    StringEncoded<UTF8Encoding> const sName(pName);
    return serializer.WriteAttribute(TimeMapID, reinterpret_cast<unsigned char const*>(sName.GetData()),
                                     sName.GetLength());
}

bool Timeline::LoadPlayback(Deserializer& deserializer) {
    return LoadFrameDelay(deserializer) && LoadAutoPlay(deserializer) && LoadTimeMap(deserializer);
}

bool Timeline::LoadFrameDelay(Deserializer& deserializer) {
    RealFloat delay = m_rFrameDelay;
    if (!ReadOptional(deserializer, FrameDelayID, delay)) {
        return deserializer.Fail(u"its frame delay is no number");
    }
    if (!IsValidDelay(delay)) {
        return deserializer.Fail(u"frames cannot last %g seconds", double(delay));
    }
    m_rFrameDelay = delay;
    return true;
}

bool Timeline::LoadAutoPlay(Deserializer& deserializer) {
    unsigned char nAutoPlay = m_fAutoPlay ? 1 : 0;
    if (!ReadOptional(deserializer, AutoPlayID, nAutoPlay)) {
        return deserializer.Fail(u"whether it plays from the start does not take one byte");
    }
    m_fAutoPlay = nAutoPlay != 0;
    return true;
}

bool Timeline::LoadTimeMap(Deserializer& deserializer) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(TimeMapID, pData, nLength)) {
        return true;
    }
    constexpr unsigned long LongestName = 64;
    StringEncoded<UTF8Encoding> const sName(
        reinterpret_cast<char const*>(pData),
        static_cast<unsigned int>(nLength < LongestName ? nLength : LongestName));
    Interpolate::Function const pfnTimeMap = Interpolate::Find(sName.GetData());
    if (!pfnTimeMap) {
        return deserializer.Fail(u"there is no time map \"%hs\"", sName.GetData());
    }
    m_pfnTimeMap = pfnTimeMap;
    return true;
}

} // namespace trevik::kelvo
