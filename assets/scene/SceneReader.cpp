#include "scene/SceneReader.h"

#include "file/FileBytes.h"
#include "file/FileNotes.h"
#include "scene/InitialValues.h"
#include "scene/JsonCursor.h"
#include "scene/SceneChecks.h"
#include "scene/SceneColors.h"
#include "scene/SceneFonts.h"
#include "scene/SceneIndex.h"
#include "scene/SceneKeys.h"
#include "scene/SceneNodes.h"
#include "scene/SceneTemplates.h"
#include "scene/SceneTextures.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

namespace {

DeviceFormat::Enum ReadFormat(JsonCursor const& place) {
    static DeviceFormat::Enum const s_formats[] = {DeviceFormat::RGB565, DeviceFormat::RGB888,
                                                   DeviceFormat::RGBX8888, DeviceFormat::RGBA8888};
    return s_formats[place.ReadWord("surface format", WordsOf(SurfaceFormatWords))];
}

void ReadSurface(JsonCursor const& place, SceneSettings& settings) {
    place.ReadObject("an object with \"size\" and \"format\"");
    CheckKeys(place, SurfaceKeys);
    if (std::optional<JsonCursor> const size = place.Find("size")) {
        place.Attempt([&] {
            size->ReadCount("2 whole numbers: width, height", 2);
            settings.m_size = SizeT<int>(size->GetItem(0).ReadInteger(SurfaceSides),
                                         size->GetItem(1).ReadInteger(SurfaceSides));
        });
    }
    if (std::optional<JsonCursor> const format = place.Find("format")) {
        settings.m_format = ReadFormat(*format);
    }
}

void ReadFrames(JsonCursor const& place, SceneSettings& settings) {
    place.ReadCount("2 frames: the first and the last one", 2);
    settings.m_nFirstFrame = place.GetItem(0).ReadInteger(SceneFrames);
    settings.m_nLastFrame = place.GetItem(1).ReadInteger(SceneFrames);
    if (settings.m_nLastFrame < settings.m_nFirstFrame) {
        place.GetItem(1).FailExpected("a frame not before " + std::to_string(settings.m_nFirstFrame) +
                                      ", the first one");
    }
}

SceneSettings ReadSettings(JsonCursor const& root) {
    SceneSettings settings;
    if (std::optional<JsonCursor> const surface = root.Find("surface")) {
        root.Attempt([&] { ReadSurface(*surface, settings); });
    }
    if (std::optional<JsonCursor> const frameRate = root.Find("frameRate")) {
        root.Attempt([&] { settings.m_rFrameRate = ReadFrameRate(*frameRate); });
    }
    if (std::optional<JsonCursor> const frames = root.Find("frames")) {
        root.Attempt([&] { ReadFrames(*frames, settings); });
    }
    if (std::optional<JsonCursor> const color = root.Find("clearColor")) {
        root.Attempt([&] { settings.m_clearColor = ReadColor(*color, true); });
    }
    if (std::optional<JsonCursor> const effects = root.Find("effects")) {
        root.Attempt([&] {
            settings.m_fExactEffects = effects->ReadWord("kind of effects", WordsOf(EffectsWords)) == 1;
        });
    }
    return settings;
}

/** Reads the textures or the fonts of a scene. A key that is not known may be a misspelt one for them. */
template <class Resources>
void ReadResources(JsonCursor const& root, char const* pKey, bool fKnown, Resources& resources) {
    std::optional<JsonCursor> const place = root.Find(pKey);
    if (place ? !root.Attempt([&] { resources.Read(*place); }) : !fKnown) {
        resources.SetUnknown();
    }
}

/** Whether the scene's y points down, from its upper edge on. */
bool IsYDown(JsonCursor const& root) {
    std::optional<JsonCursor> const origin = root.Find("origin");
    return origin && origin->ReadWord("origin", WordsOf(OriginWords)) == 1;
}

/**
 * Notes what is wrong, or throws a Fault behind which nothing can be read; `scene` is whole without any. Then
 * `pNotes`, where it is given, gets the warnings. `fKnown`: all keys of the root are.
 */
void BuildScene(JsonCursor const& root, bool fKnown, ClassRegistry& registry, Scene& scene,
                SceneNotes* pNotes) {
    root.ReadObject("a scene: an object with \"nodes\"");
    scene.GetSettings() = ReadSettings(root);
    SceneTextures textures(registry);
    ReadResources(root, "textures", fKnown, textures);
    SceneFonts fonts(registry, textures);
    ReadResources(root, "fonts", fKnown, fonts);
    SceneNodes nodes(registry, textures, fonts);
    Ref<Timeline> const pRoot = nodes.CreateTimeline(root);
    bool fYDown = false;
    root.Attempt([&] { fYDown = IsYDown(root); });
    AnimationFrames const frames{1 / scene.GetSettings().m_rFrameRate, 0, fYDown,
                                 static_cast<RealFloat>(scene.GetSettings().m_size.height)};
    pRoot->SetFrameDelay(frames.delay);
    std::optional<JsonCursor> const camera = root.Find("camera");
    if (pNotes && fYDown && !camera) {
        pNotes->SetTop(scene.GetSettings().m_size.height);
    }
    if (camera) {
        root.Attempt([&] { pRoot->SetCamera(nodes.ReadCamera(*camera, {frames.delay, 0, false, 0}).Get()); });
    }
    if (fKnown || root.Find("nodes")) {
        root.Attempt([&] { nodes.ReadChildren(root.Require("nodes"), *pRoot, frames); });
    }
    scene.SetRoot(pRoot);
    fonts.Make();
    nodes.Arrange();
    if (pNotes && root.IsFaultless()) {
        CheckScene({root, scene, textures, fonts}, *pNotes);
    }
}

/** The text of a scene, which can be let go. */
class SceneText {
public:
    explicit SceneText(ByteSpan text) : m_text(text) {}
    explicit SceneText(std::vector<std::uint8_t> bytes)
        : m_bytes(std::move(bytes)), m_text{m_bytes.data(), m_bytes.size()} {}
    SceneText(SceneText const&) = delete;
    SceneText& operator=(SceneText const&) = delete;

