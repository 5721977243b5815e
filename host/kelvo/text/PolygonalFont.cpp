#include "trevik/kelvo/PolygonalFont.h"

#include "trevik/kelvo/MemoryTracer.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>

namespace trevik::kelvo {

namespace {

constexpr unsigned int MeshID = HashName("Mesh");
constexpr unsigned int PositionsID = HashName("Positions");
constexpr unsigned int IndicesID = HashName("Indices");
constexpr unsigned int MaximumMeshCount = SHRT_MAX; // a glyph's index has 16 bits and a sign

typedef PropertyTraits<List<Vector3T<RealFloat>>> Positions;
typedef PropertyTraits<List<unsigned short>> Indices;

void DeleteAll(List<GlyphMesh*>& meshes) {
    for (GlyphMesh* pMesh : meshes) {
        delete pMesh;
    }
    meshes.Clear();
}

/** Whether the mesh consists of triangles between finite positions of its own. */
bool IsValid(GlyphMesh const& mesh) {
    List<Vector3T<RealFloat>> const& positions = mesh.m_positions.GetValue();
    List<unsigned short> const& indices = mesh.m_indices.GetValue();
    return indices.GetCount() % 3 == 0 &&
           std::all_of(indices.begin(), indices.end(),
                       [&](unsigned short nIndex) { return nIndex < positions.GetCount(); }) &&
           std::all_of(positions.begin(), positions.end(), [](Vector3T<RealFloat> const& position) {
               return std::isfinite(position.x) && std::isfinite(position.y) && std::isfinite(position.z);
           });
}

bool SaveMesh(Serializer& serializer, GlyphMesh const& mesh) {
    if (!serializer.PushTag(MeshID, 0)) {
        return false;
    }
    bool const fSaved = Positions::Write(serializer, PositionsID, mesh.m_positions.GetValue()) &&
                        Indices::Write(serializer, IndicesID, mesh.m_indices.GetValue());
    serializer.PopTag();
    return fSaved;
}

/** Reads the mesh that the current document node describes; false when that is none, or memory is short. */
bool LoadMesh(Deserializer& deserializer, GlyphMesh& mesh) {
    unsigned char const* pPositions = nullptr;
    unsigned char const* pIndices = nullptr;
    unsigned long nPositionsLength = 0;
    unsigned long nIndicesLength = 0;
    return deserializer.FindAttribute(PositionsID, pPositions, nPositionsLength) &&
           deserializer.FindAttribute(IndicesID, pIndices, nIndicesLength) &&
           Positions::Read(mesh.m_positions.GetWritableValue(), pPositions, nPositionsLength) &&
           Indices::Read(mesh.m_indices.GetWritableValue(), pIndices, nIndicesLength) && IsValid(mesh);
}

/** Appends the mesh of one of the current document node's children. */
bool LoadMesh(Deserializer& deserializer, unsigned int nChild, List<GlyphMesh*>& meshes) {
    if (meshes.GetCount() == MaximumMeshCount) {
        return deserializer.Fail(u"a font has more than %u meshes", MaximumMeshCount);
    }
    GlyphMesh* const pMesh = new (std::nothrow) GlyphMesh;
    if (!pMesh || !meshes.Append(pMesh)) {
        delete pMesh;
        return deserializer.Fail(u"memory is short");
    }
    unsigned int const nDepth = deserializer.GetDepth();
    bool const fLoaded = deserializer.PushChild(nChild) && LoadMesh(deserializer, *pMesh);
    deserializer.PopTo(nDepth);
    return fLoaded || deserializer.Fail(u"mesh %u does not consist of triangles between finite positions",
                                        meshes.GetCount() - 1);
}

bool LoadMeshes(Deserializer& deserializer, List<GlyphMesh*>& meshes) {
    for (unsigned int nChild = 0; nChild < deserializer.GetChildCount(); ++nChild) {
        if (deserializer.GetChildTagID(nChild) == MeshID && !LoadMesh(deserializer, nChild, meshes)) {
            return false;
        }
    }
    return true;
}

} // namespace

PolygonalFont::PolygonalFont() : Font(FactoryClassID) {}

PolygonalFont::~PolygonalFont() {
    DeleteAll(m_meshes);
}

bool PolygonalFont::Save(Serializer& serializer) {
    return SaveContents(serializer, m_meshes.GetCount()) &&
           std::all_of(m_meshes.begin(), m_meshes.end(),
                       [&](GlyphMesh const* pMesh) { return SaveMesh(serializer, *pMesh); });
}

bool PolygonalFont::Load(Deserializer& deserializer) {
    List<GlyphMesh*> meshes;
    bool const fLoaded = LoadMeshes(deserializer, meshes) && LoadContents(deserializer, meshes.GetCount());
    if (fLoaded) {
        m_meshes.Swap(meshes);
    }
    DeleteAll(meshes);
    return fLoaded;
}

void PolygonalFont::Emit(MemoryTracer* pTracer) {
    Font::Emit(pTracer);
    pTracer->EmitAllocation(m_meshes.GetCount() * static_cast<unsigned int>(sizeof(void*)), MemoryType::Font);
    for (GlyphMesh* pMesh : m_meshes) {
        List<Vector3T<RealFloat>> const& positions = pMesh->m_positions.GetValue();
        List<unsigned short> const& indices = pMesh->m_indices.GetValue();
        pTracer->EmitAllocation(sizeof(*pMesh), MemoryType::Font);
        pTracer->EmitAllocation(positions.GetCount() * static_cast<unsigned int>(sizeof(positions[0])),
                                MemoryType::Geometry);
        pTracer->EmitAllocation(indices.GetCount() * static_cast<unsigned int>(sizeof(indices[0])),
                                MemoryType::Geometry);
    }
}

short PolygonalFont::AddMesh(GlyphMesh* pMesh) {
    bool const fTaken =
        pMesh && IsValid(*pMesh) && m_meshes.GetCount() < MaximumMeshCount && m_meshes.Append(pMesh);
    if (!fTaken) {
        delete pMesh;
        return -1;
    }
    return static_cast<short>(m_meshes.GetCount() - 1);
}

} // namespace trevik::kelvo
