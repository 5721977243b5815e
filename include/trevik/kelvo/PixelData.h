#pragma once

#include "trevik/Delegate.h"
#include "trevik/Export.h"
#include "trevik/Memory.h"
#include "trevik/kelvo/Property.h"

#include <cstring>
#include <utility>

namespace trevik::kelvo {

/** A texture's pixels in CPU memory: bytes that it owns, or that somebody else owns and keeps alive. */
class TREVIK_API PixelBuffer {
public:
    PixelBuffer() = default;
    ~PixelBuffer() { Release(); }
    PixelBuffer(PixelBuffer const&) = delete;
    PixelBuffer& operator=(PixelBuffer const&) = delete;

    /** Owns `nSize` new zero bytes instead of what it held; false, holding nothing, when out of memory. */
    bool Allocate(unsigned int nSize) {
        Release();
        m_pData = nSize != 0 ? static_cast<unsigned char*>(AllocateMemory(nSize)) : nullptr;
        if (!m_pData) {
            return nSize == 0;
        }
        std::memset(m_pData, 0, nSize);
        m_nSize = nSize;
        return true;
    }
    /** Refers to bytes of somebody else, who keeps them alive as long as they are held here. */
    void Borrow(unsigned char const* pData, unsigned int nSize);
    /** Frees owned bytes, forgets borrowed ones; afterwards owning, of size 0. */
    void Release() {
        if (m_fOwning) {
            FreeMemory(m_pData);
        }
        m_pData = nullptr;
        m_nSize = 0;
        m_fOwning = true;
    }
    /** Exchanges the bytes; allocates nothing. */
    void Swap(PixelBuffer& other) noexcept {
        std::swap(m_pData, other.m_pData);
        std::swap(m_nSize, other.m_nSize);
        std::swap(m_fOwning, other.m_fOwning);
    }

    /** The bytes; null while there are none. */
    unsigned char* GetData() { return m_pData; }
    /** The bytes; null while there are none. */
    unsigned char const* GetData() const { return m_pData; }
    /** The number of bytes. */
    unsigned int GetSize() const { return m_nSize; }
    /** Whether the bytes go with this object; borrowed ones do not. */
    bool IsOwning() const { return m_fOwning; }

private:
    unsigned char* m_pData = nullptr;
    unsigned int m_nSize = 0;
    bool m_fOwning = true;
};

/** The pixel buffer as a property: not animated, but it announces changes, and it is saved as "Value". */
class TREVIK_API PixelDataProperty : public Property {
public:
    bool Load(Deserializer& deserializer) override;
    bool Save(Serializer& serializer) override;
    void Emit(MemoryTracer* pTracer) override;

    /** The bytes. */
    PixelBuffer& GetBuffer() { return m_buffer; }
    /** The bytes. */
    PixelBuffer const& GetBuffer() const { return m_buffer; }
    /** Fired with the bytes when they have changed. */
    event<void(PixelBuffer const&)>& GetChangeEvent() { return m_changed; }
    /** Announces that the buffer has changed. */
    void Notify() { m_changed(m_buffer); }

private:
    event<void(PixelBuffer const&)> m_changed;
    PixelBuffer m_buffer;
};

} // namespace trevik::kelvo
