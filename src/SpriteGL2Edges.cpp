#include "SpriteGL2.h"

#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "ShaderCatalogue.h"
#include "ShaderProgramGL2.h"
#include "TextureGL2.h"
#include "UniformNames.h"

#include <GLES2/gl2.h>

#include <cmath>

namespace trevik::kelvo {

namespace {

/** Texels of the coverage ramp. */
constexpr unsigned int FilterWidth = 32;
/** Pixels, to either side of a sprite's edge. */
constexpr RealFloat HalfLineWidth = 2;

constexpr unsigned int EdgeCount = 4;
constexpr unsigned int EdgeVertexCount = 2 * EdgeCount;
constexpr unsigned int EquationsPerVertex = 4;

} // namespace

Ref<Texture> SpriteGL2::s_antialiasFilter;

bool SpriteGL2::CreateAntialiasFilter() {
    unsigned char texels[FilterWidth];
    for (unsigned int i = 0; i < FilterWidth; ++i) {
        // A raised cosine over the distance from the line's edge.
        RealFloat const rDistance = static_cast<RealFloat>(i) * -0.03125f + 1;
        RealFloat const rSine =
            std::sin(static_cast<RealFloat>(M_PI_2) + rDistance * static_cast<RealFloat>(M_PI));
        texels[i] = static_cast<unsigned char>((rSine + 1) * 0.5f * 255);
    }
    s_antialiasFilter = Texture::CreateTexture(FilterWidth, 1, TextureFormat::Alpha8, texels, FilterWidth);
    return static_cast<bool>(s_antialiasFilter);
}

void SpriteGL2::ReleaseAntialiasFilter() {
    s_antialiasFilter = nullptr;
}

void SpriteGL2::CalculateLineEq(Matrix4T<RealFloat> const& toWindow, Matrix4T<RealFloat> const& fromWindow,
                                Vector4T<RealFloat>& p0, Vector4T<RealFloat>& p1, RealFloat const& halfWidth,
                                Vector3T<RealFloat>* pEquations, unsigned int nFirst,
                                unsigned int nCopyDistance) {
    Vector4T<RealFloat> const q0(p0.x / p0.w, p0.y / p0.w, p0.z / p0.w, p0.w / p0.w);
    Vector4T<RealFloat> const q1(p1.x / p1.w, p1.y / p1.w, p1.z / p1.w, p1.w / p1.w);
    Vector4T<RealFloat> s0 = toWindow * q0;
    Vector4T<RealFloat> s1 = toWindow * q1;

    // The length takes z and w in as well: intended (edge-differences).
    Vector4T<RealFloat> d = s0 - s1;
    RealFloat const rLength =
        static_cast<RealFloat>(std::sqrt(static_cast<double>(d.x * d.x + d.y * d.y + d.z * d.z + d.w * d.w)));
    if (rLength > 0) {
        d = Vector4T<RealFloat>(d.x / rLength, d.y / rLength, d.z / rLength, d.w / rLength);
    }
    RealFloat const h = halfWidth;
    Vector4T<RealFloat> const extension = d * (2 * h);
    s0 = s0 + extension;
    s1 = s1 - extension;

    RealFloat const x0 = s0.x;
    RealFloat const y0 = s0.y;
    RealFloat const x1 = s1.x;
    RealFloat const y1 = s1.y;
    RealFloat const a = y1 - y0;
    RealFloat const b = x1 - x0;
    // The published method takes the sum of the squares and adds a filter width; difference and zero are
    // intended (edge-differences).
    RealFloat const rSquares =
        static_cast<RealFloat>(std::fabs(double(b) * double(b) - double(a) * double(a)));
    RealFloat const k = 2 / ((2 * h + 0) * static_cast<RealFloat>(std::sqrt(double(rSquares))));

    Vector3T<RealFloat>* const e = pEquations + nFirst;
    e[0] = Vector3T<RealFloat>(k * a, -k * b, 1 + k * (x1 * y0 - x0 * y1));
    e[1] = Vector3T<RealFloat>(-k * b, -k * a, 1 + k * (x1 * x1 + y1 * y1 - x0 * x1 - y0 * y1));
    e[2] = Vector3T<RealFloat>(-k * a, k * b, 1 + k * (x0 * y1 - x1 * y0));
    e[3] = Vector3T<RealFloat>(k * b, k * a, 1 + k * (x0 * x0 + y0 * y0 - x0 * x1 - y0 * y1));
    for (unsigned int i = 0; i < EquationsPerVertex; ++i) {
        e[nCopyDistance + i] = e[i];
    }

    p0 = fromWindow * (s0 - extension);
    p1 = fromWindow * (s1 + extension);
}

void SpriteGL2::RenderAntialiasedEdges(GraphicsDeviceGL2& device, TextureGL2* pTexture) {
    // The size as it is now, though the corners keep the one of Load: intended (outline-ignores-opacity).
    SizeT<int> const size = m_size.GetValue();
    RealFloat const w = static_cast<RealFloat>(size.width);
    RealFloat const h = static_cast<RealFloat>(size.height);
    Vector4T<RealFloat> points[EdgeVertexCount] = {{0, 0, 0, 1}, {w, 0, 0, 1}, {w, 0, 0, 1}, {w, h, 0, 1},
                                                   {w, h, 0, 1}, {0, h, 0, 1}, {0, h, 0, 1}, {0, 0, 0, 1}};
    Matrix4T<RealFloat> modelViewProjection{Uninitialized()};
    device.GetModelViewProjection(modelViewProjection);
    for (Vector4T<RealFloat>& point : points) {
        point = modelViewProjection * point;
    }
    Matrix4T<RealFloat> const toWindow = device.GetViewportMatrix();
    Matrix4T<RealFloat> fromWindow = Matrix4T<RealFloat>::Identity;
    static_cast<void>(Matrix4Inverse(toWindow, fromWindow));
    Vector3T<RealFloat> equations[EdgeVertexCount * EquationsPerVertex];
    for (unsigned int nEdge = 0; nEdge < EdgeCount; ++nEdge) {
        unsigned int const nFirst = 2 * nEdge;
        CalculateLineEq(toWindow, fromWindow, points[nFirst], points[nFirst + 1], HalfLineWidth, equations,
                        EquationsPerVertex * nFirst, EquationsPerVertex);
    }

    Vector2T<RealFloat> edgeCoords[EdgeVertexCount];
    ShaderProgramGL2* const pProgram =
        device.GetShader(pTexture != nullptr ? ShaderId::TexturedEdges : ShaderId::SolidEdges);
    device.SetActiveShader(pProgram);
    if (pProgram == nullptr) {
        return; // the device is not up
    }
    if (pTexture != nullptr) {
        // The program has no place for the sprite's opacity: intended (outline-ignores-opacity).
        Vector2T<RealFloat> corners[4];
        GetTextureCoords(corners);
        unsigned char const cornerOfVertex[EdgeVertexCount] = {0, 2, 2, 3, 3, 1, 1, 0};
        for (unsigned int i = 0; i < EdgeVertexCount; ++i) {
            edgeCoords[i] = corners[cornerOfVertex[i]];
        }
        pProgram->SetSampler(UniformNames::sTexture, pTexture, 0);
        GlState::SetVertexArray(VertexAttributeIndex::Texture, edgeCoords);
    } else {
        // The highlight colour does not reach the edges.
        Vector3T<RealFloat> const& own = m_color.GetValue();
        pProgram->SetParameter(ShaderType::Fragment, UniformNames::vColor,
                               Vector4T<RealFloat>(own.x, own.y, own.z, m_rEffectiveOpacity));
    }
    pProgram->SetSampler(UniformNames::sDistribution, static_cast<TextureGL2*>(s_antialiasFilter.Get()), 0);
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::fVPHeight,
                           static_cast<RealFloat>(device.GetViewport().GetHeight()));
    GlState::SetVertexArray(VertexAttributeIndex::Position, points);
    constexpr GLsizei Stride = EquationsPerVertex * sizeof(Vector3T<RealFloat>);
    for (unsigned int i = 0; i < EquationsPerVertex; ++i) {
        GlState::SetVertexArray(VertexAttributeIndex::EdgeEquation0 + i, equations + i, Stride);
    }
    GlState::SetLineWidth(2 * HalfLineWidth);
    glDrawArrays(GL_LINES, 0, EdgeVertexCount);
}

} // namespace trevik::kelvo
