// Values that come of samples alone are taken over without a call for each property. Whatever may put an end
// to that is done to one of two equal scenes; in the other one, which is forced to update all, every
// controller is of an application's class, so that each property is updated by itself.

#include "kelvo_test/TestNodes.h"

#include <gtest/gtest.h>

#include <functional>

namespace trevik::kelvo::test {
namespace {

/** Has another controller evaluate. */
template <class T>
class Forwarding : public Controller<T> {
public:
    explicit Forwarding(Ref<Controller<T>> const& pController) : m_pController(pController) {}
    bool Evaluate(UpdateContext const& context, RealFloat const& frame, T& out) override {
        return m_pController->Evaluate(context, frame, out);
    }
    bool IsFinished() override { return m_pController->IsFinished(); }
    void Emit(MemoryTracer*) override {}

private:
    Ref<Controller<T>> m_pController;
};

/** Has an Evaluate of its own, and is finished soon. */
class Doubling : public SampleController<Vector3> {
public:
    bool Evaluate(UpdateContext const&, RealFloat const& frame, Vector3& out) override {
        out = Vector3(2, 3, 4) * frame;
        return true;
    }
    bool IsFinished() override { return ++m_nAsked == 3; }
    int m_nAsked = 0;
};

/** A sprite that is updated like any other node. */
class PlainSprite : public Sprite {
public:
    TREVIK_NODE_REFLECTION(PlainSprite, Sprite, "Sprite", VisitDrawable)
    bool IsAsleep() const { return (m_nMarks & Property::AsleepMark) != 0; }
};

/** Registers a property before all others, and another one in place of a node's own. */
class Reordered : public PlainSprite {
public:
    Vector3Property m_otherScale;
    void RegisterProperties() override {
        m_properties.Register(u"Opacity", &m_opacity);
        PlainSprite::RegisterProperties();
        m_properties.Register(u"Scale", &m_otherScale);
    }
};

/** Computes its place by itself, unless it is to do without. */
class Computing : public PlainSprite {
public:
    int m_nAsked = 0;
    bool m_fIdle = false;
    void CalculateTransform() override {
        ++m_nAsked;
        if (!m_fIdle) {
            PlainSprite::CalculateTransform();
            m_worldMatrix.m[13] += 7;
        }
    }
};

/** Does something to the tree when it is asked for its value for the n-th time. */
class Acting : public Elsewhere<Vector3> {
public:
    std::function<void()> m_act;
    mutable int m_nLeft = 0;
    Vector3 const& GetValue() const override {
        if (--m_nLeft == 0) {
            m_act();
        }
        return m_value;
    }
};

enum Place { Outer, All, Below, Bottom, Inner, Spare, Strange, Own };

struct Scene {
    TestDevice m_device;
    bool m_fForwarding;
    Ref<TestTimeline> m_pRoot = Make<TestTimeline>("root");
    Ref<TestTimeline> m_pInner = Make<TestTimeline>("inner");
    std::vector<Ref<TransformNode>> m_nodes;
    Ref<SampleController<Vector3>> m_pSamples; ///< of All's position
    Elsewhere<Vector3> m_place;
    std::vector<Vector3> m_noted;
    std::function<void(Scene&)> m_handler;
    bool m_fInside = false;

    explicit Scene(bool fForwarding) : m_fForwarding(fForwarding) {
        m_device.m_fNoting = false;
        m_pRoot->GetFirstFrameProperty().SetValue(-10);
        m_pRoot->GetLastFrameProperty().SetValue(100);
        Node* pParent = m_pRoot.Get();
        for (int nNode = Outer; nNode <= Bottom; ++nNode) {
            pParent = Add<PlainSprite>(*pParent);
        }
        m_nodes.push_back(m_pInner);
        m_pRoot->Attach(m_pInner.Get());
        m_pInner->SetFrame(5);
        Add<PlainSprite>(*m_pInner);
        Add<Reordered>(*m_pRoot);
        Add<Computing>(*m_pRoot);
        Drive((*this)[Outer].GetPositionProperty(), Vector3(1, 2, 3));
        for (Place place : {All, Spare, Strange, Own}) {
            PlainSprite& node = (*this)[place];
            RealFloat const n = 1 + static_cast<RealFloat>(place);
            m_pSamples = Drive(node.GetPositionProperty(), Vector3(n, 2 * n, 3));
            Drive(node.GetRotationProperty(), place == Spare ? Vector3(7, 8, 9) : Vector3(0, 0, 5 * n));
            Drive(node.GetScaleProperty(), Vector3(n, 1, RealFloat(0.5)));
            Drive(node.GetOpacityProperty(), RealFloat(0.11));
        }
        Drive((*this)[Strange].GetColorProperty(), Vector3(1, 1, 1));
        m_pSamples = Drive((*this)[Below].GetPositionProperty(), Vector3(3, 0, 0));
        for (int nUpdate = 0; nUpdate < 3; ++nUpdate) {
            Update(RealFloat(0.3) * static_cast<RealFloat>(nUpdate));
        }
    }

