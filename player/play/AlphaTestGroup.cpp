#include "play/AlphaTestGroup.h"

#include <new>

namespace kelvokit::player {

namespace {

class Container : public trevik::ClassContainer {
public:
    explicit Container(Backend const& backend) : m_backend(backend) { m_nClassID = AlphaTestGroup::ClassID; }
    trevik::Referenced* Create() override { return new (std::nothrow) AlphaTestGroup(m_backend); }
    trevik::ObjectKind::Enum GetKind() const override { return trevik::KindOf<AlphaTestGroup>(); }

private:
    Backend const& m_backend;
};

} // namespace

void AlphaTestGroup::Render(trevik::kelvo::GraphicsDevice& device) {
    bool const fBefore = m_pBackend->IsAlphaTestEnabled(device);
    m_pBackend->SetAlphaTestEnabled(device, true);
    TransformNode::Render(device);
    m_pBackend->SetAlphaTestEnabled(device, fBefore);
}

void RegisterAlphaTestGroup(Backend& backend) {
    backend.GetRegistry().AddClassContainer(new Container(backend));
}

} // namespace kelvokit::player
