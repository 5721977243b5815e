#include "scene/SceneNodes.h"

#include "scene/SceneKeys.h"
#include "scene/ScenePlacement.h"
#include "scene/SceneValues.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <set>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumNodes = 100000;
constexpr std::size_t MaximumMaskVertices = 30000;
constexpr int MaximumLater = static_cast<int>(KeyFrames.largest); ///< frames

void RequireMemory(JsonCursor const& place, bool fEnough) {
    if (!fEnough) {
        place.FailFinally("there is not enough memory");
    }
}

/** A new object of the class T or one derived from it, of the class registered under `name`; else null. */
template <class T>
Ref<T> Create(ClassRegistry const& registry, std::string const& name) {
    Ref<Referenced> const pObject(registry.Create(HashName(name.data(), name.size())));
    return Ref<T>(dynamic_cast<T*>(pObject.Get()));
}

PropertyList::Found FindProperty(PropertyList const& properties, std::string const& name) {
    return properties.Find(HashName(name.data(), name.size()));
}

/** Whether a name is that of a property and one of its components, such as "Position.x". */
bool IsComponent(PropertyList const& properties, std::string const& name) {
    std::size_t const nDot = name.find('.');
    if (nDot == std::string::npos) {
        return false;
    }
    std::string const whole = name.substr(0, nDot);
    PropertyList::Found const pEntry = FindProperty(properties, whole);
    std::vector<std::string> const components =
        pEntry ? GetComponentNames(whole, pEntry->m_pDescriptor->m_type) : std::vector<std::string>();
    return std::find(components.begin(), components.end(), name.substr(nDot + 1)) != components.end();
}

/** What takes the place of a key that other nodes have; null for others. */
char const* FindHint(std::string const& name, PropertyList const& properties) {
    if (name == "stretchTo") {
        return FindProperty(properties, "Size") ? "a NinePatchSprite has it, a Sprite has \"Scale\""
                                                : nullptr;
    }
    PropertyList::Found const pColor =
        name == "Color.a" ? FindProperty(properties, "Color") : PropertyList::Found();
    return pColor && pColor->m_pDescriptor->m_type == PropertyType::Vector3
               ? "what shows through is said by \"Opacity\""
               : nullptr;
}

/** A number of frames by which something comes later; 0 where the node does not say. */
int ReadFrames(JsonCursor const& place, char const* pName) {
    std::optional<JsonCursor> const frames = place.Find(pName);
    return frames ? frames->ReadInteger(KeyFrames) : 0;
}

/** Throws where what comes later each time has come too late. */
void CheckLater(JsonCursor const& place, long long nLater) {
    if (nLater < -MaximumLater || nLater > MaximumLater) {
        place.Fail("this comes more than " + std::to_string(MaximumLater) + " frames later, or earlier");
    }
}

List<Vector2T<int>> ToPairs(std::vector<NinePatchInfo::Band> const& bands) {
    List<Vector2T<int>> pairs;
    for (NinePatchInfo::Band const& band : bands) {
        pairs.Append(Vector2T<int>(band.first, band.count));
    }
    return pairs;
}

/** Sets a property, unless the node that `place` describes does so itself. */
template <class T>
void SetUnlessGiven(JsonCursor const& place, PropertyList& properties, char const* pName, T const& value) {
    PropertyList::Found const pEntry = properties.Find(HashName(pName));
    if (pEntry && pEntry->m_pDescriptor->m_type == PropertyTypeOf<T>::value && !place.Find(pName)) {
        static_cast<BaseProperty<T>*>(pEntry->m_pProperty)->SetValue(value);
    }
}

/** Gives a nine-patch sprite what its texture's image says, as far as the sprite does not say it itself. */
void TakeNinePatch(JsonCursor const& place, NinePatchInfo const& info, PropertyList& properties) {
    SetUnlessGiven(place, properties, "NinePatchPairX", ToPairs(info.x));
    SetUnlessGiven(place, properties, "NintPatchPairY", ToPairs(info.y));
    // A rectangle's top is its least y, and y goes up: what a background adds there is its lower edge.
    SetUnlessGiven(
        place, properties, "ContentMargin",
        RectangleT<RealFloat>(static_cast<RealFloat>(info.left), static_cast<RealFloat>(info.bottom),
                              static_cast<RealFloat>(info.right), static_cast<RealFloat>(info.top)));
}

