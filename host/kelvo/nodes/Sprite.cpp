#include "trevik/kelvo/Sprite.h"

#include "kelvo/nodes/SpriteLayout.h"
#include "kelvo/storage/NodeStorage.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

// The texture is the sprite's last member.
unsigned long const DrawnSpriteOffset = sizeof(Sprite) - sizeof(Ref<Texture>);

Sprite::Sprite() : m_color(Vector3T<RealFloat>(1, 1, 1)), m_blendMode(int(BlendMode::Normal)) {
    SetStyleMarks();
}

Sprite::Sprite(Sprite const& other)
    : TransformNode(other), m_size(other.m_size), m_color(other.m_color), m_blendMode(other.m_blendMode),
      m_antialias(other.m_antialias), m_pTexture(other.m_pTexture) {
    SetStyleMarks();
}

Sprite::~Sprite() = default;

void Sprite::SetStyleMarks() {
    m_blendMode.SetMarks(m_nMarks, StyleMark);
    m_antialias.SetMarks(m_nMarks, StyleMark);
}

void Sprite::Emit(MemoryTracer* pTracer) {
    TransformNode::Emit(pTracer);
    pTracer->EmitObject(m_pTexture.Get());
}

void Sprite::RegisterProperties() {
    TransformNode::RegisterProperties();
    m_properties.Register(u"Size", &m_size);
    m_properties.Register(u"Color", &m_color);
    m_properties.Register(u"BlendMode", &m_blendMode);
    m_properties.Register(u"Antialias", &m_antialias);
}

void Sprite::InternalSelect(GraphicsDevice& device) {
    Vector2T<RealFloat> position;
    RealFloat distance = 0;
    if (IsSelect(device, m_size.GetValue(), position, distance) && IsSelectedInMasks(device)) {
        device.PushSelected(this, position, distance);
    }
}

bool Sprite::InternalSave(Serializer& serializer) {
    if (!TransformNode::InternalSave(serializer)) {
        return false;
    }
    if (!m_pTexture) {
        return true;
    }
    int const nTexture = serializer.GetTextureIndex(m_pTexture.Get());
    return nTexture >= 0 && serializer.WriteValue(NodeID::Texture, nTexture);
}

bool Sprite::InternalLoad(Deserializer& deserializer) {
    if (!TransformNode::InternalLoad(deserializer)) {
        return false;
    }
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(NodeID::Texture, pData, nLength)) {
        return true;
    }
    int nTexture = -1;
    deserializer.ReadValue(NodeID::Texture, nTexture);
    Ref<Texture> const pTexture = deserializer.GetTexture(nTexture);
    if (!pTexture) {
        return deserializer.Fail(u"the document has no texture %d", nTexture);
    }
    m_pTexture = pTexture;
    return true;
}

Texture* Sprite::GetTexture() {
    return m_pTexture.Get();
}

void Sprite::SetTexture(Texture* pTexture) {
    m_pTexture = Ref(pTexture);
}

bool Sprite::Isolate() {
    if (!m_pTexture) {
        return false;
    }
    Ref<Texture> const pCopy = m_pTexture->CreateCopy();
    if (!pCopy) {
        return false;
    }
    SetTexture(pCopy.Get());
    return true;
}

} // namespace trevik::kelvo
