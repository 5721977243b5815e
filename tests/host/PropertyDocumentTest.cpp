#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TestNodes.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/RectangleProperty.h"
#include "trevik/kelvo/Vector3Property.h"

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

/** Saves a value, checks the bytes, loads them into a fresh property, and checks that other lengths fail. */
template <class P>
void ExpectValueForm(typename P::Value const& value, std::vector<unsigned char> const& bytes) {
    P property(value);
    property.Initialize(PropertyDescriptor{nullptr, 0x1234567, PropertyType::Other, nullptr});
    Ref<DocumentNode> pSaved = SaveToNode(property);
    ASSERT_TRUE(pSaved);
    EXPECT_EQ(GetBytes(*pSaved, DocumentID::Name), BytesOf(0x1234567));
    EXPECT_EQ(GetBytes(*pSaved, DocumentID::Value), bytes);

    P loaded;
    int nEvents = 0;
    loaded.GetChangeEvent().Connect([&nEvents](typename P::Value const&) { ++nEvents; });
    EXPECT_TRUE(LoadFrom(pSaved, loaded));
    EXPECT_TRUE(loaded.GetValue() == value);
    EXPECT_EQ(nEvents, 1);

    std::vector<unsigned char> longer(bytes);
    longer.push_back(1);
    std::vector<unsigned char> const shorter(bytes.begin(), bytes.end() - 1);
    for (std::vector<unsigned char> const& wrong : {longer, shorter}) {
        Ref<DocumentNode> pWrong(new DocumentNode(0, 0));
        AddBytes(*pWrong, DocumentID::Value, wrong);
        EXPECT_FALSE(LoadFrom(pWrong, loaded)) << wrong.size() << " bytes";
    }
    EXPECT_TRUE(loaded.GetValue() == value) << "a failed load changes nothing";
    EXPECT_EQ(nEvents, 1);
}

TEST(PropertyDocument, ValuesAreSavedAsTheirBytes) {
    ExpectValueForm<IntProperty>(-7, BytesOf(-7));
    ExpectValueForm<RealProperty>(0.5f, BytesOf(0.5f));
    ExpectValueForm<Vector3Property>(Vector3(1, 2, 3), BytesOf(1.0f, 2.0f, 3.0f));
    ExpectValueForm<RectangleProperty>(Rectangle(1, 2, 3, 4), BytesOf(1.0f, 2.0f, 3.0f, 4.0f));
    ExpectValueForm<BoolProperty>(true, {1});
    ExpectValueForm<Vector2Property>(Vector2(1, 2), BytesOf(1.0f, 2.0f));
    ExpectValueForm<ColorProperty>(ColorT<RealFloat>(1, 2, 3, 4), BytesOf(1.0f, 2.0f, 3.0f, 4.0f));
    ExpectValueForm<SizeIntProperty>(SizeT<int>(5, 6), BytesOf(5, 6));
    ExpectValueForm<SizeRealProperty>(SizeT<RealFloat>(5, 6), BytesOf(5.0f, 6.0f));
    ExpectValueForm<ListProperty<Vector2T<int>>>(MakePairs({{1, 2}, {3, 4}}), BytesOf(1, 2, 3, 4));
    ExpectValueForm<StringProperty>(String16(u"g\u00e9\U0001f600"),
                                    BytesOf(u'g', u'\u00e9', char16_t(0xd83d), char16_t(0xde00)));
}

TEST(PropertyDocument, EmptyListsAndTextsComeBackEmpty) {
    ListProperty<Vector2T<int>> list;
    Ref<DocumentNode> pSaved = SaveToNode(list);
    list.SetValue(MakePairs({{1, 2}}));
    EXPECT_TRUE(HasAttribute(*pSaved, DocumentID::Value));
    EXPECT_TRUE(LoadFrom(pSaved, list));
    EXPECT_TRUE(list.GetValue().IsEmpty());

    StringProperty text;
    pSaved = SaveToNode(text);
    text.SetValue(u"old");
    EXPECT_TRUE(LoadFrom(pSaved, text));
    EXPECT_TRUE(text.GetValue().IsEmpty());
}

TEST(PropertyDocument, PlainSamplesAreSavedOneByOne) {
    RealProperty property(9);
    RealFloat const samples[] = {1, 2, 2};
    property.AddController(SampleController<RealFloat>::Create(-4, samples, 3));
    Ref<DocumentNode> pSaved = SaveToNode(property);
    ASSERT_TRUE(pSaved);
    EXPECT_FALSE(HasAttribute(*pSaved, DocumentID::Value)) << "a driven property's value is not saved";
    ASSERT_EQ(pSaved->GetChildCount(), 1u);
    DocumentNode const& controller = *pSaved->GetChild(0);
    EXPECT_EQ(controller.GetTagID(), HashName("Controller"));
    EXPECT_EQ(controller.GetTypeID(), HashName("Sample"));
    EXPECT_EQ(GetBytes(controller, HashName("StartFrame")), BytesOf(-4));
    EXPECT_EQ(GetBytes(controller, HashName("Size")), BytesOf(3));
    EXPECT_EQ(GetBytes(controller, HashName("Samples")), BytesOf(1.0f, 2.0f, 2.0f));
}

TEST(PropertyDocument, RunsAreSavedAsChunks) {
    Vector3Property property;
    std::vector<Vector3> const samples = {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {4, 5, 6}};
    property.AddController(SampleController<Vector3>::Create(2, samples.data(), 4));
    Ref<DocumentNode> pSaved = SaveToNode(property);
    ASSERT_TRUE(pSaved);
    std::vector<unsigned char> const chunks = BytesOf(0, 3, 1.0f, 2.0f, 3.0f, 3, 1, 4.0f, 5.0f, 6.0f);
    EXPECT_EQ(GetBytes(*pSaved->GetChild(0), HashName("Size")), BytesOf(0x80000002u));
    EXPECT_EQ(GetBytes(*pSaved->GetChild(0), HashName("Samples")), chunks);

    Vector3Property loaded;
    ASSERT_TRUE(LoadFrom(pSaved, loaded));
    loaded.Update(UpdateContext(), 4.5f);
    EXPECT_EQ(loaded.GetValue(), Vector3(2.5f, 3.5f, 4.5f));
    Ref<DocumentNode> pAgain = SaveToNode(loaded);
    ASSERT_TRUE(pAgain);
    EXPECT_EQ(GetBytes(*pAgain->GetChild(0), HashName("Samples")), chunks)
        << "straight from the loaded document";
}

TEST(PropertyDocument, OnlyTheFirstControllerIsSaved) {
    IntProperty property;
    for (int nSample : {1, 2}) {
        property.AddController(SampleController<int>::Create(0, &nSample, 1));
    }
    Ref<DocumentNode> pSaved = SaveToNode(property);
    ASSERT_EQ(pSaved->GetChildCount(), 1u);
    EXPECT_EQ(GetBytes(*pSaved->GetChild(0), DocumentID::Samples), BytesOf(1));
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
    EXPECT_EQ(log.GetLines().size(), 2u);
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