    template <class T>
    Node* Add(Node& parent) {
        m_nodes.push_back(Make<T>("node"));
        parent.Attach(m_nodes.back().Get());
        return m_nodes.back().Get();
    }
    PlainSprite& operator[](Place place) { return static_cast<PlainSprite&>(*m_nodes[place]); }
    Vector3Property& Position(Place place) { return m_nodes[place]->GetPositionProperty(); }
    Vector3Property& Rotation(Place place) { return m_nodes[place]->GetRotationProperty(); }
    Vector3Property& Scale(Place place) { return m_nodes[place]->GetScaleProperty(); }
    Vector3Property& Pivot(Place place) { return m_nodes[place]->GetPivotProperty(); }

    template <class T>
    void AddController(BaseProperty<T>& property, Ref<Controller<T>> const& pController) {
        property.AddController(m_fForwarding ? Ref<Controller<T>>(new Forwarding<T>(pController))
                                             : pController);
    }
    /** Drives a property by so much more for each frame, from frame -1 on. */
    template <class T>
    Ref<SampleController<T>> Drive(BaseProperty<T>& property, T const& step) {
        std::vector<T> samples(1, step * RealFloat(0.25));
        while (samples.size() < 12) {
            samples.push_back(samples.back() + step);
        }
        Ref<SampleController<T>> pSamples = SampleController<T>::Create(-1, samples.data(), 12);
        AddController<T>(property, pSamples);
        return pSamples;
    }
    /** Ends what drives a property and sets its value. */
    template <class T>
    static void Fix(BaseProperty<T>& property, T const& value) {
        property.RemoveControllers();
        property.SetValue(value);
    }
    void Stop(Place place) {
        Fix(Rotation(place), Vector3());
        Fix(Scale(place), Vector3(1, 1, 1));
    }
    void UpdateAlone(Place place) { (*this)[place].InternalUpdate(m_device, m_pRoot->GetFrame(), 0, false); }
    void Update(RealFloat frame) {
        m_pRoot->SetFrame(frame);
        m_pRoot->Update(m_device, frame, 0, m_fForwarding);
    }

