#pragma once

#include "trevik/Export.h"
#include "trevik/Hash.h"
#include "trevik/Types.h"
#include "trevik/kelvo/PropertyType.h"

#include <cstdint>
#include <cstring>

namespace trevik::kelvo {

class Deserializer;
class GraphicsDevice;
class MemoryTracer;
class Property;
class Serializer;

/** Tag, type and attribute ids of the saved form of properties and their controllers. */
struct DocumentID {
    static constexpr unsigned int Property = HashName("Property");     ///< tag; its type is the property's id
    static constexpr unsigned int Name = HashName("Name");             ///< attribute: a name
    static constexpr unsigned int Value = HashName("Value");           ///< attribute: a property's value
    static constexpr unsigned int Controller = HashName("Controller"); ///< tag
    static constexpr unsigned int Sample = HashName("Sample");         ///< type of a sample controller's tag
    /** Attribute: the frame of a controller's first sample. */
    static constexpr unsigned int StartFrame = HashName("StartFrame");
    static constexpr unsigned int Size = HashName("Size");       ///< attribute: the number of samples
    static constexpr unsigned int Samples = HashName("Samples"); ///< attribute: the samples
};

/**
 * What a property is: its name (static UTF-16 text, may be null), its id (the hash of the name) and its value
 * type.
 */
struct PropertyDescriptor {
    char16_t const* m_pName;   ///< static UTF-16 text, by which scene files call it; null for none
    unsigned int m_nID;        ///< the name's hash
    PropertyType::Enum m_type; ///< type of its values
    /** Tells whether the property has a controller; null means that it may have one. */
    bool (*m_pfnIsAnimated)(Property const*);
};

/** Things that an evaluation may look at besides the frame. Sample controllers ignore it. */
struct UpdateContext {
    UpdateContext() = default;
    /** For an update at `frame`, which is taken apart here, once for all that is sampled there. */
    UpdateContext(GraphicsDevice& device, RealFloat const& frame) : m_pDevice(&device) {
        if (frame >= 0 && frame < PartedLimit) {
            std::memcpy(&m_nFrameBits, &frame, sizeof(m_nFrameBits));
            m_nWhole = static_cast<int>(frame);
            m_fraction = frame - static_cast<RealFloat>(static_cast<int>(frame));
            m_fBetween = m_fraction != 0;
        } else {
            m_nWhole = FarFromSamples;
        }
    }

    /** The device that the update is for; borrowed, null where there is none. */
    GraphicsDevice* m_pDevice = nullptr;

    /** Whether the frame that the context was made for has parts. */
    bool HasParts() const { return m_nWhole != FarFromSamples; }
    /** That frame, if it has. */
    RealFloat GetFrame() const {
        RealFloat frame;
        std::memcpy(&frame, &m_nFrameBits, sizeof(frame));
        return frame;
    }
    /** Whether the frame's parts are known: those of 0 always are. */
    bool HasParts(RealFloat const& frame) const {
        static_assert(sizeof(frame) == sizeof(m_nFrameBits));
        // By bits, which takes fewer steps. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        return std::memcmp(&frame, &m_nFrameBits, sizeof(m_nFrameBits)) == 0;
    }
    /**
     * The whole number at or before the frame that has parts. For a context that was made for a frame that
     * has none, one that lies further behind the start frame of any samples than they can go on.
     */
    long long GetWhole() const { return m_nWhole; }
    /** Whether that frame is no whole number. */
    bool IsBetween() const { return m_fBetween; }
    /** How far that frame lies behind the whole number, 0 or above and below 1. */
    RealFloat GetFraction() const { return m_fraction; }

private:
    long long m_nWhole = 0;
    unsigned int m_nFrameBits = 0;
    RealFloat m_fraction = 0;
    bool m_fBetween = false;

