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
        {"[]", "1: expected a scene: an object with \"nodes\", found an empty array"},
        {"{}", "1: there is no \"nodes\""},
        {"{\"nodes\": {}}", "1: /nodes: expected an array of nodes, found an object"},
        {"{\"nodes\": [],\n\"node\": []}", "2: /node: unknown key \"node\"; did you mean \"nodes\"?"},
        {"{\"nodes\": [],\n\"nodes\": []}", "2: \"nodes\" stands twice in the same object, first on line 1"},
        {"{\"nodes\": [], \"frameRate\": 0}", "1: /frameRate: expected a number from 0.001 to 1000, found 0"},
        {"{\"nodes\": [], \"frames\": [4, 3]}",
         "1: /frames/1: expected a frame not before 4, the first one, found 3"},
        {"{\"nodes\": [], \"frames\": [0, 1.5]}", "1: /frames/1: expected a whole number, found 1.5"},
        {"{\"nodes\": [], \"frames\": 3}",
         "1: /frames: expected 2 frames: the first and the last one, found 3"},
        {"{\"nodes\": [], \"surface\": {\"size\": [0, 9]}}",
         "1: /surface/size/0: expected a whole number from 1 to 16384, found 0"},
        {"{\"nodes\": [], \"surface\": {\"format\": \"rgb8888\"}}",
         "1: /surface/format: unknown surface format \"rgb8888\"; did you mean \"rgb888\"?"},
        {"{\"nodes\": [], \"clearColor\": \"#12345\"}",
         "1: /clearColor: expected a colour: 3 or 4 numbers from 0 to 1, \"#rrggbb\" or \"#rrggbbaa\", found "
         "string "
         "\"#12345\""},
        {"{\"nodes\": [], \"clearColor\": \"#12345g\"}",
         "1: /clearColor: expected a colour: 3 or 4 numbers from 0 to 1, \"#rrggbb\" or \"#rrggbbaa\", found "
         "string "
         "\"#12345g\""},
        {"{\"nodes\": [], \"textures\": {\"a\": {\"fle\": \"x.png\"}}}",
         "1: /textures/a/fle: unknown key \"fle\"; did you mean \"file\"?"},
        {"{\"nodes\": [], \"textures\": {\"a\": {\"file\": \"\"}}}",
         "1: /textures/a/file: expected the path of an image file, found string \"\""},
        {"{\"nodes\": [], \"textures\": {\"a\": 4}}",
         "1: /textures/a: expected the path of an image file, or an object with \"file\", found 4"},
        {"{\"nodes\": [], \"textures\": {\"a\": {\"file\": \"x.png\", \"format\": \"rgb555\"}}}",
         "1: /textures/a/format: unknown texture format \"rgb555\"; did you mean \"rgb565\"?"},
        {"{\"nodes\": [}",
         "1:12: syntax error while parsing value - unexpected '}'; expected '[', '{', or a literal"},
    });
}