    /** Has `handler` called whenever the property changes. */
    void Handle(Vector3Property& property, std::function<void(Scene&)> const& handler) {
        m_handler = handler;
        property.GetChangeEvent().Connect(member_function(this, &Scene::OnChange));
    }
    void OnChange(Vector3 const&) {
        if (!m_fInside) {
            m_fInside = true;
            m_handler(*this);
            m_fInside = false;
        }
    }
    /** Notes what All and Strange are like now. */
    void Note() {
        for (Place place : {All, Strange}) {
            PlainSprite& node = (*this)[place];
            for (Vector3Property* pProperty : {&node.GetPositionProperty(), &node.GetRotationProperty(),
                                               &node.GetScaleProperty(), &node.GetColorProperty()}) {
                m_noted.push_back(pProperty->GetValue());
            }
            m_noted.push_back(Apply(node.GetWorldMatrix(), Vector3(1, 1, 1)));
            m_noted.push_back(Apply(node.GetLocalMatrix(), Vector3(1, 1, 1)));
            m_noted.push_back(Vector3(node.GetOpacityProperty().GetValue(), node.GetOpacity(), 0));
        }
    }
};

/** Lets a controller that is in use read other samples. */
void LoadSamples(SampleController<Vector3>& samples, std::vector<Vector3> const& values) {
    Serializer serializer;
    SampleController<Vector3>::Create(0, values.data(), static_cast<unsigned int>(values.size()))
        ->Save(serializer);
    TestRegistry registry;
    Deserializer deserializer(serializer.Finish(), registry);
    EXPECT_TRUE(deserializer.PushNode(DocumentID::Controller) && samples.Load(deserializer));
}

struct Change {
    char const* m_pName;
    std::function<void(Scene&)> m_do;
};

/** Has `handler` called whenever a node's property changes. */
Change Subscriber(char const* pName, Vector3Property& (Scene::*pProperty)(Place), Place place,
                  std::function<void(Scene&)> const& handler) {
    return {pName, [=](Scene& s) { s.Handle((s.*pProperty)(place), handler); }};
}

std::vector<Change> const Changes = {
    {"replaced",
     [](Scene& s) {
         s.Rotation(All).RemoveControllers();
         s.Drive(s.Rotation(All), Vector3(3, 2, 1));
     }},
    {"removed, then set by hand", [](Scene& s) { Scene::Fix(s.Position(All), Vector3(50, 60, 70)); }},
    {"a second one", [](Scene& s) { s.Drive(s.Position(All), Vector3(-9, -9, 9)); }},
    {"one of another class, finished soon",
     [](Scene& s) {
         for (Place place : {All, Own}) {
             s.AddController(s.Scale(place), Ref<Controller<Vector3>>(new Doubling));
         }
     }},
    {"shared",
     [](Scene& s) {
         s.AddController<Vector3>(s.Scale(Bottom), s.m_pSamples);
         s.AddController<Vector3>(s.Rotation(Bottom), s.m_pSamples);
     }},
    {"other samples",
     [](Scene& s) { LoadSamples(*s.m_pSamples, {Vector3(9, 9, 9), Vector3(-7, 5, 3), Vector3(0, 1, 100)}); }},
    {"runs of samples",
     [](Scene& s) {
         LoadSamples(*s.m_pSamples, std::vector<Vector3>(9, Vector3(4, 5, 6)));
         EXPECT_TRUE(s.m_pSamples->IsChunked());
     }},
    {"set by hand",
     [](Scene& s) {
         s.Position(All).SetValue(Vector3(1, 1, 1));
         s.Scale(Below).SetValue(Vector3(2, 2, 2));
     }},
    {"bound for a while",
     [](Scene& s) {
         s.Position(Outer).Bind(&s.m_place); // and for good
         s.Scale(All).Bind(&s.m_place);
         s.Update(1);
         s.Note();
         s.Scale(All).Bind(nullptr);
         s[All].GetOpacityProperty().SetValue(RealFloat(0.5));
     }},
    {"subscribers behind and among the node's own",
     [](Scene& s) {
         s.Handle(s[Strange].GetColorProperty(), &Scene::Note);
         s.Handle(s.Position(Strange), &Scene::Note);
     }},
    Subscriber("a subscriber that has the matrix made", &Scene::Scale, All,
               [](Scene& scene) {
                   scene.Note();
                   scene[All].CalculateTransform();
                   scene.Note();
               }),
    Subscriber("a subscriber that updates a node that makes no matrix then", &Scene::Position, Own,
               [](Scene& scene) {
                   Computing& node = static_cast<Computing&>(scene[Own]);
                   node.m_fIdle = true;
                   scene.UpdateAlone(Own);
                   node.m_fIdle = false;
                   scene.Note();
               }),
    Subscriber("a subscriber that moves the parent and has the matrix made", &Scene::Rotation, All,
               [](Scene& scene) {
                   scene.Scale(Outer).SetValue(Vector3(2, 2, 2));
                   scene[Outer].CalculateTransform();
                   scene[All].CalculateTransform();
                   scene.Note();
               }),
    Subscriber("a subscriber that updates the node", &Scene::Scale, All,
               [](Scene& scene) {
                   scene.UpdateAlone(All);
                   scene.Note();
               }),
    Subscriber("a subscriber that removes controllers", &Scene::Position, All,
               [](Scene& scene) {
                   scene.Scale(All).RemoveControllers();
                   scene.Position(Spare).RemoveControllers();
               }),
    Subscriber("a subscriber that adds one, and updates all", &Scene::Position, All,
               [](Scene& scene) {
                   if (scene.Scale(Bottom).GetControllerCount() == 0) {
                       scene.Drive(scene.Scale(Bottom), Vector3(1, 2, 1));
                       scene.Drive(scene.Pivot(All), Vector3(1, 0, 2));
                       scene.Update(scene.m_pRoot->GetFrame());
                   }
               }),
    {"pivot and stretch, between the node's own",
     [](Scene& s) {
         s.Drive(s.Pivot(All), Vector3(1, 1, 1));
         s.Drive(s[All].GetStretchProperty(), Vector3(1, 0, 1));
         s.Handle(s.Pivot(All), &Scene::Note);
     }},
    {"a pivot, and none again",
     [](Scene& s) {
         s.Pivot(All).SetValue(Vector3(1, 2, 3));
         s.Update(1);
         s.Note();
         s.Pivot(All).SetValue(Vector3());
     }},
    {"moved to another timeline", [](Scene& s) { s.m_pInner->Attach(&s[All]); }},
    {"moved below one that is turned", [](Scene& s) { s[Spare].Attach(&s[Outer]); }},
    {"away for a while",
     [](Scene& s) {
         s.m_pRoot->Detach(&s[Outer]);
         s[Outer].Update(s.m_device, 4);
         s.Rotation(Outer).SetValue(Vector3(0, 0, 30));
         s[Outer].Update(s.m_device, 5);
         s.Note();
         s.Position(Below).RemoveControllers();
         s.m_pRoot->Attach(&s[Outer]);
     }},
    {"gone",
     [](Scene& s) {
         s[All].Detach(&s[Below]);
         s.m_nodes[Below] = s.m_nodes[Bottom] = s.m_nodes[All];
     }},
    {"a copy in its place",
     [](Scene& s) {
         Ref<TransformNode> const pCopy(s[All].CloneTree()->GetTransformNode());
         s[Outer].Detach(&s[All]);
         s.m_nodes[All] = pCopy;
         s[Outer].Attach(pCopy.Get());
         pCopy->GetScaleProperty().SetValue(Vector3(5, 5, 5));
     }},
    {"copied from another property",
     [](Scene& s) {
         EXPECT_TRUE(s.Position(All).Copy(s.Rotation(Spare)));
         s.Position(Bottom).Assign(s.Position(All));
     }},
    {"another property in its place",
     [](Scene& s) {
         s[All].GetProperties().Register(u"Position", &s.Position(Spare));
         s[All].GetProperties().Register(u"Late", &s.Rotation(All));
     }},
    {"brought to a frame by the application",
     [](Scene& s) {
         s.Drive(s.Rotation(Bottom), Vector3(0, 0, 9));
         for (Place place : {All, Bottom, Strange}) {
             s[place].GetProperties().Update(UpdateContext(), 3);
         }
         s.Note();
     }},
    {"the parent of movers turned and turned back",
     [](Scene& s) {
         s.Stop(All);
         s.Update(1);
         s.Rotation(Outer).SetValue(Vector3(0, 0, 30));
         s.Update(2);
         s.Note();
         s.Rotation(Outer).SetValue(Vector3());
     }},
    {"loaded",
     [](Scene& s) {
         Serializer serializer;
         EXPECT_TRUE(Scene(false)[Spare].Save(serializer));
         TestRegistry registry;
         Deserializer deserializer(serializer.Finish(), registry);
         EXPECT_TRUE(s[Bottom].Load(deserializer));
         s.m_pRoot->Reload();
     }},
};

/** Runs a scene on, forwards and back, before, between, at and behind the samples; what there was to see. */
std::vector<Vector3> Play(bool fForwarding, std::function<void(Scene&)> const& change) {
    Scene scene(fForwarding);
    change(scene);
    for (RealFloat const frame : {0.5f, 0.75f, 1.0f, 2.25f, 2.25f, 1.5f, 40.0f, 40.0f, -3.0f, -0.5f, 0.25f}) {
        scene.m_place.m_value.x += 1;
        scene.Update(frame);
        scene.Note();
        for (Ref<TransformNode> const& pNode : scene.m_nodes) {
            Matrix const world = pNode->GetWorldMatrix();
            for (int n = 0; n < 16; n += 4) {
                scene.m_noted.emplace_back(world.m[n], world.m[n + 1], world.m[n + 2]);
            }
            scene.m_noted.emplace_back(pNode->GetOpacity(), 0, 0);
        }
    }
    return scene.m_noted;
}

TEST(Animated, ValuesOfSamplesAreTakenOverAsIfEachPropertyWereUpdatedByItself) {
    auto const nothing = [](Scene&) {};
    std::vector<Vector3> const unchanged = Play(false, nothing);
    EXPECT_TRUE(unchanged == Play(true, nothing));
    for (Change const& change : Changes) {
        std::vector<Vector3> const noted = Play(false, change.m_do);
        EXPECT_TRUE(noted == Play(true, change.m_do)) << change.m_pName;
        EXPECT_TRUE(noted != unchanged) << change.m_pName << " shows nowhere";
    }
}

TEST(Animated, PropertiesAreUpdatedInTheOrderInWhichTheyAreRegistered) {
    for (Place const place : {All, Strange}) {
        Scene scene(false);
        RealFloat opacity = 0;
        scene.Handle(scene.Position(place),
                     [&](Scene& s) { opacity = s[place].GetOpacityProperty().GetValue(); });
        scene.Update(2);
        EXPECT_EQ(opacity == scene[place].GetOpacityProperty().GetValue(), place == Strange);
    }
}

TEST(Animated, WhatASubscriberHasMadeIsNotMadeOnceMore) {
    Scene scene(false);
    scene.Handle(scene.Scale(Own), [](Scene& s) { s[Own].CalculateTransform(); });
    Computing& node = static_cast<Computing&>(scene[Own]);
    node.m_nAsked = 0;
    scene.Update(2);
    EXPECT_EQ(node.m_nAsked, 1);
}

TEST(Animated, ASubscriberMayRemoveControllersAndBringPropertiesToAnotherFrame) {
    Scene scene(false);
    scene.Drive(scene[All].GetColorProperty(), Vector3(1, 1, 1));
    scene.Handle(scene.Position(All), [](Scene& s) {
        s.Position(All).RemoveControllers();
        s.Drive(s.Scale(Bottom), Vector3(1, 2, 1));
        s[All].GetProperties().Update(UpdateContext(), 7);
    });
    scene.Update(2);
    EXPECT_EQ(scene[All].GetColorProperty().GetValue(), scene[Strange].GetColorProperty().GetValue());
}

TEST(Animated, ABoundValueMayChangeTheTreeWhenItIsAskedFor) {
    for (int nCase = 0; nCase < 4; ++nCase) {
        Scene scene(false);
        PlainSprite& node = scene[Below];
        Acting acting;
        node.GetPositionProperty().Bind(&acting);
        node.GetScaleProperty().SetValue(Vector3(2, 3, 4));
        scene.Stop(All);
        scene.Update(2);
        acting.m_act = [&] {
            if (nCase < 2) {
                scene[All].Detach(&node);
            } else {
                scene.Rotation(All).SetValue(Vector3(0, 0, 90));
                scene[All].CalculateTransform();
            }
        };
        acting.m_nLeft = 1 + nCase % 2;
        node.GetScaleProperty().SetValue(Vector3(5, 6, 7));
        scene.UpdateAlone(Below);
        EXPECT_LE(acting.m_nLeft, 0) << nCase;
        Matrix const local = node.GetLocalMatrix();
        EXPECT_EQ(node.GetWorldMatrix(), nCase < 2 ? local : local * scene[All].GetWorldMatrix()) << nCase;
        node.GetPositionProperty().Bind(nullptr);
    }
}

TEST(Animated, ANodeSleepsAsSoonAsItsControllersHaveGone) {
    Scene scene(false);
    PlainSprite& node = scene[Outer];
    PlainSprite const& below = static_cast<PlainSprite&>(*scene.Add<PlainSprite>(node));
    scene.Drive(node.GetColorProperty(), Vector3(1, 1, 1));
    auto const sleeps = [&] {
        scene.Update(40); // at the last sample by then
        scene.Update(40);
        EXPECT_TRUE(below.IsAsleep());
        return node.IsAsleep();
    };
    EXPECT_FALSE(sleeps()) << "frames may go back";
    node.GetPositionProperty().RemoveControllers();
    EXPECT_FALSE(sleeps()) << "its colour is animated";
    node.GetColorProperty().RemoveControllers();
    EXPECT_TRUE(sleeps());
    node.GetPositionProperty().AddController(Ref<Controller<Vector3>>(new Doubling));
    scene.Update(50);
    EXPECT_FALSE(node.IsAsleep());
    EXPECT_TRUE(sleeps()) << "its controller is finished";
}

} // namespace
} // namespace trevik::kelvo::test
