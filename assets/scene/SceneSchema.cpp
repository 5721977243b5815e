#include "scene/SceneSchema.h"

#include "scene/PropertyValues.h"
#include "scene/SceneColors.h"
#include "scene/SceneKeys.h"
#include "scene/SceneNodes.h"
#include "scene/SceneProperty.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Interpolate.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace trevik::kelvo::assets {

namespace {

using Json = nlohmann::ordered_json;

Json RefTo(std::string const& name) {
    return {{"$ref", "#/definitions/" + name}};
}

/** The same, or what stands for it: a parameter, a constant, or a template. */
Json OrUse(Json const& form) {
    return {{"anyOf", {form, RefTo("reference")}}};
}

Json OneOf(std::vector<std::string> const& words) {
    return {{"enum", words}};
}

Json ArrayOf(Json const& item, std::size_t nLeast = 0, std::size_t nMost = 0) {
    Json form = {{"type", "array"}, {"items", item}};
    if (nLeast != 0) {
        form["minItems"] = nLeast;
    }
    if (nMost != 0) {
        form["maxItems"] = nMost;
    }
    return form;
}

/** A whole number where there is no fraction. */
Json ToNumber(double number) {
    bool const fWhole = number == static_cast<double>(static_cast<long>(number));
    return fWhole ? Json(static_cast<long>(number)) : Json(number);
}

Json Number(char const* pType, NumberRange const& range) {
    return OrUse({{"type", pType}, {"minimum", ToNumber(range.least)}, {"maximum", ToNumber(range.largest)}});
}

Json Numbers(NumberRange const& range, std::size_t nLeast, std::size_t nMost) {
    return ArrayOf(Number("number", range), nLeast, nMost);
}

Json DescribeForm(SceneForm const& form) {
    switch (form.kind) {
    case SceneForm::Text:
        return {{"type", "string"}};
    case SceneForm::Flag:
        return OrUse({{"type", "boolean"}});
    case SceneForm::Word:
        return OrUse(OneOf(WordsOf(form.ppWords)));
    case SceneForm::Defined:
        return RefTo(form.pDefinition);
    case SceneForm::Number:
    case SceneForm::Integer:
        break;
    }
    Json const number = Number(form.kind == SceneForm::Number ? "number" : "integer", form.range);
    return form.nItems == 0 ? number : OrUse(ArrayOf(number, form.nItems, form.nItems));
}

/** A form with a line for a person. Beside a reference nothing else counts, so that stands further in. */
Json Explain(Json const& form, std::string const& meaning) {
    Json explained = {{"description", meaning}};
    if (form.contains("$ref")) {
        explained["allOf"] = Json::array({form});
    } else {
        explained.update(form);
    }
    return explained;
}

template <class Table>
void AddKeys(Json& members, Table const& keys) {
    for (SceneKey const& key : keys) {
        members[std::string(key.name)] = Explain(DescribeForm(key.form), key.pMeaning);
    }
}

/** An object with these members and no others. */
Json Closed(Json members, std::vector<std::string> const& required = {}) {
    members["comment"] = {{"description", "Nobody reads it."}};
    Json form = {{"type", "object"}, {"properties", std::move(members)}, {"additionalProperties", false}};
    if (!required.empty()) {
        form["required"] = required;
    }
    return form;
}

template <class... Tables>
Json ClosedKeys(std::vector<std::string> const& required, Tables const&... keys) {
    Json members = Json::object();
    (AddKeys(members, keys), ...);
    return Closed(members, required);
}

/** An object whose members all have names of their own and one form. */
Json Named(Json const& form) {
    return {
        {"type", "object"}, {"properties", {{"comment", Json::object()}}}, {"additionalProperties", form}};
}

/** Where an object has this class, or none and this is what it has then, it has to be of this form. */
Json IfClass(std::string const& name, Json const& form) {
    Json const condition = {{"properties", {{"class", {{"const", name}}}}}, {"required", {"class"}}};
    return {{"if", condition}, {"then", form}};
}

Json Required(std::vector<std::string> const& names) {
    return {{"required", names}};
}

// Values of properties

std::string NameOfValue(std::string const& property, PropertyType::Enum type) {
    switch (type) {
    case PropertyType::Bool:
        return "trueOrFalse";
    case PropertyType::Int:
        return GetValueNames(property).empty() ? "wholeNumber" : "value." + property;
    case PropertyType::Real:
        return "number";
    case PropertyType::Vector2:
        return "2numbers";
    case PropertyType::Vector3:
        return IsColorName(property) ? "color" : "2or3numbers";
    case PropertyType::Rectangle:
        return "4numbers";
    case PropertyType::Color:
        return "colorWithAlpha";
    case PropertyType::SizeInt:
        return "wholeSize";
    case PropertyType::SizeReal:
        return "size";
    case PropertyType::String:
        return "lines";
    case PropertyType::PairList:
        return "pairs";
    case PropertyType::Unknown:
    case PropertyType::Other:
        break;
    }
    return std::string(); // nothing that a scene file can say
}

Json DescribeColorForm(std::size_t nMost) {
    std::string const digits = "[0-9a-fA-F]";
    std::string const pattern = nMost == 3 ? "^#(" + digits + "{3}){1,2}$"
                                           : "^#(" + digits + "{3,4}|" + digits + "{6}|" + digits + "{8})$";
    return {{"anyOf",
             {{{"type", "string"}, {"pattern", pattern}},
              OneOf(GetColorNames(nMost > 3)),
              {{"type", "string"}, {"pattern", "^[a-z]*[A-Z][a-zA-Z]*$"}}, // of the names, with capitals
              Numbers(Shares, 3, nMost),
              RefTo("reference")}}};
}

Json DescribeValueForm(std::string const& property, PropertyType::Enum type) {
    switch (type) {
    case PropertyType::Bool:
        return OrUse({{"type", "boolean"}});
    case PropertyType::Int: {
        Json const number = Number("integer", AnyInteger);
        std::vector<std::string> const names = GetValueNames(property);
        return names.empty() ? number : Json{{"anyOf", {OneOf(names), number}}};
    }
    case PropertyType::Real:
        return Number("number", AnyNumber);
    case PropertyType::Vector2:
        return OrUse(Numbers(AnyNumber, 2, 2));
    case PropertyType::Vector3:
        return IsColorName(property) ? DescribeColorForm(3) : OrUse(Numbers(AnyNumber, 2, 3));
    case PropertyType::Rectangle:
        return OrUse(Numbers(AnyNumber, 4, 4));
    case PropertyType::Color:
        return DescribeColorForm(4);
    case PropertyType::SizeInt:
        return OrUse(ArrayOf(Number("integer", AnyCount), 2, 2));
    case PropertyType::SizeReal:
        return OrUse(Numbers(AnyLength, 2, 2));
    case PropertyType::String:
        return {{"anyOf", {{{"type", "string"}}, ArrayOf({{"type", "string"}}), RefTo("reference")}}};
    case PropertyType::PairList:
        return OrUse(ArrayOf(OrUse(ArrayOf(Number("integer", AnyCount), 2, 2))));
    case PropertyType::Unknown:
    case PropertyType::Other:
        break;
    }
    return Json();
}

/** What drives a property frame by frame, whose values have a form that is defined under a name. */
Json DescribeAnimation(std::string const& value) {
    Json key = ClosedKeys({"value"}, KeyKeys);
    key["properties"]["value"] = RefTo(value);
    key["oneOf"] = {Required({"frame"}), Required({"time"})};
    Json samples = ClosedKeys({"samples"}, SamplesKeys);
    samples["properties"]["samples"] = OrUse(ArrayOf(RefTo(value), 1));
    Json keys = ClosedKeys({"keys"}, KeysKeys);
    keys["properties"]["keys"] = OrUse(ArrayOf(OrUse(key), 1));
    Json const either = {{"if", Required({"keys"})}, {"then", keys}, {"else", samples}};
    Json const object = {{"if", Required({"use"})}, {"then", RefTo("reference")}, {"else", either}};
    return {{"if", {{"type", "object"}}}, {"then", object}, {"else", RefTo(value)}};
}

class SchemaMaker {
public:
    explicit SchemaMaker(ClassRegistry const& registry) : m_registry(registry) {}