    ByteSpan Get() const { return m_text; }
    /** It is needed no longer. */
    void End() { m_bytes = std::vector<std::uint8_t>(); }

private:
    std::vector<std::uint8_t> m_bytes; ///< none where it belongs to others
    ByteSpan m_text;
};

/** Reads and builds the scene; what is wrong is noted in the source. */
bool Build(SceneText& text, JsonSource& source, ClassRegistry& registry, SceneNotes* pNotes, Scene& built) {
    try {
        Fault fault;
        if (!ParseJson(text.Get(), source.name, JsonLimits(), source.pool, source.root, fault)) {
            throw Fault(fault);
        }
        text.End();
        JsonCursor const root(source);
        // Before those are taken out that bring templates.
        bool const fKnown = !root.Is(JsonValue::Kind::Object) ||
                            root.Attempt([&] { CheckKeys(root, SceneKeys, DefinitionKeys); });
        ExpandTemplates(source);
        BuildScene(root, fKnown, registry, built, pNotes);
    } catch (Fault const& last) {
        source.faults.Add(last);
    }
    return source.faults.Get().empty();
}

/** Reads and builds what `scene` then shows; what is wrong is noted in the source. */
void ReadWhole(SceneText& text, JsonSource& source, ClassRegistry& registry, Scene& scene,
               SceneNotes* pNotes) {
    Scene built;
    if (!Build(text, source, registry, pNotes, built)) {
        return;
    }
    Ref<Timeline> const pRoot(built.GetRoot());
    auto const pIndex = pNotes ? std::make_shared<SceneIndex>(JsonCursor(source), *pRoot) : nullptr;
    source.EndValues();
    RestoreInitialValues(*pRoot, registry);
    Fault fault;
    if (!scene.SetBuiltRoot(pRoot, registry, fault)) {
        source.faults.Add(fault.Within(source.name));
        return;
    }
    scene.GetSettings() = built.GetSettings();
    if (pNotes) {
        pNotes->SetOrigins([pIndex] { return pIndex->MakeOrigins(); });
    }
}

/** The same, but throws nothing. Notes what there is to tell but the files; only with `fAll` more than
 * faults. */
void ReadNoting(SceneText text, std::string const& name, std::string const& folder, ClassRegistry& registry,
                Scene& scene, SceneNotes& notes, bool fAll) {
    JsonSource source{name, JsonValue(), SceneFaults(), folder};
    notes.SetSource(name);
    try {
        ReadWhole(text, source, registry, scene, fAll ? &notes : nullptr);
    } catch (SceneFaults::TooMany const&) { // those that there are will do
    } catch (std::bad_alloc const&) {
        if (source.faults.Get().empty()) {
            source.faults.Add(Fault(name, "there is not enough memory"));
        }
    }
    notes.SetFaults(std::move(source.faults));
}

/** Has `read` fill notes, `*pNotes` where there are some, and answers whether they have no fault. */
template <class Read>
bool ReadWithNotes(SceneNotes* pNotes, Fault& fault, Read read) {
    SceneNotes notes;
    FileNotes const files;
    read(notes);
    notes.SetFiles(files.GetPaths());
    bool const fRead = notes.GetFaults().Get().empty();
    if (!fRead) {
        fault = notes.GetFaults().Get().front();
    }
    if (pNotes) {
        *pNotes = std::move(notes);
    }
    return fRead;
}

} // namespace

bool ReadScene(std::string const& path, ClassRegistry& registry, Scene& scene, Fault& fault,
               SceneNotes* pNotes) {
    return ReadWithNotes(pNotes, fault, [&](SceneNotes& notes) {
        std::vector<std::uint8_t> bytes;
        Fault unread;
        if (!ReadFile(path, MaximumSceneBytes, bytes, unread)) {
            SceneFaults faults;
            faults.Add(unread);
            notes.SetFaults(std::move(faults));
            return;
        }
        std::string const folder = path.substr(0, path.rfind('/') + 1);
        ReadNoting(SceneText(std::move(bytes)), path, folder, registry, scene, notes, pNotes != nullptr);
    });
}

bool ReadSceneText(ByteSpan text, std::string const& name, std::string const& folder, ClassRegistry& registry,
                   Scene& scene, Fault& fault, SceneNotes* pNotes) {
    return ReadWithNotes(pNotes, fault, [&](SceneNotes& notes) {
        ReadNoting(SceneText(text), name, folder, registry, scene, notes, pNotes != nullptr);
    });
}

void FitToSurface(Scene& scene, SceneNotes const& notes, int nHeight) {
    Timeline* const pRoot = scene.GetRoot();
    if (pRoot && notes.GetTop()) {
        pRoot->GetPositionProperty().SetValue(
            Vector3T<RealFloat>(0, static_cast<RealFloat>(nHeight - *notes.GetTop()), 0));
    }
}

} // namespace trevik::kelvo::assets
