// What is wrong with a scene file is said with its place, and with the name that was meant.

#include "TestScenes.h"

#include <gtest/gtest.h>

#include <string>

namespace trevik::kelvo::assets::testing {
namespace {

struct BadScene {
    std::string text;
    char const* pError;
};

void ExpectErrors(std::initializer_list<BadScene> scenes) {
    for (BadScene const& bad : scenes) {
        EXPECT_EQ(ErrorOf(bad.text), bad.pError) << bad.text;
    }
}

TEST(SceneErrors, OfTheSceneItself) {
    ExpectErrors({
        {"[]", R"(1: expected a scene: an object with "nodes", found an empty array)"},
        {"{}", R"(1: there is no "nodes")"},
        {R"({"nodes": {}})", "1: /nodes: expected an array of nodes, found an object"},
        {"{\"nodes\": [],\n\"node\": []}", R"(2: /node: unknown key "node"; did you mean "nodes"?)"},
        {"{\"nodes\": [],\n\"nodes\": []}", R"(2: "nodes" stands twice in the same object, first on line 1)"},
        {R"({"nodes": [], "frameRate": 0})", "1: /frameRate: expected a number from 0.001 to 1000, found 0"},
        {R"({"nodes": [], "frames": [4, 3]})",
         "1: /frames/1: expected a frame not before 4, the first one, found 3"},
        {R"({"nodes": [], "frames": [0, 1.5]})", "1: /frames/1: expected a whole number, found 1.5"},
        {R"({"nodes": [], "frames": 3})",
         "1: /frames: expected 2 frames: the first and the last one, found 3"},
        {R"({"nodes": [], "surface": {"size": [0, 9]}})",
         "1: /surface/size/0: expected a whole number from 1 to 16384, found 0"},
        {R"({"nodes": [], "surface": {"format": "rgb8888"}})",
         R"(1: /surface/format: unknown surface format "rgb8888"; did you mean "rgb888"?)"},
        {R"({"nodes": [], "clearColor": "#12345"})",
         "1: /clearColor: expected a colour: 3 or 4 numbers from 0 to 1, \"#rrggbb\" or \"#rrggbbaa\", found "
         "string \"#12345\""},
        {R"({"nodes": [], "clearColor": "#12345g"})",
         "1: /clearColor: expected a colour: 3 or 4 numbers from 0 to 1, \"#rrggbb\" or \"#rrggbbaa\", found "
         "string \"#12345g\""},
        {R"({"nodes": [], "textures": {"a": {"fle": "x.png"}}})",
         R"(1: /textures/a/fle: unknown key "fle"; did you mean "file"?)"},
        {R"({"nodes": [], "textures": {"a": {"file": ""}}})",
         R"(1: /textures/a/file: expected the path of an image file, found string "")"},
        {R"({"nodes": [], "textures": {"a": 4}})",
         R"(1: /textures/a: expected the path of an image file, or an object with "file", found 4)"},
        {R"({"nodes": [], "textures": {"a": {"file": "x.png", "format": "rgb555"}}})",
         R"(1: /textures/a/format: unknown texture format "rgb555"; did you mean "rgb565"?)"},
        {R"({"nodes": [})",
         "1:12: syntax error while parsing value - unexpected '}'; expected '[', '{', or a literal"},
    });
}

TEST(SceneErrors, OfNodes) {
    ExpectErrors({
        {SceneOf("7"), R"(1: /nodes/0: expected a node: an object with "class", found 7)"},
        {SceneOf("{}"), R"(1: /nodes/0: there is no "class")"},
        {SceneOf(R"({"class": "Sprit"})"),
         R"(1: /nodes/0/class: unknown class "Sprit"; did you mean "Sprite"?)"},
        {SceneOf(R"({"class": "Wobble"})"),
         "1: /nodes/0/class: unknown class \"Wobble\"; known are "
         "\"Timeline\", \"TransformNode\", \"Sprite\", \"NinePatchSprite\", \"Text\" and \"Camera\""},
        {SceneOf(R"({"class": "Texture"})"), R"(1: /nodes/0/class: class "Texture" is no class of nodes)"},
        {SceneOf(R"({"class": "Font"})"), R"(1: /nodes/0/class: class "Font" is no class of nodes)"},
        {SceneOf("{\"class\": \"Spri\\nte\"}"),
         R"(1: /nodes/0/class: unknown class "Spri?te"; did you mean "Sprite"?)"},
        {SceneOf("{\"class\": \"Sprite\",\n\"Positoin\": [0, 0, 0]}"),
         R"(2: /nodes/0/Positoin: unknown property or key "Positoin"; did you mean "Position"?)"},
        {SceneOf(R"({"class": "Sprite", "position": [0, 0, 0]})"),
         R"(1: /nodes/0/position: unknown property or key "position"; did you mean "Position"?)"},
        {SceneOf(R"({"class": "Timeline", "texture": "a"})"),
         R"(1: /nodes/0/texture: unknown property or key "texture")"},
        {SceneOf(R"({"class": "Sprite", "texture": "a"})"), R"(1: /nodes/0/texture: unknown texture "a")"},
        {SceneOf(R"({"class": "Sprite", "name": 3})"), "1: /nodes/0/name: expected a string, found 3"},
        {SceneOf(R"({"class": "Sprite", "children": [{"class": "Sprite"}, {"class": 1}]})"),
         "1: /nodes/0/children/1/class: expected a string, found 1"},
        {SceneOf(R"({"class": "Timeline", "timeMap": "linera"})"),
         R"(1: /nodes/0/timeMap: unknown easing "linera"; did you mean "linear"?)"},
        {SceneOf(R"({"class": "Timeline", "camera": {"class": "Sprite"}})"),
         R"(1: /nodes/0/camera/class: class "Sprite" is no class of cameras)"},
        {SceneOf(R"({"class": "Timeline", "camera": {"children": []}})"),
         "1: /nodes/0/camera/children: unknown property or key \"children\"; known are \"Position\", "
         "\"Rotation\", \"Pivot\", \"Scale\", \"Stretch\", \"Opacity\", \"Visible\", \"CameraDepth\", "
         "\"Selectable\", \"Orthographic\", \"HorizontalFieldOfView\", \"VerticalFieldOfView\", \"Near\", "
         "\"Far\", \"ViewRectangle\", \"class\", \"name\" and \"lens\""},
        {SceneOf(R"({"class": "Timeline", "camera": {"lens": {"filmWidth": 36}}})"),
         R"(1: /nodes/0/camera/lens: there is no "size")"},
        {SceneOf(R"({"class": "Sprite", "masks": [[[0, 0, 0], [1, 1, 1]]]})"),
         "1: /nodes/0/masks/0: expected a mask: an array of 3-number corners, three to a triangle, found an "
         "array of 2"},
        {SceneOf(R"({"class": "Sprite", "effects": [{"class": "GausianBlurEffect"}]})"),
         "1: /nodes/0/effects/0/class: unknown class of effects \"GausianBlurEffect\"; did you mean "
         "\"GaussianBlurEffect\"?"},
        {SceneOf(R"({"class": "Sprite", "effects": [{"class": "Sprite"}]})"),
         "1: /nodes/0/effects/0/class: unknown class of effects \"Sprite\"; known are "
         "\"GaussianBlurEffect\", \"DirectionalBlurEffect\" and \"BlendModeEffect\""},
        {SceneOf(R"({"class": "Sprite", "Size": {"samples": [[1, 2]]}})"),
         "1: /nodes/0/Size: a sprite's corners are placed when it is loaded, so its size cannot be animated; "
         "animate Scale"},
    });
}

/** Of a sprite with one member, whose place follows the sprite's. */
void ExpectMemberErrors(std::initializer_list<BadScene> members) {
    for (BadScene const& bad : members) {
        EXPECT_EQ(ErrorOf(SceneOf(R"({"class": "NinePatchSprite", )" + bad.text + "}")),
                  std::string("1: /nodes/0/") + bad.pError);
    }
}

TEST(SceneErrors, OfValues) {
    ExpectMemberErrors({
        {R"("Position": "left")", R"(Position: expected 3 numbers, found string "left")"},
        {R"("Position": [1, 2])", "Position: expected 3 numbers, found an array of 2"},
        {R"("Position": [1, true, 2])", "Position/1: expected a number, found true"},
        {R"("Position": [1, 1e10, 2])", "Position/1: expected a number from -1e+09 to 1e+09, found 1e+10"},
        {R"("Visible": 1)", "Visible: expected true or false, found 1"},
        {R"("Size": [1, -1])", "Size/1: expected a whole number from 0 to 2147483647, found -1"},
        {R"("Size": [1, 2.5])", "Size/1: expected a whole number, found 2.5"},
        {R"("Color": [0, 0, 1.1])", "Color/2: expected a number from 0 to 1, found 1.1"},
        {R"("Color": "#11223344")", "Color: expected a colour: 3 numbers from 0 to 1 or "
                                    "\"#rrggbb\", found string \"#11223344\""},
        {R"("BlendMode": "scren")", R"(BlendMode: unknown value "scren"; did you mean "screen"?)"},
        {R"("BlendMode": 1e12)",
         "BlendMode: expected a whole number from -2147483648 to 2147483647, found 1e+12"},
        {R"("NinePatchPairX": [[1, 2], [3]])",
         "NinePatchPairX/1: expected 2 whole numbers, found an array of 1"},
        {R"("ContentMargin": [1, 2, 3])",
         "ContentMargin: expected 4 numbers: left, top, right, bottom, found an array of 3"},
        {R"("Opacity": null)", "Opacity: expected a number, found null"},
    });
}

TEST(SceneErrors, OfAnimations) {
    std::string const tooMany =
        R"("Opacity": {"keys": [{"frame": 0, "value": 0}, {"frame": 100000, "value": 1}]})";
    ExpectMemberErrors({
        {R"("Opacity": {})", R"(Opacity: there is no "samples")"},
        {R"("Opacity": {"key": []})", R"(Opacity/key: unknown key "key"; known are "samples" and "start")"},
        {R"("Opacity": {"keys": [], "start": 1})", R"(Opacity/start: unknown key "start"; known are "keys")"},
        {R"("Opacity": {"samples": []})",
         "Opacity/samples: expected at least one value, found an empty array"},
        {R"("Opacity": {"samples": [0, "x"]})", R"(Opacity/samples/1: expected a number, found string "x")"},
        {R"("Opacity": {"samples": [0], "start": 0.5})", "Opacity/start: expected a whole number, found 0.5"},
        {R"("Opacity": {"keys": []})", "Opacity/keys: expected at least one key, found an empty array"},
        {R"("Opacity": {"keys": [1]})",
         R"(Opacity/keys/0: expected a key: an object with "frame" and "value", found 1)"},
        {R"("Opacity": {"keys": [{"frame": 1}]})", R"(Opacity/keys/0: there is no "value")"},
        {R"("Opacity": {"keys": [{"frame": 5, "value": 0}, {"frame": 5, "value": 1}]})",
         "Opacity/keys/1/frame: expected a frame after 5, the key's before, found 5"},
        {R"("Opacity": {"keys": [{"frame": 0, "value": 0, "ease": "eseInOut"}]})",
         R"(Opacity/keys/0/ease: unknown easing "eseInOut"; did you mean "easeInOut"?)"},
        {R"("Opacity": {"keys": [{"frame": 0, "value": 0, "easing": "linear"}]})",
         "Opacity/keys/0/easing: unknown key \"easing\"; known are \"frame\", \"value\" and \"ease\""},
        {tooMany, "Opacity/keys/1: expected at most 100000 frames, found 100001"},
        {R"("NinePatchPairX": {"samples": [[[1, 2]]]})",
         "NinePatchPairX: \"NinePatchPairX\" cannot be animated; expected an array of pairs of whole "
         "numbers"},
    });
}

TEST(SceneErrors, KeepsToTheLimitOfAllAnimations) {
    std::string text;
    for (int n = 0; n < 50; ++n) {
        text += (n == 0 ? "" : ",\n") + std::string(R"({"class": "Sprite", "Opacity": {"keys": [)") +
                R"({"frame": 0, "value": 0}, {"frame": 99999, "value": 1}]}})";
    }
    EXPECT_EQ(ErrorOf(SceneOf(text)), "42: /nodes/41/Opacity/keys/1: the scene's animations have more frames "
                                      "together than a scene may have");
}

TEST(SceneErrors, KeepsToTheLimitOfNesting) {
    std::string text;
    for (int n = 0; n < 70; ++n) {
        text += R"({"class": "TransformNode", "children": [)";
    }
    EXPECT_EQ(ErrorOf(SceneOf(text)), "1: arrays and objects are nested deeper than 128 levels");
}

} // namespace
} // namespace trevik::kelvo::assets::testing
