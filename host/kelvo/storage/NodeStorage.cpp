#include "NodeStorage.h"

#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/List.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/PropertyTraits.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Timeline.h"

#include <new>

namespace trevik::kelvo {

namespace {

/** A new node of the class that is registered under the id; null when there is none or when it is no node. */
Node* CreateNode(ClassRegistry& registry, unsigned int nTypeID) {
    if (!registry.IsRegistered(nTypeID) && nTypeID == TransformNode::ClassID) {
        return new (std::nothrow) TransformNode; // needs no back end
    }
    // The id comes from a file: it may create an object that is no node.
    return static_cast<Node*>(registry.Create(nTypeID, ObjectKind::Node));
}

/**
 * Sets a loaded sprite's texture once more. Back ends narrow texture coordinates to the texture's used area
 * when it is set, but build these only in Load, after the host has read the texture.
 */
void SetLoadedTexture(Node& node) {
    if (node.IsKindOf(Sprite::ClassID)) {
        Sprite& sprite = static_cast<Sprite&>(node);
        if (sprite.GetTexture()) {
            sprite.SetTexture(sprite.GetTexture());
        }
    }
}

/** Loads the node that the current document node describes. */
Ref<Node> LoadCurrentNode(Deserializer& deserializer) {
    unsigned int const nTypeID = deserializer.GetCurrentNode()->GetTypeID();
    Ref<Node> pNode(CreateNode(deserializer.GetRegistry(), nTypeID));
    if (!pNode) {
        deserializer.Fail(u"no class of nodes is registered under the type id %u", nTypeID);
        return nullptr;
    }
    if (!pNode->Load(deserializer)) {
        deserializer.Fail(u"its class refuses the data");
        return nullptr;
    }
    SetLoadedTexture(*pNode);
    return pNode;
}

} // namespace

// Below the deepest node there is room for its properties and their controllers.
static_assert(Node::MaximumDepth + 4 <= DocumentNode::MaximumDepth, "documents hold every tree");

bool SaveNode(Serializer& serializer, unsigned int nTagID, Node& node) {
    if (!serializer.PushTag(nTagID, node.GetFactoryClassID())) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] %s: the node cannot be saved: it lies too deep, or memory is short",
                           node.GetPath().GetData());
        return false;
    }
    bool const fSaved = node.Save(serializer);
    serializer.PopTag();
    return fSaved;
}

Ref<Node> LoadNode(Deserializer& deserializer, unsigned int nChild) {
    unsigned int const nDepth = deserializer.GetDepth();
    // A scene's own document node stands above the topmost node's.
    if (nDepth > Node::MaximumDepth || !deserializer.PushChild(nChild)) {
        deserializer.Fail(u"its children lie too deep, or memory is short");
        return nullptr;
    }
    Ref<Node> pNode = LoadCurrentNode(deserializer);
    deserializer.PopTo(nDepth);
    return pNode;
}

bool LoadOptionalNode(Deserializer& deserializer, unsigned int nTagID, Ref<Node>& pNode) {
    for (unsigned int nChild = 0; nChild < deserializer.GetChildCount(); ++nChild) {
        if (deserializer.GetChildTagID(nChild) == nTagID) {
            Ref<Node> const pLoaded = LoadNode(deserializer, nChild);
            if (pLoaded) {
                pNode = pLoaded;
            }
            return static_cast<bool>(pLoaded);
        }
    }
    return true;
}

Node* CompleteTree(Node& node, Deserializer& nothing) {
    Node* pHeld = nullptr;
    if (node.IsKindOf(Timeline::ClassID)) {
        pHeld = static_cast<Timeline&>(node).GetCamera();
    } else if (node.IsKindOf(Text::ClassID)) {
        pHeld = static_cast<Text&>(node).GetBackground();
    }
    Node* pFailed = pHeld && !pHeld->GetParent() ? CompleteTree(*pHeld, nothing) : nullptr;
    for (unsigned int nChild = 0; nChild < node.GetChildCount() && !pFailed; ++nChild) {
        pFailed = CompleteTree(*node.GetChild(nChild), nothing);
    }
    if (pFailed || !node.Load(nothing)) {
        return pFailed ? pFailed : &node;
    }
    SetLoadedTexture(node);
    return nullptr;
}

bool SaveText(Serializer& serializer, unsigned int nAttributeID, StringEncoded<UTF16Encoding> const& sText) {
    return PropertyTraits<StringEncoded<UTF16Encoding>>::Write(serializer, nAttributeID, sText);
}

bool LoadText(Deserializer& deserializer, unsigned int nAttributeID, StringEncoded<UTF16Encoding>& sText) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return !deserializer.FindAttribute(nAttributeID, pData, nLength) || ReadText(pData, nLength, sText);
}

bool ReadText(unsigned char const* pData, unsigned long nLength, StringEncoded<UTF16Encoding>& sText) {
    return PropertyTraits<StringEncoded<UTF16Encoding>>::Read(sText, pData, nLength);
}

bool FindWay(Node const& from, Node const& to, NodeWay& way) {
    List<Node*> line; // `to` and all above it
    for (Node* pNode = const_cast<Node*>(&to); pNode; pNode = pNode->GetParent()) {
        if (!line.Append(pNode)) {
            return false;
        }
    }
    unsigned int nLevels = 0;
    Node* pShared = const_cast<Node*>(&from);
    while (pShared && line.IndexOf(pShared) < 0) {
        pShared = pShared->GetParent();
        ++nLevels;
    }
    way.Clear();
    bool fFound = pShared && way.Append(nLevels);
    for (int nBelow = fFound ? line.IndexOf(pShared) : 0; nBelow > 0 && fFound; --nBelow) {
        unsigned int const nLine = static_cast<unsigned int>(nBelow);
        fFound = way.Append(static_cast<unsigned int>(line[nLine]->GetChildren().IndexOf(line[nLine - 1])));
    }
    return fFound;
}

Node* FollowWay(Node& from, NodeWay const& way) {
    Node* pNode = way.IsEmpty() ? nullptr : &from;
    for (unsigned int nLevel = 0; pNode && nLevel < way[0]; ++nLevel) {
        pNode = pNode->GetParent();
    }
    for (unsigned int nStep = 1; pNode && nStep < way.GetCount(); ++nStep) {
        pNode = way[nStep] < pNode->GetChildCount() ? pNode->GetChild(way[nStep]) : nullptr;
    }
    return pNode;
}

void AppendPathStep(StringEncoded<UTF16Encoding>& sPath, StringEncoded<UTF16Encoding> const& sName,
                    int nIndex) {
    sPath.Append(u"/", 1);
    if (!sName.IsEmpty()) {
        sPath.Append(sName);
    } else if (nIndex >= 0) {
        sPath.Append(StringEncoded<UTF16Encoding>::Format(u"#%d", nIndex));
    }
}

} // namespace trevik::kelvo
