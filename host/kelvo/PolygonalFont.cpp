#include "trevik/kelvo/PolygonalFont.h"

#include <climits>

#include "trevik/kelvo/MemoryTracer.h"

namespace trevik::kelvo {

PolygonalFont::PolygonalFont() : Font(FactoryClassID) {}

PolygonalFont::~PolygonalFont() {
    for (GlyphMesh* pMesh : m_meshes) {
        delete pMesh;
    }
}

bool PolygonalFont::Save(Serializer& serializer) {
    return Font::Save(serializer);
}

bool PolygonalFont::Load(Deserializer& deserializer) {
    return Font::Load(deserializer);
}

void PolygonalFont::Emit(MemoryTracer* pTracer) {
    Font::Emit(pTracer);
    for (GlyphMesh* pMesh : m_meshes) {
        unsigned long const nBytes = pMesh->m_positions.GetValue().GetCount() * sizeof(Vector3T<RealFloat>) +
                                     pMesh->m_indices.GetValue().GetCount() * sizeof(unsigned short);
        pTracer->EmitAllocation(static_cast<unsigned int>(nBytes), MemoryType::Font);
    }
}

short PolygonalFont::AddMesh(GlyphMesh* pMesh) {
    if (!pMesh || m_meshes.GetCount() >= SHRT_MAX || !m_meshes.Append(pMesh)) {
        delete pMesh;
        return -1;
    }
    return static_cast<short>(m_meshes.GetCount() - 1);
}

} // namespace trevik::kelvo
