#include "PropertyTestSupport.h"
#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/ITraceable.h"
#include "trevik/kelvo/ListProperty.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace trevik::kelvo {
namespace {

typedef std::vector<int> Values;

/** Gives the values 1, 2, ... and is finished after `nLast` of them; it saves nothing. */
class CountingController : public Controller<int> {
public:
    explicit CountingController(int nLast) : m_nLast(nLast) {}
    bool Evaluate(UpdateContext const&, RealFloat const&, int& out) override {
        out = ++m_nEvaluations;
        return true;
    }
    bool IsFinished() override { return m_nEvaluations >= m_nLast; }
    void Emit(MemoryTracer*) override {}

private:
    int const m_nLast;
    int m_nEvaluations = 0;
};

/** A value elsewhere, 7 at first, that notes what it is told. */
class NotingBinding : public PropertyBinding<int> {
public:
    int const& GetValue() const override { return m_nValue; }
    void SetValue(int const& value) override {
        m_nValue = value;
        m_told.push_back('s');
    }
    int& GetWritableValue() override { return m_nValue; }
    void Notify(bool changed) override { m_told.push_back(changed ? '+' : '-'); }

    int m_nValue = 7;
    std::string m_told;
};

Ref<Controller<int>> MakeSamples(Values const& samples) {
    return SampleController<int>::Create(0, samples.data(), static_cast<unsigned int>(samples.size()));
}

class PropertyTest : public testing::Test {
protected:
    PropertyTest() {
        m_property.Initialize(PropertyDescriptor{nullptr, 42, PropertyType::Int, nullptr});
        m_property.GetChangeEvent().Connect(m_hear);
    }
    void Update(RealFloat frame = 0) { m_property.Update(UpdateContext(), frame); }

