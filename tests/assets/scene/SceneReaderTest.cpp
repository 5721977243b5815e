// Scenes that are right become what the text beside them says; of those that are wrong it is said where and
// why.

#include "scene/SceneReader.h"

#include "TestScenes.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"
#include "scene/NodeDescription.h"

#include <gtest/gtest.h>

#include <algorithm>
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
            EXPECT_TRUE(IsSavedAlike(scene)) << name;
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

// Fonts of files, of pictures and of meshes; one has a glyph that is a picture, and one is of a description.
TEST(SceneReader, FontsOfFilesMakeTheGlyphsOfTextsThatChange) {
    char const* const pScene = R"({
        "fonts": {"pictures": {"family": "DejaVu Sans", "images": {"☀": "plain.png"}},
                  "outlines": {"family": "DejaVu Serif", "kind": "outline"},
                  "unused": {"family": "DejaVu Sans Mono"},
                  "described": {"file": "title.fnt"}},
        "nodes": [{"class": "Text", "name": "a", "font": "pictures", "Text": "☀ sun"},
                  {"class": "Text", "name": "b", "font": "outlines", "Text": "sun"},
                  {"class": "Text", "name": "c", "font": "described", "Text": "12"}]})";
    ClassRegistry registry; // the default, by which pages are created
    RegisterBackend(registry);
    Scene scene;
    Fault fault;
    ASSERT_TRUE(ReadScene(pScene, Folder, scene, fault)) << fault.GetText();
    for (char16_t const* pName : {u"a", u"b"}) {
        Text* const pText = static_cast<Text*>(scene.GetRoot()->FindNode(pName));
        pText->GetTextProperty().SetValue(u"☀ Солнце");
        RectangleT<RealFloat> rectangle;
        pText->GetTextRenderRect(rectangle);
        EXPECT_TRUE(pText->GetFont()->GetGlyph(0x446));
        EXPECT_EQ(pText->GetFont()->GetGlyph(0x2600)->m_fImage, pName[0] == u'a');
    }
    EXPECT_FALSE(GlyphSource::Find(*static_cast<Text*>(scene.GetRoot()->FindNode(u"c"))->GetFont()));
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

