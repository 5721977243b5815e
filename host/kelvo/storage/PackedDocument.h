#pragma once

#include "PackedBytes.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik::kelvo {

/**
 * A document as it stands in a packed file: ids, shapes and nodes are each written once, small numbers take
 * few bytes. Nothing is unpacked until it is asked for. One thread at a time.
 *
 * - Ids: their number, and a word for each.
 * - Shapes: their number; for each the tag and the type, the number of attributes, and for each of these the
 * id and its length in bytes times 16 plus its kind. Tags, types and ids are places in the list of ids.
 * - Nodes: their number; for each its shape, the data of its attributes (PackedValue), the number of its
 * children, and for each child where it is: twice its place in the list of nodes, or twice how far before
 * this node it stands, plus 1.
 *
 * Children stand before their parents, and the topmost node last. A node without children may be the child of
 * several nodes, or several times of one; all others have one parent.
 */
class PackedDocument : public Referenced {
public:
    /** What is wrong with bytes, and where. */
    struct Problem {
        char const* m_pText = nullptr; ///< a static text
        unsigned long m_nOffset = 0;   ///< from the first byte
    };

    /**
     * Takes the bytes over, leaving others, and looks through all of them, so that nothing is wrong when
     * nodes are made later. `nStart` of them stand before the document. Null when they are no document, or
     * memory is short.
     */
    static Ref<PackedDocument> Open(List<unsigned char>& bytes, unsigned int nStart, unsigned int nLength,
                                    Problem& problem);

    /** The topmost node. */
    unsigned int GetRoot() const { return m_nodes.GetCount() - 1; }
    unsigned int GetTagID(unsigned int nNode) const { return m_shapes[m_nodes[nNode].m_nShape].m_nTagID; }
    unsigned int GetTypeID(unsigned int nNode) const { return m_shapes[m_nodes[nNode].m_nShape].m_nTypeID; }

    /** A new node, whose children stay packed until they are asked for; null without memory. */
    Ref<DocumentNode> MakeNode(unsigned int nNode);
    /**
     * The same for reading only: nodes that have several parents are made once, and `pSpare`, where that is
     * the only reference to its node, becomes any other one.
     */
    Ref<DocumentNode> GetNode(unsigned int nNode, Ref<DocumentNode>&& pSpare);

    /** What a node is counted as, besides its attributes: about what it takes in memory. */
    static constexpr unsigned int NodeCost = 256;
    /**
     * The most that a document may take unpacked when its packed form takes `nLength` bytes: a small file
     * must not fill the memory.
     */
    static unsigned long long GetLargestLength(unsigned long nLength) {
        return 64ull * nLength + (16ull << 20);
    }

private:
    struct Shape {
        unsigned int m_nTagID;
        unsigned int m_nTypeID;
        unsigned int m_nFirstAttribute; ///< in m_attributes
        unsigned int m_nAttributes;
        unsigned int m_nBlockLength; ///< what the attributes take in a document node
    };
    struct Attribute {
        unsigned int m_nHeader; ///< length times 16 plus kind, as in a document node
        unsigned int m_nID;
    };
    struct PackedNode {
        unsigned int m_nOffset; ///< of the data of its attributes, in m_bytes
        unsigned int m_nShape;
        unsigned int
            m_nParents; ///< how often it is a child; once all is read, its place in m_shared plus 1, or 0
        unsigned short m_nLevels; ///< it and all below it
        bool m_fLeaf;             ///< it has no children
    };
    class Opener;

    PackedDocument() = default;
    bool Fill(DocumentNode& node, PackedNode const& packed);
    bool FillChildren(DocumentNode& node, PackedNode const& packed, PackedBytes& bytes);

    List<unsigned char> m_bytes;
    unsigned int m_nEnd = 0; ///< behind the document in m_bytes
    List<Shape> m_shapes;
    List<Attribute> m_attributes;
    List<PackedNode> m_nodes;
    List<Ref<DocumentNode>> m_shared; ///< nodes with several parents, null until they are asked for
};

} // namespace trevik::kelvo
