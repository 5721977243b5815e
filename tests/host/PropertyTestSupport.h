#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/DocumentNode.h"
#include "trevik/kelvo/Property.h"
#include "trevik/kelvo/PropertyBinding.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"

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

/** A value elsewhere, 7 at first, that counts how often it is set. */
class CountingBinding : public PropertyBinding<int> {
public:
    int const& GetValue() const override { return m_nValue; }
    void SetValue(int const& value) override {
        m_nValue = value;
        ++m_nSets;
    }
    int& GetWritableValue() override { return m_nValue; }
    void Notify(bool changed) override { m_notifications.push_back(changed); }

    int m_nValue = 7;
    int m_nSets = 0;
    std::vector<bool> m_notifications;
};

template <class T>
T ValueAt(Controller<T>& controller, RealFloat frame) {
    T value{};
    controller.Evaluate(UpdateContext(), frame, value);
    return value;
}

} // namespace trevik::kelvo