/** Sets a camera up as a photographer would; its properties may change parts of that afterwards. */
void SetUpLens(JsonCursor const& lens, Camera& camera) {
    lens.ReadObject("an object with \"focalLength\", \"filmWidth\" and \"size\"");
    CheckKeys(lens, LensKeys);
    JsonCursor const size = lens.Require("size");
    size.ReadCount("2 numbers: width, height", 2);
    std::optional<JsonCursor> const centred = lens.Find("centred");
    camera.SetupMillimeter(static_cast<RealFloat>(lens.Require("focalLength").ReadNumber(LensLengths)),
                           static_cast<RealFloat>(lens.Require("filmWidth").ReadNumber(LensLengths)),
                           static_cast<RealFloat>(size.GetItem(0).ReadNumber(LensPixels)),
                           static_cast<RealFloat>(size.GetItem(1).ReadNumber(LensPixels)),
                           !centred || centred->ReadBool());
}

/** Where corners of masks lie in a node. */
struct MaskSpace {
    bool fYDown;
    RealFloat top;             ///< where y points down: the node's height
    Vector3T<RealFloat> scale; ///< that they are stretched by, with the node

    Vector3T<RealFloat> Place(Vector3T<RealFloat> const& corner) const {
        RealFloat const y = corner.y / scale.y;
        return Vector3T<RealFloat>(corner.x / scale.x, fYDown ? top - y : y, corner.z);
    }
};

Ref<Mask> ReadMask(JsonCursor const& place, MaskSpace const& space) {
    std::string const what = "a mask: an array of 3-number corners, three to a triangle";
    std::size_t const nCorners = place.ReadCount(what);
    if (nCorners == 0 || nCorners % 3 != 0 || nCorners > MaximumMaskVertices) {
        place.FailExpected(what);
    }
    List<Vector3T<RealFloat>> vertices;
    for (std::size_t nCorner = 0; nCorner < nCorners; ++nCorner) {
        RequireMemory(place, vertices.Append(space.Place(ReadVector3(place.GetItem(nCorner)))));
    }
    Ref<Mask> pMask(new Mask);
    RequireMemory(place, pMask->SetTriangles(vertices.GetData(), vertices.GetCount()));
    return pMask;
}

/** A mask that is a rectangle: left and lower edge or, where y points down, upper edge, width and height. */
Ref<Mask> ReadClip(JsonCursor const& place, MaskSpace const& space) {
    place.ReadCount("4 numbers: x and y of a corner, width, height", 4);
    RealFloat sides[4] = {};
    for (std::size_t n = 0; n < 4; ++n) {
        ReadValue(place.GetItem(n), "clip", sides[n]);
        if (n >= 2 && !(sides[n] > 0)) {
            place.GetItem(n).FailExpected(n == 2 ? "a width above 0" : "a height above 0");
        }
    }
    RealFloat const left = sides[0] / space.scale.x;
    RealFloat const right = left + sides[2] / space.scale.x;
    RealFloat const height = sides[3] / space.scale.y;
    RealFloat const lower = sides[1] / space.scale.y;
    RealFloat const bottom = space.fYDown ? space.top - lower - height : lower;
    RealFloat const upper = bottom + height;
    Vector3T<RealFloat> const corners[] = {{left, bottom, 0}, {right, bottom, 0}, {left, upper, 0},
                                           {left, upper, 0},  {right, bottom, 0}, {right, upper, 0}};
    Ref<Mask> pMask(new Mask);
    RequireMemory(place, pMask->SetTriangles(corners, 6));
    return pMask;
}

} // namespace

std::vector<std::string> const& GetNodeClassNames() {
    static std::vector<std::string> const s_names = {
        "Timeline", "TransformNode", "Sprite", "NinePatchSprite", "Text", "Camera", "AlphaTestGroup"};
    return s_names;
}

