#pragma once

#include "trevik/Export.h"
#include "trevik/Referenced.h"
#include "trevik/Types.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/Reflection.h"

#include <new>

namespace trevik::kelvo {

class Deserializer;
class EffectResource;
class GraphicsDevice;
class Serializer;
class Sprite;
class Text;

/**
 * Something that changes how a sprite or a text, or all that lies below a timeline, is drawn. Attached with
 * TransformNode::AddEffect; a node's effects are asked in attachment order. All operations run on the render
 * thread.
 */
class TREVIK_API Effect : public Referenced, public ITraceable {
public:
    static constexpr unsigned int ClassID = HashName("Effect"); ///< id that all effects answer IsKindOf with
    /** Whether the id is this class's or a base's. */
    static bool IsOwnOrBaseID(unsigned int nClassID) { return nClassID == ClassID; }

    Effect();
    Effect(Effect const& other);
    ~Effect() override;

    /** A new effect with the same values and controllers, owned by the caller; null when out of memory. */
    virtual Effect* Clone() const = 0;
    /** Id of the concrete class's own name. */
    virtual unsigned int GetClassID() const = 0;
    /** Bytes of the concrete object. */
    virtual unsigned int GetClassSize() const = 0;
    /** Whether the id is the concrete class's or a base's. */
    virtual bool IsKindOf(unsigned int nClassID) const = 0;
    /** Id of the resource that all effects of the class share. */
    virtual unsigned int GetResourceClassID() const = 0;

    /**
     * Fetches the shared resource from the device and hands it to InternalInit; true once that has succeeded.
     * After a failure, the first of which is traced, it answers false until the device's resource state
     * changes.
     */
    virtual bool Init(GraphicsDevice& device);
    /** Brings the effect's properties to `frame`. */
    virtual void Update(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta, bool fForce);
    /**
     * Called by a timeline with the effect before its children are drawn. Effects that need the shared
     * resource call Prepare first, here and in the next ones.
     */
    virtual void PreRender(GraphicsDevice& device);
    /** Called by a timeline with the effect after its children have been drawn. */
    virtual void PostRender(GraphicsDevice& device);
    /**
     * Draws `sprite` in place of its own drawing and returns true, or returns false to leave it to others.
     */
    virtual bool OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity);
    /** The same for a text. */
    virtual bool OverrideDrawText(GraphicsDevice& device, Text& text);
    void Emit(MemoryTracer* pTracer) override;
    /** Enters the class's properties in the property list. Called once per object, before first use. */
    virtual void RegisterProperties();
    /** Takes the shared resource; false leaves the effect uninitialised. */
    virtual bool InternalInit(EffectResource* pResource);
    /** Called by Update once the properties are at `frame`; `fForce`: though none has changed. */
    virtual void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                                bool fForce);

    /** The effect's animated properties; registered on first use. */
    PropertyList& GetProperties() {
        if (__builtin_expect(!m_fRegistered, 0)) {
            m_fRegistered = true;
            RegisterProperties();
        }
        return m_properties;
    }
    /** Whether Init has succeeded. */
    bool IsInitialized() const { return m_fInitialized; }
    /**
     * Whether Init has failed and has not succeeded since, so that what the effect is on is drawn without
     * it.
     */
    bool HasFailed() const { return !m_fInitialized && m_nFailedState != 0; }
    /** Initialises the effect when it is first used in drawing; whether it is initialised. Render thread. */
    bool Prepare(GraphicsDevice& device) { return m_fInitialized || Init(device); }
    /** Writes the properties. False when out of memory. */
    bool Save(Serializer& serializer);
    /** Reads the properties. False when one cannot be read. */
    bool Load(Deserializer& deserializer);

protected:
    /**
     * Returns a new copy with its properties registered; deletes it and returns null when memory is short.
     */
    static Effect* RegisterCopy(Effect* pCopy) {
        if (pCopy && !pCopy->GetProperties().IsWhole()) {
            delete pCopy;
            return nullptr;
        }
        return pCopy;
    }

    /** The animated properties; see GetProperties. */
    PropertyList m_properties;

private:
    bool m_fRegistered = false;
    bool m_fInitialized = false;
    unsigned long long m_nFailedState = 0; ///< of the device when Init failed last; 0: it never has
};

} // namespace trevik::kelvo
