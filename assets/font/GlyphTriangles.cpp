#include "font/GlyphTriangles.h"

#include <GL/glu.h>
#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

using Position = Vector2T<RealFloat>;
using Contour = std::vector<Position>;

/** Pairs of edges to look at, at most: about a tenth of a second. Ordinary glyphs need some thousands. */
constexpr std::size_t MaximumPairs = std::size_t(1) << 24;

/**
 * A contour without what encloses nothing: points that are there twice, and lines that come straight back.
 * The tessellator may go wrong over such lines.
 */
Contour Tidy(Contour const& contour) {
    Contour tidy;
    for (Position const& position : contour) {
        if (tidy.size() > 1 && position == tidy[tidy.size() - 2]) {
            tidy.pop_back();
        } else if (tidy.empty() || position != tidy.back()) {
            tidy.push_back(position);
        }
    }
    return tidy;
}

/** A straight piece of an outline, from left to right. */
struct Edge {
    Position left;
    Position right;
};

std::vector<Edge> ListEdges(GlyphOutline const& outline) {
    std::vector<Edge> edges;
    for (auto const& contour : outline.contours) {
        for (std::size_t i = 0; i < contour.size(); ++i) {
            Position const& from = contour[i];
            Position const& to = contour[(i + 1) % contour.size()];
            edges.push_back(from.x <= to.x ? Edge{from, to} : Edge{to, from});
        }
    }
    std::sort(edges.begin(), edges.end(), [](Edge const& a, Edge const& b) { return a.left.x < b.left.x; });
    return edges;
}

/** Twice the signed area of a triangle: positive when it is anticlockwise. */
double Area(Position const& a, Position const& b, Position const& c) {
    return (double(b.x) - a.x) * (double(c.y) - a.y) - (double(c.x) - a.x) * (double(b.y) - a.y);
}

bool Cross(Edge const& a, Edge const& b) {
    return Area(a.left, a.right, b.left) * Area(a.left, a.right, b.right) < 0 &&
           Area(b.left, b.right, a.left) * Area(b.left, b.right, a.right) < 0;
}

/**
 * Whether an outline can be cut in good time. The tessellator takes the longer the more edges lie above one
 * another, and makes a vertex of every crossing, and only a hostile font has many of either.
 */
bool IsSimpleEnough(GlyphOutline const& outline) {
    std::vector<Edge> const edges = ListEdges(outline);
    std::vector<Edge> active; // those that reach as far as the one being looked at
    std::size_t nPairs = 0;
    std::size_t nVertices = edges.size();
    for (Edge const& edge : edges) {
        active.erase(std::remove_if(active.begin(), active.end(),
                                    [&edge](Edge const& other) { return other.right.x < edge.left.x; }),
                     active.end());
        nPairs += active.size();
        nVertices += static_cast<std::size_t>(std::count_if(
            active.begin(), active.end(), [&edge](Edge const& other) { return Cross(edge, other); }));
        if (nPairs > MaximumPairs || nVertices > MaximumMeshVertices) {
            return false;
        }
        active.push_back(edge);
    }
    return true;
}

/** The part of the OpenGL utility library that cuts outlines; it needs no context. */
struct Tessellator {
    decltype(&gluNewTess) pfnNew = nullptr;
    decltype(&gluDeleteTess) pfnDelete = nullptr;
    decltype(&gluTessNormal) pfnNormal = nullptr;
    decltype(&gluTessProperty) pfnProperty = nullptr;
    decltype(&gluTessCallback) pfnCallback = nullptr;
    decltype(&gluTessBeginPolygon) pfnBeginPolygon = nullptr;
    decltype(&gluTessEndPolygon) pfnEndPolygon = nullptr;
    decltype(&gluTessBeginContour) pfnBeginContour = nullptr;
    decltype(&gluTessEndContour) pfnEndContour = nullptr;
    decltype(&gluTessVertex) pfnVertex = nullptr;
    std::string missing; ///< why there is none; empty when there is one