std::vector<std::string> const& GetEffectClassNames() {
    static std::vector<std::string> const s_names = {"GaussianBlurEffect", "DirectionalBlurEffect",
                                                     "BlendModeEffect", "GroupOpacityEffect",
                                                     "BackdropBlurEffect"};
    return s_names;
}

std::vector<std::string> GetKnownClasses(ClassRegistry const& registry) {
    std::vector<std::string> known;
    for (std::string const& name : GetNodeClassNames()) {
        unsigned int const nClassID = HashName(name.data(), name.size());
        if (nClassID == TransformNode::ClassID || registry.IsRegistered(nClassID)) {
            known.push_back(name);
        }
    }
    return known;
}

std::vector<SceneKey> GetNodeKeys(Node const& node) {
    std::vector<SceneKey> keys(std::begin(NodeKeys), std::end(NodeKeys));
    auto const add = [&](auto const& more) { keys.insert(keys.end(), std::begin(more), std::end(more)); };
    if (node.IsKindOf(Timeline::ClassID)) {
        add(TimelineKeys);
    } else if (node.IsKindOf(Sprite::ClassID)) {
        add(SpriteKeys);
        if (node.GetFactoryClassID() == HashName("NinePatchSprite")) {
            add(NinePatchSpriteKeys);
        }
    } else if (node.IsKindOf(Text::ClassID)) {
        add(TextKeys);
    } else if (node.IsKindOf(Camera::ClassID)) {
        add(CameraNodeKeys);
    }
    return keys;
}

std::vector<std::string> GetPropertyNames(PropertyList const& properties) {
    std::vector<std::string> names;
    for (unsigned int n = 0; n < properties.GetCount(); ++n) {
        if (char16_t const* const pName = properties.GetEntry(n).m_pDescriptor->m_pName) {
            String8 const name{String16(pName)};
            names.emplace_back(name.GetData(), name.GetLength());
        }
    }
    return names;
}

RealFloat ReadFrameRate(JsonCursor const& place) {
    return static_cast<RealFloat>(place.ReadNumber(FrameRates));
}

Ref<Timeline> SceneNodes::CreateTimeline(JsonCursor const& place) const {
    Ref<Timeline> pTimeline = Create<Timeline>(m_registry, "Timeline");
    if (!pTimeline) {
        place.Fail("the back end has no class \"Timeline\"");
    }
    return pTimeline;
}

Ref<Node> SceneNodes::CreateNode(JsonCursor const& place, std::string const& className) const {
    unsigned int const nClassID = HashName(className.data(), className.size());
    if (nClassID == TransformNode::ClassID) {
        return Ref<Node>(new TransformNode); // the host's own: no back end registers it
    }
    if (!m_registry.IsRegistered(nClassID)) {
        place.FailUnknownName(className, "class", GetKnownClasses(m_registry));
    }
    Ref<Node> pNode = Create<Node>(m_registry, className);
    if (!pNode) {
        place.Fail("class \"" + className + "\" is no class of nodes");
    }
    return pNode;
}

void SceneNodes::ReadChildren(JsonCursor const& place, Node& parent, AnimationFrames const& frames,
                              int nStagger) {
    std::size_t const nCount = place.ReadCount("an array of nodes");
    AnimationFrames own = frames;
    if (nCount > 0) {
        CheckLater(place,
                   frames.nLater + static_cast<long long>(nStagger) * static_cast<long long>(nCount - 1));
    }
    for (std::size_t n = 0; n < nCount; ++n, own.nLater += nStagger) {
        place.Attempt([&] {
            if (Ref<Node> const pNode = ReadNode(place.GetItem(n), own)) {
                parent.Attach(pNode.Get());
                RequireMemory(place, pNode->GetParent() == &parent);
            }
        });
    }
}

