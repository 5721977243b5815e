#pragma once

#include "JObject.h"
#include "kelvo_test/Diagnostics.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/BitmapFont.h"
#include "trevik/kelvo/BlendModeEffect.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Timeline.h"

#include <cmath>
#include <new>
#include <sstream>
#include <string>
#include <vector>

/** A back end that draws nothing: the smallest concrete class for each abstract one of the host. */
namespace trevik::kelvo::test {

typedef Vector2T<RealFloat> Vector2;
typedef Vector3T<RealFloat> Vector3;
typedef Matrix4T<RealFloat> Matrix;
typedef kelvokit::test::Diagnostics TraceLog;

inline Vector3 Origin(Matrix const& matrix) {
    return Vector3(matrix.m[12], matrix.m[13], matrix.m[14]);
}

inline Vector3 Apply(Matrix const& matrix, Vector3 const& p) {
    Vector4T<RealFloat> const placed = matrix * Vector4T<RealFloat>(p.x, p.y, p.z, 1);
    return Vector3(placed.x, placed.y, placed.z);
}

/**
 * Notes what is drawn. Its pick rays run parallel to the z axis: they start at the active camera's eye
 * (without one, at (0, 0, 100)), point down z, and window pixels are world units relative to the eye.
 */
class TestDevice : public GraphicsDevice {
public:
    std::vector<std::string> m_calls;
    bool m_fNoting = true;
    std::vector<Camera*> m_cameras;
    int m_nHiddenDepths = 0; ///< PushCameraDepth(false) without PopCameraDepth(false)
    bool m_fDepth = false;
    unsigned int m_nResourceRequests = 0;
    Ref<EffectResource> m_pResource; ///< what GetEffectResource answers
    Matrix m_projection;

    void Note(char const* pCall, Node const* pNode = nullptr) {
        if (m_fNoting) {
            m_calls.push_back(pNode ? std::string(pCall) + " " + NameOf(*pNode) : pCall);
        }
    }
    static std::string NameOf(Node const& node) { return String8(node.GetName()).GetData(); }

    using GraphicsDevice::Reset;
    bool Reset(void*) override { return true; }
    Vector2 ProjectCoordinate(Matrix const& model, Vector4T<RealFloat> const& point) override {
        Vector4T<RealFloat> const placed = model * point;
        return Vector2(placed.x, placed.y);
    }
    bool HitProjection(Matrix const& model, Vector3 const& p0, Vector3 const& p1, Vector3 const& p2,
                       Vector2& uv, RealFloat& distance) override;
    Matrix GetProjectionMatrix() override { return m_projection; }
    Matrix GetViewMatrix() override { return Matrix::Identity; }
    Matrix GetViewportMatrix() override { return Matrix::Identity; }
    Camera* GetActiveCamera() override { return m_cameras.empty() ? nullptr : m_cameras.back(); }
    void Process() override { Note("process"); }
    void Present() override { Note("present"); }
    bool ReadPixels(RectangleT<int> const&, Texture**) override { return false; }
    void SetDepthTestEnabled(bool fEnabled) override { m_fDepthTest = fEnabled; }
    EffectResource* GetEffectResource(unsigned int) override {
        ++m_nResourceRequests;
        return m_pResource.Get();
    }
    void PushCamera(Camera* pCamera) override {
        if (pCamera) {
            m_cameras.push_back(pCamera);
        }
    }
    void PushCamera2D(RealFloat const&, RealFloat const&) override {}
    void PopCamera() override { m_cameras.pop_back(); }
    void PushCameraDepth(bool fDepth) override { m_nHiddenDepths += fDepth ? 0 : 1; }
    void PopCameraDepth(bool fDepth) override { m_nHiddenDepths -= fDepth ? 0 : 1; }
    void SetCameraDepth(bool fDepth) override { m_fDepth = fDepth; }
    void Clear() override {
        Note("clear");
        GraphicsDevice::Clear();
    }
};

inline bool TestDevice::HitProjection(Matrix const& model, Vector3 const& p0, Vector3 const& p1,
                                      Vector3 const& p2, Vector2& uv, RealFloat& distance) {
    Vector3 const eye = GetActiveCamera() ? Origin(GetActiveCamera()->GetWorldMatrix()) : Vector3(0, 0, 100);
    Vector3 const q0 = Apply(model, p0);
    Vector3 const e1 = Apply(model, p1) - q0;
    Vector3 const e2 = Apply(model, p2) - q0;
    Vector2 const hit(eye.x + GetSelectionPoint().x - q0.x, eye.y + GetSelectionPoint().y - q0.y);
    RealFloat const determinant = e1.x * e2.y - e1.y * e2.x;
    if (std::fabs(determinant) < RealFloat(1e-8)) {
        return false;
    }
    uv.x = (hit.x * e2.y - hit.y * e2.x) / determinant;
    uv.y = (e1.x * hit.y - e1.y * hit.x) / determinant;
    distance = DistanceOfEye + (eye.z - q0.z - uv.x * e1.z - uv.y * e2.z) / 100;
    return true;
}

/**
 * A sprite that notes when it is drawn, counts updates, and, like a real one, builds its geometry in Load.
 */
class TestSprite : public Sprite {
public:
    TREVIK_NODE_REFLECTION(TestSprite, Sprite, "Sprite", VisitDrawable)

