// Scenes that are right become what the text beside them says; of those that are wrong it is said where and
// why.

#include "scene/SceneReader.h"

#include "TestScenes.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"
#include "scene/NodeDescription.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace trevik::kelvo::assets::testing {
namespace {

using kelvokit::test::IsGolden;
using kelvokit::test::ReadText;

std::string const Folder = KELVO_TEST_ASSETS "/scene/data/";

TEST(SceneReader, MakesWhatTheTextBesideEachSceneSays) {
    Scene scene; // also taken anew, each time whole
    for (std::string const& name : Files("scene/data")) {
        std::filesystem::path file = Folder + name;
        if (file.extension() == ".json") {
            Fault fault;
            ASSERT_TRUE(ReadScene(ReadText(file.string()), Folder, scene, fault)) << name << fault.GetText();
            EXPECT_TRUE(IsGolden(file.replace_extension(".txt").string(), DescribeScene(scene)));
        }
    }
}

TEST(SceneReader, SaysWhereAndWhyASceneIsWrong) {
    for (TextCase const& test : ReadCases("scene/data/errors.txt")) {
        std::string message = ErrorOf(test.text, Folder);
        std::size_t const at = message.find(Folder);
        message = at == message.npos ? message : message.replace(at, Folder.size(), "$FOLDER/");
        EXPECT_TRUE(IsMessage(message, test.expected)) << test.text;
    }
}

/** So many texts, in which "%" is their number, each on a line of its own. */
std::string Repeat(int nCount, std::string const& text, char const* pBetween = ",\n") {
    std::string all;
    for (int n = 0; n < nCount; ++n) {
        std::string each = text;
        std::size_t const at = each.find('%');
        all += (n == 0 ? "" : pBetween) + (at == each.npos ? each : each.replace(at, 1, std::to_string(n)));
    }
    return all;
}

/** A scene with so many fonts that have these keys, each on a line of its own. */
std::string ManyFonts(int nCount, std::string const& keys) {
    return "{\"nodes\": [], \"fonts\": {" +
           Repeat(nCount, R"("%": {"family": "DejaVu Sans", )" + keys + "}") + "}}";
}

/** A scene with so many resources of a kind, none of which is one. */
std::string ManyFaulty(char const* pKind, int nCount) {
    return "{\"nodes\": [], \"" + std::string(pKind) + "\": {" + Repeat(nCount, "\"%\": 0", ", ") + "}}";
}

TEST(SceneReader, KeepsToItsLimits) {
    std::string characters;
    for (int n = 0; n < 20000 - 95; ++n) { // as many as a font may have, with those of ASCII
        characters += String8(String16(String16::Format(u"%c", 0x4e00 + n))).GetData();
    }
    TextCase const cases[] = {
        {"{\"nodes\": [" +
             Repeat(
                 50,
                 R"({"class": "Sprite", "Opacity": {"keys": [{"frame": 0, "value": 0}, {"frame": 50000, "value": 0}, )"
                 R"({"frame": 99999, "value": 1}]}})") +
             "]}",
         "42: /nodes/41/Opacity/keys/2: the scene's animations have more frames together than a scene may "
         "have"},
        {"{\"nodes\": [{\"class\": \"Sprite\", \"Opacity\": {\"samples\": [" + Repeat(100001, "0", ",") +
             "]}}]}",
         "1: /nodes/0/Opacity/samples: expected at most 100000 frames, found 100001"},
        {"{\"nodes\": [" + Repeat(70, R"({"class": "TransformNode", "children": [)", ""),
         "1: arrays and objects are nested deeper than 128 levels"},
        {ManyFonts(1, "\"ranges\": [" + Repeat(11, "\"U+4E00-U+77FF\"", ", ") + "]"), // 10752 each
         "1: /fonts/0/ranges/9: the scene's ranges have more than 100000 characters together"},
        {ManyFonts(6, "\"characters\": \"" + characters + "\""),
         "6: /fonts/5: the scene's fonts have more than 100000 characters together"},
        {ManyFonts(200, "\"size\": 500"), "*the glyphs of the scene's fonts take more than 256 MiB"},
        {ManyFaulty("fonts", 256), "1: /fonts/0: expected a font*"},
        {ManyFaulty("fonts", 257), "1: /fonts: expected at most 256 fonts*"},
        {ManyFaulty("textures", 4096), "1: /textures/0: expected the path*"},
        {ManyFaulty("textures", 4097), "1: /textures: expected at most 4096 textures*"},
    };
    for (TextCase const& test : cases) {
        EXPECT_TRUE(IsMessage(ErrorOf(test.text), test.expected));
    }
}

/** Lines for a node and all below it: what it is, and the way to where it comes from. */
void DescribeOrigins(SceneNotes const& notes, Node& node, std::string& lines) {
    SceneOrigin const* const pOrigin = notes.Find(node);
    lines += DescribeNode(node, notes) +
             (pOrigin ? " " + pOrigin->className + " at '" + pOrigin->way + "'" : "") + "\n";
    if (auto* const pTimeline = dynamic_cast<Timeline*>(&node)) {
        for (Effect* const pEffect : pTimeline->GetEffects()) {
            lines += "effect " + notes.Find(*pEffect)->className + " " + notes.Find(*pEffect)->way + "\n";
        }
        if (pTimeline->GetCamera()) {
            DescribeOrigins(notes, *pTimeline->GetCamera(), lines);
        }
    } else if (auto* const pText = dynamic_cast<Text*>(&node)) {
        if (pText->GetBackground()) {
            DescribeOrigins(notes, *pText->GetBackground(), lines);
        }
    }
    for (Node* const pChild : node.GetChildren()) {
        DescribeOrigins(notes, *pChild, lines);
    }
}

TEST(SceneReader, NotesWhereNodesComeFromAndWhatFilesWereRead) {
    std::string const text = R"({"textures": {"a": "plain.png", "b": "plain.png"}, "camera": {"name": "eye"},
        "fonts": {"title": {"file": "title.fnt"}}, "nodes": [
        {"class": "Timeline", "camera": {"class": "Camera"},
         "effects": [{"class": "GaussianBlurEffect"}, {"class": "GaussianBlurEffect"}], "children": [
            {"class": "TransformNode", "name": "two\nlines"},

            {"class": "Text", "font": "title", "name": "t",
             "background": {"class": "NinePatchSprite", "texture": "a", "children": [{"class": "Camera"}]}}]},
        {"class": "Sprite"}]})";
    ClassRegistry registry;
    RegisterBackend(registry);
    Scene scene;
    Fault fault;
    SceneNotes notes;
    ByteSpan const bytes{reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
    ASSERT_TRUE(ReadSceneText(bytes, "scene.json", Folder, registry, scene, fault, &notes))
        << fault.GetText();
    std::string lines;
    DescribeOrigins(notes, *scene.GetRoot(), lines);
    EXPECT_EQ(lines, R"(Timeline  scene.json:1 Timeline at ''
Camera "eye"  scene.json:1 Camera at '/camera'
Timeline  scene.json:3 Timeline at '/nodes/0'
effect GaussianBlurEffect /nodes/0/effects/0
effect GaussianBlurEffect /nodes/0/effects/1
Camera  scene.json:3 Camera at '/nodes/0/camera'
TransformNode "two?lines"  scene.json:5 TransformNode at '/nodes/0/children/0'
Text "t"  scene.json:7 Text at '/nodes/0/children/1'
NinePatchSprite  scene.json:8 NinePatchSprite at '/nodes/0/children/1/background'
Camera  scene.json:8 Camera at '/nodes/0/children/1/background/children/0'
Sprite  scene.json:9 Sprite at '/nodes/1'
)");
    EXPECT_EQ(notes.GetFiles(),
              (std::vector<std::string>{Folder + "plain.png", Folder + "title.fnt", Folder + "page.png"}));
    std::string plain;
    DescribeOrigins(SceneNotes(), *scene.GetRoot()->GetChild(0)->GetChild(0), plain);
    EXPECT_EQ(plain, "TransformNode  /#0/two?lines\n");
    // What cannot be read is waited for all the same.
    std::string const wrong = R"({"textures": {"a": "none.png"}, "nodes": []})";
    EXPECT_FALSE(ReadSceneText({reinterpret_cast<std::uint8_t const*>(wrong.data()), wrong.size()},
                               "scene.json", "nowhere/", registry, scene, fault, &notes));
    EXPECT_EQ(notes.GetFiles(), (std::vector<std::string>{"nowhere/none.png"}));
}

TEST(SceneReader, ReadsTheShowcase) {
    ClassRegistry registry;
    RegisterBackend(registry);
    Scene scene;
    Fault fault;
    ASSERT_TRUE(assets::ReadScene(KELVO_EXAMPLES "/showcase/scene.json", registry, scene, fault))
        << fault.GetText();
    EXPECT_FALSE(assets::ReadScene(KELVO_EXAMPLES "/showcase/nothing.json", registry, scene, fault));
    EXPECT_EQ(fault.GetText(),
              KELVO_EXAMPLES "/showcase/nothing.json: cannot be opened: No such file or directory");
    EXPECT_TRUE(scene.GetRoot()) << "a failed read took the scene away";
}

} // namespace
} // namespace trevik::kelvo::assets::testing
