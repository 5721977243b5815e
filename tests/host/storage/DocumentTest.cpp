// Documents in memory: their binary form, and how they are written and read piece by piece.

#include "kelvo_test/TestNodes.h"
#include "properties/PropertyTestSupport.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::test {
namespace {

typedef std::vector<unsigned char> Bytes;

Ref<DocumentNode> MakeNode(unsigned int nTag, unsigned int nType,
                           std::vector<Ref<DocumentNode>> const& children = {}) {
    Ref<DocumentNode> const pNode(new DocumentNode(nTag, nType));
    for (Ref<DocumentNode> const& pChild : children) {
        EXPECT_TRUE(pNode->AddChild(pChild));
    }
    return pNode;
}

Ref<DocumentNode> MakeTree() {
    Ref<DocumentNode> const pRoot = MakeNode(1, 2, {MakeNode(3, 0x7fffffff), MakeNode(5, 6)});
    AddBytes(*pRoot, 0x11, {'a', 'b', 'c', 'd', 'e'});
    AddBytes(*pRoot->GetChild(0), 0x12, {});
    return pRoot;
}

/** The bytes of `MakeTree`. */
Bytes const& GetTreeBytes() {
    static Bytes const s_bytes = BytesOf(1, 2, 2, 16 << 4,                   // tag, type, children, block
                                         5 << 4 | 2, 0x11, 0x64636261, 0x65, // 5 bytes, padded to 8
                                         3, 0x7fffffff, 0, 8 << 4, 2, 0x12, // a child and its empty attribute
                                         5, 6, 0, 0);
    return s_bytes;
}

Ref<DocumentNode> MakeNested(unsigned int nLevels) {
    Ref<DocumentNode> pNode = MakeNode(0, 0);
    while (--nLevels > 0) {
        pNode = MakeNode(0, 0, {pNode});
    }
    return pNode;
}

Bytes Write(DocumentNode const& node) {
    List<unsigned char> bytes;
    EXPECT_TRUE(node.Write(bytes));
    return Bytes(bytes.begin(), bytes.end());
}

/** What reading says, and where. */
std::string FindFault(Bytes const& bytes) {
    char const* pFault = nullptr;
    unsigned long nOffset = 0;
    Ref<DocumentNode> const pNode = DocumentNode::Read(bytes.data(), bytes.size(), &pFault, &nOffset);
    EXPECT_EQ(!pNode, pFault != nullptr);
    return pFault ? pFault + std::string(" at ") + std::to_string(nOffset) : "";
}

TEST(DocumentNode, HasItsBinaryFormAndIsReadFromThatAlone) {
    Bytes const& bytes = GetTreeBytes();
    EXPECT_EQ(Write(*MakeTree()), bytes);
    Ref<DocumentNode> const pRead = DocumentNode::Read(bytes.data(), bytes.size());
    ASSERT_TRUE(pRead);
    EXPECT_EQ(Write(*pRead), bytes);
    for (std::size_t nLength = 0; nLength < bytes.size(); ++nLength) {
        EXPECT_NE(FindFault(Bytes(bytes.data(), bytes.data() + nLength)), "") << nLength;
    }
}

TEST(DocumentNode, SearchTakesTheFirstRawBytesWithTheId) {
    Bytes const bytes = BytesOf(0, 0, 0, 48 << 4,      //
                                4 << 4 | 1, 0x21, 111, // another kind
                                4 << 4 | 2, 0x20, 222, // another id
                                4 << 4 | 2, 0x21, 333, //
                                4 << 4 | 2, 0x21, 444  // too late
    );
    Ref<DocumentNode> const pNode = DocumentNode::Read(bytes.data(), bytes.size());
    ASSERT_TRUE(pNode);
    EXPECT_EQ(GetBytes(*pNode, 0x21), BytesOf(333));
    EXPECT_FALSE(HasAttribute(*pNode, 0x22));
}

TEST(DocumentNode, MalformedBytesAreRefusedWithPlaceAndReason) {
    std::string const cut = "the document ends within a node at 0";
    std::string const block = "an attribute block reaches past the document's end at 0";
    std::string const children = "a node has more children than the document has room for at ";
    std::string const attribute = "an attribute reaches past its block's end at ";
    Bytes deep = Write(*MakeNested(DocumentNode::MaximumDepth));
    EXPECT_EQ(FindFault(deep), "");
    deep[deep.size() - 8] = 1; // the innermost node gets a child after all
    deep.resize(deep.size() + 16);
    std::pair<std::string, Bytes> const cases[] = {
        {cut, {}},
        {cut, Bytes(15)},
        {block, BytesOf(0, 0, 0, 4 << 4)},
        {block, BytesOf(0, 0, 0, -1, 0)},
        {children + "0", BytesOf(0, 0, 1, 0)},
        {children + "0", BytesOf(0, 0, -1, 0, 0, 0, 0, 0)},
        {children + "16", BytesOf(0, 0, 1, 0, 1, 1, 1, 0)},
        {children + "16", BytesOf(0, 0, 2, 0, 1, 1, 1, 0, 2, 2, 0, 0)}, // the root's second is missing
        {children + "16", BytesOf(0, 0, 2, 0, 1, 1, 2, 0, 2, 2, 0, 0, 3, 3, 0, 0)},
        {attribute + "16", BytesOf(0, 0, 0, 4 << 4, 2)},
        {attribute + "16", BytesOf(0, 0, 0, 12 << 4, 5 << 4 | 2, 7, 0)},
        {attribute + "28", BytesOf(0, 0, 0, 20 << 4, 4 << 4 | 2, 7, 0, 0xfffffff2, 7)},
        {"bytes are left over behind the document at 16", BytesOf(0, 0, 0, 0, 0)},
        {"the document is nested too deep at " + std::to_string(deep.size() - 16), deep},
    };
    for (auto const& [sFault, bytes] : cases) {
        EXPECT_EQ(FindFault(bytes), sFault);
    }
}

TEST(DocumentNode, WhatNoDocumentCanHoldIsRefused) {
    DocumentNode node(0, 0);
    unsigned char const nByte = 1;
    for (unsigned long nLength : {0x0ffffff8ul, 0x0ffffff5ul, 0x10000000ul, ~0ul, ~0ul - 2}) {
        EXPECT_FALSE(node.AddAttribute(7, &nByte, nLength)) << nLength;
    }
    EXPECT_FALSE(HasAttribute(node, 7));
    EXPECT_TRUE(node.AddAttribute(7, &nByte, 1));
    EXPECT_FALSE(node.AddAttribute(8, &nByte, 0x0ffffff4ul)) << "what would fit into an empty block";
    EXPECT_FALSE(node.AddChild(nullptr));
    EXPECT_FALSE(node.InsertChild(1, MakeNode(0, 0)));
    List<unsigned char> written;
    written.Append(1);
    EXPECT_FALSE(MakeNested(DocumentNode::MaximumDepth + 1)->Write(written));
    EXPECT_EQ(written.GetCount(), 1u) << "a failed write leaves nothing behind";
}

TEST(DocumentNode, WithoutMemoryNothingIsHalfDone) {
    Bytes const& before = GetTreeBytes();
    Bytes const large(1000);
    for (unsigned int nAllocations = 0; nAllocations < 4; ++nAllocations) {
        Ref<DocumentNode> const pNode = MakeTree();
        List<unsigned char> bytes;
        Allocation::FailAfter(nAllocations);
        bool const fAdded = pNode->AddAttribute(9, large.data(), large.size());
        bool const fWritten = pNode->Write(bytes);
        Ref<DocumentNode> const pRead = DocumentNode::Read(before.data(), before.size());
        Allocation::FailNever();
        EXPECT_EQ(HasAttribute(*pNode, 9), fAdded);
        EXPECT_EQ(bytes.IsEmpty(), !fWritten);
        EXPECT_TRUE(!pRead || Write(*pRead) == before);
    }
}

TEST(DocumentSerializer, FinishingStartsOver) {
    Serializer serializer;
    EXPECT_EQ(serializer.GetTextureIndex(nullptr), -1);
    EXPECT_EQ(serializer.GetFontIndex(nullptr), -1);
    serializer.PushTag(1, 1);
    serializer.WriteValue(2, 2);
    EXPECT_EQ(serializer.Finish()->GetChildCount(), 1u) << "no table of shared objects";
    serializer.WriteValue(3, 3);
    EXPECT_TRUE(HasAttribute(*serializer.Finish(), 3)) << "not written to the old document's open tag";
}

TEST(DocumentSerializer, NestsNoDeeperThanADocumentMay) {
    Serializer serializer;
    unsigned int nLevels = 1;
    while (nLevels < 5000 && serializer.PushTag(1, 1)) {
        ++nLevels;
    }
    EXPECT_EQ(nLevels, DocumentNode::MaximumDepth);
    EXPECT_TRUE(serializer.WriteValue(7, 7)) << "a refused tag leaves the current one current";
    Write(*serializer.Finish());
}

TEST(DocumentDeserializer, KeepsToItsDocument) {
    ClassRegistry registry;
    Ref<DocumentNode> pRoot = MakeNode(0, 0, {MakeNode(10, 0, {MakeNode(11, 0)}), MakeNode(20, 0)});
    Deserializer deserializer(pRoot, registry);
    pRoot.Reset(); // still held
    EXPECT_FALSE(deserializer.PushNode(11)) << "only direct children count";
    EXPECT_FALSE(deserializer.PushChild(2));
    EXPECT_TRUE(deserializer.PushNode(10) && deserializer.PushChild(0));
    deserializer.PopTo(5);
    deserializer.PopNode();
    EXPECT_EQ(deserializer.GetCurrentNode()->GetTagID(), 10u);
    deserializer.PopTo(0);
    deserializer.PopNode(); // on the root: nothing happens
    EXPECT_EQ(deserializer.GetChildCount(), 2u);
    Deserializer empty(nullptr, registry);
    EXPECT_FALSE(empty.PushChild(0) || empty.GetTexture(0) || empty.GetFont(0));
}

constexpr unsigned int NumberID = HashName("Number");

/** Refuses to be saved; loads fail without a number, and ask for the texture of that index. */
class NumberedTexture : public TestTexture {
public:
    NumberedTexture() { ++s_nCreated; }