    IntProperty m_property{3};
    Values m_heard;
    function<void(int const&)> const m_hear{[this](int const& value) { m_heard.push_back(value); }};
    Ref<DocumentNode> const m_pNothing{new DocumentNode(0, 0)};
};

TEST_F(PropertyTest, MarksMayBelongToAnyObject) {
    struct Object {
        PropertyMarks m_nMarks;
        RealProperty m_property;
    };
    for (PropertyMarks const nMarks : {~0u, 0u, 0xffffu}) {
        Object object;
        object.m_nMarks = nMarks;
        object.m_property.SetMarks(object.m_nMarks, 4);
        object.m_property.SetValue(1);
        EXPECT_EQ(object.m_nMarks, nMarks | 4);
    }
}

TEST_F(PropertyTest, ABindingStandsInForTheValueAndTheEvent) {
    m_property.SetValue(3); // the same value is heard of, too
    EXPECT_EQ(m_heard, Values{3});
    NotingBinding binding;
    m_property.Bind(&binding);
    EXPECT_EQ(m_property.GetValue(), 7);
    Ref<DocumentNode> const pSaved = SaveToNode(m_property);
    m_property.SetValue(9);
    EXPECT_EQ(m_property.GetValue(), 9);
    EXPECT_TRUE(LoadFrom(pSaved, m_property));
    EXPECT_FALSE(LoadFrom(m_pNothing, m_property));
    EXPECT_EQ(binding.m_nValue, 7);
    m_property.AddController(MakeSamples({11}));
    Update();
    EXPECT_EQ(binding.m_nValue, 11);
    EXPECT_EQ(binding.m_told, "s+-+") << "it is told of failures, too";
    EXPECT_EQ(m_heard, Values{3});
    IntProperty other;
    other.Assign(m_property);
    EXPECT_EQ(other.GetValue(), 11);
    EXPECT_EQ(other.GetControllerCount() + other.GetID(), 0u) << "the value alone";
    m_property.Bind(nullptr);
    EXPECT_EQ(m_property.GetValue(), 3) << "the stored value was left alone";
}

TEST_F(PropertyTest, TheLastControllerDrivesUntilItIsFinished) {
    Update();
    EXPECT_FALSE(m_property.AddController(nullptr));
    m_property.AddController(MakeSamples({}));
    Update();
    EXPECT_TRUE(m_heard.empty()) << "nothing has given a value";
    m_property.AddController(MakeSamples({100}));
    m_property.AddController(Ref(new CountingController(2)));
    for (int nFrame = 0; nFrame < 4; ++nFrame) {
        Update(static_cast<RealFloat>(nFrame));
    }
    EXPECT_EQ(m_heard, (Values{1, 2, 100, 100}));
    EXPECT_EQ(m_property.GetControllerCount(), 2u) << "a sample controller is never finished";
    m_property.AddController(Ref(new CountingController(1)));
    m_property.GetChangeEvent().Connect([this](int const&) { m_property.RemoveControllers(); });
    Update();
    EXPECT_EQ(m_property.GetControllerCount(), 0u);
}

TEST_F(PropertyTest, ACopySharesControllersInOrderInPlaceOfItsOwn) {
    m_property.AddController(MakeSamples({1}));
    m_property.AddController(MakeSamples({2}));
    IntProperty target;
    target.AddController(MakeSamples({3}));
    EXPECT_TRUE(target.Copy(m_property));
    EXPECT_TRUE(target.Copy(target));
    IntProperty constructed(m_property);
    for (IntProperty* pCopy : {&target, &constructed}) {
        EXPECT_EQ(pCopy->GetID(), 42u);
        EXPECT_EQ(pCopy->GetValue(), 3);
        ASSERT_EQ(pCopy->GetControllerCount(), 2u);
        EXPECT_EQ(pCopy->GetController(0), m_property.GetController(0));
        EXPECT_EQ(pCopy->GetController(1), m_property.GetController(1));
        pCopy->SetValue(6);
    }
    EXPECT_TRUE(m_heard.empty()) << "subscribers stay with the original";
}

TEST_F(PropertyTest, WithoutMemoryItKeepsWhatItHas) {
    Ref<Controller<int>> const controllers[] = {MakeSamples({1}), MakeSamples({2})};
    for (unsigned int nAllocations = 0; nAllocations < 2; ++nAllocations) { // for the block, then the list
        NotingBinding binding;
        IntProperty property{5};
        property.AddController(controllers[0]); // which needs no memory
        Allocation::FailAfter(nAllocations);
        EXPECT_FALSE(property.AddController(controllers[1]));
        Allocation::FailAfter(nAllocations);
        EXPECT_FALSE(property.Bind(&binding));
        Allocation::FailAfter(nAllocations);
        IntProperty::ChangeEvent& refusing = property.GetChangeEvent();
        Allocation::FailNever();
        EXPECT_FALSE(refusing.Connect(m_hear));
        EXPECT_FALSE(refusing.Disconnect(m_hear));
        EXPECT_TRUE(property.Bind(nullptr));
        EXPECT_EQ(property.GetBinding(), nullptr);
        EXPECT_EQ(property.GetControllerCount(), 1u);
        EXPECT_EQ(property.GetController(0), controllers[0].Get());
        property.Update(UpdateContext(), 0);
        EXPECT_EQ(property.GetValue(), 1);
        EXPECT_TRUE(m_heard.empty());

        EXPECT_TRUE(property.GetChangeEvent().Connect(m_hear));
        EXPECT_TRUE(property.AddController(controllers[1]));
        EXPECT_EQ(controllers[0]->GetReferenceCount(), 2) << "moved, not shared";
        property.Update(UpdateContext(), 0);
        EXPECT_EQ(m_heard, Values{2});
        m_heard.clear();
    }
}

TEST_F(PropertyTest, AControllerMayChangeItsPropertyWhileItEvaluates) {
    /** Connects a handler, or takes itself out, in its one evaluation. */
    class Meddling : public CountingController {
    public:
        explicit Meddling(std::function<void()> meddle) : CountingController(1), m_meddle(meddle) {}
        bool Evaluate(UpdateContext const& context, RealFloat const& frame, int& out) override {
            Ref<Meddling> const pSelf(this);
            m_meddle();
            return CountingController::Evaluate(context, frame, out);
        }
        std::function<void()> m_meddle;
    };
    IntProperty property;
    property.AddController(Ref(new Meddling([&] { property.GetChangeEvent().Connect(m_hear); })));
    property.Update(UpdateContext(), 0);
    EXPECT_EQ(m_heard, Values{1}) << "who is connected before the value is announced hears of it";
    EXPECT_EQ(property.GetControllerCount(), 0u);
    IntProperty plain;
    for (IntProperty* pProperty : {&plain, &property}) { // one without a block, one with
        pProperty->AddController(Ref(new Meddling([&] { pProperty->RemoveControllers(); })));
        pProperty->Update(UpdateContext(), 0);
        EXPECT_EQ(pProperty->GetControllerCount(), 0u);
        EXPECT_EQ(pProperty->GetValue(), 1);
    }
}

TEST_F(PropertyTest, GainingAControllerAdvancesTheGeneration) {
    unsigned int nSeen = BasePropertyGeneration::Get();
    auto const HasAdvanced = [&nSeen] {
        return std::exchange(nSeen, BasePropertyGeneration::Get()) != BasePropertyGeneration::Get();
    };
    m_property.SetValue(2);
    EXPECT_FALSE(HasAdvanced());
    m_property.AddController(MakeSamples({1}));
    EXPECT_TRUE(HasAdvanced());
    IntProperty copied(m_property);
    EXPECT_TRUE(HasAdvanced());
    copied.Copy(m_property);
    EXPECT_TRUE(HasAdvanced());
    EXPECT_TRUE(LoadFrom(MakeSampleNode(0, 1, BytesOf(5)), copied));
    EXPECT_TRUE(HasAdvanced());
}

TEST_F(PropertyTest, WhatIsSavedIsTheFirstControllerOrElseTheValue) {
    m_property.AddController(MakeSamples({1}));
    m_property.AddController(MakeSamples({2}));
    Ref<DocumentNode> pSaved = SaveToNode(m_property);
    EXPECT_EQ(GetBytes(*pSaved->GetChild(0), DocumentID::Samples), BytesOf(1));
    EXPECT_EQ(pSaved->GetChildCount(), 1u);
    EXPECT_FALSE(HasAttribute(*pSaved, DocumentID::Value));

    test::TraceLog log;
    m_property.RemoveControllers();
    m_property.AddController(Ref(new CountingController(2))); // saves nothing
    Update();
    EXPECT_EQ(GetBytes(*SaveToNode(m_property), DocumentID::Value), BytesOf(1));
    ListProperty<Vector2T<int>> list;
    EXPECT_TRUE(LoadFrom(MakeSampleNode(0, 1, BytesOf(5)), list)); // its controller holds and gives nothing
    list.Update(UpdateContext(), 0);
    EXPECT_EQ(list.GetControllerCount(), 1u);
    pSaved = SaveToNode(list);
    EXPECT_TRUE(HasAttribute(*pSaved, DocumentID::Value));
    EXPECT_EQ(log.Messages().size(), 2u);

    list.RemoveControllers();
    list.GetWritableValue().Append(Vector2T<int>(1, 2));
    EXPECT_TRUE(LoadFrom(pSaved, list));
    EXPECT_TRUE(list.GetValue().IsEmpty()) << "an empty list comes back empty";
}

TEST_F(PropertyTest, ALoadedControllerComesOnTopAndAFailedOneStaysPushed) {
    ClassRegistry registry;
    m_property.AddController(MakeSamples({1}));
    Ref<DocumentNode> const pFaulty = MakeSampleNode(0, 2, BytesOf(8)); // one sample short
    AddBytes(*pFaulty, DocumentID::Value, BytesOf(6));
    Deserializer faulty(pFaulty, registry), good(MakeSampleNode(0, 1, BytesOf(8)), registry);
    EXPECT_FALSE(m_property.Load(faulty));
    EXPECT_EQ(faulty.GetCurrentNode(), pFaulty->GetChild(0));
    EXPECT_EQ(m_property.GetControllerCount(), 1u);
    EXPECT_TRUE(m_property.Load(good));
    EXPECT_EQ(good.GetDepth(), 0u);
    EXPECT_TRUE(m_heard.empty()) << "the value follows at the next update";
    Update();
    EXPECT_EQ(m_heard, Values{8});
}

/** Reports a byte of geometry, and a neighbour. */
struct Block : ITraceable {
    void Emit(MemoryTracer* pTracer) override {
        pTracer->EmitAllocation(1, MemoryType::Geometry);
        pTracer->EmitObject(m_pNeighbour);
    }
    Block* m_pNeighbour = nullptr;
};

TEST_F(PropertyTest, MemoryIsReportedOnceAndByType) {
    MemoryTracer tracer;
    std::vector<Block> ring(1000);
    for (std::size_t i = 0; i < ring.size(); ++i) {
        ring[i].m_pNeighbour = &ring[(i + 7) % ring.size()];
    }
    tracer.EmitObject(&ring[0]);
    tracer.EmitObject(&ring[500]);
    tracer.EmitAllocation(0xffffffffu, MemoryType::Texture);
    tracer.EmitAllocation(2, MemoryType::Texture);
    for (int nOther : {int(MemoryType::Count), 7}) {
        MemoryType::Enum const type = static_cast<MemoryType::Enum>(nOther);
        tracer.EmitAllocation(100, type);
        EXPECT_EQ(tracer.GetBytes(type) + tracer.GetAllocationCount(type), 0u);
    }
    EXPECT_EQ(tracer.GetBytes(MemoryType::Geometry), 1000u);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Texture), 0x100000001ull);
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Texture), 2u);
    EXPECT_EQ(tracer.GetTotalBytes(), 0x100000001ull + 1000u);

    Ref<Controller<int>> const pController = MakeSamples({1, 1, 1, 1});
    m_property.AddController(pController);
    IntProperty const sharing(m_property);
    m_property.Emit(&tracer);
    m_property.Emit(&tracer);
    EXPECT_EQ(tracer.GetAllocationCount(MemoryType::Property), 2u) << "the controller and its samples";
    std::size_t const nSelf = sizeof(SampleController<int>);
    EXPECT_EQ(tracer.GetBytes(MemoryType::Property), nSelf + 4 * sizeof(int));
    MemoryTracer inert; // a list's controller holds no samples
    SampleController<List<int>>().Emit(&inert);
    EXPECT_EQ(inert.GetAllocationCount(MemoryType::Property), 2u);
    SaveToNode(m_property); // makes runs of them, which are not reported
    MemoryTracer compacted;
    m_property.Emit(&compacted);
    EXPECT_EQ(compacted.GetBytes(MemoryType::Property), nSelf);
}

} // namespace
} // namespace trevik::kelvo