TEST(SceneErrors, OfNodes) {
    ExpectErrors({
        {SceneOf("7"), "1: /nodes/0: expected a node: an object with \"class\", found 7"},
        {SceneOf("{}"), "1: /nodes/0: there is no \"class\""},
        {SceneOf("{\"class\": \"Sprit\"}"),
         "1: /nodes/0/class: unknown class \"Sprit\"; did you mean \"Sprite\"?"},
        {SceneOf("{\"class\": \"Wobble\"}"), "1: /nodes/0/class: unknown class \"Wobble\"; known are "
                                             "\"Timeline\", \"TransformNode\", \"Sprite\", "
                                             "\"NinePatchSprite\", \"Text\" and \"Camera\""},
        {SceneOf("{\"class\": \"Texture\"}"), "1: /nodes/0/class: class \"Texture\" is no class of nodes"},
        {SceneOf("{\"class\": \"Font\"}"), "1: /nodes/0/class: class \"Font\" is no class of nodes"},
        {SceneOf("{\"class\": \"Spri\\nte\"}"),
         "1: /nodes/0/class: unknown class \"Spri?te\"; did you mean \"Sprite\"?"},
        {SceneOf("{\"class\": \"Sprite\",\n\"Positoin\": [0, 0, 0]}"),
         "2: /nodes/0/Positoin: unknown property or key \"Positoin\"; did you mean \"Position\"?"},
        {SceneOf("{\"class\": \"Sprite\", \"position\": [0, 0, 0]}"),
         "1: /nodes/0/position: unknown property or key \"position\"; did you mean \"Position\"?"},
        {SceneOf("{\"class\": \"Timeline\", \"texture\": \"a\"}"),
         "1: /nodes/0/texture: unknown property or key \"texture\""},
        {SceneOf("{\"class\": \"Sprite\", \"texture\": \"a\"}"),
         "1: /nodes/0/texture: unknown texture \"a\""},
        {SceneOf("{\"class\": \"Sprite\", \"name\": 3}"), "1: /nodes/0/name: expected a string, found 3"},
        {SceneOf("{\"class\": \"Sprite\", \"children\": [{\"class\": \"Sprite\"}, {\"class\": 1}]}"),
         "1: /nodes/0/children/1/class: expected a string, found 1"},
        {SceneOf("{\"class\": \"Timeline\", \"timeMap\": \"linera\"}"),
         "1: /nodes/0/timeMap: unknown easing \"linera\"; did you mean \"linear\"?"},
        {SceneOf("{\"class\": \"Timeline\", \"camera\": {\"class\": \"Sprite\"}}"),
         "1: /nodes/0/camera/class: class \"Sprite\" is no class of cameras"},
        {SceneOf("{\"class\": \"Timeline\", \"camera\": {\"children\": []}}"),
         "1: /nodes/0/camera/children: unknown property or key \"children\"; known are \"Position\", "
         "\"Rotation\", "
         "\"Pivot\", \"Scale\", \"Stretch\", \"Opacity\", \"Visible\", \"CameraDepth\", \"Selectable\", "
         "\"Orthographic\", "
         "\"HorizontalFieldOfView\", \"VerticalFieldOfView\", \"Near\", \"Far\", \"ViewRectangle\", "
         "\"class\", "
         "\"name\" and \"lens\""},
        {SceneOf("{\"class\": \"Timeline\", \"camera\": {\"lens\": {\"filmWidth\": 36}}}"),
         "1: /nodes/0/camera/lens: there is no \"size\""},
        {SceneOf("{\"class\": \"Sprite\", \"masks\": [[[0, 0, 0], [1, 1, 1]]]}"),
         "1: /nodes/0/masks/0: expected a mask: an array of 3-number corners, three to a triangle, found an "
         "array of 2"},
        {SceneOf("{\"class\": \"Sprite\", \"effects\": [{\"class\": \"GausianBlurEffect\"}]}"),
         "1: /nodes/0/effects/0/class: unknown class of effects \"GausianBlurEffect\"; did you mean "
         "\"GaussianBlurEffect\"?"},
        {SceneOf("{\"class\": \"Sprite\", \"effects\": [{\"class\": \"Sprite\"}]}"),
         "1: /nodes/0/effects/0/class: unknown class of effects \"Sprite\"; known are "
         "\"GaussianBlurEffect\", "
         "\"DirectionalBlurEffect\" and \"BlendModeEffect\""},
    });
}

/** A sprite with one member. */
std::string With(std::string const& member) {
    return SceneOf("{\"class\": \"NinePatchSprite\", " + member + "}");
}

TEST(SceneErrors, OfValues) {
    ExpectErrors({
        {With("\"Position\": \"left\""), "1: /nodes/0/Position: expected 3 numbers, found string \"left\""},
        {With("\"Position\": [1, 2]"), "1: /nodes/0/Position: expected 3 numbers, found an array of 2"},
        {With("\"Position\": [1, true, 2]"), "1: /nodes/0/Position/1: expected a number, found true"},
        {With("\"Position\": [1, 1e10, 2]"),
         "1: /nodes/0/Position/1: expected a number from -1e+09 to 1e+09, found 1e+10"},
        {With("\"Visible\": 1"), "1: /nodes/0/Visible: expected true or false, found 1"},
        {With("\"Size\": [1, -1]"),
         "1: /nodes/0/Size/1: expected a whole number from 0 to 2147483647, found -1"},
        {With("\"Size\": [1, 2.5]"), "1: /nodes/0/Size/1: expected a whole number, found 2.5"},
        {With("\"Color\": [0, 0, 1.1]"), "1: /nodes/0/Color/2: expected a number from 0 to 1, found 1.1"},
        {With("\"Color\": \"#11223344\""), "1: /nodes/0/Color: expected a colour: 3 numbers from 0 to 1 or "
                                           "\"#rrggbb\", found string \"#11223344\""},
        {With("\"BlendMode\": \"scren\""),
         "1: /nodes/0/BlendMode: unknown value \"scren\"; did you mean \"screen\"?"},
        {With("\"BlendMode\": 1e12"),
         "1: /nodes/0/BlendMode: expected a whole number from -2147483648 to 2147483647, found 1e+12"},
        {With("\"NinePatchPairX\": [[1, 2], [3]]"),
         "1: /nodes/0/NinePatchPairX/1: expected 2 whole numbers, found an array of 1"},
        {With("\"ContentMargin\": [1, 2, 3]"),
         "1: /nodes/0/ContentMargin: expected 4 numbers: left, top, right, bottom, found an array of 3"},
        {With("\"Opacity\": null"), "1: /nodes/0/Opacity: expected a number, found null"},
    });
}