    bool Save(Serializer&) override { return false; }
    bool Load(Deserializer& deserializer) override {
        int nNumber = 0;
        if (!deserializer.ReadValue(NumberID, nNumber)) {
            deserializer.PushNode(HashName("Inner")); // and stays there
            return false;
        }
        m_fFoundItself = bool(deserializer.GetTexture(nNumber));
        return true;
    }

    static int s_nCreated;
    bool m_fFoundItself = false;
};

int NumberedTexture::s_nCreated = 0;

class DocumentTexture : public testing::Test {
protected:
    DocumentTexture() {
        m_registry.AddClassContainer(new ClassContainerT<NumberedTexture>(HashName("Texture")));
        NumberedTexture::s_nCreated = 0;
    }
    /** A document whose texture table has one of a class, with a number, and one without. */
    static Ref<DocumentNode> MakeDocument(char const* pClass, char const* pTag = "Texture") {
        Ref<DocumentNode> const pEntry = MakeNode(HashName(pTag), HashName(pClass));
        AddBytes(*pEntry, NumberID, BytesOf(0));
        Ref<DocumentNode> const pOther =
            MakeNode(HashName("Texture"), HashName("Texture"), {MakeNode(HashName("Inner"), 0)});
        return MakeNode(0, 0, {MakeNode(HashName("Textures"), 0, {pEntry, pOther}), MakeNode(7, 0)});
    }

