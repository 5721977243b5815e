#pragma once

#include "trevik/Encoding.h"
#include "trevik/Hash.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

class Deserializer;
class Node;
class Serializer;

/** Tags and attributes of scene nodes in documents. */
struct NodeID {
    static constexpr unsigned int Node = HashName("Node");
    static constexpr unsigned int Name = HashName("NodeName");
    static constexpr unsigned int Effect = HashName("Effect");
    static constexpr unsigned int Mask = HashName("Mask");
    static constexpr unsigned int Camera = HashName("Camera");
    static constexpr unsigned int Background = HashName("Background");
    static constexpr unsigned int Texture = HashName("Texture");
    static constexpr unsigned int Font = HashName("Font");
};

/** Writes a node with its subtree as a child (tag, type = its factory class) of the current document node. */
bool SaveNode(Serializer& serializer, unsigned int nTagID, Node& node);

/**
 * Creates and loads the node that child `nChild` of the current document node describes, with its subtree.
 * Null, noted with Deserializer::Fail, when that fails; the current document node is the same afterwards in
 * any case.
 */
Ref<Node> LoadNode(Deserializer& deserializer, unsigned int nChild);

/** Like LoadNode, for the first child with the tag; true, with `pNode` unchanged, when there is none. */
bool LoadOptionalNode(Deserializer& deserializer, unsigned int nTagID, Ref<Node>& pNode);

/**
 * Has each node of a tree that was built and not loaded do what its class does in Load, those below it and
 * those that it holds first, in the order in which they would be loaded. `nothing` has a document without
 * contents. Answers the node that fails, or null.
 */
Node* CompleteTree(Node& node, Deserializer& nothing);

/** Writes a text's UTF-16 units as an attribute. */
bool SaveText(Serializer& serializer, unsigned int nAttributeID, StringEncoded<UTF16Encoding> const& sText);

/** Reads what SaveText wrote; an attribute that is absent leaves the text alone. False on half a unit. */
bool LoadText(Deserializer& deserializer, unsigned int nAttributeID, StringEncoded<UTF16Encoding>& sText);

/** UTF-16 units from bytes at any alignment; false on half a unit or when out of memory. */
bool ReadText(unsigned char const* pData, unsigned long nLength, StringEncoded<UTF16Encoding>& sText);

/**
 * The way from one node of a tree to another: how many levels up, then from there the indices of children.
 */
typedef List<unsigned int> NodeWay;

/** Finds the way between two nodes; false when they are in different trees, or when out of memory. */
bool FindWay(Node const& from, Node const& to, NodeWay& way);

/** Where a way leads to from a node; null when that is nowhere. */
Node* FollowWay(Node& from, NodeWay const& way);

/** Appends "/name", or "/#index" for a node without a name. */
void AppendPathStep(StringEncoded<UTF16Encoding>& sPath, StringEncoded<UTF16Encoding> const& sName,
                    int nIndex);

} // namespace trevik::kelvo
