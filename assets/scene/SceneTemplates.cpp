#include "scene/SceneTemplates.h"

#include "file/FileBytes.h"
#include "scene/SceneKeys.h"
#include "scene/SceneReader.h"
#include "scene/SceneValues.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumIncludes = 100;
constexpr std::size_t MaximumParameters = 256;             ///< of one template
constexpr std::size_t MaximumUsesInside = 32;              ///< templates inside each other
constexpr std::size_t MaximumAdded = std::size_t(1) << 20; ///< values, and pieces of their texts
constexpr std::size_t PieceOfText = 64;
constexpr std::size_t LongestText = std::size_t(1) << 20;

using Values = std::map<std::string, JsonValue>;

bool IsNameUnit(char unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || (unit >= '0' && unit <= '9') ||
           unit == '_' || unit == '-';
}

/** Amounts of money are none. */
bool IsName(std::string const& text) {
    return !text.empty() && !(text[0] >= '0' && text[0] <= '9') &&
           std::all_of(text.begin(), text.end(), IsNameUnit);
}

/** Whether there is a use of a template in a value. */
bool HasUse(JsonValue const& value) {
    if (value.GetKind() != JsonValue::Kind::Array && value.GetKind() != JsonValue::Kind::Object) {
        return false;
    }
    return value.Find("use") || std::any_of(value.GetItems().begin(), value.GetItems().end(), HasUse);
}

/** Textures and fonts have names of their own choice, which may be "use". */
bool IsResources(std::string const& name) {
    return name == "textures" || name == "fonts";
}

