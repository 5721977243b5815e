#pragma once

#include "kelvo_host/Scene.h"
#include "scene/JsonCursor.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

/**
 * The keys of scene files that are no properties, by the object that they stand in, with what stands under
 * each: those who read scenes go by these tables, and so does the schema that editors read (SceneSchema.h).
 */
namespace trevik::kelvo::assets {

/** What stands under a key. */
struct SceneForm {
    enum Kind { Text, Flag, Number, Integer, Word, Defined };

    Kind kind;
    NumberRange range;          ///< of numbers
    unsigned int nItems;        ///< of an array of numbers; 0: a single one
    char const* const* ppWords; ///< the words, and a null behind them
    char const* pDefinition;    ///< the name of what the schema defines
};

struct SceneKey {
    std::string_view name;
    SceneForm form;
    char const* pMeaning;
};

// Where numbers lie.

constexpr NumberRange AnyNumber = {-1e9, 1e9}; ///< far from where single precision ends
constexpr NumberRange AnyLength = {0, 1e9};
constexpr NumberRange AnyInteger = {INT_MIN, INT_MAX};
constexpr NumberRange AnyCount = {0, INT_MAX};
constexpr NumberRange Shares = {0, 1};
constexpr NumberRange StretchedSides = {0.001, 1e9}; ///< of which the inverse is one for children
constexpr NumberRange FrameRates = {0.001, 1000};
constexpr NumberRange SurfaceSides = {1, SceneSettings::MaximumSide};
constexpr NumberRange SceneFrames = {0, SceneSettings::MaximumFrame};
constexpr NumberRange KeyFrames = {-1000000, 1000000};
constexpr NumberRange Repeats = {1, 100000};
constexpr NumberRange LensLengths = {1, 10000};
constexpr NumberRange LensPixels = {1, 100000};
constexpr NumberRange FontSizes = {1, 512};
constexpr NumberRange FontFaces = {0, 65535};
constexpr NumberRange UnderlinePositions = {-1000, 1000};
constexpr NumberRange UnderlineThicknesses = {0, 1000};
constexpr NumberRange GlyphOffsets = {-16384, 16384};
constexpr NumberRange GlyphAdvances = {0, 16384};

// Words, of which one is chosen; a null stands behind them.

constexpr char const* SurfaceFormatWords[] = {"rgb565", "rgb888", "rgbx8888", "rgba8888", nullptr};
constexpr char const* EffectsWords[] = {"standard", "exact", nullptr};
constexpr char const* OriginWords[] = {"bottomLeft", "topLeft", nullptr};
constexpr char const* TextureFormatWords[] = {"rgb565",   "rgba5551", "rgba4444", "rgb888",
                                              "rgbx8888", "rgba8888", "alpha8",   nullptr};
constexpr char const* SurfacesWords[] = {"single", "double", nullptr};
constexpr char const* FontKindWords[] = {"bitmap", "outline", nullptr};
constexpr char const* AlignWords[] = {"start", "center", "end", nullptr};
constexpr char const* AnchorWords[] = {"topLeft", "top",        "topRight", "left",        "center",
                                       "right",   "bottomLeft", "bottom",   "bottomRight", nullptr};

namespace form {

constexpr SceneForm Text = {SceneForm::Text, {}, 0, nullptr, nullptr};
constexpr SceneForm Flag = {SceneForm::Flag, {}, 0, nullptr, nullptr};
constexpr SceneForm Number(NumberRange const& range, unsigned int nItems = 0) {
    return {SceneForm::Number, range, nItems, nullptr, nullptr};
}
constexpr SceneForm Integer(NumberRange const& range, unsigned int nItems = 0) {
    return {SceneForm::Integer, range, nItems, nullptr, nullptr};
}
constexpr SceneForm Word(char const* const* ppWords) {
    return {SceneForm::Word, {}, 0, ppWords, nullptr};
}
/** What MakeSceneSchema defines under this name. */
constexpr SceneForm Defined(char const* pName) {
    return {SceneForm::Defined, {}, 0, nullptr, pName};
}

} // namespace form

// The scene, and the files that it includes

constexpr SceneKey SceneKeys[] = {
    {"$schema", form::Text, "Where this schema lies, for editors; the scene's reader passes over it."},
    {"surface", form::Defined("surface"), "What is drawn on."},
    {"frameRate", form::Number(FrameRates), "Frames per second; 30 unless given."},
    {"frames", form::Integer(SceneFrames, 2), "The first and the last frame that is played."},
    {"clearColor", form::Defined("colorWithAlpha"), "What the surface is filled with before each frame."},
    {"effects", form::Word(EffectsWords), "How blend modes and directional blurs are drawn."},
    {"origin", form::Word(OriginWords), "Where (0, 0) lies; with topLeft y goes down."},
    {"camera", form::Defined("camera"), "What the scene is seen through."},
    {"textures", form::Defined("textures"), "Pictures by name."},
    {"fonts", form::Defined("fonts"), "What texts are set in, by name."},
    {"nodes", form::Defined("nodes"), "What is drawn, first things first."},
};
constexpr SceneKey DefinitionKeys[] = {
    // of a scene, and of a file that is included
    {"include", form::Defined("paths"), "Files with templates, constants, textures and fonts for this one."},
    {"constants", form::Defined("constants"), "Values by name, which \"$name\" stands for."},
    {"templates", form::Defined("templates"), "Nodes by name that are used often."},
};
constexpr SceneKey IncludedKeys[] = {
    {"textures", form::Defined("textures"), "Pictures by name."},
    {"fonts", form::Defined("fonts"), "What texts are set in, by name."},
    {"$schema", form::Text, "Where the schema lies, for editors; nobody else reads it."},
};
constexpr SceneKey SurfaceKeys[] = {
    {"size", form::Integer(SurfaceSides, 2), "Width and height in pixels."},
    {"format", form::Word(SurfaceFormatWords), "Its bits per channel; rgb888 unless given."},
};
constexpr SceneKey TemplateKeys[] = {
    {"parameters", form::Defined("constants"), "Initial values by name; null has to be given at each use."},
    {"node", form::Defined("templateNode"), "What stands in place of each use."},
};

// Pictures and fonts

constexpr SceneKey TextureKeys[] = {
    {"file", form::Defined("path"), "A PNG, JPEG, WebP or PKM file."},
    {"format", form::Word(TextureFormatWords), "How the pixels are kept."},
    {"etc1", form::Flag, "Encodes the picture as ETC1."},
    {"mipLevels", form::Flag, "Adds all smaller levels."},
    {"powerOfTwo", form::Flag, "Rounds the size in memory up to powers of two."},
    {"ninePatch", form::Flag, "Reads the file as a nine-patch image; so are .9.png files unless given."},
    {"surfaces", form::Word(SurfacesWords), "Surfaces that the application can write while the scene plays."},
};
constexpr SceneKey FontKeys[] = {
    {"underline", form::Flag, "Underlines everything that is set in the font."},
    {"underlinePosition", form::Number(UnderlinePositions), "From the baseline down, in pixels of the font."},
    {"underlineThickness", form::Number(UnderlineThicknesses), "In pixels of the font."},
    {"images", form::Defined("fontImages"), "Characters that are shown as pictures."},
};
constexpr SceneKey FontFileKeys[] = {
    {"file", form::Defined("path"), "A font file, or the description of a bitmap font."},
};
constexpr SceneKey FontFamilyKeys[] = {
    {"family", form::Text, "A font that is installed."},
    {"style", form::Text, "Of the family, such as \"Bold\"."},
};
constexpr SceneKey FontGlyphKeys[] = {
    // of a font that is not described, but a file with outlines
    {"size", form::Integer(FontSizes), "Pixels per em that the glyphs are made with; 32 unless given."},
    {"kind", form::Word(FontKindWords), "Glyphs are pictures, or triangles, which stay sharp."},
    {"hinting", form::Flag, "Moves outlines to whole pixels before they become pictures."},
    {"characters", form::Text, "Characters to make glyphs of, besides the usual ones."},
    {"ranges", form::Defined("ranges"), "The same as \"U+0410-U+044F\" or \"U+20AC\"."},
};
constexpr SceneKey FontFaceKeys[] = {
    {"face", form::Integer(FontFaces), "Which font of a collection."},
};
constexpr SceneKey FontImageKeys[] = {
    {"texture", form::Text, "The name of a texture, or the path of a picture."},
    {"offset", form::Integer(GlyphOffsets, 2), "To the right and upward, from the pen on the baseline."},
    {"advance", form::Integer(GlyphAdvances), "To the next character; the picture's width unless given."},
};

// Nodes

constexpr SceneKey NodeKeys[] = {
    {"class", form::Text, "What kind of node it is."},
    {"name", form::Text, "For messages and --pick; need not be unique."},
    {"children", form::Defined("nodes"),
     "Drawn after the node, and moved, turned, faded and hidden with it."},
    {"masks", form::Defined("masks"), "It is drawn only inside of them."},
    {"effects", form::Defined("effects"), "They change how it is drawn."},
    {"clip", form::Number(AnyNumber, 4), "A mask that is a rectangle: x and y of a corner, width, height."},
    {"delay", form::Integer(KeyFrames), "Its animations, and those below, begin so many frames later."},
    {"stagger", form::Integer(KeyFrames), "Each child's animations begin so much later than the last one's."},
    {"layout", form::Defined("layout"), "Places the children in a row or column."},
};
constexpr SceneKey TimelineKeys[] = {
    {"frameRate", form::Number(FrameRates), "Its own frames per second."},
    {"playing", form::Flag, "False holds the first frame."},
    {"timeMap", form::Defined("easing"), "Bends the way from the first frame to the last."},
    {"camera", form::Defined("camera"), "What its children are seen through."},
};
constexpr SceneKey SpriteKeys[] = {
    {"texture", form::Text, "The name of the texture that it shows."},
    {"anchor", form::Defined("anchor"), "Which of its points lies at its Position."},
};
constexpr SceneKey NinePatchSpriteKeys[] = {
    {"stretchTo", form::Defined("stretchTo"), "Width and height that it is stretched to."},
};
constexpr SceneKey TextKeys[] = {
    {"font", form::Text, "The name of the font that it is set in."},
    {"background", form::Defined("node"), "A sprite behind the text, as large as the text is."},
    {"anchor", form::Defined("anchor"), "Which of its points lies at its Position."},
};
constexpr SceneKey CameraNodeKeys[] = {
    {"lens", form::Defined("lens"), "Sets the camera up as a photographer would."},
};
constexpr SceneKey CameraKeys[] = {
    // of the camera of a scene or a timeline
    {"class", form::Text, "Camera, unless given."},
    {"name", form::Text, "For messages."},
    {"lens", form::Defined("lens"), "Sets the camera up as a photographer would."},
};
constexpr SceneKey EffectKeys[] = {
    {"class", form::Text, "What kind of effect it is."},
};
constexpr SceneKey LensKeys[] = {
    {"focalLength", form::Number(LensLengths), "Millimetres."},
    {"filmWidth", form::Number(LensLengths), "Millimetres."},
    {"size", form::Number(LensPixels, 2), "Width and height in pixels of the plane z = 0."},
    {"centred", form::Flag, "Moves the camera to where one unit is one pixel of size."},
};
constexpr SceneKey LayoutKeys[] = {
    {"row", form::Defined("layoutGroup"), "Beside each other, from left to right."},
    {"column", form::Defined("layoutGroup"), "Below each other, from the top."},
};
constexpr SceneKey LayoutGroupKeys[] = {
    {"gap", form::Number(AnyNumber), "Units between them; 0 unless given."},
    {"align", form::Word(AlignWords), "Where those lie that are smaller than the largest."},
};

// Animations; what stands under "value" and in "samples" is the property's

constexpr SceneKey SamplesKeys[] = {
    {"samples", form::Defined("values"), "One value for each frame."},
    {"start", form::Integer(KeyFrames), "The frame of the first one; 0 unless given."},
    {"repeat", form::Integer(Repeats), "How often all of it is played."},
    {"delay", form::Integer(KeyFrames), "By so many frames later it begins."},
};
constexpr SceneKey KeyKeys[] = {
    {"frame", form::Integer(KeyFrames), "When the value is reached, in frames."},
    {"time", form::Number(AnyNumber), "When the value is reached, in seconds."},
    {"value", form::Defined("value"), "The value there."},
    {"ease", form::Defined("easing"), "How the value goes from here to the next key."},
};
constexpr SceneKey KeysKeys[] = {
    {"keys", form::Defined("keys"), "Values at some frames or times, which go up."},
    {"repeat", form::Integer(Repeats), "How often all of it is played."},
    {"delay", form::Number(AnyNumber), "By so much later it begins: frames, or seconds where keys are."},
};

/** The words as those who read them take them. */
inline std::vector<std::string> WordsOf(char const* const* ppWords) {
    std::vector<std::string> words;
    for (; *ppWords; ++ppWords) {
        words.emplace_back(*ppWords);
    }
    return words;
}

/** Whether a name is that of a key of some tables. */
template <class... Tables>
bool IsKey(std::string_view name, Tables const&... tables) {
    auto const has = [name](auto const& table) {
        return std::any_of(std::begin(table), std::end(table),
                           [name](SceneKey const& key) { return name == key.name; });
    };
    return (has(tables) || ...);
}

/** The names of the keys of some tables, one behind the other. */
template <class... Tables>
std::vector<std::string> NamesOf(Tables const&... tables) {
    std::vector<std::string> names;
    auto const add = [&](auto const& table) {
        for (SceneKey const& key : table) {
            names.emplace_back(key.name);
        }
    };
    (add(tables), ...);
    return names;
}

/** Throws when members' names are not among the keys of some tables; "comment" always is. */
template <class... Tables>
void CheckKeys(JsonCursor const& place, Tables const&... tables) {
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        std::string const& name = place.GetMemberName(n);
        if (name != std::string_view("comment") && !IsKey(name, tables...)) {
            place.CheckNames(NamesOf(tables...)); // which throws
        }
    }
}

} // namespace trevik::kelvo::assets
