#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TestNodes.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ListProperty.h"

namespace trevik::kelvo {
namespace {

typedef List<Vector2T<int>> PairList;

PairList MakePairs(std::vector<Vector2T<int>> const& pairs) {
    PairList list;
    for (Vector2T<int> const& pair : pairs) {
        list.Append(pair);
    }
    return list;
}

TEST(PropertyDocument, EmptyListsAndTextsComeBackEmpty) {
    ListProperty<Vector2T<int>> list;
    Ref<DocumentNode> pSaved = SaveToNode(list);
    list.SetValue(MakePairs({{1, 2}}));
    int nEvents = 0;
    list.GetChangeEvent().Connect([&nEvents](PairList const&) { ++nEvents; });
    EXPECT_FALSE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), list));
    EXPECT_EQ(nEvents, 0);
    EXPECT_TRUE(HasAttribute(*pSaved, DocumentID::Value));
    EXPECT_TRUE(LoadFrom(pSaved, list));
    EXPECT_TRUE(list.GetValue().IsEmpty());
    EXPECT_EQ(nEvents, 1);

    StringProperty text;
    pSaved = SaveToNode(text);
    text.SetValue(u"old");
    EXPECT_TRUE(LoadFrom(pSaved, text));
    EXPECT_TRUE(text.GetValue().IsEmpty());
}

TEST(PropertyDocument, OnlyTheFirstControllerIsSaved) {
    IntProperty property;
    for (int nSample : {1, 2}) {
        property.AddController(SampleController<int>::Create(0, &nSample, 1));
    }
    Ref<DocumentNode> pSaved = SaveToNode(property);
    ASSERT_EQ(pSaved->GetChildCount(), 1u);
    EXPECT_EQ(GetBytes(*pSaved->GetChild(0), DocumentID::Samples), BytesOf(1));
    EXPECT_FALSE(HasAttribute(*pSaved, DocumentID::Value)) << "a driven property's value is not saved";
}

/** An application's own: nothing but itself knows what it computes. */
class OwnController : public Controller<int> {
public:
    bool Evaluate(UpdateContext const&, RealFloat const&, int& out) override {
        out = 6;
        return true;
    }
    void Emit(MemoryTracer*) override {}
};

TEST(PropertyDocument, ValueStandsInForAControllerThatSavesNothing) {
    test::TraceLog log;
    IntProperty property;
    property.AddController(new OwnController);
    property.Update(UpdateContext(), 0);
    ListProperty<Vector2T<int>> list(MakePairs({{1, 2}}));
    list.AddController(new SampleController<PairList>);
    Ref<DocumentNode> const pSaved = SaveToNode(property);
    Ref<DocumentNode> const pSavedList = SaveToNode(list);
    EXPECT_EQ(log.Messages().size(), 2u);
    IntProperty loaded;
    ListProperty<Vector2T<int>> loadedList;
    ASSERT_TRUE(LoadFrom(pSaved, loaded));
    ASSERT_TRUE(LoadFrom(pSavedList, loadedList));
    EXPECT_EQ(loaded.GetValue(), 6);
    EXPECT_TRUE(loadedList.GetValue() == list.GetValue());
}

TEST(PropertyDocument, LoadedControllerComesOnTopAndItsNodeIsPopped) {
    IntProperty property(5);
    int const nSample = 1;
    property.AddController(SampleController<int>::Create(0, &nSample, 1));
    ClassRegistry registry;
    Deserializer deserializer(MakeSampleNode(0, 1, BytesOf(8)), registry);
    EXPECT_TRUE(property.Load(deserializer));
    EXPECT_EQ(deserializer.GetDepth(), 0u);
    EXPECT_EQ(property.GetControllerCount(), 2u);
    EXPECT_EQ(property.GetValue(), 5) << "the value follows at the next update";
    property.Update(UpdateContext(), 0);
    EXPECT_EQ(property.GetValue(), 8);
}

TEST(PropertyDocument, FailedControllerLeavesThePropertyAloneAndItsNodePushed) {
    IntProperty property(5);
    Ref<DocumentNode> pNode = MakeSampleNode(0, 2, BytesOf(8)); // one sample short
    AddBytes(*pNode, DocumentID::Value, BytesOf(6));
    ClassRegistry registry;
    Deserializer deserializer(pNode, registry);
    EXPECT_FALSE(property.Load(deserializer));
    EXPECT_EQ(deserializer.GetDepth(), 1u);
    EXPECT_EQ(deserializer.GetCurrentNode(), pNode->GetChild(0));
    EXPECT_EQ(property.GetControllerCount(), 0u);
    EXPECT_EQ(property.GetValue(), 5);
}

TEST(PropertyDocument, BooleanBytesOtherThanOneAreTrue) {
    Ref<DocumentNode> pNode(new DocumentNode(0, 0));
    AddBytes(*pNode, DocumentID::Value, {0x40});
    BoolProperty property(false);
    EXPECT_TRUE(LoadFrom(pNode, property));
    EXPECT_EQ(GetBytes(*SaveToNode(property), DocumentID::Value), std::vector<unsigned char>{1});
}

TEST(PropertyDocument, BoundPropertySavesAndLoadsTheBindingsValue) {
    CountingBinding binding;
    IntProperty property(5);
    property.Bind(&binding);
    Ref<DocumentNode> pSaved = SaveToNode(property);
    EXPECT_EQ(GetBytes(*pSaved, DocumentID::Value), BytesOf(7));
    binding.m_nValue = 0;
    EXPECT_TRUE(LoadFrom(pSaved, property));
    EXPECT_EQ(binding.m_nValue, 7);
    EXPECT_FALSE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), property));
    EXPECT_EQ(binding.m_nValue, 7);
    EXPECT_EQ(binding.m_notifications, (std::vector<bool>{true, false})) << "it is told of failures, too";
}

} // namespace
} // namespace trevik::kelvo
