// How the host tells the back end's objects apart, and walks over them.

#include "NodeTest.h"

#include "BitmapFontGL2.h"
#include "BlendModeEffectGL2.h"
#include "CameraGL2.h"
#include "DirectionalBlurEffectGL2.h"
#include "GaussianBlurEffectGL2.h"
#include "NinePatchSpriteGL2.h"
#include "PolygonalFontGL2.h"
#include "TextGL2.h"
#include "TimelineGL2.h"
#include "trevik/kelvo/NodeVisitor.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class Reflection : public NodeTest {
protected:
    template <class T>
    Ref<T> Create(char const* name) {
        return dynamic_cast<T*>(m_registry.Create(HashName(name)));
    }
};

TEST_F(Reflection, NodesKnowTheirClassTheirBasesAndTheirFactory) {
    struct Case {
        std::string factory;
        std::string base;
        unsigned int size;
    };
    // A nine-patch sprite answers as a sprite, but for its factory.
    Case const cases[] = {{"Timeline", "Timeline", sizeof(TimelineGL2)},
                          {"Camera", "Camera", sizeof(CameraGL2)},
                          {"Sprite", "Sprite", sizeof(SpriteGL2)},
                          {"Text", "Text", sizeof(TextGL2)},
                          {"NinePatchSprite", "Sprite", sizeof(SpriteGL2)}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.factory);
        Ref<Node> const pNode = Create<Node>(test.factory.c_str());
        ASSERT_TRUE(pNode);
        std::string const name = test.base + "GL2";
        EXPECT_EQ(pNode->GetFactoryClassID(), HashName(test.factory.c_str()));
        EXPECT_EQ(pNode->GetClassID(), HashName(name.c_str()));
        EXPECT_EQ(String8(pNode->GetClassName()), String8(name.c_str()));
        EXPECT_EQ(pNode->GetClassSize(), test.size);
        for (std::string const& kind : {name, test.base, std::string("TransformNode"), std::string("Node")}) {
            EXPECT_TRUE(pNode->IsKindOf(HashName(kind.c_str()))) << kind;
        }
        for (char const* other : {"Mask", "Effect", "NinePatchSpriteGL2", "NinePatchSprite"}) {
            EXPECT_FALSE(pNode->IsKindOf(HashName(other))) << other;
        }
        Ref<Node> const pClone(pNode->Clone());
        EXPECT_EQ(pClone->GetClassID(), pNode->GetClassID());
    }
}

TEST_F(Reflection, EffectsKnowTheirClassTheirBasesAndTheirResource) {
    for (std::string const name : {"GaussianBlur", "BlendMode", "DirectionalBlur"}) {
        SCOPED_TRACE(name);
        std::string const factory = name + "Effect";
        Ref<Effect> const pEffect = Create<Effect>(factory.c_str());
        ASSERT_TRUE(pEffect);
        EXPECT_EQ(pEffect->GetClassID(), HashName((factory + "GL2").c_str()));
        EXPECT_EQ(pEffect->GetResourceClassID(), HashName((name + "Resource").c_str()));
        for (std::string const& kind : {factory + "GL2", factory, std::string("Effect")}) {
            EXPECT_TRUE(pEffect->IsKindOf(HashName(kind.c_str()))) << kind;
        }
        EXPECT_FALSE(pEffect->IsKindOf(HashName("Node")));
        EXPECT_TRUE(m_registry.IsRegistered(pEffect->GetResourceClassID()));
        Ref<Effect> const pClone(pEffect->Clone());
        EXPECT_EQ(pClone->GetClassID(), pEffect->GetClassID());
    }
}

TEST_F(Reflection, TheOtherNamesMakeTheirClasses) {
    EXPECT_TRUE(Create<TextureGL2>("Texture"));
    EXPECT_TRUE(Create<BitmapFontGL2>("Font")) << "the plain name is the bitmap font's";
    EXPECT_TRUE(Create<PolygonalFontGL2>("PolygonalFont"));
    EXPECT_TRUE(Create<NinePatchSpriteGL2>("NinePatchSprite"));
    EXPECT_TRUE(Create<GaussianBlurResourceGL2>("GaussianBlurResource"));
    EXPECT_TRUE(Create<BlendModeResourceGL2>("BlendModeResource"));
    EXPECT_TRUE(Create<DirectionalBlurResourceGL2>("DirectionalBlurResource"));
}

/** Notes which operation is called, with the node's name. */
class NotingVisitor : public NodeVisitor {
public:
    void VisitNode(Node& node, void* pArgument) override { Note("node ", node, pArgument); }
    void VisitDrawable(TransformNode& node, void* pArgument) override { Note("drawable ", node, pArgument); }
    void VisitCamera(Camera& node, void* pArgument) override { Note("camera ", node, pArgument); }
    void VisitGroup(TransformNode& node, void* pArgument) override { Note("group ", node, pArgument); }
    void VisitTimeline(Timeline& node, void* pArgument) override { Note("timeline ", node, pArgument); }

    Strings m_notes;
    void* m_pExpected = &m_notes;

private:
    void Note(std::string const& what, Node& node, void* pArgument) {
        m_notes.push_back(what + String8(node.GetName()).GetData());
        EXPECT_EQ(pArgument, m_pExpected);
    }
};

TEST_F(Reflection, AVisitorSeesEachNodeBeforeItsChildrenInOrder) {
    char const* const factories[] = {"Timeline", "Camera", "Sprite", "Text", "NinePatchSprite"};
    Ref<Node> pNodes[5];
    for (int i = 0; i < 5; ++i) {
        pNodes[i] = Create<Node>(factories[i]);
        pNodes[i]->SetName(String8(factories[i]));
    }
    pNodes[0]->Attach(pNodes[2].Get());
    pNodes[0]->Attach(pNodes[4].Get());
    pNodes[2]->Attach(pNodes[1].Get());
    pNodes[2]->Attach(pNodes[3].Get());
    NotingVisitor visitor;
    pNodes[0]->Accept(visitor, visitor.m_pExpected);
    EXPECT_EQ(visitor.m_notes, (Strings{"timeline Timeline", "drawable Sprite", "camera Camera",
                                        "drawable Text", "drawable NinePatchSprite"}));
}

} // namespace