/** A scene with a node of the last of templates that each have the one before it so many times. */
std::string Doubling(int nTemplates, int nTimes) {
    std::string all = R"({"templates": {"t0": {"node": {"class": "TransformNode"}})";
    for (int n = 1; n <= nTemplates; ++n) {
        all += ",\n\"t" + std::to_string(n) + R"(": {"node": {"class": "TransformNode", "children": [)" +
               Repeat(nTimes, "{\"use\": \"t" + std::to_string(n - 1) + "\"}", ", ") + "]}}";
    }
    return all + "},\n\"nodes\": [{\"use\": \"t" + std::to_string(nTemplates) + "\"}]}";
}

/** A scene with a name that begins with 32 bytes and is doubled so many times. */
std::string Lengthening(int nTimes) {
    std::string all = "{\"constants\": {\"c0\": \"" + std::string(32, 'x') + "\"";
    for (int n = 1; n <= nTimes; ++n) {
        std::string const before = "${c" + std::to_string(n - 1) + "}";
        all += ", \"c" + std::to_string(n) + "\": \"" + before + before + "\"";
    }
    return all + "}, \"nodes\": []}";
}

/** A scene with so many constants that each have the one before them 100 arrays deep. */
std::string Deepening(int nConstants) {
    std::string all = R"({"constants": {"c0": 1)";
    for (int n = 1; n <= nConstants; ++n) {
        all += ", \"c" + std::to_string(n) + "\": " + std::string(100, '[') + "\"$c" + std::to_string(n - 1) +
               "\"" + std::string(100, ']');
    }
    return all + "}, \"nodes\": []}";
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
        {Doubling(25, 2), "*: templates and constants add more than 1048576 values"},
        {Doubling(33, 1),
         "3 (template \"t2\", used at scene.json:4; *; ...): *: more than 32 templates inside each other"},
        {Deepening(3), "1 (for $c1 at scene.json:1): /constants/c2/*: arrays and objects are nested deeper "
                       "than 128 levels, with what "
                       "templates add"},
        {"{\"templates\": {\"a\": {\"node\": {}, \"parameters\": {" + Repeat(257, "\"p%\": 0", ", ") +
             "}}}, \"nodes\": []}",
         "1: /templates/a/parameters: expected at most 256 parameters, found an object"},
        {Lengthening(16), "1: /constants/c16: the text becomes longer than 1048576 bytes"},
        {ManyFaulty("fonts", 256), "1: /fonts/0: expected a font*"},
        {ManyFaulty("fonts", 257), "1: /fonts: expected at most 256 fonts*"},
        {ManyFaulty("textures", 4096), "1: /textures/0: expected the path*"},
        {ManyFaulty("textures", 4097), "1: /textures: expected at most 4096 textures*"},
    };
    for (TextCase const& test : cases) {
        std::string const errors = ErrorOf(test.text); // what is wrong everywhere is told up to a limit
        EXPECT_TRUE(IsMessage(errors.substr(0, errors.find('\n')), test.expected));
        long const nErrors = std::count(errors.begin(), errors.end(), '\n') + 1;
        EXPECT_TRUE(nErrors == 1 || (nErrors == 21 && errors.substr(errors.size() - 4) == "\n...")) << errors;
    }
}

TEST(SceneReader, SaysTogetherAllThatIsWrongAndNothingThatFollowsFromIt) {
    struct {
        char const* pText;
        char const* pErrors;
    } const cases[] = {
        {R"({"surface": {"size": [0, 1], "format": "rgb"}, "frameRate": 0, "frames": [2, 1], "clearColor": "#red",
"textures": {"none": "none.png", "plain": "plain.png", "key": {"fil": "plain.png", "mipLevel": true}},
"fonts": {"none": {"file": "none.ttf"}, "broken": {"file": "broken.fnt"}, "title": {"file": "title.fnt"},
          "images": {"file": "title.fnt", "images": {"A": "none", "B": "nowhere.png"}}},
"camera": {"Near": "x", "lens": 1, "Far": 2}, "nodes": [{"class": "None", "texture": 3, "children": [
  {"class": "Text", "font": "none", "background": {"class": "NinePatchSprite", "texture": "none"}},
  {"class": "Text", "fnt": "title", "name": 1},
  {"class": "Text", "font": "broken"}, {"class": "Text", "font": "other"},
  {"class": "NinePatchSprite", "texture": "none", "stretchTo": [9, 9]}]}]})",
         R"(1: /surface/size/0: expected a whole number from 1 to 16384, found 0
1: /surface/format: unknown surface format "rgb"; known are "rgb565", "rgb888", "rgbx8888" and "rgba8888"
1: /frameRate: expected a number from 0.001 to 1000, found 0
1: /frames/1: expected a frame not before 2, the first one, found 1
1: /clearColor: expected a colour: 3 or 4 numbers from 0 to 1, "#rrggbb[aa]", "#rgb[a]" or a name, found string "#red"
2: /textures/none: none.png: cannot be opened: No such file or directory
2: /textures/key/fil: unknown key "fil"; did you mean "file"?
2: /textures/key/mipLevel: unknown key "mipLevel"; did you mean "mipLevels"?
3: /fonts/none/file: none.ttf: cannot be opened: No such file or directory
4: /fonts/images/images/B: nowhere.png: cannot be opened: No such file or directory
5: /camera/lens: expected an object with "focalLength", "filmWidth" and "size", found 1
5: /camera/Near: expected a number, found string "x"
5: /nodes/0/class: unknown class "None"; known are "Timeline", "TransformNode", "Sprite", "NinePatchSprite", "Text" and "Camera"
7: /nodes/0/children/1/fnt: unknown property or key "fnt"; did you mean "font"?
7: /nodes/0/children/1/name: expected a string, found 1
8: /nodes/0/children/3/font: unknown font "other"; known are "broken", "images", "none" and "title"
3: /fonts/broken: broken.fnt: is no bitmap font description, neither as text, nor XML, nor binary)"},
        {R"({"nodes": [
{"class": "Sprite", "texture": "none", "Opacity": "x", "Antialias": 2,
 "masks": [1, [[0, 0, 0], [1, 0, 0], [0, 1, 0]], []],
 "effects": [{"class": "None"}, {"class": "BlendModeEffect"}, {"class": "GaussianBlurEffect", "BlurAmount": true}]},
{"class": "Timeline", "playing": 1, "frameRate": "x", "timeMap": 1, "camera": {"class": "Sprite"}, "children": 1},
{"class": "Text"}, {}]})",
         R"(2: /nodes/0/Opacity: expected a number, found string "x"
