// How the host tells the back end's objects apart.

#include "CameraGL2.h"
#include "NodeTest.h"
#include "TextGL2.h"
#include "TimelineGL2.h"
#include "kelvo_effects/Effects.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class Reflection : public NodeTest {
protected:
    template <class T>
    Ref<T> Create(std::string const& name) {
        return Ref(dynamic_cast<T*>(m_registry.Create(HashName(name.c_str()))));
    }

    template <class T>
    static void ExpectKinds(T& object, std::vector<std::string> const& kinds) {
        EXPECT_EQ(object.GetClassID(), HashName(kinds[0].c_str()));
        for (std::string const& kind : kinds) {
            EXPECT_TRUE(object.IsKindOf(HashName(kind.c_str()))) << kind;
        }
        for (char const* other : {"Mask", "NinePatchSpriteGL2", "NinePatchSprite"}) {
            EXPECT_FALSE(object.IsKindOf(HashName(other))) << other;
        }
        EXPECT_EQ(Ref<T>(object.Clone())->GetClassID(), object.GetClassID());
    }
};

TEST_F(Reflection, ObjectsKnowTheirClassAndTheirBases) {
    struct Case {
        std::string factory;
        std::string base;
        unsigned int size;
    };
    // A nine-patch sprite answers as a sprite, but for its factory.
    for (Case const& test :
         {Case{"Timeline", "Timeline", sizeof(TimelineGL2)}, Case{"Camera", "Camera", sizeof(CameraGL2)},
          Case{"Sprite", "Sprite", sizeof(SpriteGL2)}, Case{"Text", "Text", sizeof(TextGL2)},
          Case{"NinePatchSprite", "Sprite", sizeof(SpriteGL2)}}) {
        SCOPED_TRACE(test.factory);
        Ref<Node> const pNode = Create<Node>(test.factory);
        ASSERT_TRUE(pNode);
        ExpectKinds(*pNode, {test.base + "GL2", test.base, "TransformNode", "Node"});
        EXPECT_EQ(pNode->GetFactoryClassID(), HashName(test.factory.c_str()));
        EXPECT_EQ(String8(pNode->GetClassName()), String8((test.base + "GL2").c_str()));
        EXPECT_EQ(pNode->GetClassSize(), test.size);
    }
    for (std::string const name : {"GaussianBlur", "BlendMode", "DirectionalBlur"}) {
        SCOPED_TRACE(name);
        Ref<Effect> const pEffect = Create<Effect>(name + "Effect");
        ASSERT_TRUE(pEffect);
        ExpectKinds(*pEffect, {name + "EffectGL2", name + "Effect", "Effect"});
        EXPECT_EQ(pEffect->GetResourceClassID(), HashName((name + "Resource").c_str()));
    }
    ASSERT_TRUE(KelvoRegisterEffects(&m_registry));
    for (std::string const name : {"GroupOpacity", "BackdropBlur"}) {
        SCOPED_TRACE(name);
        Ref<Effect> const pEffect = Create<Effect>(name + "Effect");
        ASSERT_TRUE(pEffect);
        ExpectKinds(*pEffect, {name + "Effect", "Effect"});
        EXPECT_EQ(pEffect->GetResourceClassID(), HashName((name + "Resource").c_str()));
        Ref<Effect> const pCopy(pEffect->Clone());
        EXPECT_EQ(pCopy->GetProperties().GetCount(), 1u);
        EXPECT_FALSE(pCopy->IsInitialized() || pCopy->HasFailed());
    }
}

} // namespace