    Json Make() {
        AddBasics();
        AddResources();
        AddNodes();
        Json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"}, {"title", "A scene"}};
        schema.update(ClosedKeys({"nodes"}, SceneKeys, DefinitionKeys));
        m_definitions["included"] = ClosedKeys({}, DefinitionKeys, IncludedKeys);
        schema["definitions"] = m_definitions;
        return schema;
    }

private:
    void AddBasics() {
        std::string const name = "[A-Za-z_-][A-Za-z0-9_-]*";
        m_definitions["reference"] = {
            {"description", "A parameter or a constant (\"$name\"), or a use of a template."},
            {"if", {{"type", "string"}}},
            {"then", {{"pattern", "^\\$" + name + "$|\\$\\{" + name + "\\}"}}},
            {"else", RefTo("use")}};
        m_definitions["use"] = {{"type", "object"},
                                {"properties",
                                 {{"use", {{"type", "string"}, {"description", "The name of a template."}}},
                                  {"children", RefTo("nodes")}}},
                                {"required", {"use"}}};
        m_definitions["path"] = {{"type", "string"}, {"minLength", 1}};
        m_definitions["paths"] = ArrayOf(RefTo("path"));
        Json const names = {{"anyOf", {{{"const", "comment"}}, {{"pattern", "^(?!use$)" + name + "$"}}}}};
        m_definitions["constants"] = {{"type", "object"}, {"propertyNames", names}};
        m_definitions["templates"] = Named(ClosedKeys({"node"}, TemplateKeys));
        m_definitions["templates"]["propertyNames"] = names;
        m_definitions["surface"] = OrUse(ClosedKeys({}, SurfaceKeys));
        std::vector<std::string> easings;
        for (unsigned int n = 0; char const* const pName = Interpolate::GetName(n); ++n) {
            easings.emplace_back(pName);
        }
        std::string const share = " *(0*\\.[0-9]+|0+\\.?|1(\\.0*)?) *";
        std::string const number = " *[-+]?[0-9.]+([eE][-+]?[0-9]+)? *";
        m_definitions["easing"] = {{"anyOf",
                                    {OneOf(easings),
                                     {{"type", "string"},
                                      {"pattern", "^cubic(Bezier|-bezier)\\(" + share + "," + number + "," +
                                                      share + "," + number + "\\)$"}},
                                     RefTo("reference")}}};
    }

