// What a node weighs: the bytes that are asked for when one is made, its properties registered. Counted, so
// that growth is noticed; where a kind needs more for a reason, its row says so.

#include "NodeTest.h"
#include "kelvo_test/AllocationCounter.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/SampleController.h"

#include <memory>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class BytesTest : public NodeTest {
protected:
    template <class Make>
    static std::size_t Weigh(Make make) {
        make(); // whose class is known from then on
        std::size_t const nBefore = AllocatedBytes();
        auto const pMade = make();
        return AllocatedBytes() - nBefore;
    }
};

TEST_F(BytesTest, ANodeWeighsNoMoreThanItDid) {
    if (sizeof(void*) != 8) {
        GTEST_SKIP() << "the bounds are those of 64-bit processors";
    }
    struct {
        char const* m_pClass;
        std::size_t m_nBytes;
    } const kinds[] = {
        {"Sprite", 776}, {"NinePatchSprite", 1496}, {"Text", 1448}, {"Timeline", 848}, {"Camera", 1896}};
    for (auto const& kind : kinds) {
        EXPECT_LE(Weigh([&] {
                      Ref<Node> pNode(static_cast<Node*>(m_registry.Create(HashName(kind.m_pClass))));
                      pNode->GetProperties();
                      return pNode;
                  }),
                  kind.m_nBytes)
            << kind.m_pClass;
    }
}

TEST_F(BytesTest, ANodeGetsAShapeOnceWhenItIsFirstTurnedOrShaped) {
    typedef Vector3Property& (TransformNode::*Getter)();
    for (Getter const pfnGet : {&TransformNode::GetRotationProperty, &TransformNode::GetPivotProperty,
                                &TransformNode::GetScaleProperty, &TransformNode::GetStretchProperty}) {
        Ref<SpriteGL2> const pSprite = MakeSprite(8, 8);
        auto const weighUpdate = [&](RealFloat value) {
            ((*pSprite).*pfnGet)().SetValue(Vector3T<RealFloat>(value, value, value));
            std::size_t const nBefore = AllocatedBytes();
            pSprite->Update(Device(), 0);
            return AllocatedBytes() - nBefore;
        };
        pSprite->Update(Device(), 0);
        pSprite->GetPositionProperty().SetValue(Vector3T<RealFloat>(1, 2, 3));
        std::size_t const nBefore = AllocatedBytes();
        pSprite->Update(Device(), 0);
        EXPECT_EQ(AllocatedBytes(), nBefore);
        EXPECT_EQ(weighUpdate(2), 144u);
        EXPECT_EQ(weighUpdate(3), 0u);
        EXPECT_EQ(weighUpdate(0), 0u);
    }
}

TEST_F(BytesTest, APropertyWeighsNoMoreThanItDid) {
    if (sizeof(void*) != 8) {
        GTEST_SKIP() << "the bounds are those of 64-bit processors";
    }
    EXPECT_LE(sizeof(BoolProperty), 32u);
    EXPECT_LE(sizeof(RealProperty), 32u);
    EXPECT_LE(sizeof(SizeIntProperty), 32u);
    EXPECT_LE(sizeof(Vector3Property), 40u);
    EXPECT_LE(sizeof(ListProperty<Vector2T<int>>), 40u);
    EXPECT_LE(sizeof(SampleController<Vector3T<RealFloat>>), 96u);
    Ref<Controller<RealFloat>> const pController(new SampleController<RealFloat>);
    EXPECT_EQ(Weigh([&] {
                  auto pProperty = std::make_unique<RealProperty>();
                  pProperty->AddController(pController);
                  return pProperty;
              }),
              sizeof(RealProperty))
        << "one controller needs no memory of the property's";
}

} // namespace