    Tessellator();
};

/**
 * Linked, the library would load the desktop's OpenGL into every program, and few scenes have outlines to
 * cut. So it is loaded for the first of them, and its names and those that it brings along stay out of the
 * program's.
 */
Tessellator::Tessellator() {
    void* const pLibrary = dlopen("libGLU.so.1", RTLD_LAZY | RTLD_LOCAL);
    if (!pLibrary) {
        missing = dlerror();
        return;
    }
    auto const find = [this, pLibrary](auto& pfnFunction, char const* pName) {
        pfnFunction =
            reinterpret_cast<std::remove_reference_t<decltype(pfnFunction)>>(dlsym(pLibrary, pName));
        if (!pfnFunction) {
            missing = "libGLU.so.1 has no " + std::string(pName);
        }
    };
    find(pfnNew, "gluNewTess");
    find(pfnDelete, "gluDeleteTess");
    find(pfnNormal, "gluTessNormal");
    find(pfnProperty, "gluTessProperty");
    find(pfnCallback, "gluTessCallback");
    find(pfnBeginPolygon, "gluTessBeginPolygon");
    find(pfnEndPolygon, "gluTessEndPolygon");
    find(pfnBeginContour, "gluTessBeginContour");
    find(pfnEndContour, "gluTessEndContour");
    find(pfnVertex, "gluTessVertex");
}

Tessellator const& GetTessellator() {
    static Tessellator const s_tessellator;
    return s_tessellator;
}

/** Collects what the tessellator makes of an outline. */
class Tessellation {
public:
    explicit Tessellation(Tessellator const& tessellator) : m_tessellator(tessellator) {}

    /** False when it could not be finished. */
    bool Run(GlyphOutline const& outline);
    /** False without memory. */
    bool CopyTo(GlyphMesh& mesh) const;

private:
    /** By place; with the index in the mesh, or -1 until a triangle needs it. */
    using Vertices = std::map<std::pair<RealFloat, RealFloat>, int>;
    using Vertex = Vertices::value_type;

    static Tessellation& From(void* pUser) { return *static_cast<Tessellation*>(pUser); }
    static void GLAPIENTRY OnVertex(void* pVertex, void* pUser) {
        From(pUser).AddCorner(static_cast<Vertex*>(pVertex));
    }
    static void GLAPIENTRY OnCombine(GLdouble* pPlace, void**, GLfloat*, void** ppVertex, void* pUser) {
        *ppVertex = From(pUser).FindVertex(pPlace);
    }
    /** With this callback there are no strips and fans. */
    static void GLAPIENTRY OnEdgeFlag(GLboolean, void*) {}
    static void GLAPIENTRY OnError(GLenum, void* pUser) { From(pUser).m_fFailed = true; }

    void SetUp(GLUtesselator* pTessellator, bool fEvenOdd);
    Vertex* FindVertex(GLdouble const* pPlace);
    void AddCorner(Vertex* pVertex);
    void AddTriangle();

    Tessellator const& m_tessellator;
    Vertices m_vertices;
    Vertex* m_corners[3] = {};
    int m_nCorners = 0;
    List<Vector3T<RealFloat>> m_positions;
    List<unsigned short> m_indices;
    bool m_fFailed = false;
};

void Tessellation::SetUp(GLUtesselator* pTessellator, bool fEvenOdd) {
    using Function = _GLUfuncptr;
    m_tessellator.pfnNormal(pTessellator, 0, 0, 1);
    m_tessellator.pfnProperty(pTessellator, GLU_TESS_WINDING_RULE,
                              fEvenOdd ? GLU_TESS_WINDING_ODD : GLU_TESS_WINDING_NONZERO);
    m_tessellator.pfnCallback(pTessellator, GLU_TESS_VERTEX_DATA, reinterpret_cast<Function>(&OnVertex));
    m_tessellator.pfnCallback(pTessellator, GLU_TESS_COMBINE_DATA, reinterpret_cast<Function>(&OnCombine));
    m_tessellator.pfnCallback(pTessellator, GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Function>(&OnEdgeFlag));
    m_tessellator.pfnCallback(pTessellator, GLU_TESS_ERROR_DATA, reinterpret_cast<Function>(&OnError));
}

