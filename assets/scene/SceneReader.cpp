#include "scene/SceneReader.h"

#include "file/FileBytes.h"
#include "file/FileNotes.h"
#include "scene/JsonCursor.h"
#include "scene/SceneFonts.h"
#include "scene/SceneNodes.h"
#include "scene/SceneOrigins.h"
#include "scene/SceneProperty.h"
#include "scene/SceneTextures.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

DeviceFormat::Enum ReadFormat(JsonCursor const& place) {
    static DeviceFormat::Enum const s_formats[] = {DeviceFormat::RGB565, DeviceFormat::RGB888,
                                                   DeviceFormat::RGBX8888, DeviceFormat::RGBA8888};
    return s_formats[place.ReadWord("surface format", {"rgb565", "rgb888", "rgbx8888", "rgba8888"})];
}

void ReadSurface(JsonCursor const& place, SceneSettings& settings) {
    place.ReadObject("an object with \"size\" and \"format\"");
    place.CheckNames({"size", "format"});
    if (std::optional<JsonCursor> const size = place.Find("size")) {
        size->ReadCount("2 whole numbers: width, height", 2);
        settings.m_size = SizeT<int>(size->GetItem(0).ReadInteger(1, SceneSettings::MaximumSide),
                                     size->GetItem(1).ReadInteger(1, SceneSettings::MaximumSide));
    }
    if (std::optional<JsonCursor> const format = place.Find("format")) {
        settings.m_format = ReadFormat(*format);
    }
}

void ReadFrames(JsonCursor const& place, SceneSettings& settings) {
    place.ReadCount("2 frames: the first and the last one", 2);
    settings.m_nFirstFrame = place.GetItem(0).ReadInteger(0, SceneSettings::MaximumFrame);
    settings.m_nLastFrame = place.GetItem(1).ReadInteger(0, SceneSettings::MaximumFrame);
    if (settings.m_nLastFrame < settings.m_nFirstFrame) {
        place.GetItem(1).FailExpected("a frame not before " + std::to_string(settings.m_nFirstFrame) +
                                      ", the first one");
    }
}

SceneSettings ReadSettings(JsonCursor const& root) {
    SceneSettings settings;
    if (std::optional<JsonCursor> const surface = root.Find("surface")) {
        ReadSurface(*surface, settings);
    }
    if (std::optional<JsonCursor> const frameRate = root.Find("frameRate")) {
        settings.m_rFrameRate = ReadFrameRate(*frameRate);
    }
    if (std::optional<JsonCursor> const frames = root.Find("frames")) {
        ReadFrames(*frames, settings);
    }
    if (std::optional<JsonCursor> const color = root.Find("clearColor")) {
        settings.m_clearColor = ReadColor(*color, true);
    }
    return settings;
}

/** Throws a Fault. */
void BuildScene(JsonCursor const& root, std::string const& folder, ClassRegistry& registry, Scene& scene) {
    root.ReadObject("a scene: an object with \"nodes\"");
    root.CheckNames({"surface", "frameRate", "frames", "clearColor", "camera", "textures", "fonts", "nodes"});
    scene.GetSettings() = ReadSettings(root);
    SceneTextures textures(folder, registry);
    if (std::optional<JsonCursor> const place = root.Find("textures")) {
        textures.Read(*place);
    }
    SceneFonts fonts(folder, registry, textures);
    if (std::optional<JsonCursor> const place = root.Find("fonts")) {
        fonts.Read(*place);
    }
    SceneNodes nodes(registry, textures, fonts);
    Ref<Timeline> const pRoot = nodes.CreateTimeline(root);
    RealFloat const frameDelay = 1 / scene.GetSettings().m_rFrameRate;
    pRoot->SetFrameDelay(frameDelay);
    if (std::optional<JsonCursor> const camera = root.Find("camera")) {
        pRoot->SetCamera(nodes.ReadCamera(*camera).Get());
    }
    nodes.ReadChildren(root.Require("nodes"), *pRoot, frameDelay);
    fonts.Make();
    scene.SetRoot(pRoot);
}

/** Saves `built` and loads what was saved into `scene`. */
bool Reload(Scene const& built, std::string const& name, ClassRegistry& registry, Scene& scene,
            Fault& fault) {
    Serializer serializer;
    Ref<DocumentNode> const pDocument = built.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
    if (!pDocument) {
        return Fail(fault, name, "the scene cannot be saved into a document");
    }
    Deserializer deserializer(pDocument, registry);
    if (!scene.Load(deserializer)) {
        String8 const reason(deserializer.GetError());
        return Fail(fault, name, "the scene cannot be loaded from its document", reason.GetData());
    }
    return true;
}

/** Reads, builds, saves and loads the scene. */
bool ReadWhole(ByteSpan text, std::string const& name, std::string const& folder, ClassRegistry& registry,
               Scene& scene, Fault& fault, SceneNotes* pNotes) {
    try {
        JsonSource source{name, JsonValue()};
        if (!ParseJson(text, name, JsonLimits(), source.root, fault)) {
            return false;
        }
        Scene built;
        BuildScene(JsonCursor(source), folder, registry, built);
        if (!Reload(built, name, registry, scene, fault)) {
            return false;
        }
        if (pNotes) {
            NoteOrigins(JsonCursor(source), *scene.GetRoot(), *pNotes);
        }
        return true;
    } catch (Fault const& thrown) {
        fault = thrown;
        return false;
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "there is not enough memory");
    }
}

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char unit) { return unit < ' ' || unit == 127; }, '?');
    return text;
}

/** Reads the text and leaves the notes of it, but for the files. */
bool ReadNoting(ByteSpan text, std::string const& name, std::string const& folder, ClassRegistry& registry,
                Scene& scene, Fault& fault, SceneNotes* pNotes) {
    if (pNotes) {
        pNotes->SetSource(name);
    }
    if (ReadWhole(text, name, folder, registry, scene, fault, pNotes)) {
        return true;
    }
    // Names from the file may contain anything; a message is one line.
    fault = Fault(OneLine(fault.GetWhere()), OneLine(fault.GetWhat()), OneLine(fault.GetWhy()));
    return false;
}

/** Has `read` fill new notes, which become `*pNotes` where there are some. */
template <class Read>
bool ReadWithFiles(SceneNotes* pNotes, Read read) {
    if (!pNotes) {
        return read();
    }
    *pNotes = SceneNotes();
    FileNotes const files;
    bool const fRead = read();
    pNotes->SetFiles(files.GetPaths());
    return fRead;
}

} // namespace

bool ReadScene(std::string const& path, ClassRegistry& registry, Scene& scene, Fault& fault,
               SceneNotes* pNotes) {
    return ReadWithFiles(pNotes, [&] {
        std::vector<std::uint8_t> bytes;
        std::string const folder = path.substr(0, path.rfind('/') + 1);
        return ReadFile(path, MaximumSceneBytes, bytes, fault) &&
               ReadNoting({bytes.data(), bytes.size()}, path, folder, registry, scene, fault, pNotes);
    });
}

bool ReadSceneText(ByteSpan text, std::string const& name, std::string const& folder, ClassRegistry& registry,
                   Scene& scene, Fault& fault, SceneNotes* pNotes) {
    return ReadWithFiles(pNotes,
                         [&] { return ReadNoting(text, name, folder, registry, scene, fault, pNotes); });
}

} // namespace trevik::kelvo::assets
