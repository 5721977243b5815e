#include "trevik/kelvo/PixelData.h"

#include <climits>
#include <cstring>
#include <utility>

#include "trevik/Memory.h"
#include "trevik/kelvo/BaseProperty.h"

namespace trevik::kelvo {

bool PixelBuffer::Allocate(unsigned int nSize) {
    Release();
    if (nSize == 0) {
        return true;
    }
    m_pData = static_cast<unsigned char*>(AllocateMemory(nSize));
    if (!m_pData) {
        return false;
    }
    std::memset(m_pData, 0, nSize);
    m_nSize = nSize;
    return true;
}

void PixelBuffer::Borrow(unsigned char const* pData, unsigned int nSize) {
    Release();
    m_pData = const_cast<unsigned char*>(pData);
    m_nSize = nSize;
    m_fOwning = pData == nullptr;
}

void PixelBuffer::Release() {
    if (m_fOwning) {
        FreeMemory(m_pData);
    }
    m_pData = nullptr;
    m_nSize = 0;
    m_fOwning = true;
}

void PixelBuffer::Swap(PixelBuffer& other) noexcept {
    std::swap(m_pData, other.m_pData);
    std::swap(m_nSize, other.m_nSize);
    std::swap(m_fOwning, other.m_fOwning);
}

bool PixelDataProperty::Load(Deserializer& deserializer) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    PixelBuffer loaded;
    if (!deserializer.FindAttribute(DocumentID::Value, pData, nLength) || nLength > UINT_MAX ||
        !loaded.Allocate(static_cast<unsigned int>(nLength))) {
        return false;
    }
    if (nLength != 0) {
        std::memcpy(loaded.GetData(), pData, nLength);
    }
    m_buffer.Swap(loaded);
    Notify();
    return true;
}

bool PixelDataProperty::Save(Serializer& serializer) {
    return Property::Save(serializer) &&
           serializer.WriteAttribute(DocumentID::Value, m_buffer.GetData(), m_buffer.GetSize());
}

void PixelDataProperty::Emit(MemoryTracer* pTracer) {
    if (m_buffer.IsOwning()) {
        pTracer->EmitAllocation(m_buffer.GetSize(), MemoryType::Texture);
    }
}

} // namespace trevik::kelvo