/** Null when it has no class; then only what is below it has been looked at. */
Ref<Node> SceneNodes::ReadNode(JsonCursor const& place, AnimationFrames const& frames) {
    place.ReadObject("a node: an object with \"class\"");
    if (++m_nNodes > MaximumNodes) {
        place.FailFinally("the scene has more than " + std::to_string(MaximumNodes) + " nodes");
    }
    Ref<Node> pNode;
    place.Attempt([&] {
        JsonCursor const className = place.Require("class");
        pNode = CreateNode(className, className.ReadText());
    });
    AnimationFrames own = frames;
    place.Attempt([&] {
        int const nLater = frames.nLater + ReadFrames(place, "delay");
        CheckLater(place, nLater);
        own.nLater = nLater;
    });
    if (pNode && pNode->IsKindOf(Camera::ClassID)) {
        own.fYDown = false; // as cameras of timelines
    }
    Ref<Node> pParent = pNode ? pNode : Ref<Node>(new TransformNode); // of the children
    if (pNode) {
        ReadParts(place, *pNode, own);
        Vector3T<RealFloat> scale(1, 1, 1); // of what lies in its picture
        if (pNode->GetFactoryClassID() == HashName("NinePatchSprite")) {
            place.Attempt([&] { pParent = ReadStretched(place, static_cast<Sprite&>(*pNode), own, scale); });
        }
        place.Attempt([&] { ReadMasks(place, *pNode, scale, own.fYDown); });
        place.Attempt([&] { ReadEffects(place, *pNode, own); });
        if (pNode->IsKindOf(Timeline::ClassID)) { // whose children live in frames of their own
            own = AnimationFrames{static_cast<Timeline&>(*pNode).GetFrameDelay(), 0, frames.fYDown, 0};
        }
        own.top = GetHeight(*pParent);
    }
    if (std::optional<JsonCursor> const children = place.Find("children")) {
        place.Attempt([&] { ReadChildren(*children, *pParent, own, ReadFrames(place, "stagger")); });
    }
    place.Attempt([&] {
        m_layout.Add(place, *pParent, frames.fYDown ? std::optional<RealFloat>(own.top) : std::nullopt);
    });
    return pNode;
}

/** Stretches a sprite as its description asks for, at first by `scale`. Answers what its children are below.
 */
Ref<Node> SceneNodes::ReadStretched(JsonCursor const& place, Sprite& sprite, AnimationFrames const& frames,
                                    Vector3T<RealFloat>& scale) {
    SceneStretch const stretch = ReadStretch(place, sprite, AnimationReader(frames, m_budget), frames.fYDown);
    scale = stretch.scale;
    if (!stretch.pBelow) {
        return Ref<Node>(&sprite);
    }
    sprite.Attach(stretch.pBelow.Get());
    RequireMemory(place, stretch.pBelow->GetParent() == &sprite);
    return Ref<Node>(stretch.pBelow.Get());
}

/** The names of a node's keys that are no properties. */
std::vector<std::string> const& SceneNodes::GetKeys(Node const& node) {
    auto const [found, fNew] = m_keys.try_emplace(node.GetFactoryClassID());
    if (fNew) {
        found->second = NamesOf(GetNodeKeys(node));
    }
    return found->second;
}

/** Reads all of a node but its children and what lies in its picture: masks, and effects. */
void SceneNodes::ReadParts(JsonCursor const& place, Node& node, AnimationFrames const& frames) {
    if (node.IsKindOf(Camera::ClassID)) {
        ReadLens(place, static_cast<Camera&>(node));
    }
    TransformNode* const pTransform = node.GetTransformNode();
    if (frames.fYDown && pTransform) { // until its place is read
        pTransform->GetPositionProperty().SetValue(Vector3T<RealFloat>(0, frames.top, 0));
    }
    bool const fKnown = ReadMembers(place, node.GetProperties(), GetKeys(node), frames);
    ReadName(place, node);
    if (node.IsKindOf(Timeline::ClassID)) {
        ReadTimeline(place, static_cast<Timeline&>(node), frames);
    } else if (node.IsKindOf(Sprite::ClassID)) {
        place.Attempt([&] {
            ReadSprite(place, static_cast<Sprite&>(node), frames);
            ReadAnchor(place, static_cast<Sprite&>(node), frames.fYDown);
        });
    } else if (node.IsKindOf(Text::ClassID)) {
        place.Attempt([&] { ReadAnchor(place, static_cast<Text&>(node), frames.fYDown); });
        // A key that is not known may be a misspelt "font".
        if (fKnown || place.Find("font")) {
            place.Attempt([&] { m_fonts.Use(place.Require("font"), static_cast<Text&>(node)); });
        }
        place.Attempt([&] { ReadBackground(place, static_cast<Text&>(node), frames); });
    }
}

