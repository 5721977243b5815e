#include "scene/SceneFormatter.h"

#include "file/Failure.h"
#include "scene/JsonCursor.h"
#include "scene/SceneKeys.h"
#include "scene/SceneNodes.h"
#include "scene/SceneProperty.h"
#include "trevik/kelvo/Effect.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t LongestLine = 120;
constexpr std::size_t Indent = 2;

/** Where names stand among each other; those that have no place keep their order, at that of "". */
class Order {
public:
    void Add(std::vector<std::string> const& names) {
        for (std::string const& name : names) {
            m_places.emplace(name, m_places.size());
        }
    }
    std::size_t At(std::string const& name) const {
        auto const found = m_places.find(name);
        return found != m_places.end() ? found->second : m_places.at("");
    }

private:
    std::map<std::string, std::size_t> m_places;
};

/** What has names of its own: their order may matter to what they stand for. */
bool IsNamed(std::string const& key) {
    static std::vector<std::string> const s_keys = {"textures",  "fonts",      "images",
                                                    "constants", "parameters", "templates"};
    return std::find(s_keys.begin(), s_keys.end(), key) != s_keys.end();
}

std::string WriteText(std::string const& text) {
    return nlohmann::json(text).dump();
}

bool IsPlain(JsonValue const& value) {
    return value.GetKind() != JsonValue::Kind::Array && value.GetKind() != JsonValue::Kind::Object;
}

class SceneFormatter {
public:
    explicit SceneFormatter(ClassRegistry const& registry) {
        m_scene.Add({"$schema", "comment"});
        std::vector<std::string> keys = NamesOf(SceneKeys);
        keys.pop_back(); // the nodes come last
        m_scene.Add(keys);
        m_scene.Add(NamesOf(DefinitionKeys));
        m_scene.Add({"", "nodes"});

        m_node.Add({"comment", "use", "class", "name"});
        m_node.Add(NamesOf(SpriteKeys, NinePatchSpriteKeys, TextKeys, TimelineKeys, CameraNodeKeys));
        m_node.Add({"delay", "stagger", "layout", ""});
        AddProperties(registry);
        m_node.Add({"clip", "masks", "effects", "children"});

        m_other.Add({"comment"});
        m_other.Add(NamesOf(TemplateKeys, FontFileKeys, FontFamilyKeys, LensKeys, SurfaceKeys, TextureKeys,
                            FontGlyphKeys, FontFaceKeys, FontKeys, FontImageKeys, LayoutKeys, LayoutGroupKeys,
                            KeyKeys));
        m_other.Add({"samples", "start", "keys"});
        m_other.Add(NamesOf(KeysKeys));
        m_other.Add({""});
    }

    std::string Format(JsonValue const& root) {
        if (root.GetKind() != JsonValue::Kind::Object) {
            return Write(root, "", 0, 0) + "\n";
        }
        return Break(root, "", 0, m_scene) + "\n";
    }

private:
    /** Those of all classes, the first class that has one first. */
    void AddProperties(ClassRegistry const& registry) {
        std::vector<std::string> classes = GetKnownClasses(registry);
        std::vector<std::string> const& effects = GetEffectClassNames();
        classes.insert(classes.end(), effects.begin(), effects.end());
        Ref<Node> const pTransform(new TransformNode);
        AddProperties(pTransform->GetProperties());
        for (std::string const& name : classes) {
            Ref<Referenced> const pObject(registry.Create(HashName(name.data(), name.size())));
            if (Node* const pNode = dynamic_cast<Node*>(pObject.Get())) {
                AddProperties(pNode->GetProperties());
            } else if (Effect* const pEffect = dynamic_cast<Effect*>(pObject.Get())) {
                AddProperties(pEffect->GetProperties());
            }
        }
    }

    void AddProperties(PropertyList const& properties) {
        std::vector<std::string> const names = GetPropertyNames(properties);
        for (unsigned int n = 0; n < properties.GetCount(); ++n) {
            m_node.Add({names[n]});
            PropertyType::Enum const type = properties.GetEntry(n).m_pDescriptor->m_type;
            for (std::string const& component : GetComponentNames(names[n], type)) {
                m_node.Add({names[n] + "." + component});
            }
        }
    }

    /** The members of an object, which stands under a key, in their order. */
    static std::vector<std::size_t> Sort(JsonValue const& object, std::string const& key,
                                         Order const& order) {
        std::vector<std::size_t> members(object.GetItems().size());
        for (std::size_t n = 0; n < members.size(); ++n) {
            members[n] = n;
        }
        if (!IsNamed(key)) {
            std::stable_sort(members.begin(), members.end(), [&](std::size_t a, std::size_t b) {
                return order.At(object.GetName(a)) < order.At(object.GetName(b));
            });
        }
        return members;
    }

