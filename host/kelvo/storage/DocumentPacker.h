#pragma once

#include "UniquePieces.h"
#include "trevik/List.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik::kelvo {

/** Packs a document as PackedDocument reads it: the same document always comes to the same bytes. */
class DocumentPacker {
public:
    /**
     * Appends the packed document. False, with `bytes` unchanged, when it is nested too deep, when memory is
     * short, and when it packs so well that PackedDocument would take it for a bomb.
     */
    static bool Pack(DocumentNode const& document, List<unsigned char>& bytes);

private:
    bool AddNode(DocumentNode const& node, unsigned int nDepth, unsigned int& nNumber);
    bool AppendValues(DocumentNode const& node);
    bool AppendChildren(unsigned int nFirst);
    bool AppendID(List<unsigned char>& bytes, unsigned int nID);
    bool FindShape(DocumentNode const& node, unsigned int& nShape);
    bool AppendTo(List<unsigned char>& bytes) const;

    UniquePieces m_ids;
    UniquePieces m_shapes;
    UniquePieces m_nodes;             ///< those without children are pieces
    List<unsigned int> m_leaves;      ///< the node that each piece of m_nodes is
    List<unsigned int> m_children;    ///< nodes whose parents are being packed
    unsigned int m_nNodes = 0;        ///< in m_nodes
    unsigned long long m_nLength = 0; ///< of all nodes unpacked
};

} // namespace trevik::kelvo