void SceneNodes::ReadName(JsonCursor const& place, Node& node) const {
    if (std::optional<JsonCursor> const name = place.Find("name")) {
        name->Attempt([&] { node.SetName(ToUtf16(name->ReadText())); });
    }
}

/** Sets the properties among an object's members; all others must be keys. Whether all names are known. */
bool SceneNodes::ReadMembers(JsonCursor const& place, PropertyList& properties,
                             std::vector<std::string> const& keys, AnimationFrames const& frames) {
    AnimationReader const animations(frames, m_budget);
    bool fKnown = true;
    std::set<std::string> wholes; // of which components are given
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        std::string const& name = place.GetMemberName(n);
        if (name == std::string_view("comment") || std::find(keys.begin(), keys.end(), name) != keys.end()) {
            continue;
        }
        place.Attempt([&] {
            if (PropertyList::Found const pEntry = FindProperty(properties, name)) {
                ReadProperty(place.GetMember(n), name, *pEntry, animations);
            } else if (IsComponent(properties, name)) {
                wholes.insert(name.substr(0, name.find('.')));
            } else {
                fKnown = false;
                if (char const* const pHint = FindHint(name, properties)) {
                    place.GetMember(n).Fail("unknown property or key \"" + name + "\"; " + pHint);
                }
                std::vector<std::string> known = GetPropertyNames(properties);
                known.insert(known.end(), keys.begin(), keys.end());
                place.GetMember(n).FailUnknownName(name, "property or key", known);
            }
        });
    }
    for (std::string const& name : wholes) {
        place.Attempt([&] {
            std::optional<JsonCursor> const whole = place.Find(name);
            if (whole && IsAnimation(*whole)) {
                whole->Fail("either a property is animated or its components are");
            }
            ReadComponents(place, name, *FindProperty(properties, name), animations);
        });
    }
    return fKnown;
}

void SceneNodes::ReadTimeline(JsonCursor const& place, Timeline& timeline, AnimationFrames const& frames) {
    timeline.SetFrameDelay(frames.delay);
    timeline.SetAutoPlay(true);
    if (std::optional<JsonCursor> const frameRate = place.Find("frameRate")) {
        place.Attempt([&] { timeline.SetFrameDelay(1 / ReadFrameRate(*frameRate)); });
    }
    if (std::optional<JsonCursor> const playing = place.Find("playing")) {
        place.Attempt([&] { timeline.SetAutoPlay(playing->ReadBool()); });
    }
    if (std::optional<JsonCursor> const timeMap = place.Find("timeMap")) {
        place.Attempt([&] { timeline.SetTimeMapFunction(ReadTimeMap(*timeMap)); });
    }
    if (std::optional<JsonCursor> const camera = place.Find("camera")) {
        AnimationFrames const own{timeline.GetFrameDelay(), 0, false, 0};
        place.Attempt([&] { timeline.SetCamera(ReadCamera(*camera, own).Get()); });
    }
}

void SceneNodes::ReadSprite(JsonCursor const& place, Sprite& sprite, AnimationFrames const& frames) {
    std::optional<JsonCursor> const size = place.Find("Size");
    if (size && IsAnimation(*size) && sprite.GetFactoryClassID() == Sprite::ClassID) {
        size->Fail(
            "a sprite's corners are placed when it is loaded, so its size cannot be animated; animate Scale");
    }
    std::optional<JsonCursor> const texture = place.Find("texture");
    if (!texture) {
        return;
    }
    SceneTexture const& found = m_textures.Find(*texture);
    if (!found.pTexture) {
        return;
    }
    sprite.SetTexture(found.pTexture.Get());
    if (!size) {
        sprite.GetSizeProperty().SetValue(
            SizeT<int>(found.pTexture->GetWidth(), found.pTexture->GetHeight()));
    }
    if (found.ninePatch && sprite.GetFactoryClassID() == HashName("NinePatchSprite")) {
        TakeNinePatch(place, *found.ninePatch, sprite.GetProperties());
        // Components that are given come on top of what the image says.
        std::string const margin = "ContentMargin";
        ReadComponents(place, margin, *FindProperty(sprite.GetProperties(), margin),
                       AnimationReader(frames, m_budget));
    }
}

