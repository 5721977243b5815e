#include "kelvo_host/NodeAccess.h"

#include "Table.h"
#include "kelvo_host/Scene.h"
#include "kelvo_test/AllocationCounter.h"
#include "kelvo_test/TestNodes.h"
#include "trevik/Allocation.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::test {
namespace {

/**
 * root: list (with a text "ok"), dialog (0 to 3, once; below it a text and a sprite "ok" in "buttons"), loop.
 */
struct Screen {
    TestDevice m_device;
    Scene m_scene;
    Ref<TestTimeline> m_pRoot = Make<TestTimeline>("root");
    Ref<TransformNode> m_pList = Make<TransformNode>("list");
    Ref<TestTimeline> m_pDialog = Make<TestTimeline>("dialog");
    Ref<TransformNode> m_pButtons = Make<TransformNode>("buttons");
    Ref<TestTimeline> m_pLoop = Make<TestTimeline>("loop");
    Ref<TestTimeline> m_pStranger = Make<TestTimeline>("stranger");
    Ref<TestText> m_pTitle = Make<TestText>("ok");
    Ref<TestText> m_pText = Make<TestText>("ok");
    Ref<TestSprite> m_pSprite = Make<TestSprite>("ok");
    int m_nFrame = 0;

    Screen() {
        m_pRoot->Attach(m_pList.Get());
        m_pList->Attach(m_pTitle.Get());
        m_pRoot->Attach(m_pDialog.Get());
        m_pDialog->Attach(m_pButtons.Get());
        m_pButtons->Attach(m_pText.Get());
        m_pButtons->Attach(m_pSprite.Get());
        m_pRoot->Attach(m_pLoop.Get());
        m_pRoot->GetLastFrameProperty().SetValue(6);
        for (Timeline* pTimeline : {m_pDialog.Get(), m_pLoop.Get()}) {
            pTimeline->GetLastFrameProperty().SetValue(3);
            pTimeline->SetFrameDelay(1);
        }
        m_pLoop->GetPlaybackModeProperty().SetValue(PlaybackMode::Loop);
        m_scene.GetSettings().m_rFrameRate = 1;
        m_scene.SetRoot(m_pRoot);
        m_scene.Update(m_device, 0);
    }
    TestTimeline& Get(std::string const& sName) {
        return sName == "dialog" ? *m_pDialog
               : sName == "loop" ? *m_pLoop
               : sName == "root" ? *m_pRoot
                                 : *m_pStranger;
    }
};

std::string Find(Screen& screen, std::string const& sClass, std::string const& sPath) {
    Fault fault;
    Node& root = *screen.m_pRoot;
    Node* const pNode = sClass == "Sprite"     ? FindNode<Sprite>(root, sPath.c_str(), fault)
                        : sClass == "Text"     ? FindNode<Text>(root, sPath.c_str(), fault)
                        : sClass == "Timeline" ? FindNode<Timeline>(root, sPath.c_str(), fault)
                                               : FindNode<Node>(root, sPath.c_str(), fault);
    EXPECT_EQ(pNode != nullptr, fault.IsEmpty());
    return pNode ? String8(pNode->GetPath() + u", " + pNode->GetClassName()).GetData()
                 : "! " + fault.GetText();
}

/** Sets an animated property, updates, and tells what it has become. */
std::string Set(Screen& screen, std::string const& sName, std::string const& sType) {
    Animate<RealFloat>(screen.m_pText->GetOpacityProperty(), 0, {1, 0.75f, 0.5f});
    Fault fault;
    Node& node = *screen.m_pText;
    char const* const pName = sName.c_str();
    std::size_t const nBefore = AllocationCount();
    bool const fSet = sType == "float"    ? SetProperty(node, pName, 0.25f, fault)
                      : sType == "int"    ? SetProperty(node, pName, 1, fault)
                      : sType == "bool"   ? SetProperty(node, pName, false, fault)
                      : sType == "vector" ? SetProperty(node, pName, Vector3(1, 2, 3), fault)
                                          : SetProperty(node, pName, u"Ja", fault);
    EXPECT_TRUE(AllocationCount() == nBefore || !fSet || sType == "text");
    EXPECT_EQ(fSet, fault.IsEmpty());
    screen.m_scene.Update(screen.m_device, 1);
    TestText& text = *screen.m_pText;
    std::ostringstream result;
    result << fault.GetText() << (fSet ? "" : "; ") << "opacity " << text.GetOpacityProperty().GetValue()
           << (text.GetVisibleProperty().GetValue() ? ", " : ", hidden, ")
           << ToText("at", text.GetPositionProperty().GetValue()) << ", \""
           << String8(text.GetTextProperty().GetValue()).GetData() << "\"";
    return result.str();
}

/** Listens as the first words say, does the steps, and tells after which of them it was called. */
std::string Watch(Screen& screen, std::istringstream& words) {
    std::string kind, name, word, result;
    words >> kind >> name;
    TestTimeline& timeline = screen.Get(name.substr(0, name.find(':')));
    RealFloat frame = 0;
    if (kind == "frame") {
        words >> frame;
    }
    int nCalls = 0;
    bool fForgets = false;
    TimelineWatches::Handler const handler = [&](Timeline& ended) {
        EXPECT_EQ(&ended, &timeline);
        ++nCalls;
        if (fForgets) {
            screen.m_scene.Forget(ended);
        }
    };
    auto const listen = [&] {
        return kind == "end" ? screen.m_scene.OnEnd(timeline, handler)
                             : screen.m_scene.OnFrame(timeline, frame, handler);
    };
    bool fListens = listen();
    while (words >> word) {
        if (word == "without") {
            Allocation::FailAfter(0);
            fListens = listen();
            Allocation::FailNever();
            break;
        }
        word == "play"         ? timeline.Play()
        : word == "start"      ? timeline.SetFrame(0)
        : word == "seek"       ? timeline.SetFrame(3)
        : word == "forgotten:" ? screen.m_scene.Forget(timeline)
                               : void();
        if (word == "twice:") {
            EXPECT_TRUE(listen());
        }
        fForgets = fForgets || word == "forgets:";
        if (word == "go") {
            int const nBefore = nCalls;
            std::size_t const nAllocations = AllocationCount();
            screen.m_scene.Update(screen.m_device, static_cast<RealFloat>(++screen.m_nFrame));
            EXPECT_EQ(AllocationCount(), nAllocations);
            result += " " + std::to_string(nCalls - nBefore);
        }
    }
    return fListens ? "called" + result : "refused";
}

TEST(NodeAccess, GivesWhatTheTableSays) {
    CompareTable("nodes/access.txt", [](std::string const& sInput) {
        Screen screen;
        std::istringstream words(sInput);
        std::string what, first, second;
        words >> what;
        if (what == "watch") {
            return "  " + Watch(screen, words) + "\n";
        }
        words >> first >> second;
        return "  " + (what == "find" ? Find(screen, first, second) : Set(screen, first, second)) + "\n";
    });
}

TEST(NodeAccess, HandlersGoWithTheirRoot) {
    Screen screen;
    int nCalls = 0;
    TimelineWatches::Handler const handler = [&](Timeline&) {
        ++nCalls;
        screen.m_scene.SetRoot(nullptr);
    };
    EXPECT_FALSE(screen.m_scene.OnEnd(*screen.m_pDialog, TimelineWatches::Handler()));
    for (int n = 0; n < 2; ++n) {
        EXPECT_TRUE(screen.m_scene.OnFrame(*screen.m_pRoot, 2, handler));
    }
    for (int nFrame : {1, 2, 3}) {
        screen.m_scene.Update(screen.m_device, static_cast<RealFloat>(nFrame));
    }
    EXPECT_EQ(nCalls, 1) << "the first of two took the scene away";
    EXPECT_FALSE(screen.m_scene.OnEnd(*screen.m_pDialog, handler)) << "of no scene any more";
}

} // namespace
} // namespace trevik::kelvo::test