    unsigned int m_nUpdates = 0;
    bool m_fGeometry = false;
    unsigned int m_nTextureSets = 0; ///< SetTexture after the geometry was there

    bool Load(Deserializer& deserializer) override { return m_fGeometry = Sprite::Load(deserializer); }
    void SetTexture(Texture* pTexture) override {
        Sprite::SetTexture(pTexture);
        m_nTextureSets += m_fGeometry ? 1 : 0;
    }
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override {
        Sprite::InternalUpdate(device, frame, delta, fForce);
        ++m_nUpdates;
    }
    void InternalRender(GraphicsDevice& device) override {
        static_cast<TestDevice&>(device).Note("draw", this);
    }
};

/** A node without anything of its own, which tells whether updates leave it out. */
class PlainNode : public TransformNode {
public:
    TREVIK_NODE_REFLECTION(PlainNode, TransformNode, "TransformNode", VisitNode)

    bool IsAsleep() const { return (m_nMarks & Property::AsleepMark) != 0; }
};

class TestCamera : public Camera {
public:
    TREVIK_NODE_REFLECTION(TestCamera, Camera, "Camera", VisitCamera)

    Matrix GetViewMatrix() const override { return Matrix::Identity; }
    Matrix GetProjectionMatrix() const override { return Matrix::Identity; }
    void CalculateProjection() override {}
};

class TestTimeline : public Timeline {
public:
    TREVIK_NODE_REFLECTION(TestTimeline, Timeline, "Timeline", VisitTimeline)

    void PreRenderChildren(GraphicsDevice& device) override {
        static_cast<TestDevice&>(device).Note("enter", this);
        device.PushCamera(GetCamera());
        m_pActiveCamera = Ref(device.GetActiveCamera());
    }
    void PostRenderChildren(GraphicsDevice& device) override {
        static_cast<TestDevice&>(device).Note("leave", this);
        if (GetCamera()) {
            device.PopCamera();
        }
    }
};

/** Numbers for a note, behind what they are. */
inline std::string ToText(char const* pWhat, Vector3 const& v) {
    std::ostringstream out;
    out << pWhat << " " << v.x << " " << v.y << " " << v.z;
    return out.str();
}

inline std::string ToText(char const* pWhat, ColorT<RealFloat> const& c) {
    std::ostringstream out;
    out << pWhat << " " << c.r << " " << c.g << " " << c.b << " " << c.a;
    return out.str();
}

/** Notes the image glyphs that it draws. */
class TestText : public Text {
public:
    TREVIK_NODE_REFLECTION(TestText, Text, "Text", VisitDrawable)

    void RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const&, GlyphBatch const&,
                          ColorT<RealFloat> const& color) override {
        if (static_cast<TestDevice&>(device).m_fNoting) {
            static_cast<TestDevice&>(device).Note(ToText("image colour", color).c_str());
        }
    }
    List<GlyphInstance> const& GetInstances() const { return m_instances; }
    List<GlyphBatch> const& GetBatches() const { return m_batches; }
};

/** Notes the batches that it draws. */
class TestFont : public BitmapFont {
public:
    void RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const&, GlyphBatch const& batch,
                          Vector3 const& position, ColorT<RealFloat> const& color, bool fShadow,
                          Vector3 const& shadowOffset, ColorT<RealFloat> const& shadowColor) const override {
        if (static_cast<TestDevice&>(device).m_fNoting) {
            std::string const note =
                "batch " + std::to_string(batch.m_nFirst) + "+" + std::to_string(batch.m_nCount) +
                ToText(" at", position) + ToText(" colour", color) +
                (fShadow ? ToText(" shadow by", shadowOffset) + ToText(" colour", shadowColor) : "") +
                ToText(" (7, 8, 9) to", Apply(device.GetTransformMatrix(), Vector3(7, 8, 9)));
            static_cast<TestDevice&>(device).Note(note.c_str());
        }
    }
};

/** A texture whose surfaces are plain memory with rows a few bytes longer than needed. */
class TestTexture : public Texture {
public:
    std::vector<unsigned char> m_surface; ///< the one that producers write next
    std::vector<unsigned char> m_other;   ///< of two
    int m_nCurrent = 0;
    bool m_fRefusePromotion = false;
    bool m_fRefuseLock = false;
    int m_nLocks = 0; ///< that were not undone
    bool m_fShown = false;

