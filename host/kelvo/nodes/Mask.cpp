#include "trevik/kelvo/Mask.h"

#include "trevik/Hash.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

#include <climits>
#include <cstring>
#include <new>

namespace trevik::kelvo {

namespace {

constexpr unsigned int VerticesID = HashName("Vertices");

} // namespace

Mask::Mask() : m_geometry{0, nullptr, 0} {}

Mask::~Mask() = default;

Mask* Mask::Clone() const {
    Mask* const pCopy = new (std::nothrow) Mask;
    if (pCopy && !pCopy->SetTriangles(m_vertices.GetData(), m_vertices.GetCount())) {
        delete pCopy;
        return nullptr;
    }
    return pCopy;
}

bool Mask::Save(Serializer& serializer) const {
    return serializer.WriteAttribute(VerticesID, reinterpret_cast<unsigned char const*>(m_vertices.GetData()),
                                     GetByteSize());
}

bool Mask::Load(Deserializer& deserializer) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(VerticesID, pData, nLength)) {
        return false;
    }
    unsigned long const nVertices = nLength / sizeof(Vector3T<RealFloat>);
    List<Vector3T<RealFloat>> vertices;
    if (nLength % (3 * sizeof(Vector3T<RealFloat>)) != 0 || nVertices > UINT_MAX ||
        !vertices.Resize(static_cast<unsigned int>(nVertices))) {
        return false;
    }
    if (nLength != 0) {
        std::memcpy(static_cast<void*>(vertices.GetData()), pData, nLength);
    }
    return SetTriangles(vertices.GetData(), vertices.GetCount());
}

MaskGeometry const& Mask::GetGeometry() const {
    return m_geometry;
}

bool Mask::SetTriangles(Vector3T<RealFloat> const* pVertices, unsigned int nVertexCount) {
    List<Vector3T<RealFloat>> vertices;
    if (nVertexCount % 3 != 0 || !vertices.Reserve(nVertexCount)) {
        return false;
    }
    for (unsigned int nVertex = 0; nVertex < nVertexCount; ++nVertex) {
        vertices.Append(pVertices[nVertex]);
    }
    m_vertices.Swap(vertices);
    m_geometry = MaskGeometry{0, m_vertices.GetData(), m_vertices.GetCount()};
    return true;
}

unsigned int Mask::GetByteSize() const {
    return m_vertices.GetCount() * static_cast<unsigned int>(sizeof(Vector3T<RealFloat>));
}

} // namespace trevik::kelvo