    Order const& GetOrder(JsonValue const& object) const {
        return object.Find("class") || object.Find("use") ? m_node : m_other;
    }

    /** A value on one line. */
    std::string Join(JsonValue const& value, std::string const& key) const {
        switch (value.GetKind()) {
        case JsonValue::Kind::Null:
            return "null";
        case JsonValue::Kind::Bool:
            return value.GetBool() ? "true" : "false";
        case JsonValue::Kind::Number:
            return WriteNumber(value.GetNumber());
        case JsonValue::Kind::String:
            return WriteText(value.GetText());
        case JsonValue::Kind::Array:
        case JsonValue::Kind::Object:
            break;
        }
        bool const fObject = value.GetKind() == JsonValue::Kind::Object;
        std::string line(1, fObject ? '{' : '[');
        std::vector<std::size_t> const members =
            fObject ? Sort(value, key, GetOrder(value)) : std::vector<std::size_t>();
        for (std::size_t n = 0; n < value.GetItems().size(); ++n) {
            std::size_t const nItem = fObject ? members[n] : n;
            std::string const name = fObject ? value.GetName(nItem) : key;
            line += (n == 0 ? "" : ", ") + (fObject ? WriteText(name) + ": " : std::string()) +
                    Join(value.GetItems()[nItem], fObject ? name : std::string());
        }
        return line + (fObject ? '}' : ']');
    }

    /** A value behind `nBefore` bytes of its line, which begins with `nIndent` spaces. */
    std::string Write(JsonValue const& value, std::string const& key, std::size_t nIndent,
                      std::size_t nBefore) const {
        std::string line = Join(value, key);
        // A comma may follow. Lists of nodes have lines of their own.
        bool const fList =
            (key == "nodes" || key == "children") && !IsPlain(value) && !value.GetItems().empty();
        if (IsPlain(value) || (nBefore + line.size() < LongestLine && !fList)) {
            return line;
        }
        return value.GetKind() == JsonValue::Kind::Object ? Break(value, key, nIndent, GetOrder(value))
                                                          : Break(value, nIndent);
    }

    /** An object with a member on each line. */
    std::string Break(JsonValue const& object, std::string const& key, std::size_t nIndent,
                      Order const& order) const {
        std::string const start(nIndent + Indent, ' ');
        std::string text = "{";
        for (std::size_t const nMember : Sort(object, key, order)) {
            std::string const& name = object.GetName(nMember);
            std::string const before = start + WriteText(name) + ": ";
            text += (text.size() == 1 ? "\n" : ",\n") + before +
                    Write(object.GetItems()[nMember], name, nIndent + Indent, before.size());
        }
        return text + "\n" + std::string(nIndent, ' ') + "}";
    }

    /** An array with an item on each line; of numbers and such as many as there is room for. */
    std::string Break(JsonValue const& array, std::size_t nIndent) const {
        std::string const start(nIndent + Indent, ' ');
        std::string text = "[\n";
        std::string line;
        bool const fPlain = std::all_of(array.GetItems().begin(), array.GetItems().end(), IsPlain);
        for (JsonValue const& item : array.GetItems()) {
            std::string const written = Write(item, "", nIndent + Indent, start.size());
            if (line.empty()) {
                line = start + written;
            } else if (fPlain && line.size() + 2 + written.size() < LongestLine) {
                line += ", " + written;
            } else {
                text += line + ",\n";
                line = start + written;
            }
        }
        return text + line + "\n" + std::string(nIndent, ' ') + "]";
    }

    Order m_scene;
    Order m_node;
    Order m_other;
};

/** The line of the first comment of a text that is JSON otherwise; 0 when there is none. */
std::size_t FindComment(ByteSpan text) {
    try {
        nlohmann::json const parsed = nlohmann::json::parse(text.data, text.data + text.size);
        return parsed.is_discarded() ? 1 : 0;
    } catch (nlohmann::json::parse_error const& fault) {
        std::uint8_t const* const pEnd = text.data + std::min(fault.byte, text.size);
        return static_cast<std::size_t>(std::count(text.data, pEnd, '\n')) + 1;
    }
}

} // namespace

bool FormatScene(ByteSpan text, std::string const& name, ClassRegistry const& registry,
                 std::string& formatted, Fault& fault) {
    JsonPool pool;
    JsonValue root;
    if (!ParseJson(text, name, JsonLimits(), pool, root, fault)) {
        return false;
    }
    if (std::size_t const nLine = FindComment(text)) {
        return Fail(fault, name + ":" + std::to_string(nLine), "there is a comment, which would be lost",
                    "a \"comment\" key stays");
    }
    formatted = SceneFormatter(registry).Format(root);
    return true;
}

} // namespace trevik::kelvo::assets