std::string GetCanonicalPath(std::string const& path) {
    std::error_code error;
    std::filesystem::path const canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

/** What a value counts against the limit for what templates add. */
std::size_t CountValues(JsonValue const& value) {
    std::size_t nCount = 1;
    if (value.GetKind() == JsonValue::Kind::String) {
        nCount += value.GetText().size() / PieceOfText;
    } else if (value.GetKind() == JsonValue::Kind::Array || value.GetKind() == JsonValue::Kind::Object) {
        for (JsonValue const& item : value.GetItems()) {
            nCount += CountValues(item);
        }
    }
    return nCount;
}

std::string DescribeLine(JsonCursor const& place) {
    return place.GetFileName() + ":" + std::to_string(place.GetValue().GetLine());
}

struct Template {
    JsonValue const* pDefinition; ///< which stays in its document until all is in place
    std::vector<std::string> parameters;
    bool fUsed = false;
};

class Expansion {
public:
    explicit Expansion(JsonSource& source) : m_source(source) {}

    void Run() {
        JsonValue& root = m_source.root;
        bool const fObject = root.GetKind() == JsonValue::Kind::Object;
        bool const fUses = m_source.pool.HasName("use"); // else nothing is searched
        if (!fObject || (!Defines(root) && !(fUses && HasUseBelow(root)))) {
            return; // what is no object is told where the scene is read
        }
        m_open.push_back({GetCanonicalPath(m_source.name), std::string()});
        IncludeFiles(root);
        for (JsonFile const& file : m_source.included) {
            TakeOver(file.root, "textures");
            TakeOver(file.root, "fonts");
        }
        // From here on no member is added to a root: the definitions stay where they are.
        for (JsonValue* pRoot : m_roots) {
            ReadDefinitions(*pRoot);
        }
        for (std::size_t n = 0; n < root.GetItems().size(); ++n) {
            std::string const& name = root.GetName(n);
            if (IsResources(name)) {
                ExpandItems(root.Items()[n], Scope{nullptr, 0});
            } else if (!IsDefinition(name) && name != "comment" && name != "$schema") {
                Expand(root.Items()[n], Scope{nullptr, 0});
            }
        }
        for (auto const& [name, defined] : m_templates) {
            if (!defined.fUsed && defined.pDefinition->GetFile() == 0) {
                m_source.unused.push_back({name, 0, defined.pDefinition->GetLine(), 0});
            }
        }
        for (char const* pName : DefinitionNames) {
            root.RemoveMember(pName);
        }
        CheckDepth(root, 1);
    }

private:
    static constexpr char const* DefinitionNames[] = {"include", "constants", "templates"};

    /** What names mean beside the constants, and the use that they have come with. */
    struct Scope {
        Values const* pParameters;
        std::size_t nUse;
    };
    /** What is being put in place, and where that was asked for. */
    struct Open {
        std::string name;
        std::string place;
    };

    static bool IsDefinition(std::string const& name) {
        return std::any_of(std::begin(DefinitionNames), std::end(DefinitionNames),
                           [&](char const* pName) { return name == pName; });
    }
    static bool Defines(JsonValue const& root) {
        return std::any_of(std::begin(DefinitionNames), std::end(DefinitionNames),
                           [&](char const* pName) { return root.Find(pName); });
    }
    static bool HasUseBelow(JsonValue const& root) {
        for (std::size_t n = 0; n < root.GetItems().size(); ++n) {
            JsonValue const& item = root.GetItems()[n];
            bool const fNames = IsResources(root.GetName(n)) && item.GetKind() == JsonValue::Kind::Object;
            if (fNames ? std::any_of(item.GetItems().begin(), item.GetItems().end(), HasUse) : HasUse(item)) {
                return true;
            }
        }
        return false;
    }

    JsonCursor At(JsonValue const& value) const { return JsonCursor(m_source, value); }

    // What files define

    /** Reads the files that a file includes, and those that they do. */
    void IncludeFiles(JsonValue& root) {
        if (JsonValue const* const pPaths = root.Find("include")) {
            std::size_t const nPaths = At(*pPaths).ReadCount("an array of paths");
            for (std::size_t n = 0; n < nPaths; ++n) {
                Include(At(*pPaths).GetItem(n));
            }
        }
        m_roots.push_back(&root);
    }

    void ReadDefinitions(JsonValue& root) {
        if (JsonValue const* const pTemplates = root.Find("templates")) {
            ReadTemplates(At(*pTemplates));
        }
        if (JsonValue* const pConstants = FindMember(root, "constants")) {
            ReadConstants(*pConstants);
        }
    }

    static JsonValue* FindMember(JsonValue& object, char const* pName) {
        return const_cast<JsonValue*>(static_cast<JsonValue const&>(object).Find(pName));
    }

    void Include(JsonCursor const& place) {
        std::string const path = ReadPath(place, "a file to include");
        std::string const canonical = GetCanonicalPath(path);
        for (std::size_t n = 0; n < m_open.size(); ++n) {
            if (m_open[n].name == canonical) {
                place.Fail(path + " includes itself" +
                           (n + 1 < m_open.size() ? ", by way of " + m_open[n + 1].place : ""));
            }
        }
        if (!m_included.insert(canonical).second) {
            return;
        }
        if (m_source.included.size() >= MaximumIncludes) {
            place.Fail("more than " + std::to_string(MaximumIncludes) + " files are included");
        }
        Fault fault;
        std::vector<std::uint8_t> bytes;
        if (!ReadFile(path, m_nBytesLeft, bytes, fault)) {
            place.Fail(fault);
        }
        m_nBytesLeft -= bytes.size();
        m_source.included.push_back({path, path.substr(0, path.rfind('/') + 1), JsonValue()});
        JsonValue& root = m_source.included.back().root;
        if (!ParseJson({bytes.data(), bytes.size()}, path, m_limits, m_source.pool, root, fault,
                       static_cast<unsigned char>(m_source.included.size()))) {
            Fail(fault, path, place);
        }
        m_limits.nValues -= std::min(m_limits.nValues, CountValues(root));
        try {
            At(root).ReadObject("an object with what is included");
            CheckKeys(At(root), DefinitionKeys, IncludedKeys);
        } catch (Fault const& wrong) {
            Fail(wrong, path, place);
        }
        m_open.push_back({canonical, DescribeLine(place)});
        IncludeFiles(root);
        m_open.pop_back();
    }

    /** Throws the fault of a file that is included at a place. */
    [[noreturn]] static void Fail(Fault const& fault, std::string const& path, JsonCursor const& place) {
        std::string where = fault.GetWhere(); // begins with the path and the line; behind may be a way
        where.insert(std::min(where.find(": ", path.size()), where.size()),
                     " (included at " + DescribeLine(place) + ")");
        throw Fault(where, fault.GetWhat(), fault.GetWhy());
    }

    void ReadConstants(JsonValue& constants) {
        At(constants).ReadObject("an object with a value under each name");
        for (std::size_t n = 0; n < constants.GetItems().size(); ++n) {
            std::string const& name = constants.GetName(n);
            JsonValue& value = constants.Items()[n];
            if (name == "comment") {
                continue;
            }
            auto const found = m_constants.find(name);
            CheckName(At(value), name,
                      found == m_constants.end() ? nullptr : &m_constantValues.find(name)->second);
            Expand(value, Scope{nullptr, 0});
            CheckDepth(value, 1);
            m_constantValues.emplace(name, At(value));
            m_constants.emplace(name, value.Copy(m_source.pool));
        }
    }

    void ReadTemplates(JsonCursor const& templates) {
        templates.ReadObject("an object with a template under each name");
        for (std::size_t n = 0; n < templates.GetMemberCount(); ++n) {
            std::string const& name = templates.GetMemberName(n);
            JsonCursor const place = templates.GetMember(n);
            if (name == "comment") {
                continue;
            }
            auto const found = m_templates.find(name);
            JsonCursor const first =
                At(found == m_templates.end() ? place.GetValue() : *found->second.pDefinition);
            CheckName(place, name, found == m_templates.end() ? nullptr : &first);
            place.ReadObject("a template: an object with \"node\" and perhaps \"parameters\"");
            CheckKeys(place, TemplateKeys);
            place.Require("node").ReadObject("a node");
            Template added{&place.GetValue(), {}};
            if (std::optional<JsonCursor> const parameters = place.Find("parameters")) {
                parameters->ReadObject("an object with an initial value, or null, under each name");
                for (std::size_t nName = 0; nName < parameters->GetMemberCount(); ++nName) {
                    added.parameters.push_back(parameters->GetMemberName(nName));
                }
                if (added.parameters.size() > MaximumParameters) {
                    parameters->FailExpected("at most " + std::to_string(MaximumParameters) + " parameters");
                }
                for (std::size_t nName = 0; nName < added.parameters.size(); ++nName) {
                    CheckName(parameters->GetMember(nName), added.parameters[nName], nullptr);
                }
            }
            m_templates.emplace(name, std::move(added));
        }
    }

    /** Throws when a name cannot be one, or has been given before. */
    void CheckName(JsonCursor const& place, std::string const& name, JsonCursor const* pFirst) const {
        if (!IsName(name) || name == "use") {
            place.Fail("a name has letters, digits, _ and -, begins with no digit, and is not \"use\"");
        }
        if (pFirst) {
            place.Fail("there is another one of this name at " + DescribeLine(*pFirst));
        }
    }

    /** Adds what an included file has under a key to what the scene has there. */
    void TakeOver(JsonValue const& from, char const* pKey) {
        JsonValue const* const pAdded = from.Find(pKey);
        if (!pAdded) {
            return;
        }
        At(*pAdded).ReadObject("an object with names");
        JsonValue* pOwn = FindMember(m_source.root, pKey);
        if (!pOwn) {
            m_source.root.SetMember(m_source.pool, pKey, pAdded->Copy(m_source.pool));
            return;
        }
        At(*pOwn).ReadObject("an object with names");
        std::set<std::string> names;
        for (std::size_t n = 0; n < pOwn->GetItems().size(); ++n) {
            names.insert(pOwn->GetName(n));
        }
        for (std::size_t n = 0; n < pAdded->GetItems().size(); ++n) {
            std::string const& name = pAdded->GetName(n);
            if (name == "comment") {
                continue;
            }
            if (!names.insert(name).second) {
                At(pAdded->GetItems()[n])
                    .Fail("there is another one of this name at " + DescribeLine(At(*pOwn->Find(name))));
            }
            pOwn->AddMember(m_source.pool, name, pAdded->GetItems()[n].Copy(m_source.pool));
        }
    }

    // What takes its place

    void Expand(JsonValue& value, Scope const& scope) {
        if (value.GetKind() == JsonValue::Kind::String) {
            ExpandText(value, scope);
        } else if (value.GetKind() == JsonValue::Kind::Object && value.Find("use")) {
            ExpandUse(value, scope);
        } else {
            ExpandItems(value, scope);
        }
    }

    /** What is in an array or an object; comments stay as they are. */
    void ExpandItems(JsonValue& value, Scope const& scope) {
        bool const fObject = value.GetKind() == JsonValue::Kind::Object;
        if (!fObject && value.GetKind() != JsonValue::Kind::Array) {
            return;
        }
        for (std::size_t n = 0; n < value.Items().size(); ++n) {
            if (!fObject || value.GetName(n) != "comment") {
                Expand(value.Items()[n], scope);
            }
        }
    }

    void ExpandText(JsonValue& value, Scope const& scope) {
        std::string const& text = value.GetText();
        std::size_t nDollar = text.find('$');
        if (nDollar == std::string::npos) {
            return;
        }
        if (nDollar == 0 && IsName(text.substr(1))) {
            JsonValue const& meant = Look(At(value), text.substr(1), scope);
            Count(At(value), meant);
            std::uint16_t const nWay =
                AddWay({text.substr(1), value.GetFile(), value.GetLine(), 0, meant.GetWay()});
            value = meant.Copy(m_source.pool);
            value.SetWay(nWay);
            return;
        }
        std::string expanded;
        std::size_t nDone = 0;
        for (; nDollar != std::string::npos; nDollar = text.find('$', nDone)) {
            expanded.append(text, nDone, nDollar - nDone);
            nDone = nDollar + 1;
            if (text.compare(nDone, 1, "{") == 0) {
                std::size_t const nEnd = text.find('}', nDone);
                std::string const name =
                    nEnd == std::string::npos ? "" : text.substr(nDone + 1, nEnd - nDone - 1);
                if (!IsName(name)) {
                    At(value).Fail(
                        "\"${\" begins a name that ends with \"}\"; \"$$\" stands for the sign alone");
                }
                expanded += GetText(At(value), Look(At(value), name, scope));
                nDone = nEnd + 1;
            } else {
                expanded += '$';
                nDone += text.compare(nDone, 1, "$") == 0 ? 1 : 0;
            }
            if (expanded.size() > LongestText) {
                At(value).Fail("the text becomes longer than " + std::to_string(LongestText) + " bytes");
            }
        }
        expanded.append(text, nDone, std::string::npos);
        value.SetText(m_source.pool, expanded);
        Count(At(value), value);
    }

    /** The number of a way; the same one for the same way, as a template's names serve each of its uses. */
    std::uint16_t AddWay(JsonWay way) {
        constexpr std::size_t Most = 0xffff; // behind which a message says less
        auto const key = std::make_tuple(way.name, way.nFile, way.nLine, way.nUses, way.nInner);
        auto const found = m_ways.find(key);
        if (found != m_ways.end()) {
            return found->second;
        }
        if (m_source.ways.size() == Most) {
            return way.nInner;
        }
        m_source.ways.push_back(std::move(way));
        return m_ways[key] = static_cast<std::uint16_t>(m_source.ways.size());
    }

    /** What a parameter or constant stands for. */
    JsonValue const& Look(JsonCursor const& place, std::string const& name, Scope const& scope) const {
        for (Values const* pValues : {scope.pParameters, &m_constants}) {
            auto const found = pValues ? pValues->find(name) : m_constants.end();
            if (pValues && found != pValues->end()) {
                return found->second;
            }
        }
        std::vector<std::string> known;
        for (Values const* pValues : {scope.pParameters, &m_constants}) {
            if (pValues) {
                std::transform(pValues->begin(), pValues->end(), std::back_inserter(known),
                               [](auto const& named) { return named.first; });
            }
        }
        place.FailUnknownName(name, "parameter or constant", known);
    }

    static std::string GetText(JsonCursor const& place, JsonValue const& value) {
        switch (value.GetKind()) {
        case JsonValue::Kind::String:
            return value.GetText();
        case JsonValue::Kind::Number:
            return WriteNumber(value.GetNumber());
        case JsonValue::Kind::Bool:
            return value.GetBool() ? "true" : "false";
        default:
            place.Fail("a text takes up strings, numbers, true and false only");
        }
    }

    /** The object becomes the template's node, with its parameters and what is given beside them. */
    void ExpandUse(JsonValue& value, Scope const& scope) {
        ExpandItems(value, scope);
        JsonCursor const place = At(value);
        JsonCursor const use = place.Require("use");
        std::string const& name = use.ReadText(); // stays where it is as long as what is given does
        auto const found = m_templates.find(name);
        if (found == m_templates.end()) {
            std::vector<std::string> known;
            for (auto const& named : m_templates) {
                known.push_back(named.first);
            }
            use.FailUnknownName(name, "template", known);
        }
        CheckOpen(use, name);
        Template& used = found->second;
        used.fUsed = true;
        JsonValue const& node = *used.pDefinition->Find("node");
        CheckMembers(place, used, node);
        Values const parameters = GetParameters(value, use, name, used);
        Count(place, node);
        m_source.uses.push_back({name, value.GetFile(), value.GetLine(), scope.nUse});
        std::size_t const nUse = m_source.uses.size();
        JsonValue given = std::move(value);
        value = node.Copy(m_source.pool);
        value.SetUse(nUse);
        m_uses.push_back(
            {name, m_source.GetFileName(given.GetFile()) + ":" + std::to_string(given.GetLine())});
        Expand(value, Scope{&parameters, nUse});
        m_uses.pop_back();
        std::size_t nUses = 0; // more than one where the node is itself a use
        for (std::size_t nInner = value.GetUse(); nInner != scope.nUse; ++nUses) {
            nInner = m_source.uses[nInner - 1].nOuter;
        }
        for (std::size_t n = 0; n < given.GetItems().size(); ++n) {
            if (IsGivenBeside(used, given.GetName(n))) {
                GiveMember(value, given.GetName(n), std::move(given.Items()[n]), nUses);
            }
        }
        CheckDepth(value, 1);
    }

    void CheckOpen(JsonCursor const& use, std::string const& name) const {
        for (Open const& open : m_uses) {
            if (open.name == name) {
                use.Fail("template \"" + name + "\" uses itself, as it is used at " + open.place);
            }
        }
        if (m_uses.size() >= MaximumUsesInside) {
            use.Fail("more than " + std::to_string(MaximumUsesInside) + " templates inside each other");
        }
    }

    static bool IsParameter(Template const& used, std::string const& name) {
        return std::find(used.parameters.begin(), used.parameters.end(), name) != used.parameters.end();
    }
    static bool IsGivenBeside(Template const& used, std::string const& name) {
        return name != "use" && name != "comment" && !IsParameter(used, name);
    }

    /** Throws at what is given beside parameters and is not known to belong to a node. */
    void CheckMembers(JsonCursor const& place, Template const& used, JsonValue const& node) const {
        for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
            std::string const& name = place.GetMemberName(n);
            bool const fProperty = !name.empty() && name[0] >= 'A' && name[0] <= 'Z';
            bool const fKey = name != "class" && IsKey(name, NodeKeys, TimelineKeys, SpriteKeys,
                                                       NinePatchSpriteKeys, TextKeys, CameraNodeKeys);
            if (IsGivenBeside(used, name) && !fProperty && !fKey && !node.Find(name)) {
                place.GetMember(n).FailUnknownName(name, "parameter", used.parameters);
            }
        }
    }

    /** What the parameters of a use are, initial values included. */
    Values GetParameters(JsonValue const& given, JsonCursor const& use, std::string const& name,
                         Template const& used) {
        Values parameters;
        for (std::string const& parameter : used.parameters) {
            if (JsonValue const* const pGiven = given.Find(parameter)) {
                Count(use, *pGiven);
                CheckDepth(*pGiven, 1);
                parameters.emplace(parameter, pGiven->Copy(m_source.pool));
            }
        }
        // An initial value may take up what is given, and initial values before it.
        for (std::string const& parameter : used.parameters) {
            if (parameter == "comment" || given.Find(parameter)) {
                continue;
            }
            JsonValue const& initial = *used.pDefinition->Find("parameters")->Find(parameter);
            if (initial.GetKind() == JsonValue::Kind::Null) {
                use.Fail(std::string("template \"").append(name).append("\" needs \"").append(parameter) +
                         "\"");
            }
            Count(use, initial);
            JsonValue value = initial.Copy(m_source.pool);
            try {
                Expand(value, Scope{&parameters, 0});
                CheckDepth(value, 1);
            } catch (Fault const& fault) { // the copy has no way of its own
                use.Fail(fault);
            }
            parameters.emplace(parameter, std::move(value));
        }
        return parameters;
    }

    /**
     * Children come behind those that the template's node has; anything else takes the place of the node's.
     * None of it comes from the `nUses` templates that the node does.
     */
    void GiveMember(JsonValue& node, std::string const& name, JsonValue value, std::size_t nUses) {
        JsonValue* const pOwn = name == "children" ? FindMember(node, "children") : nullptr;
        if (pOwn && pOwn->GetKind() == JsonValue::Kind::Array && value.GetKind() == JsonValue::Kind::Array) {
            for (JsonValue& child : value.Items()) {
                std::uint16_t const nWay = child.GetWay() != 0 ? child.GetWay() : value.GetWay();
                child.SetWay(AddWay({"", 0, 0, nUses, nWay}));
                pOwn->Append(m_source.pool, std::move(child));
            }
        } else {
            value.SetWay(AddWay({"", 0, 0, nUses, value.GetWay()}));
            node.SetMember(m_source.pool, name, std::move(value));
        }
    }

    // Limits

    void Count(JsonCursor const& place, JsonValue const& added) {
        m_nAdded += CountValues(added);
        if (m_nAdded > MaximumAdded) {
            place.Fail("templates and constants add more than " + std::to_string(MaximumAdded) + " values");
        }
    }

    void CheckDepth(JsonValue const& value, unsigned int nDepth) const {
        if (value.GetKind() != JsonValue::Kind::Object && value.GetKind() != JsonValue::Kind::Array) {
            return;
        }
        unsigned int const nMaximum = JsonLimits().nDepth;
        if (nDepth > nMaximum) {
            At(value).Fail("arrays and objects are nested deeper than " + std::to_string(nMaximum) +
                           " levels, with what templates add");
        }
        for (JsonValue const& item : value.GetItems()) {
            CheckDepth(item, nDepth + 1);
        }
    }

    JsonSource& m_source;
    Values m_constants;
    std::map<std::string, JsonCursor> m_constantValues; ///< where they are defined
    std::map<std::string, Template> m_templates;
    std::map<std::tuple<std::string, unsigned char, unsigned int, std::size_t, std::uint16_t>, std::uint16_t>
        m_ways;
    std::vector<JsonValue*> m_roots;  ///< of all files, each behind those that it includes
    std::vector<Open> m_open;         ///< files that include each other
    std::vector<Open> m_uses;         ///< templates inside each other
    std::set<std::string> m_included; ///< their canonical paths
    JsonLimits m_limits;              ///< of what is included, all together
    std::size_t m_nBytesLeft = MaximumSceneBytes;
    std::size_t m_nAdded = 0;
};

} // namespace

void ExpandTemplates(JsonSource& source) {
    Expansion(source).Run();
}

} // namespace trevik::kelvo::assets