    void AddResources() {
        Json const either = {{"anyOf", {RefTo("path"), ClosedKeys({"file"}, TextureKeys), RefTo("use")}}};
        m_definitions["textures"] = OrUse(Named(either));
        m_definitions["ranges"] = OrUse(ArrayOf(
            OrUse({{"type", "string"}, {"pattern", "^U\\+[0-9a-fA-F]{1,6}(-U\\+[0-9a-fA-F]{1,6})?$"}})));
        Json const image = {
            {"anyOf", {{{"type", "string"}}, ClosedKeys({"texture"}, FontImageKeys), RefTo("use")}}};
        m_definitions["fontImages"] = OrUse(Named(image));
        m_definitions["fontImages"]["anyOf"][0]["propertyNames"] = {
            {"anyOf",
             {{{"const", "comment"}},
              {{"pattern", "^([^\\u0000-\\u001f\\u007f-\\u009f\\ud800-\\udfff]|[\\ud800-\\udbff][\\udc00-"
                           "\\udfff])$"}}}}};
        Json const file = ClosedKeys({"file"}, FontFileKeys, FontFaceKeys, FontKeys, FontGlyphKeys);
        Json const family = ClosedKeys({"family"}, FontFamilyKeys, FontKeys, FontGlyphKeys);
        m_definitions["fonts"] = OrUse(
            Named(OrUse({{"type", "object"}, {"if", Required({"file"})}, {"then", file}, {"else", family}})));
    }

    void AddNodes() {
        m_definitions["masks"] = OrUse(ArrayOf(OrUse(ArrayOf(OrUse(Numbers(AnyNumber, 2, 3)), 3))));
        m_definitions["lens"] = OrUse(ClosedKeys({"focalLength", "filmWidth", "size"}, LensKeys));
        m_definitions["layoutGroup"] = OrUse(ClosedKeys({}, LayoutGroupKeys));
        Json layout = ClosedKeys({}, LayoutKeys);
        layout["oneOf"] = {Required({"row"}), Required({"column"})};
        m_definitions["layout"] = OrUse(layout);
        m_definitions["anchor"] = {
            {"anyOf", {OneOf(WordsOf(AnchorWords)), Numbers(Shares, 2, 2), RefTo("reference")}}};
        m_definitions["wantedSize"] = OrUse(Numbers(StretchedSides, 2, 2));
        m_definitions["stretchTo"] = DescribeAnimation("wantedSize");

        Json any = Json::array(); // of what stands in a template: nodes and effects
        AddNodeClasses(any);
        AddEffectClasses(any);
        m_definitions["templateNode"] = {{"type", "object"},
                                         {"if", Required({"use"})},
                                         {"then", RefTo("use")},
                                         {"else", {{"allOf", any}}}};
    }