TEST(SceneErrors, OfAnimations) {
    std::string const tooMany =
        "\"Opacity\": {\"keys\": [{\"frame\": 0, \"value\": 0}, {\"frame\": 100000, \"value\": 1}]}";
    ExpectErrors({
        {With("\"Opacity\": {}"), "1: /nodes/0/Opacity: there is no \"samples\""},
        {With("\"Opacity\": {\"key\": []}"),
         "1: /nodes/0/Opacity/key: unknown key \"key\"; known are \"samples\" and \"start\""},
        {With("\"Opacity\": {\"keys\": [], \"start\": 1}"),
         "1: /nodes/0/Opacity/start: unknown key \"start\"; known are \"keys\""},
        {With("\"Opacity\": {\"samples\": []}"),
         "1: /nodes/0/Opacity/samples: expected at least one value, found an empty array"},
        {With("\"Opacity\": {\"samples\": [0, \"x\"]}"),
         "1: /nodes/0/Opacity/samples/1: expected a number, found string \"x\""},
        {With("\"Opacity\": {\"samples\": [0], \"start\": 0.5}"),
         "1: /nodes/0/Opacity/start: expected a whole number, found 0.5"},
        {With("\"Opacity\": {\"keys\": []}"),
         "1: /nodes/0/Opacity/keys: expected at least one key, found an empty array"},
        {With("\"Opacity\": {\"keys\": [1]}"),
         "1: /nodes/0/Opacity/keys/0: expected a key: an object with \"frame\" and \"value\", found 1"},
        {With("\"Opacity\": {\"keys\": [{\"frame\": 1}]}"),
         "1: /nodes/0/Opacity/keys/0: there is no \"value\""},
        {With("\"Opacity\": {\"keys\": [{\"frame\": 5, \"value\": 0}, {\"frame\": 5, \"value\": 1}]}"),
         "1: /nodes/0/Opacity/keys/1/frame: expected a frame after 5, the key's before, found 5"},
        {With("\"Opacity\": {\"keys\": [{\"frame\": 0, \"value\": 0, \"ease\": \"eseInOut\"}]}"),
         "1: /nodes/0/Opacity/keys/0/ease: unknown easing \"eseInOut\"; did you mean \"easeInOut\"?"},
        {With("\"Opacity\": {\"keys\": [{\"frame\": 0, \"value\": 0, \"easing\": \"linear\"}]}"),
         "1: /nodes/0/Opacity/keys/0/easing: unknown key \"easing\"; known are \"frame\", \"value\" and "
         "\"ease\""},
        {With(tooMany), "1: /nodes/0/Opacity/keys/1: expected at most 100000 frames, found 100001"},
        {With("\"NinePatchPairX\": {\"samples\": [[[1, 2]]]}"),
         "1: /nodes/0/NinePatchPairX: \"NinePatchPairX\" cannot be animated; expected an array of pairs of "
         "whole numbers"},
        {SceneOf("{\"class\": \"Sprite\", \"Size\": {\"samples\": [[1, 2]]}}"),
         "1: /nodes/0/Size: a sprite's corners are placed when it is loaded, so its size cannot be animated; "
         "animate Scale"},
    });
}

TEST(SceneErrors, KeepsToTheLimitOfAllAnimations) {
    std::string text;
    for (int n = 0; n < 50; ++n) {
        text += (n == 0 ? "" : ",\n") + std::string("{\"class\": \"Sprite\", \"Opacity\": {\"keys\": [") +
                "{\"frame\": 0, \"value\": 0}, {\"frame\": 99999, \"value\": 1}]}}";
    }
    EXPECT_EQ(ErrorOf(SceneOf(text)), "42: /nodes/41/Opacity/keys/1: the scene's animations have more frames "
                                      "together than a scene may have");
}

TEST(SceneErrors, KeepsToTheLimitOfNesting) {
    std::string text;
    for (int n = 0; n < 70; ++n) {
        text += "{\"class\": \"TransformNode\", \"children\": [";
    }
    EXPECT_EQ(ErrorOf(SceneOf(text)), "1: arrays and objects are nested deeper than 128 levels");
}

} // namespace
} // namespace trevik::kelvo::assets::testing