bool Tessellation::Run(GlyphOutline const& outline) {
    std::unique_ptr<GLUtesselator, void (*)(GLUtesselator*)> const pTessellator(m_tessellator.pfnNew(),
                                                                                m_tessellator.pfnDelete);
    if (!pTessellator) {
        return false;
    }
    SetUp(pTessellator.get(), outline.fEvenOdd);
    m_tessellator.pfnBeginPolygon(pTessellator.get(), this);
    for (auto const& contour : outline.contours) {
        m_tessellator.pfnBeginContour(pTessellator.get());
        for (Position const& position : Tidy(contour)) {
            GLdouble place[3] = {position.x, position.y, 0};
            m_tessellator.pfnVertex(pTessellator.get(), place, FindVertex(place));
        }
        m_tessellator.pfnEndContour(pTessellator.get());
    }
    m_tessellator.pfnEndPolygon(pTessellator.get());
    return !m_fFailed;
}

/** The vertex at a place, made when there is none; null without memory. No exception passes the C library. */
Tessellation::Vertex* Tessellation::FindVertex(GLdouble const* pPlace) {
    try {
        auto const key = std::make_pair(static_cast<RealFloat>(pPlace[0]), static_cast<RealFloat>(pPlace[1]));
        return &*m_vertices.emplace(key, -1).first;
    } catch (std::bad_alloc const&) {
        m_fFailed = true;
        return nullptr;
    }
}

void Tessellation::AddCorner(Vertex* pVertex) {
    m_corners[m_nCorners++] = pVertex;
    if (m_nCorners == 3) {
        m_nCorners = 0;
        m_fFailed = m_fFailed || !pVertex || !m_corners[0] || !m_corners[1];
        if (!m_fFailed) {
            AddTriangle();
        }
    }
}

void Tessellation::AddTriangle() {
    Position places[3];
    for (int i = 0; i < 3; ++i) {
        places[i] = {m_corners[i]->first.first, m_corners[i]->first.second};
    }
    if (Area(places[0], places[1], places[2]) == 0) {
        return; // two vertices became one when they were rounded, or all three lie in a line
    }
    for (int i = 0; i < 3; ++i) {
        int& nIndex = m_corners[i]->second;
        if (nIndex < 0) {
            nIndex = static_cast<int>(m_positions.GetCount());
            m_fFailed = m_fFailed || m_positions.GetCount() >= MaximumMeshVertices ||
                        !m_positions.Append({places[i].x, places[i].y, 0});
        }
        m_fFailed = m_fFailed || !m_indices.Append(static_cast<unsigned short>(nIndex));
    }
}

bool Tessellation::CopyTo(GlyphMesh& mesh) const {
    return mesh.m_positions.GetWritableValue().Assign(m_positions) &&
           mesh.m_indices.GetWritableValue().Assign(m_indices);
}

} // namespace

bool CutIntoTriangles(GlyphOutline const& outline, GlyphMesh& mesh, std::string& what) {
    if (!IsSimpleEnough(outline)) {
        what = "has lines that lie above or cross each other too often to be cut into triangles";
        return false;
    }
    Tessellator const& tessellator = GetTessellator();
    if (!tessellator.missing.empty()) {
        what = "cannot be cut into triangles: " + tessellator.missing + " (Debian: libglu1-mesa)";
        return false;
    }
    Tessellation tessellation(tessellator);
    if (!tessellation.Run(outline) || !tessellation.CopyTo(mesh)) {
        what = "cannot be cut into triangles of " + std::to_string(MaximumMeshVertices) +
               " vertices with the memory at hand";
        return false;
    }
    return true;
}

} // namespace trevik::kelvo::assets
