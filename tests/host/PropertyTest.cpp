#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Vector3Property.h"

namespace trevik::kelvo {
namespace {

/** Notes what it is told. */
template <class T>
struct Listener {
    void Hear(T const& value) { m_heard.push_back(value); }
    function<void(T const&)> AsHandler() { return member_function(this, &Listener::Hear); }

    std::vector<T> m_heard;
};

/** Gives the values 1, 2, ... and is finished after `nLast` of them. */
class CountingController : public Controller<int> {
public:
    explicit CountingController(int nLast) : m_nLast(nLast) {}
    bool Evaluate(UpdateContext const&, RealFloat const&, int& out) override {
        out = ++m_nEvaluations;
        return true;
    }
    bool IsFinished() override { return m_nEvaluations >= m_nLast; }
    void Emit(MemoryTracer*) override {}

    int m_nEvaluations = 0;

private:
    int m_nLast;
};

Ref<Controller<int>> MakeSamples(std::vector<int> const& samples) {
    return SampleController<int>::Create(0, samples.data(), static_cast<unsigned int>(samples.size()));
}

TEST(Property, SettingStoresTheValueAndTellsSubscribersInOrder) {
    IntProperty property(3);
    Listener<int> listener;
    std::vector<int> order;
    property.GetChangeEvent().Connect([&order](int const&) { order.push_back(1); });
    property.GetChangeEvent().Connect([&order](int const&) { order.push_back(2); });
    property.GetChangeEvent().Connect(listener.AsHandler());
    EXPECT_EQ(property.GetValue(), 3);
    property.SetValue(5);
    property.SetValue(5);
    EXPECT_EQ(property.GetValue(), 5);
    EXPECT_EQ(listener.m_heard, (std::vector<int>{5, 5})) << "every setting counts, the same value too";
    EXPECT_EQ(order, (std::vector<int>{1, 2, 1, 2}));
}

TEST(Property, BindingStandsInForTheValueAndTheEvent) {
    IntProperty property(3);
    CountingBinding binding;
    Listener<int> listener;
    property.GetChangeEvent().Connect(listener.AsHandler());
    property.Bind(&binding);
    EXPECT_EQ(property.GetValue(), 7);
    property.SetValue(9);
    EXPECT_EQ(binding.m_nSets, 1);
    EXPECT_EQ(property.GetValue(), 9);
    EXPECT_TRUE(binding.m_notifications.empty()) << "setting leaves the telling to the binding";

    property.AddController(MakeSamples({11}));
    property.Update(UpdateContext(), 0);
    EXPECT_EQ(binding.m_nValue, 11);
    EXPECT_EQ(binding.m_notifications, (std::vector<bool>{true}));
    EXPECT_TRUE(listener.m_heard.empty());

    property.Bind(nullptr);
    EXPECT_EQ(property.GetValue(), 3) << "the stored value was left alone";
}

TEST(Property, LastControllerDrivesUntilItIsFinished) {
    IntProperty property;
    Listener<int> listener;
    property.GetChangeEvent().Connect(listener.AsHandler());
    property.AddController(MakeSamples({100}));
    property.AddController(new CountingController(2));
    for (int nFrame = 0; nFrame < 4; ++nFrame) {
        property.Update(UpdateContext(), static_cast<RealFloat>(nFrame));
    }
    EXPECT_EQ(listener.m_heard, (std::vector<int>{1, 2, 100, 100}));
    EXPECT_EQ(property.GetControllerCount(), 1u) << "a sample controller is never finished";
}

TEST(Property, WithoutControllersOrTheirValuesUpdateDoesNothing) {
    IntProperty property(4);
    Listener<int> listener;
    property.GetChangeEvent().Connect(listener.AsHandler());
    property.Update(UpdateContext(), 1);
    property.AddController(MakeSamples({}));
    property.Update(UpdateContext(), 1);
    EXPECT_EQ(property.GetValue(), 4);
    EXPECT_TRUE(listener.m_heard.empty());
    EXPECT_EQ(property.GetControllerCount(), 1u);
}

TEST(Property, SubscriberMayRemoveTheControllers) {
    IntProperty property;
    property.AddController(new CountingController(1));
    property.GetChangeEvent().Connect([&property](int const&) { property.RemoveControllers(); });
    property.Update(UpdateContext(), 0);
    EXPECT_EQ(property.GetControllerCount(), 0u);
    EXPECT_EQ(property.GetValue(), 1);
}

TEST(Property, NullControllerIsRefused) {
    IntProperty property;
    EXPECT_FALSE(property.AddController(nullptr));
    EXPECT_EQ(property.GetControllerCount(), 0u);
}

TEST(Property, AssignTakesTheCurrentValueAlone) {
    IntProperty source;
    source.Initialize(PropertyDescriptor{nullptr, 42, PropertyType::Int, nullptr});
    source.AddController(MakeSamples({1}));
    CountingBinding binding;
    source.Bind(&binding);
    IntProperty target;
    Listener<int> listener;
    target.GetChangeEvent().Connect(listener.AsHandler());
    target.Assign(source);
    EXPECT_EQ(target.GetValue(), 7);
    EXPECT_EQ(listener.m_heard, (std::vector<int>{7}));
    EXPECT_EQ(target.GetControllerCount(), 0u);
    EXPECT_EQ(target.GetID(), 0u);
}

TEST(Property, CopySharesControllersInOrderAndReplacesOldOnes) {
    IntProperty source(5);
    source.Initialize(PropertyDescriptor{nullptr, 42, PropertyType::Int, nullptr});
    source.AddController(MakeSamples({1}));
    source.AddController(MakeSamples({2}));
    Listener<int> sourceListener;
    source.GetChangeEvent().Connect(sourceListener.AsHandler());

    IntProperty target;
    target.AddController(MakeSamples({3}));
    EXPECT_TRUE(target.Copy(source));
    IntProperty constructed(source);
    for (IntProperty* pCopy : {&target, &constructed}) {
        EXPECT_EQ(pCopy->GetID(), 42u);
        EXPECT_EQ(pCopy->GetValue(), 5);
        ASSERT_EQ(pCopy->GetControllerCount(), 2u);
        EXPECT_EQ(pCopy->GetController(0), source.GetController(0));
        EXPECT_EQ(pCopy->GetController(1), source.GetController(1));
        pCopy->SetValue(6);
    }
    EXPECT_TRUE(sourceListener.m_heard.empty()) << "subscribers stay with the original";

    EXPECT_TRUE(target.Copy(target));
    EXPECT_EQ(target.GetControllerCount(), 2u) << "copying itself keeps what there is";
}

TEST(Property, GainingAControllerAdvancesTheGeneration) {
    IntProperty source;
    unsigned long nSeen = BasePropertyGeneration::Get();
    auto const HasAdvanced = [&nSeen] {
        unsigned long const nBefore = nSeen;
        nSeen = BasePropertyGeneration::Get();
        return nSeen != nBefore;
    };
    source.SetValue(2);
    EXPECT_FALSE(HasAdvanced());
    source.AddController(MakeSamples({1}));
    EXPECT_TRUE(HasAdvanced());
    IntProperty const constructed(source);
    EXPECT_TRUE(HasAdvanced());
    IntProperty copied;
    copied.Copy(source);
    EXPECT_TRUE(HasAdvanced());
    EXPECT_TRUE(LoadFrom(MakeSampleNode(0, 1, BytesOf(5)), copied));
    EXPECT_TRUE(HasAdvanced());
    EXPECT_TRUE(IntProperty::IsAnimated(&copied));
    copied.RemoveControllers();
    EXPECT_FALSE(IntProperty::IsAnimated(&copied));
}

TEST(Property, EmitReportsControllersAsPropertyMemory) {
    Vector3Property property;
    Vector3 const samples[3] = {};
    Ref<SampleController<Vector3>> pController = SampleController<Vector3>::Create(0, samples, 3);
    property.AddController(pController);
    MemoryTracer tracer;
    property.Emit(&tracer);
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Property), 2u) << "the controller and its samples";
    EXPECT_EQ(tracer.GetBytes(MemoryType::Property), sizeof(SampleController<Vector3>) + sizeof(samples));
    Vector3Property const sharing(property);
    property.Emit(&tracer);
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Property), 2u) << "a shared controller counts once";

    ASSERT_TRUE(pController->Compact());
    MemoryTracer compacted;
    property.Emit(&compacted);
    EXPECT_EQ(compacted.GetBytes(MemoryType::Property), sizeof(SampleController<Vector3>))
        << "runs are not reported";
}

} // namespace
} // namespace trevik::kelvo
