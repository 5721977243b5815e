#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/TransformNode.h"

namespace trevik::kelvo {

/**
 * A textured or single-coloured rectangle, (0, 0) to its size in node space, z = 0. The back end draws it.
 */
class TREVIK_API Sprite : public TransformNode {
public:
    static constexpr unsigned int ClassID = HashName("Sprite"); ///< id of this class
    /** Whether the id is this class's or a base's. */
    static bool IsOwnOrBaseID(unsigned int nClassID) {
        return nClassID == ClassID || TransformNode::IsOwnOrBaseID(nClassID);
    }

    Sprite();
    Sprite(Sprite const& other);
    ~Sprite() override;

    void Emit(MemoryTracer* pTracer) override;
    void RegisterProperties() override;
    void InternalSelect(GraphicsDevice& device) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;

    /** The texture drawn, or null for a single-coloured sprite. Borrowed. */
    virtual Texture* GetTexture();
    /** Replaces the texture (a reference is held); null makes the sprite single-coloured. */
    virtual void SetTexture(Texture* pTexture);
    /**
     * Gives the sprite a copy of its texture for itself. False when there is none or it holds no pixels to
     * copy.
     */
    virtual bool Isolate();

    SizeIntProperty& GetSizeProperty() { return m_size; }
    Vector3Property& GetColorProperty() { return m_color; }
    IntProperty& GetBlendModeProperty() { return m_blendMode; }
    BoolProperty& GetAntialiasProperty() { return m_antialias; }

protected:
    /** Whether the current blend mode is the one that needs no effect. */
    bool IsPlain() { return (GetStyle() & Plain) != 0; }
    /** Current value of "Antialias". */
    bool IsAntialiased() { return (GetStyle() & Antialiased) != 0; }

    SizeIntProperty m_size;   ///< "Size", node units, (0, 0). Geometry follows it at Load only.
    Vector3Property m_color;  ///< "Color", red, green, blue, 0 to 1; used without a texture, (1, 1, 1)
    IntProperty m_blendMode;  ///< "BlendMode", BlendMode::Normal
    BoolProperty m_antialias; ///< "Antialias": outline edges are drawn antialiased, false

private:
    /** Of blend mode and antialias. */
    static constexpr unsigned short StyleMark = FirstDerivedMark;
    /** What drawing asks of these two. */
    enum Style : unsigned int { Plain = 1, Antialiased = 2 };

    unsigned int GetStyle() {
        if (__builtin_expect((m_nMarks & StyleMark) != 0, 0)) {
            TakeStyle();
        }
        return m_nDerivedState;
    }
    TREVIK_NOINLINE void TakeStyle() {
        m_nDerivedState =
            static_cast<unsigned char>((m_blendMode.GetValue() == BlendMode::Normal ? Plain : 0u) |
                                       (m_antialias.GetValue() ? Antialiased : 0u));
        if (!m_blendMode.GetBinding() && !m_antialias.GetBinding()) {
            m_nMarks &= ~unsigned(StyleMark);
        }
    }
    void SetStyleMarks();

protected:
    Ref<Texture> m_pTexture; ///< see GetTexture; last, beside what back ends add to draw with
};

} // namespace trevik::kelvo