void SceneNodes::ReadBackground(JsonCursor const& place, Text& text, AnimationFrames const& frames) {
    std::optional<JsonCursor> const background = place.Find("background");
    if (!background) {
        return;
    }
    Ref<Node> const pBackground = ReadNode(*background, {frames.delay, frames.nLater, false, 0});
    if (!pBackground) {
        return;
    }
    if (!pBackground->IsKindOf(Sprite::ClassID)) {
        JsonCursor const className = background->Require("class");
        className.Fail("class \"" + className.ReadText() + "\" is no class of sprites");
    }
    Sprite& sprite = static_cast<Sprite&>(*pBackground);
    if (!sprite.GetTexture() && !background->Find("texture")) {
        background->Fail("there is no \"texture\", without which a background is not drawn");
    }
    text.SetBackground(&sprite);
}

Ref<Camera> SceneNodes::ReadCamera(JsonCursor const& place, AnimationFrames const& frames) {
    place.ReadObject("a camera: an object with its properties");
    std::optional<JsonCursor> const className = place.Find("class");
    Ref<Node> const pNode =
        CreateNode(className ? *className : place, className ? className->ReadText() : "Camera");
    if (!pNode->IsKindOf(Camera::ClassID)) {
        className->Fail("class \"" + className->ReadText() + "\" is no class of cameras");
    }
    Ref<Camera> pCamera(static_cast<Camera*>(pNode.Get()));
    ReadLens(place, *pCamera);
    ReadMembers(place, pCamera->GetProperties(), NamesOf(CameraKeys), frames);
    ReadName(place, *pCamera);
    return pCamera;
}

void SceneNodes::ReadLens(JsonCursor const& place, Camera& camera) const {
    std::optional<JsonCursor> const lens = place.Find("lens");
    if (lens) {
        lens->Attempt([&] { SetUpLens(*lens, camera); });
    }
}

void SceneNodes::ReadMasks(JsonCursor const& place, Node& node, Vector3T<RealFloat> const& scale,
                           bool fYDown) const {
    MaskSpace const space{fYDown, fYDown ? GetHeight(node) : 0, scale};
    auto const add = [&](JsonCursor const& item, Ref<Mask> const& pMask) {
        node.AddMask(pMask.Get());
        RequireMemory(item, pMask->GetReferenceCount() > 1);
    };
    if (std::optional<JsonCursor> const masks = place.Find("masks")) {
        std::size_t const nMasks = masks->ReadCount("an array of masks");
        for (std::size_t n = 0; n < nMasks; ++n) {
            masks->Attempt([&] { add(masks->GetItem(n), ReadMask(masks->GetItem(n), space)); });
        }
    }
    if (std::optional<JsonCursor> const clip = place.Find("clip")) {
        add(*clip, ReadClip(*clip, space));
    }
}

void SceneNodes::ReadEffects(JsonCursor const& place, Node& node, AnimationFrames const& frames) {
    std::optional<JsonCursor> const effects = place.Find("effects");
    if (!effects) {
        return;
    }
    std::size_t const nEffects = effects->ReadCount("an array of effects");
    for (std::size_t n = 0; n < nEffects; ++n) {
        effects->Attempt([&] { ReadEffect(effects->GetItem(n), node, frames); });
    }
}

void SceneNodes::ReadEffect(JsonCursor const& place, Node& node, AnimationFrames const& frames) {
    place.ReadObject("an effect: an object with \"class\"");
    JsonCursor const className = place.Require("class");
    Ref<Effect> const pEffect = Create<Effect>(m_registry, className.ReadText());
    if (!pEffect) {
        className.FailUnknownName(className.ReadText(), "class of effects", GetEffectClassNames());
    }
    ReadMembers(place, pEffect->GetProperties(), NamesOf(EffectKeys),
                {frames.delay, frames.nLater, false, 0});
    node.AddEffect(pEffect.Get());
    RequireMemory(place, pEffect->GetReferenceCount() > 1);
}

} // namespace trevik::kelvo::assets