2: /nodes/0/Antialias: expected true or false, found 2
2: /nodes/0/texture: unknown texture "none"
3: /nodes/0/masks/0: expected a mask: an array of 3-number corners, three to a triangle, found 1
3: /nodes/0/masks/2: expected a mask: an array of 3-number corners, three to a triangle, found an empty array
4: /nodes/0/effects/0/class: unknown class of effects "None"; known are "GaussianBlurEffect", "DirectionalBlurEffect", "BlendModeEffect", "GroupOpacityEffect" and "BackdropBlurEffect"
4: /nodes/0/effects/2/BlurAmount: expected a number, found true
5: /nodes/1/frameRate: expected a number, found string "x"
5: /nodes/1/playing: expected true or false, found 1
5: /nodes/1/timeMap: expected a string, found 1
5: /nodes/1/camera/class: class "Sprite" is no class of cameras
5: /nodes/1/children: expected an array of nodes, found 1
6: /nodes/2: there is no "font"
6: /nodes/3: there is no "class")"},
        {R"({"texture": {"a": "plain.png"}, "font": {}, "node": [], "nodes": [
            {"class": "Sprite", "texture": "a"}, {"class": "Text", "font": "b"}]})",
         R"(1: /texture: unknown key "texture"; did you mean "textures"?
1: /font: unknown key "font"; did you mean "fonts"?
1: /node: unknown key "node"; did you mean "nodes"?)"},
        {R"({"textures": 1, "fonts": 2, "nodes": [
            {"class": "Sprite", "texture": "a"}, {"class": "Text", "font": "b"}]})",
         R"(1: /textures: expected an object with a texture under each name, found 1
1: /fonts: expected an object with a font under each name, found 2)"},
    };
    for (auto const& test : cases) {
        std::string errors = ErrorOf(test.pText, Folder);
        for (std::size_t at = 0; (at = errors.find(Folder)) != errors.npos;) {
            errors.replace(at, Folder.size(), "");
        }
        EXPECT_EQ(errors, test.pErrors);
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
        {"class": "Sprite"},
        {"class": "NinePatchSprite", "Size": [2, 2], "stretchTo": [4, 4], "children": [
            {"use": "leaf", "children": [{"class": "Text", "font": "title"}]}]}],
        "templates": {"leaf": {"node": {"class": "Sprite", "name": "leaf", "children": [{"class": "Camera"}]}}}})";
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
NinePatchSprite  scene.json:10 NinePatchSprite at '/nodes/2'
TransformNode  scene.json:10 TransformNode at '/nodes/2'
Sprite "leaf"  scene.json:12 (template "leaf", used at scene.json:11) Sprite at '/nodes/2/children/0'
Camera  scene.json:12 (template "leaf", used at scene.json:11) Camera at '/nodes/2/children/0/children/0'
Text  scene.json:11 Text at '/nodes/2/children/0/children/1'
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