    static constexpr long long FarFromSamples = 1LL << 40;
    static constexpr RealFloat PartedLimit = 2147483648.0f;
};

/**
 * Marks that an object's properties set when their values are written, a bit for one property or for several,
 * so that the object looks at one word rather than at every value. It clears the mark of a value that it
 * takes up.
 */
typedef unsigned int PropertyMarks;

/**
 * Abstract base of animatable values: an id and what the owner's property list needs to drive, save and load
 * it.
 */
class TREVIK_API Property {
public:
    Property() = default;
    virtual ~Property();

    /** Stores the id that the descriptor carries and returns true. */
    virtual bool Initialize(PropertyDescriptor const& descriptor);
    /** Brings the value to `frame` (in frames of the owning timeline). The base does nothing. */
    virtual void Update(UpdateContext const& context, RealFloat const& frame);
    /**
     * Reads the property from the current document node; false, with the value unchanged, when it is not
     * there.
     */
    virtual bool Load(Deserializer& deserializer) = 0;
    /** Writes attribute "Name" with the 4 bytes of the id. False when out of memory. */
    virtual bool Save(Serializer& serializer);
    /** Reports owned memory. The base owns none. */
    virtual void Emit(MemoryTracer* pTracer);

    /** Id of the property's name; 0 before Initialize. */
    unsigned int GetID() const { return m_nID; }
    /**
     * Whether it is a copy for whose value or controllers there was no memory; not asked after Initialize.
     */
    bool IsTorn() const { return m_nID == TornID; }

    /**
     * From now on the property sets `nMark` in `marks` whenever its value has been or may be written. Both
     * are members of one object, at most 128 KB apart; a copy of the property sets no marks. The marks above
     * 16 bits are for nodes: where of AsleepMask AsleepMark alone is set, the marks are those of a
     * TransformNode.
     */
    void SetMarks(PropertyMarks& marks, unsigned short nMark) {
        // A pointer would be kept for each property, 8 bytes more in each; the distance fits into what is
        // padding otherwise. It is one of addresses, as numbers: a pointer must not step outside of its
        // object.
        m_nMarksDistance = static_cast<short>(
            (reinterpret_cast<std::intptr_t>(&marks) - reinterpret_cast<std::intptr_t>(this)) /
            static_cast<std::intptr_t>(sizeof(PropertyMarks)));
        m_nMark = nMark;
    }

    /**
     * Among the marks of a node that is left out of updates since nothing in it can change: what sets a mark
     * there wakes it.
     */
    static constexpr PropertyMarks AsleepMark = 0x80000000u;
    /** Of these marks it is then the only one, so that a word with all bits set is none of a node's. */
    static constexpr PropertyMarks AsleepMask = 0xc0000000u;

protected:
    /** Stands for the id of a torn copy: ids of names have 31 bits. */
    static constexpr unsigned int TornID = 0xffffffffu;

    Property(Property const& other) : m_nID(other.m_nID) {}
    Property& operator=(Property const&) = delete;

    /** To be called by everything that writes the value, before others hear of it. */
    void Mark() {
        if (m_nMark != 0) {
            PropertyMarks& marks = GetMarks();
            if (__builtin_expect((marks & AsleepMask) == AsleepMark, 0)) {
                Wake(marks, m_nMark);
            } else {
                marks |= m_nMark;
            }
        }
    }

    unsigned int m_nID = 0; ///< the id that it is saved under

private:
    PropertyMarks& GetMarks() {
        auto const nBytes =
            static_cast<std::intptr_t>(m_nMarksDistance) * static_cast<std::intptr_t>(sizeof(PropertyMarks));
        return *reinterpret_cast<PropertyMarks*>(reinterpret_cast<std::intptr_t>(this) + nBytes);
    }
    /** Wakes the node that the marks belong to, and sets one. */
    static void Wake(PropertyMarks& marks, unsigned short nMark);

    short m_nMarksDistance = 0; ///< from this property, in marks
    unsigned short m_nMark = 0;
};

} // namespace trevik::kelvo