    int GetSurfaceStride() const { return GetWidth() * GetBytesPerPixel() + 5; }

    bool Compress() override { return false; }
    bool IsPromoted() override { return m_fShown; }
    bool Promote(bool fDoubleBuffered) override {
        if (!m_fRefusePromotion) {
            m_surface.assign(std::size_t(GetSurfaceStride()) * std::size_t(GetHeight()), 0xee);
            m_other.assign(fDoubleBuffered ? m_surface.size() : 0, 0xee);
        }
        return !m_fRefusePromotion;
    }
    bool Demote() override { return true; }
    bool GetSurfaceInfo(SurfaceInfo* pInfo) const override {
        *pInfo = SurfaceInfo{GetWidth(), GetHeight(), GetSurfaceStride(), GetFormat()};
        return !m_surface.empty();
    }
    void* Lock() override {
        ++m_nLocks;
        return m_surface.empty() || m_fRefuseLock ? nullptr : m_surface.data();
    }
    void Unlock() override { --m_nLocks; }
    int Swap() override {
        m_fShown = true;
        if (!m_other.empty()) {
            m_surface.swap(m_other);
            m_nCurrent = 1 - m_nCurrent;
        }
        return m_nCurrent;
    }
    int Current() override { return m_surface.empty() ? -1 : m_nCurrent; }
    int Count() override { return (m_surface.empty() ? 0 : 1) + (m_other.empty() ? 0 : 1); }
    jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture(int) override {
        return jni::Object<jni::android::graphics::Bitmap>();
    }
};

/** Notes what it is asked. */
class TestEffect : public GaussianBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(TestEffect, GaussianBlurEffect, "TestResource")

    EffectResource* m_pGiven = nullptr;
    unsigned int m_nUpdates = 0;

    bool InternalInit(EffectResource* pResource) override {
        m_pGiven = pResource;
        return true;
    }
    void InternalUpdate(GraphicsDevice&, RealFloat const&, RealFloat const&, bool) override { ++m_nUpdates; }
};

/** The classes above under the names of the contract. While it lives it is the default registry. */
class TestRegistry : public ClassRegistry {
public:
    TestRegistry() {
        Add<TestSprite>("Sprite");
        Add<TestCamera>("Camera");
        Add<TestTimeline>("Timeline");
        Add<TestText>("Text");
        Add<TestFont>("Font");
        Add<TestTexture>("Texture");
        Add<TestEffect>("GaussianBlurEffect");
        Add<EffectResource>("TestResource");
        SetDefault(this);
    }

private:
    template <class T>
    void Add(char const* pName) {
        AddClassContainer(new ClassContainerT<T>(HashName(pName)));
    }
};

inline String16 Name(char const* pName) {
    return String8(pName);
}

/** A new node of the class, with a name. */
template <class T>
Ref<T> Make(char const* pName) {
    Ref<T> pNode(new T);
    pNode->SetName(Name(pName));
    return pNode;
}

/** A chain of nodes, one below the other, built from the bottom up. */
inline Ref<Node> MakeChain(unsigned int nLevels, Node* pBottom) {
    Ref<Node> pNode(pBottom);
    for (unsigned int nLevel = 1; nLevel < nLevels; ++nLevel) {
        Ref<Node> pParent(new TransformNode);
        pParent->Attach(pNode.Get());
        pNode = pParent;
    }
    return pNode;
}

/** The names of a node's children, in order. */
inline std::string ChildNames(Node const& node) {
    std::string names;
    for (Node* pChild : node.GetChildren()) {
        names += (names.empty() ? "" : " ") + TestDevice::NameOf(*pChild);
    }
    return names;
}

/** What is hit at a point when `node` is drawn for selection. */
inline List<SelectionPoint> Select(TestDevice& device, Node& node, Vector2 const& point) {
    List<SelectionPoint> hits;
    device.SetSelectionMode(point, &hits);
    node.Render(device);
    device.SetRenderMode();
    return hits;
}

/** Samples for a property: one value per frame from `nStartFrame` on. */
template <class T>
void Animate(BaseProperty<T>& property, int nStartFrame, std::vector<T> const& samples) {
    property.AddController(
        SampleController<T>::Create(nStartFrame, samples.data(), static_cast<unsigned int>(samples.size())));
}

/** A value that changes without telling the properties that are bound to it, and is not changed by them. */
template <class T>
class Elsewhere : public PropertyBinding<T> {
public:
    T m_value{};

    T const& GetValue() const override { return m_value; }
    void SetValue(T const&) override {}
    T& GetWritableValue() override { return m_written; }
    void Notify(bool) override {}

private:
    T m_written{};
};

} // namespace trevik::kelvo::test
