#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TestNodes.h"

namespace trevik::kelvo {
namespace {

constexpr unsigned int NumberID = HashName("Number");

/** Saves and loads a number; loads can be made to fail, and to ask for further textures. */
class NumberedTexture : public test::TestTexture {
public:
    NumberedTexture() { ++s_nCreated; }
    explicit NumberedTexture(int nNumber) : m_nNumber(nNumber) {}

    bool Save(Serializer& serializer) override {
        return m_nNumber >= 0 && serializer.WriteValue(NumberID, m_nNumber);
    }
    bool Load(Deserializer& deserializer) override {
        ++s_nLoads;
        if (!deserializer.ReadValue(NumberID, m_nNumber)) {
            deserializer.PushNode(HashName("Inner")); // and stays there
            return false;
        }
        m_fFoundItself = bool(deserializer.GetTexture(m_nNumber));
        return true;
    }

    static int s_nCreated;
    static int s_nLoads;
    int m_nNumber = 0;
    bool m_fFoundItself = false;
};

int NumberedTexture::s_nCreated = 0;
int NumberedTexture::s_nLoads = 0;

/** A document whose texture table has the given entries. */
Ref<DocumentNode> MakeDocument(std::vector<Ref<DocumentNode>> const& entries) {
    Ref<DocumentNode> pTable(new DocumentNode(HashName("Textures"), 0));
    for (Ref<DocumentNode> const& pEntry : entries) {
        pTable->AddChild(pEntry);
    }
    Ref<DocumentNode> pDocument(new DocumentNode(0, 0));
    pDocument->AddChild(pTable);
    pDocument->AddChild(Ref<DocumentNode>(new DocumentNode(HashName("Scene"), 0)));
    return pDocument;
}

Ref<DocumentNode> MakeEntry(int nNumber, unsigned int nTypeID = HashName("Texture")) {
    Ref<DocumentNode> pEntry(new DocumentNode(HashName("Texture"), nTypeID));
    AddBytes(*pEntry, NumberID, BytesOf(nNumber));
    return pEntry;
}

class DocumentTexture : public testing::Test {
protected:
    DocumentTexture() {
        m_registry.AddClassContainer(new ClassContainerT<NumberedTexture>(HashName("Texture")));
        NumberedTexture::s_nCreated = 0;
        NumberedTexture::s_nLoads = 0;
    }

    static int GetNumber(Ref<Texture> const& pTexture) {
        return pTexture ? static_cast<NumberedTexture*>(pTexture.Get())->m_nNumber : -1;
    }

    test::TraceLog m_traces;
    ClassRegistry m_registry;
};

TEST_F(DocumentTexture, OneThatNobodyElseHoldsIsHeldWhileTheDocumentIsWritten) {
    Serializer serializer;
    Texture* const pTexture = new NumberedTexture(10);
    EXPECT_EQ(serializer.GetTextureIndex(pTexture), 0);
    EXPECT_EQ(pTexture->GetReferenceCount(), 1);
    EXPECT_EQ(serializer.GetTextureIndex(pTexture), 0);
    EXPECT_TRUE(serializer.Finish());
}

TEST_F(DocumentTexture, OneThatRefusesToBeSavedFailsTheDocument) {
    Ref<Texture> pTexture(new NumberedTexture(-1));
    Serializer serializer;
    serializer.GetTextureIndex(pTexture.Get());
    EXPECT_FALSE(serializer.Finish());
    EXPECT_FALSE(m_traces.GetLines().empty());
    EXPECT_EQ(pTexture->GetReferenceCount(), 1) << "the serializer has let go of it";
    Ref<DocumentNode> pNext = serializer.Finish();
    EXPECT_TRUE(pNext) << "and is ready for the next document";
}

TEST_F(DocumentTexture, IsLoadedOnFirstUseAndShared) {
    Deserializer deserializer(MakeDocument({MakeEntry(10), MakeEntry(11)}), m_registry);
    EXPECT_TRUE(deserializer.PushNode(HashName("Scene")));
    DocumentNode* const pCurrent = deserializer.GetCurrentNode();
    EXPECT_EQ(NumberedTexture::s_nCreated, 0);
    Ref<Texture> pTexture = deserializer.GetTexture(1);
    EXPECT_EQ(GetNumber(pTexture), 11);
    EXPECT_EQ(deserializer.GetCurrentNode(), pCurrent);
    EXPECT_EQ(deserializer.GetTexture(1), pTexture);
    EXPECT_EQ(NumberedTexture::s_nLoads, 1);
    for (int nIndex : {-1, 2, 1000000}) {
        EXPECT_FALSE(deserializer.GetTexture(nIndex)) << nIndex;
    }
}

TEST_F(DocumentTexture, OneThatFailsIsTracedOnceAndTheDocumentStaysWhereItWas) {
    Ref<DocumentNode> pBroken(new DocumentNode(HashName("Texture"), HashName("Texture")));
    pBroken->AddChild(Ref<DocumentNode>(new DocumentNode(HashName("Inner"), 0)));
    Deserializer deserializer(MakeDocument({pBroken}), m_registry);
    deserializer.PushNode(HashName("Scene"));
    DocumentNode* const pCurrent = deserializer.GetCurrentNode();
    EXPECT_FALSE(deserializer.GetTexture(0));
    EXPECT_FALSE(deserializer.GetTexture(0));
    EXPECT_EQ(NumberedTexture::s_nLoads, 1);
    EXPECT_EQ(m_traces.GetLines().size(), 1u);
    EXPECT_EQ(deserializer.GetCurrentNode(), pCurrent);
    EXPECT_EQ(deserializer.GetDepth(), 1u);
}

TEST_F(DocumentTexture, OneThatAsksForItselfGetsNone) {
    Deserializer deserializer(MakeDocument({MakeEntry(0)}), m_registry);
    Ref<Texture> pTexture = deserializer.GetTexture(0);
    ASSERT_TRUE(pTexture);
    EXPECT_FALSE(static_cast<NumberedTexture*>(pTexture.Get())->m_fFoundItself);
}

TEST_F(DocumentTexture, EntriesOfOtherClassesAreNotCreated) {
    struct Other : Referenced {
        Other() { ++NumberedTexture::s_nCreated; }
    };
    m_registry.AddClassContainer(new ClassContainerT<Other>(HashName("Other")));
    Ref<DocumentNode> pOtherTag(new DocumentNode(HashName("Other"), HashName("Texture")));
    Deserializer deserializer(MakeDocument({MakeEntry(1, HashName("Other")), pOtherTag}), m_registry);
    EXPECT_FALSE(deserializer.GetTexture(0));
    EXPECT_FALSE(deserializer.GetTexture(1));
    EXPECT_EQ(NumberedTexture::s_nCreated, 0);

    ClassRegistry const empty;
    Deserializer withoutClasses(MakeDocument({MakeEntry(1)}), const_cast<ClassRegistry&>(empty));
    EXPECT_FALSE(withoutClasses.GetTexture(0));
}

} // namespace
} // namespace trevik::kelvo
