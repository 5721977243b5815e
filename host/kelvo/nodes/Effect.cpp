#include "trevik/kelvo/Effect.h"

#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

struct ClassName {
    unsigned int nID;
    char16_t const* pName;
};
/** Classes tell their ids alone, which mean nothing to a reader of the log, and back ends have their own. */
constexpr ClassName Names[] = {
    {HashName("GaussianBlurEffect"), u"A GaussianBlurEffect"},
    {HashName("DirectionalBlurEffect"), u"A DirectionalBlurEffect"},
    {HashName("BlendModeEffect"), u"A BlendModeEffect"},
    {HashName("GroupOpacityEffect"), u"A GroupOpacityEffect"},
    {HashName("BackdropBlurEffect"), u"A BackdropBlurEffect"},
};

char16_t const* DescribeClass(Effect const& effect) {
    for (ClassName const& name : Names) {
        if (effect.IsKindOf(name.nID)) {
            return name.pName;
        }
    }
    return u"An effect of the application";
}

} // namespace

bool EffectResource::Init(GraphicsDevice&) {
    return true;
}

Effect::Effect() = default;

// A copy fetches the shared resource itself, at its first use.
Effect::Effect(Effect const& other) : Referenced(other), ITraceable(other) {}

Effect::~Effect() = default;

bool Effect::Init(GraphicsDevice& device) {
    unsigned long long const nState = device.GetResourceState();
    if (nState == m_nFailedState) {
        return false; // it failed before, and nothing has changed since
    }
    EffectResource* const pResource = device.GetEffectResource(GetResourceClassID());
    m_fInitialized = pResource && InternalInit(pResource);
    if (!m_fInitialized) {
        if (m_nFailedState == 0) {
            Debug::TraceFormat(TraceLevel::Error,
                               u"[kelvo] %s has no resource: what it is on is drawn without it",
                               DescribeClass(*this));
        }
        m_nFailedState = nState;
    }
    return m_fInitialized;
}

void Effect::Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce) {
    UpdateContext const context(device, frame);
    GetProperties().Update(context, frame);
    InternalUpdate(device, frame, delta, fForce);
}

void Effect::PreRender(GraphicsDevice&) {}

void Effect::PostRender(GraphicsDevice&) {}

bool Effect::OverrideDrawSprite(GraphicsDevice&, Sprite&, RealFloat) {
    return false;
}

bool Effect::OverrideDrawText(GraphicsDevice&, Text&) {
    return false;
}

void Effect::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(GetClassSize(), MemoryType::Object);
    GetProperties().Emit(pTracer);
}

void Effect::RegisterProperties() {}

bool Effect::InternalInit(EffectResource*) {
    return true;
}

void Effect::InternalUpdate(GraphicsDevice&, RealFloat const&, RealFloat const&, bool) {}

bool Effect::Save(Serializer& serializer) {
    return GetProperties().Save(serializer);
}

bool Effect::Load(Deserializer& deserializer) {
    return GetProperties().Load(deserializer);
}

} // namespace trevik::kelvo
