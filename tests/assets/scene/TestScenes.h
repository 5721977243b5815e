#pragma once

#include "EntryPoints.h"
#include "kelvo_effects/Effects.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneNodes.h"
#include "scene/SceneReader.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/TransformNode.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace trevik::kelvo::assets::testing {

inline std::string Join(std::vector<RealFloat> const& numbers) {
    std::string text;
    for (RealFloat const number : numbers) {
        char digits[40];
        std::snprintf(digits, sizeof digits, "%.5g", static_cast<double>(number));
        text += (text.empty() ? "" : ", ") + std::string(digits);
    }
    return text;
}

template <class T>
T const& ValueOf(PropertyList::Entry const& entry) {
    return static_cast<BaseProperty<T> const*>(entry.m_pProperty)->GetValue();
}

/** A value of nothing but numbers. */
template <class T>
std::string JoinReals(PropertyList::Entry const& entry) {
    RealFloat const* const pFirst = reinterpret_cast<RealFloat const*>(&ValueOf<T>(entry));
    return Join({pFirst, pFirst + sizeof(T) / sizeof(RealFloat)});
}

inline std::string ToText(String16 const& text) {
    std::string bytes(String8(text).GetData());
    for (std::size_t at = 0; (at = bytes.find('\n', at)) != bytes.npos;) {
        bytes.replace(at, 1, "\\n");
    }
    return '"' + bytes + '"';
}

inline std::string ToText(SizeT<int> const& size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

inline std::string ToText(unsigned int nCodePoint) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", nCodePoint);
    return text;
}

/** Registers the back end's classes; creating and loading their objects needs no GL. */
inline void RegisterBackend(ClassRegistry& registry) {
    ASSERT_TRUE(Initialize(&registry));
    KelvoRegisterEffects(&registry);
}

/** A new node of a class that is registered, or a TransformNode. */
inline Ref<Node> CreateNode(ClassRegistry const& registry, std::string const& className) {
    unsigned int const nClassID = HashName(className.data(), className.size());
    if (nClassID == TransformNode::ClassID) {
        return Ref<Node>(new TransformNode);
    }
    Ref<Referenced> const pObject(registry.Create(nClassID));
    Ref<Node> const pNode(dynamic_cast<Node*>(pObject.Get()));
    if (!pNode) {
        throw std::runtime_error("no class of nodes is called " + className);
    }
    return pNode;
}

