#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "trevik/Allocation.h"

namespace trevik::kelvo {
namespace {

typedef std::vector<unsigned char> Bytes;

/** Little-endian words as bytes. */
Bytes Words(std::vector<unsigned int> const& words) {
    Bytes bytes;
    for (unsigned int nWord : words) {
        for (int nShift = 0; nShift < 32; nShift += 8) {
            bytes.push_back(static_cast<unsigned char>(nWord >> nShift));
        }
    }
    return bytes;
}

Bytes Write(DocumentNode const& node) {
    List<unsigned char> bytes;
    EXPECT_TRUE(node.Write(bytes));
    return Bytes(bytes.begin(), bytes.end());
}

Ref<DocumentNode> Read(Bytes const& bytes, std::string* pError = nullptr, unsigned long* pOffset = nullptr) {
    char const* pText = nullptr;
    Ref<DocumentNode> pNode = DocumentNode::Read(bytes.data(), bytes.size(), &pText, pOffset);
    EXPECT_EQ(pNode == nullptr, pText != nullptr);
    if (pError && pText) {
        *pError = pText;
    }
    return pNode;
}

Ref<DocumentNode> MakeTree() {
    Ref<DocumentNode> pRoot(new DocumentNode(1, 2));
    AddBytes(*pRoot, 0x11, {'a', 'b', 'c', 'd', 'e'});
    Ref<DocumentNode> pChild(new DocumentNode(3, 0x7fffffff));
    AddBytes(*pChild, 0x12, {});
    pRoot->AddChild(pChild);
    pRoot->AddChild(Ref<DocumentNode>(new DocumentNode(5, 6)));
    return pRoot;
}

/** A chain of nodes, the innermost one `nDepth` levels down. */
Ref<DocumentNode> MakeChain(unsigned int nDepth) {
    Ref<DocumentNode> pNode(new DocumentNode(0, 0));
    for (unsigned int n = 1; n < nDepth; ++n) {
        Ref<DocumentNode> pParent(new DocumentNode(0, 0));
        pParent->AddChild(pNode);
        pNode = pParent;
    }
    return pNode;
}

TEST(DocumentNode, BinaryFormIsAsDescribed) {
    Bytes const expected = Words({
        1, 2, 2, 16 << 4,                   // root: tag, type, children, block
        5 << 4 | 2, 0x11, 0x64636261, 0x65, // 5 bytes, padded to 8
        3, 0x7fffffff, 0, 8 << 4,           // child
        2, 0x12,                            // its empty attribute
        5, 6, 0, 0,                         // the other child
    });
    EXPECT_EQ(Write(*MakeTree()), expected);
}

TEST(DocumentNode, ReadingGivesBackWhatWasWritten) {
    Bytes const bytes = Write(*MakeTree());
    Ref<DocumentNode> pNode = Read(bytes);
    ASSERT_TRUE(pNode);
    EXPECT_EQ(GetBytes(*pNode, 0x11), (Bytes{'a', 'b', 'c', 'd', 'e'}));
    ASSERT_EQ(pNode->GetChildCount(), 2u);
    EXPECT_EQ(pNode->GetChild(0)->GetTypeID(), 0x7fffffffu);
    EXPECT_TRUE(HasAttribute(*pNode->GetChild(0), 0x12));
    EXPECT_EQ(Write(*pNode), bytes);
}

TEST(DocumentNode, SearchTakesTheFirstRawBytesWithTheId) {
    Ref<DocumentNode> pNode = Read(Words({
        0, 0, 0, 48 << 4,      //
        4 << 4 | 1, 0x21, 111, // another kind
        4 << 4 | 2, 0x20, 222, // another id
        4 << 4 | 2, 0x21, 333, //
        4 << 4 | 2, 0x21, 444, // too late
    }));
    ASSERT_TRUE(pNode);
    EXPECT_EQ(GetBytes(*pNode, 0x21), Words({333}));
    EXPECT_FALSE(HasAttribute(*pNode, 0x22));
}

TEST(DocumentNode, MalformedBytesAreRefusedWithPlaceAndReason) {
    struct {
        char const* m_pReason;
        unsigned long m_nOffset;
        Bytes m_bytes;
    } const cases[] = {
        {"ends within a node", 0, {}},
        {"ends within a node", 0, Bytes(15)},
        {"block reaches past", 0, Words({0, 0, 0, 4 << 4})},
        {"block reaches past", 0, Words({0, 0, 0, 0xffffffff, 0})},
        {"more children", 0, Words({0, 0, 1, 0})},
        {"more children", 0, Words({0, 0, 0xffffffff, 0, 0, 0, 0, 0})},
        {"more children", 16, Words({0, 0, 1, 0, 1, 1, 1, 0})},
        {"more children", 16, Words({0, 0, 2, 0, 1, 1, 1, 0, 2, 2, 0, 0})}, // the root's second is missing
        {"more children", 16, Words({0, 0, 2, 0, 1, 1, 2, 0, 2, 2, 0, 0, 3, 3, 0, 0})},
        {"attribute reaches past", 16, Words({0, 0, 0, 4 << 4, 2})},
        {"attribute reaches past", 16, Words({0, 0, 0, 12 << 4, 5 << 4 | 2, 7, 0})},
        {"attribute reaches past", 28, Words({0, 0, 0, 20 << 4, 4 << 4 | 2, 7, 0, 0xfffffff2, 7})},
        {"left over", 16, Words({0, 0, 0, 0, 0})},
    };
    for (auto const& document : cases) {
        std::string sError;
        unsigned long nOffset = 0;
        EXPECT_FALSE(Read(document.m_bytes, &sError, &nOffset)) << document.m_pReason;
        EXPECT_NE(sError.find(document.m_pReason), std::string::npos) << sError;
        EXPECT_EQ(nOffset, document.m_nOffset) << document.m_pReason;
    }
}

TEST(DocumentNode, NoBeginningOfADocumentIsADocument) {
    Bytes const bytes = Write(*MakeTree());
    for (std::size_t nLength = 0; nLength < bytes.size(); ++nLength) {
        EXPECT_FALSE(Read(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(nLength))))
            << nLength;
    }
}

TEST(DocumentNode, NestingIsLimitedBothWays) {
    Bytes bytes = Write(*MakeChain(DocumentNode::MaximumDepth));
    EXPECT_TRUE(Read(bytes));

    List<unsigned char> written;
    written.Append(1);
    EXPECT_FALSE(MakeChain(DocumentNode::MaximumDepth + 1)->Write(written));
    EXPECT_EQ(written.GetCount(), 1u) << "a failed write leaves nothing behind";

    // The innermost node gets a child after all.
    bytes[bytes.size() - 8] = 1;
    bytes.resize(bytes.size() + 16);
    std::string sError;
    EXPECT_FALSE(Read(bytes, &sError));
    EXPECT_NE(sError.find("nested too deep"), std::string::npos) << sError;
}

TEST(DocumentNode, AttributesBeyondTheBlockLimitAreRefused) {
    DocumentNode node(0, 0);
    unsigned char const nByte = 1;
    for (unsigned long nLength : {0x0ffffff8ul, 0x0ffffff5ul, 0x10000000ul, ~0ul, ~0ul - 2}) {
        EXPECT_FALSE(node.AddAttribute(7, &nByte, nLength)) << nLength;
    }
    EXPECT_FALSE(HasAttribute(node, 7));
    EXPECT_TRUE(node.AddAttribute(7, &nByte, 1));
    EXPECT_FALSE(node.AddAttribute(8, &nByte, 0x0ffffff4ul)) << "what would fit into an empty block";
}

TEST(DocumentNode, NullChildIsRefused) {
    DocumentNode node(0, 0);
    EXPECT_FALSE(node.AddChild(nullptr));
    EXPECT_FALSE(node.InsertChild(1, Ref<DocumentNode>(new DocumentNode(0, 0))));
    EXPECT_EQ(node.GetChildCount(), 0u);
}

TEST(DocumentNode, WithoutMemoryNothingIsHalfDone) {
    Ref<DocumentNode> pNode = MakeTree();
    Ref<DocumentNode> pChild(new DocumentNode(0, 0));
    Bytes const before = Write(*pNode);
    Bytes const large(1000);
    // However far each operation gets, it either succeeds or leaves everything as it was.
    for (unsigned int nAllocations = 0; nAllocations < 4; ++nAllocations) {
        List<unsigned char> bytes;
        Allocation::FailAfter(nAllocations);
        bool const fAdded = pNode->AddAttribute(9, large.data(), large.size());
        bool const fWritten = pNode->Write(bytes);
        Ref<DocumentNode> pRead = DocumentNode::Read(before.data(), before.size());
        Allocation::FailNever();
        EXPECT_EQ(HasAttribute(*pNode, 9), fAdded);
        EXPECT_EQ(bytes.IsEmpty(), !fWritten);
        EXPECT_TRUE(!pRead || Write(*pRead) == before);
        pNode = MakeTree();
    }
}

} // namespace
} // namespace trevik::kelvo
