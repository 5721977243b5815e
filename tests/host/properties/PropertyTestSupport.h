#pragma once

#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/DocumentNode.h"
#include "trevik/kelvo/Property.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"

#include <cstring>
#include <string>
#include <vector>

namespace trevik::kelvo {

typedef Vector2T<RealFloat> Vector2;
typedef Vector3T<RealFloat> Vector3;
typedef RectangleT<RealFloat> Rectangle;

/** The bytes of values, one after the other. */
template <class... T>
std::vector<unsigned char> BytesOf(T const&... values) {
    std::vector<unsigned char> bytes;
    bytes.reserve((sizeof(T) + ... + 0));
    (bytes.insert(bytes.end(), reinterpret_cast<unsigned char const*>(&values),
                  reinterpret_cast<unsigned char const*>(&values) + sizeof(T)),
     ...);
    return bytes;
}

inline bool AddBytes(DocumentNode& node, unsigned int nID, std::vector<unsigned char> const& bytes) {
    return node.AddAttribute(nID, bytes.data(), bytes.size());
}

inline std::vector<unsigned char> GetBytes(DocumentNode const& node, unsigned int nID) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return node.FindAttribute(nID, pData, nLength) ? std::vector<unsigned char>(pData, pData + nLength)
                                                   : std::vector<unsigned char>();
}

inline bool HasAttribute(DocumentNode const& node, unsigned int nID) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return node.FindAttribute(nID, pData, nLength);
}

/** A property's document node with a sample controller in it. */
inline Ref<DocumentNode> MakeSampleNode(int nStartFrame, unsigned int nSizeWord,
                                        std::vector<unsigned char> const& samples) {
    Ref<DocumentNode> pNode(new DocumentNode(0, 0));
    Ref<DocumentNode> pController(new DocumentNode(DocumentID::Controller, DocumentID::Sample));
    AddBytes(*pController, DocumentID::StartFrame, BytesOf(nStartFrame));
    AddBytes(*pController, DocumentID::Size, BytesOf(nSizeWord));
    AddBytes(*pController, DocumentID::Samples, samples);
    pNode->AddChild(pController);
    return pNode;
}

/** Loads `object` (a property or a controller) from a node. */
template <class T>
bool LoadFrom(Ref<DocumentNode> const& pNode, T& object) {
    ClassRegistry registry;
    Deserializer deserializer(pNode, registry);
    return object.Load(deserializer);
}

/** What `object` saves; null when it refuses. */
template <class T>
Ref<DocumentNode> SaveToNode(T& object) {
    Serializer serializer;
    return object.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
}

} // namespace trevik::kelvo
