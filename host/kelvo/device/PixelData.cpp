#include "trevik/kelvo/PixelData.h"

#include "trevik/kelvo/BaseProperty.h"

#include <climits>
#include <cstring>

namespace trevik::kelvo {

void PixelBuffer::Borrow(unsigned char const* pData, unsigned int nSize) {
    Release();
    m_pData = const_cast<unsigned char*>(pData);
    m_nSize = nSize;
    m_fOwning = pData == nullptr;
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
