#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/Texture.h"

namespace trevik::kelvo {
namespace {

TEST(DocumentSerializer, FinishingStartsOver) {
    Serializer serializer;
    serializer.PushTag(1, 1);
    serializer.WriteValue(2, 2);
    EXPECT_EQ(serializer.Finish()->GetChildCount(), 1u);
    serializer.WriteValue(3, 3);
    Ref<DocumentNode> pSecond = serializer.Finish();
    EXPECT_EQ(pSecond->GetChildCount(), 0u);
    EXPECT_TRUE(HasAttribute(*pSecond, 3)) << "written to the new root, not to the old document's open tag";
}

TEST(DocumentSerializer, NestsNoDeeperThanADocumentMay) {
    Serializer serializer;
    unsigned int nLevels = 1;
    while (nLevels < 5000 && serializer.PushTag(1, 1)) {
        ++nLevels;
    }
    EXPECT_EQ(nLevels, DocumentNode::MaximumDepth);
    EXPECT_TRUE(serializer.WriteValue(7, 7)) << "a refused tag leaves the current one current";
    List<unsigned char> bytes;
    EXPECT_TRUE(serializer.Finish()->Write(bytes));
}

TEST(DocumentSerializer, NoTextureOrFontHasNoIndex) {
    Serializer serializer;
    EXPECT_EQ(serializer.GetTextureIndex(nullptr), -1);
    EXPECT_EQ(serializer.GetFontIndex(nullptr), -1);
    EXPECT_EQ(serializer.Finish()->GetChildCount(), 0u) << "without shared objects there is no table";
}

class DocumentDeserializer : public testing::Test {
protected:
    /** root { 10 { 11 }, 20, 10 { 12 } }, the second node with attribute 1. */
    DocumentDeserializer() : m_pRoot(new DocumentNode(0, 0)) {
        for (unsigned int nTag : {10u, 20u, 10u}) {
            m_pRoot->AddChild(Ref<DocumentNode>(new DocumentNode(nTag, 0)));
        }
        m_pRoot->GetChild(0)->AddChild(Ref<DocumentNode>(new DocumentNode(11, 0)));
        m_pRoot->GetChild(2)->AddChild(Ref<DocumentNode>(new DocumentNode(12, 0)));
        AddBytes(*m_pRoot->GetChild(1), 1, BytesOf(0x01020304));
    }

    Ref<DocumentNode> m_pRoot;
    ClassRegistry m_registry;
};

TEST_F(DocumentDeserializer, PushesTheFirstChildWithTheTag) {
    Deserializer deserializer(m_pRoot, m_registry);
    EXPECT_FALSE(deserializer.PushNode(11)) << "only direct children count";
    EXPECT_EQ(deserializer.GetCurrentNode(), m_pRoot.Get());
    EXPECT_TRUE(deserializer.PushNode(10));
    EXPECT_EQ(deserializer.GetCurrentNode(), m_pRoot->GetChild(0));
    EXPECT_TRUE(deserializer.PushNode(11));
    EXPECT_EQ(deserializer.GetDepth(), 2u);
    EXPECT_EQ(deserializer.GetChildCount(), 0u);
    deserializer.PopNode();
    deserializer.PopNode();
    deserializer.PopNode(); // on the root: nothing happens
    EXPECT_EQ(deserializer.GetCurrentNode(), m_pRoot.Get());
}

TEST_F(DocumentDeserializer, PushesChildrenByPlaceAndPopsBackToADepth) {
    Deserializer deserializer(m_pRoot, m_registry);
    EXPECT_EQ(deserializer.GetChildCount(), 3u);
    EXPECT_FALSE(deserializer.PushChild(3));
    EXPECT_TRUE(deserializer.PushChild(2));
    EXPECT_TRUE(deserializer.PushChild(0));
    EXPECT_EQ(deserializer.GetCurrentNode()->GetTagID(), 12u);
    deserializer.PopTo(5);
    EXPECT_EQ(deserializer.GetDepth(), 2u);
    deserializer.PopTo(0);
    EXPECT_EQ(deserializer.GetCurrentNode(), m_pRoot.Get());
}

TEST_F(DocumentDeserializer, ReadsValuesOfTheRightLengthOnly) {
    Deserializer deserializer(m_pRoot, m_registry);
    deserializer.PushNode(20);
    int nValue = 0;
    short nShort = 5;
    long long nLong = 5;
    EXPECT_TRUE(deserializer.ReadValue(1, nValue));
    EXPECT_EQ(nValue, 0x01020304);
    EXPECT_FALSE(deserializer.ReadValue(1, nShort));
    EXPECT_FALSE(deserializer.ReadValue(1, nLong));
    EXPECT_FALSE(deserializer.ReadValue(2, nShort));
    EXPECT_EQ(nShort, 5);
    EXPECT_EQ(nLong, 5);
}

TEST_F(DocumentDeserializer, KeepsItsDocumentAndTakesNoneForAnEmptyOne) {
    Deserializer deserializer(m_pRoot, m_registry);
    m_pRoot.Reset();
    EXPECT_EQ(deserializer.GetChildCount(), 3u);
    Deserializer empty(nullptr, m_registry);
    EXPECT_EQ(empty.GetChildCount(), 0u);
    EXPECT_FALSE(empty.GetTexture(0));
    EXPECT_FALSE(empty.GetFont(0));
}

} // namespace
} // namespace trevik::kelvo