/** Reads a scene "scene.json"; file names in it are relative to the folder, which ends in "/". */
inline bool ReadScene(std::string const& text, std::string const& folder, Scene& scene, Fault& fault,
                      SceneNotes* pNotes = nullptr) {
    ClassRegistry registry;
    RegisterBackend(registry);
    ByteSpan const bytes{reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
    return ReadSceneText(bytes, "scene.json", folder, registry, scene, fault, pNotes);
}

/** Whether a scene as it was read is saved as the one that is loaded from what was saved. */
inline bool IsSavedAlike(Scene const& read) {
    ClassRegistry registry;
    RegisterBackend(registry);
    List<unsigned char> bytes[2];
    Scene loaded;
    for (Scene const* const pScene : {&read, static_cast<Scene const*>(&loaded)}) {
        Serializer serializer;
        Ref<DocumentNode> const pDocument =
            pScene->Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
        Deserializer deserializer(pDocument, registry);
        if (!pDocument || !pDocument->Write(bytes[pScene == &read ? 0 : 1]) || !loaded.Load(deserializer)) {
            return false;
        }
    }
    return bytes[0] == bytes[1];
}

/** The messages for a scene that must be wrong, a line each, without their "scene.json:". */
inline std::string ErrorOf(std::string const& text, std::string const& folder = "") {
    Scene scene;
    Fault first;
    SceneNotes notes;
    EXPECT_FALSE(ReadScene(text, folder, scene, first, &notes)) << text;
    EXPECT_FALSE(scene.GetRoot()) << "the scene was touched";
    std::string lines;
    for (Fault const& fault : notes.GetFaults().Get()) {
        std::string const message = fault.GetText();
        EXPECT_EQ(message.rfind("scene.json:", 0), 0u) << message;
        EXPECT_TRUE(!lines.empty() || message == first.GetText()) << message;
        lines += (lines.empty() ? "" : "\n") + message.substr(message.find(':') + 1);
    }
    return lines + (notes.GetFaults().HasMore() ? "\n..." : "");
}

/** A property's value as text. */
inline std::string DescribeValueOf(PropertyList::Entry const& entry) {
    switch (entry.m_pDescriptor->m_type) {
    case PropertyType::Bool:
        return ValueOf<bool>(entry) ? "true" : "false";
    case PropertyType::Int:
        return std::to_string(ValueOf<int>(entry));
    case PropertyType::Real:
        return JoinReals<RealFloat>(entry);
    case PropertyType::Vector2:
        return JoinReals<Vector2T<RealFloat>>(entry);
    case PropertyType::Vector3:
        return JoinReals<Vector3T<RealFloat>>(entry);
    case PropertyType::Rectangle:
        return JoinReals<RectangleT<RealFloat>>(entry);
    case PropertyType::Color:
        return JoinReals<ColorT<RealFloat>>(entry);
    case PropertyType::SizeReal:
        return JoinReals<SizeT<RealFloat>>(entry);
    case PropertyType::String:
        return ValueOf<String16>(entry).IsEmpty() ? "empty" : ToText(ValueOf<String16>(entry));
    case PropertyType::SizeInt: {
        auto const& size = ValueOf<SizeT<int>>(entry);
        return std::to_string(size.width) + ", " + std::to_string(size.height);
    }
    case PropertyType::PairList: {
        std::string text;
        for (Vector2T<int> const& pair : ValueOf<List<Vector2T<int>>>(entry)) {
            text += (text.empty() ? "" : ", ") + std::to_string(pair.x) + " + " + std::to_string(pair.y);
        }
        return text.empty() ? "none" : text;
    }
    default:
        return "?";
    }
}

/** Writes the lines that describe a scene. */
class Description {
public:
    explicit Description(SceneSettings const& settings) : m_settings(settings) {
        RegisterBackend(m_registry);
        ColorT<RealFloat> const& color = settings.m_clearColor;
        Add("scene of " + ToText(settings.m_size) + ", format " + std::to_string(settings.m_format) + ", " +
            Join({settings.m_rFrameRate}) + " frames a second, frames " +
            std::to_string(settings.m_nFirstFrame) + " to " + std::to_string(settings.m_nLastFrame) +
            ", colour " + Join({color.r, color.g, color.b, color.a}));
    }
    std::string const& GetText() const { return m_text; }

    void AddNode(char const* pWhat, Node& node) {
        std::string className;
        for (std::string const& name : GetNodeClassNames()) {
            className = HashName(name.data(), name.size()) == node.GetFactoryClassID() ? name : className;
        }
        Add(pWhat + className + " " + ToText(node.GetName()));
        m_sIndent += "  ";
        AddProperties(node.GetProperties(), CreateNode(m_registry, className)->GetProperties());
        if (auto* const pTimeline = dynamic_cast<Timeline*>(&node)) {
            AddTimeline(*pTimeline);
        } else if (auto* const pText = dynamic_cast<Text*>(&node)) {
            AddFont(pText->GetFont());
            if (pText->GetBackground()) {
                AddNode("background ", *pText->GetBackground());
            }
        } else if (auto* const pSprite = dynamic_cast<Sprite*>(&node)) {
            AddTexture("", pSprite->GetTexture());
        }
        if (TransformNode* const pTransform = node.GetTransformNode()) {
            AddMasksAndEffects(*pTransform);
        }
        for (Node* const pChild : node.GetChildren()) {
            AddNode("", *pChild);
        }
        m_sIndent.resize(m_sIndent.size() - 2);
    }

private:
    void Add(std::string const& line) { m_text += m_sIndent + line + "\n"; }

    /** Gives an object its number; whether it is said for the first time. */
    bool IsNew(void const* pObject, std::size_t& nNumber) {
        auto const [known, fNew] = m_known.emplace(pObject, m_known.size());
        nNumber = known->second;
        return fNew;
    }

    void AddProperties(PropertyList& properties, PropertyList const& initial) {
        std::vector<std::string> const names = GetPropertyNames(properties);
        for (unsigned int n = 0; n < properties.GetCount(); ++n) { // before any update
            PropertyList::Entry const entry = properties.GetEntry(n);
            std::string const value = DescribeValueOf(entry);
            if (entry.m_pDescriptor->m_pfnIsAnimated(entry.m_pProperty) &&
                value != DescribeValueOf(initial.GetEntry(n))) {
                Add(names[n] + " before: " + value);
            }
        }
        for (unsigned int n = 0; n < properties.GetCount(); ++n) {
            PropertyList::Entry const entry = properties.GetEntry(n);
            bool const fAnimated = entry.m_pDescriptor->m_pfnIsAnimated(entry.m_pProperty);
            std::string before;
            for (int nHalf = 2 * m_settings.m_nFirstFrame; fAnimated && nHalf <= 2 * m_settings.m_nLastFrame;
                 ++nHalf) {
                RealFloat const frame = static_cast<RealFloat>(nHalf) / 2;
                properties.Update(UpdateContext(), frame);
                if (DescribeValueOf(entry) != before) {
                    before = DescribeValueOf(entry);
                    Add(names[n] + " at " + Join({frame}) + ": " + before);
                }
            }
            std::string const value = DescribeValueOf(entry);
            if (!fAnimated && value != DescribeValueOf(initial.GetEntry(n))) {
                Add(names[n] + ": " + value);
            }
        }
    }

    void AddTimeline(Timeline& timeline) {
        char const* const pMap = Interpolate::GetName(timeline.GetTimeMapFunction());
        Add(std::string(timeline.IsPlaying() ? "playing, " : "stopped, ") + Join({timeline.GetFrameDelay()}) +
            " seconds a frame, " + (pMap ? pMap : "no time map"));
        if (timeline.GetCamera()) {
            AddNode("camera ", *timeline.GetCamera());
        }
    }

    void AddTexture(std::string const& start, Texture* pTexture) {
        std::size_t nNumber = 0;
        if (pTexture) {
            bool const fNew = IsNew(pTexture, nNumber);
            std::string const line = start + "texture #" + std::to_string(nNumber);
            SizeT<int> const used(pTexture->GetWidth(), pTexture->GetHeight());
            SizeT<int> const allocated(pTexture->GetAllocatedWidth(), pTexture->GetAllocatedHeight());
            Add(!fNew ? line
                      : line + ": " + ToText(used) + " in " + ToText(allocated) + ", format " +
                            std::to_string(pTexture->GetFormat()) + ", " +
                            std::to_string(pTexture->GetMipLevels().GetValue().GetCount()) + " levels, " +
                            std::to_string(pTexture->GetPixelData().GetBuffer().GetSize()) + " bytes, " +
                            std::to_string(pTexture->GetWantedSurfaces()) + " surfaces");
        }
    }

    void AddFont(Font* pFont) {
        std::size_t nNumber = 0;
        if (!pFont || !IsNew(pFont, nNumber)) {
            return Add(pFont ? "font #" + std::to_string(nNumber) : "no font");
        }
        std::string characters;
        for (unsigned int n = 0, nPrevious = 0; n < pFont->GetGlyphCount(); ++n) {
            unsigned int const nCodePoint = pFont->GetGlyphAt(n)->m_nCodePoint;
            bool const fRange = n + 1 < pFont->GetGlyphCount() && nCodePoint == nPrevious + 1 &&
                                pFont->GetGlyphAt(n + 1)->m_nCodePoint == nCodePoint + 1;
            if (!fRange) {
                characters += (nCodePoint == nPrevious + 1 ? "-" : " ") + ToText(nCodePoint);
            }
            nPrevious = nCodePoint;
        }
        Add("font #" + std::to_string(nNumber) + ": " + Join({pFont->GetXPixelsPerEm()}) + " pixels, " +
            (dynamic_cast<PolygonalFont*>(pFont) ? "outlines" : "bitmaps") + ", underline " +
            (pFont->GetUnderlineProperty().GetValue() ? "on" : "off") + " at " +
            Join({pFont->GetUnderlinePositionProperty().GetValue()}) + " of " +
            Join({pFont->GetUnderlineThicknessProperty().GetValue()}) + ", characters" + characters);
        for (unsigned int n = 0; n < pFont->GetGlyphCount(); ++n) {
            Glyph const& glyph = *pFont->GetGlyphAt(n);
            if (glyph.m_fImage) {
                AddTexture("  " + ToText(glyph.m_nCodePoint) + ": " +
                               ToText(SizeT<int>(glyph.m_nWidth, glyph.m_nHeight)) + " at " +
                               std::to_string(glyph.m_nOffsetX) + ", " + std::to_string(glyph.m_nOffsetY) +
                               " (down), advance " + std::to_string(glyph.m_nAdvance) + ", ",
                           glyph.m_pTexture.Get());
            }
        }
    }

    void AddMasksAndEffects(TransformNode& node) {
        for (Mask* const pMask : node.GetMasks()) {
            std::string line = "mask";
            for (unsigned int n = 0; n < pMask->GetGeometry().m_nVertexCount; ++n) {
                Vector3T<RealFloat> const& vertex = pMask->GetGeometry().m_pVertices[n];
                line += " (" + Join({vertex.x, vertex.y, vertex.z}) + ")";
            }
            Add(line);
        }
        for (Effect* const pEffect : node.GetEffects()) {
            for (std::string const& name : GetEffectClassNames()) {
                if (pEffect->IsKindOf(HashName(name.data(), name.size()))) {
                    Add(name);
                    Ref<Effect> const pInitial(
                        static_cast<Effect*>(m_registry.Create(HashName(name.data(), name.size()))));
                    m_sIndent += "  ";
                    AddProperties(pEffect->GetProperties(), pInitial->GetProperties());
                    m_sIndent.resize(m_sIndent.size() - 2);
                }
            }
        }
    }

    SceneSettings const& m_settings;
    ClassRegistry m_registry;
    std::map<void const*, std::size_t> m_known;
    std::string m_sIndent;
    std::string m_text;
};

/**
 * A scene as text, a line for each object, and for each value that is another one than a new object's; what
 * is animated, at each half frame of the scene that changes it.
 */
inline std::string DescribeScene(Scene const& scene) {
    Description description(scene.GetSettings());
    description.AddNode("", *scene.GetRoot());
    return description.GetText();
}

} // namespace trevik::kelvo::assets::testing