    TraceLog m_traces;
    ClassRegistry m_registry;
};

TEST_F(DocumentTexture, OneThatNobodyElseHoldsIsHeldWhileTheDocumentIsWritten) {
    Serializer serializer;
    Ref<Texture> pTexture(new NumberedTexture);
    EXPECT_EQ(serializer.GetTextureIndex(pTexture.Get()), 0);
    EXPECT_EQ(pTexture->GetReferenceCount(), 2);
    EXPECT_EQ(serializer.GetTextureIndex(pTexture.Get()), 0);
    EXPECT_FALSE(serializer.Finish()) << "it refuses to be saved";
    EXPECT_EQ(m_traces.Only(), "[kelvo] Texture 0 cannot be saved, nor can the document that uses it");
    EXPECT_EQ(pTexture->GetReferenceCount(), 1);
    EXPECT_TRUE(serializer.Finish()) << "the next document";
}

TEST_F(DocumentTexture, IsLoadedOnFirstUseAndShared) {
    Deserializer deserializer(MakeDocument("Texture"), m_registry);
    EXPECT_TRUE(deserializer.PushNode(7));
    EXPECT_EQ(NumberedTexture::s_nCreated, 0);
    Ref<Texture> const pTexture = deserializer.GetTexture(0);
    ASSERT_TRUE(pTexture);
    EXPECT_FALSE(static_cast<NumberedTexture&>(*pTexture).m_fFoundItself) << "while it is loaded";
    EXPECT_EQ(deserializer.GetTexture(0), pTexture);
    for (int nIndex : {-1, 1, 1, 2, 1000000}) {
        EXPECT_FALSE(deserializer.GetTexture(nIndex)) << nIndex;
    }
    EXPECT_EQ(NumberedTexture::s_nCreated, 2);
    EXPECT_EQ(m_traces.Only(), "[kelvo] : cannot be loaded: Texture 1 of the document cannot be loaded");
    EXPECT_EQ(deserializer.GetCurrentNode()->GetTagID(), 7u) << "wherever a load has stopped";
    EXPECT_EQ(deserializer.GetDepth(), 1u);
}

TEST_F(DocumentTexture, EntriesOfOtherClassesAreNotCreated) {
    m_registry.AddClassContainer(new ClassContainerT<NumberedTexture>(HashName("Other")));
    ClassRegistry const empty;
    EXPECT_FALSE(Deserializer(MakeDocument("Other"), m_registry).GetTexture(0));
    EXPECT_FALSE(Deserializer(MakeDocument("Texture", "Other"), m_registry).GetTexture(0));
    EXPECT_FALSE(Deserializer(MakeDocument("Texture"), const_cast<ClassRegistry&>(empty)).GetTexture(0));
    EXPECT_EQ(NumberedTexture::s_nCreated, 0);
}

} // namespace
} // namespace trevik::kelvo::test