    void AddNodeClasses(Json& any) {
        std::vector<std::string> const classes = GetKnownClasses(m_registry);
        Json forms = Json::array();
        for (std::string const& name : classes) {
            Ref<Node> const pNode = CreateNode(name);
            Json members = Json::object();
            AddKeys(members, GetNodeKeys(*pNode));
            AddProperties(members, pNode->GetProperties(), name);
            m_definitions["node." + name] = Closed(members);
            forms.push_back(IfClass(name, RefTo("node." + name)));
            any.push_back(forms.back());
        }
        forms.push_back(IfClass("Text", Required({"font"})));
        m_definitions["node"] = DescribeClasses(classes, forms);
        m_definitions["nodes"] = OrUse(ArrayOf(RefTo("node")));

        Json members = Json::object();
        AddKeys(members, CameraKeys);
        AddProperties(members, CreateNode("Camera")->GetProperties(), "Camera");
        members["class"] = OrUse(OneOf({"Camera"}));
        m_definitions["camera"] = OrUse(Closed(members));
    }

    void AddEffectClasses(Json& any) {
        std::vector<std::string> classes;
        Json forms = Json::array();
        for (std::string const& name : GetEffectClassNames()) {
            Ref<Referenced> const pObject(m_registry.Create(HashName(name.data(), name.size())));
            if (Effect* const pEffect = dynamic_cast<Effect*>(pObject.Get())) {
                Json members = Json::object();
                AddKeys(members, EffectKeys);
                AddProperties(members, pEffect->GetProperties(), name);
                m_definitions["effect." + name] = Closed(members);
                forms.push_back(IfClass(name, RefTo("effect." + name)));
                any.push_back(forms.back());
                classes.push_back(name);
            }
        }
        m_definitions["effect"] = DescribeClasses(classes, forms);
        m_definitions["effects"] = OrUse(ArrayOf(RefTo("effect")));
    }

    /** An object whose class is one of these, with what holds for each. */
    static Json DescribeClasses(std::vector<std::string> const& classes, Json forms) {
        Json object = {{"type", "object"},
                       {"properties", {{"class", OrUse(OneOf(classes))}}},
                       {"required", {"class"}},
                       {"allOf", std::move(forms)}};
        return {{"if", {{"anyOf", {{{"type", "string"}}, {{"type", "object"}, {"required", {"use"}}}}}}},
                {"then", RefTo("reference")},
                {"else", std::move(object)}};
    }

    void AddProperties(Json& members, PropertyList const& properties, std::string const& className) {
        std::vector<std::string> const names = GetPropertyNames(properties);
        for (unsigned int n = 0; n < properties.GetCount(); ++n) {
            PropertyType::Enum const type = properties.GetEntry(n).m_pDescriptor->m_type;
            std::string const value = NameOfValue(names[n], type);
            if (value.empty()) {
                continue;
            }
            bool const fAnimated = type != PropertyType::String && type != PropertyType::PairList &&
                                   !(className == "Sprite" && names[n] == "Size");
            members[names[n]] = Explain(Define(value, DescribeValueForm(names[n], type), fAnimated),
                                        DescribeValue(names[n], type));
            bool const fColor = value == "color" || value == "colorWithAlpha";
            for (std::string const& component : GetComponentNames(names[n], type)) {
                members[names[n] + "." + component] =
                    Explain(fColor ? Define("share", Number("number", Shares), true)
                                   : Define("number", Number("number", AnyNumber), true),
                            fColor ? "a number from 0 to 1" : "a number");
            }
        }
    }

    /** Defines a value's form under its name, and how it is animated; refers to it. */
    Json Define(std::string const& name, Json const& form, bool fAnimated) {
        m_definitions[name] = form;
        if (!fAnimated) {
            return RefTo(name);
        }
        m_definitions["animated." + name] = DescribeAnimation(name);
        return RefTo("animated." + name);
    }

    Ref<Node> CreateNode(std::string const& name) const {
        unsigned int const nClassID = HashName(name.data(), name.size());
        Ref<Referenced> const pObject(nClassID == TransformNode::ClassID ? new TransformNode
                                                                         : m_registry.Create(nClassID));
        return Ref<Node>(dynamic_cast<Node*>(pObject.Get()));
    }

    ClassRegistry const& m_registry;
    Json m_definitions = Json::object();
};

} // namespace

std::string MakeSceneSchema(ClassRegistry const& registry) {
    return SchemaMaker(registry).Make().dump(1) + "\n";
}

} // namespace trevik::kelvo::assets
