#include "scene/JsonCursor.h"

#include "scene/Suggestion.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace trevik::kelvo::assets {

namespace {

/** The text as a message can hold it: on one line and not too long. */
std::string Quote(std::string const& text) {
    constexpr std::size_t Longest = 40;
    std::string quoted = "\"";
    for (std::size_t n = 0; n < text.size() && n < Longest; ++n) {
        unsigned char const unit = static_cast<unsigned char>(text[n]);
        quoted += unit < ' ' || unit == 127 ? '?' : text[n];
    }
    return quoted + (text.size() > Longest ? "...\"" : "\"");
}

std::string Describe(JsonValue const& value) {
    switch (value.GetKind()) {
    case JsonValue::Kind::Null:
        return "null";
    case JsonValue::Kind::Bool:
        return value.GetBool() ? "true" : "false";
    case JsonValue::Kind::Number:
        return FormatNumber(value.GetNumber());
    case JsonValue::Kind::String:
        return "string " + Quote(value.GetText());
    case JsonValue::Kind::Array:
        return value.GetItems().empty() ? "an empty array"
                                        : "an array of " + std::to_string(value.GetItems().size());
    case JsonValue::Kind::Object:
        return "an object";
    }
    return "nothing";
}

template <class Number>
std::string FormatShortest(Number number) {
    char text[40];
    for (int nDigits = 6; nDigits <= std::numeric_limits<Number>::max_digits10; ++nDigits) {
        std::snprintf(text, sizeof text, "%.*g", nDigits, static_cast<double>(number));
        if (static_cast<Number>(std::strtod(text, nullptr)) == number) {
            break;
        }
    }
    return text;
}

/** A member's name as a step of a path: on one line, not too long, and as JSON pointers write it. */
std::string DescribeStep(std::string const& name) {
    constexpr std::size_t Longest = 60;
    std::string step;
    for (std::size_t n = 0; n < name.size() && n < Longest; ++n) {
        char const unit = name[n];
        step += unit == '~'   ? "~0"
                : unit == '/' ? "~1"
                              : std::string(1, static_cast<unsigned char>(unit) < ' ' ? '?' : unit);
    }
    return name.size() > Longest ? step + "..." : step;
}

/**
 * The way from a value down to another, and the values on it, the last one first. Only a fault asks for it,
 * so it is looked for rather than kept.
 */
bool FindPath(JsonValue const& from, JsonValue const& to, std::string& path,
              std::vector<JsonValue const*>& outward) {
    if (&from == &to) {
        outward.push_back(&from);
        return true;
    }
    bool const fObject = from.GetKind() == JsonValue::Kind::Object;
    if (!fObject && from.GetKind() != JsonValue::Kind::Array) {
        return false;
    }
    for (std::size_t n = 0; n < from.GetItems().size(); ++n) {
        if (FindPath(from.GetItems()[n], to, path, outward)) {
            outward.push_back(&from);
            path.insert(0, "/" + (fObject ? DescribeStep(from.GetName(n)) : std::to_string(n)));
            return true;
        }
    }
    return false;
}

} // namespace

std::string FormatNumber(double number) {
    return FormatShortest(number);
}

std::string FormatNumber(float number) {
    return FormatShortest(number);
}

std::string WriteNumber(double number) {
    if (number == 0 && std::signbit(number)) {
        return "-0.0"; // read without a point, it would be 0
    }
    constexpr double Largest = 1e15; // up to which all whole numbers can be told apart
    if (number == std::floor(number) && std::fabs(number) < Largest) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.0f", number);
        return digits;
    }
    std::string text = FormatNumber(number);
    std::replace(text.begin(), text.end(), ',', '.');
    return text;
}

std::string const& JsonCursor::GetFolder() const {
    unsigned char const nFile = m_pValue->GetFile();
    return nFile == 0 ? m_pSource->folder : m_pSource->included[nFile - 1u].folder;
}

std::string JsonCursor::DescribeUse(std::size_t nUse) const {
    constexpr int Most = 3;
    std::string text;
    for (int n = 0; nUse != 0; nUse = m_pSource->uses[nUse - 1].nOuter, ++n) {
        if (n == Most) {
            return text + "; ...";
        }
        JsonUse const& use = m_pSource->uses[nUse - 1];
        text += std::string(text.empty() ? "" : "; ") + "template " + Quote(use.templateName) + ", used at " +
                m_pSource->GetFileName(use.nFile) + ":" + std::to_string(use.nLine);
    }
    return text;
}

/** The names that a value has come in place of, the first one first; and adds what has been given beside. */
std::vector<std::string> JsonCursor::GetNames(JsonValue const& value, std::size_t& nUsesLess) const {
    std::vector<std::string> names;
    for (std::uint16_t nWay = value.GetWay(); nWay != 0; nWay = m_pSource->ways[nWay - 1u].nInner) {
        JsonWay const& way = m_pSource->ways[nWay - 1u];
        nUsesLess += way.nUses;
        if (!way.name.empty()) {
            names.insert(names.begin(), "$" + way.name + " at " + m_pSource->GetFileName(way.nFile) + ":" +
                                            std::to_string(way.nLine));
        }
    }
    return names;
}

std::string JsonCursor::DescribeUse(std::vector<JsonValue const*> const& outward) const {
    constexpr int Most = 3;
    std::string text;
    int nNames = 0;
    std::size_t nUse = 0;
    std::size_t nUsesLess = 0;
    for (auto value = outward.begin(); value != outward.end() && nUse == 0; ++value) {
        nUse = (*value)->GetUse();
        if (nUse != 0) {
            break;
        }
        for (std::string const& name : GetNames(**value, nUsesLess)) {
            text += nNames > Most ? "" : nNames == Most ? ", ..." : (nNames == 0 ? "for " : ", for ") + name;
            ++nNames;
        }
    }
    for (; nUse != 0 && nUsesLess > 0; --nUsesLess) {
        nUse = m_pSource->uses[nUse - 1].nOuter;
    }
    return text + (text.empty() || nUse == 0 ? "" : " of ") + DescribeUse(nUse);
}

std::string JsonCursor::GetPlace() const {
    std::string path;
    std::vector<JsonValue const*> outward;
    bool fFound = FindPath(m_pSource->root, *m_pValue, path, outward);
    for (std::size_t n = 0; n < m_pSource->included.size() && !fFound; ++n) {
        fFound = FindPath(m_pSource->included[n].root, *m_pValue, path, outward);
    }
    std::string const uses = DescribeUse(outward);
    return GetFileName() + ":" + std::to_string(m_pValue->GetLine()) +
           (uses.empty() ? "" : " (" + uses + ")") + (path.empty() ? "" : ": " + path);
}

void JsonCursor::Fail(std::string const& what) const {
    throw Fault(GetPlace(), what);
}

void JsonCursor::Fail(Fault const& fault) const {
    throw fault.Within(GetPlace());
}

void JsonCursor::FailFinally(std::string const& what) const {
    throw FinalFault(GetPlace(), what);
}

void JsonCursor::FailExpected(std::string const& what) const {
    Fail("expected " + what + ", found " + Describe(*m_pValue));
}

bool JsonCursor::ReadBool() const {
    if (!Is(JsonValue::Kind::Bool)) {
        FailExpected("true or false");
    }
    return m_pValue->GetBool();
}

double JsonCursor::ReadNumber(double minimum, double maximum) const {
    if (!Is(JsonValue::Kind::Number)) {
        FailExpected("a number");
    }
    double const number = m_pValue->GetNumber();
    if (!(number >= minimum && number <= maximum)) {
        FailExpected("a number from " + FormatNumber(minimum) + " to " + FormatNumber(maximum));
    }
    return number;
}

int JsonCursor::ReadInteger(int nMinimum, int nMaximum) const {
    if (!Is(JsonValue::Kind::Number) || m_pValue->GetNumber() != std::floor(m_pValue->GetNumber())) {
        FailExpected("a whole number");
    }
    double const number = m_pValue->GetNumber();
    if (number < nMinimum || number > nMaximum) {
        FailExpected("a whole number from " + std::to_string(nMinimum) + " to " + std::to_string(nMaximum));
    }
    return static_cast<int>(number);
}

std::string const& JsonCursor::ReadText() const {
    if (!Is(JsonValue::Kind::String)) {
        FailExpected("a string");
    }
    return m_pValue->GetText();
}

std::size_t JsonCursor::ReadWord(char const* what, std::vector<std::string> const& words) const {
    std::string const& text = ReadText();
    for (std::size_t n = 0; n < words.size(); ++n) {
        if (words[n] == text) {
            return n;
        }
    }
    Fail("unknown " + std::string(what) + " " + Quote(text) + DescribeKnownNames(text, words));
}

std::size_t JsonCursor::ReadCount(std::string_view what, std::size_t nExact) const {
    if (!Is(JsonValue::Kind::Array) || (nExact != 0 && m_pValue->GetItems().size() != nExact)) {
        FailExpected(std::string(what));
    }
    return m_pValue->GetItems().size();
}

void JsonCursor::ReadObject(char const* what) const {
    if (!Is(JsonValue::Kind::Object)) {
        FailExpected(what);
    }
}

void JsonCursor::CheckNames(std::vector<std::string> const& known) const {
    std::optional<Fault> last;
    for (std::size_t n = 0; n < GetMemberCount(); ++n) {
        std::string const& name = GetMemberName(n);
        bool fKnown = name == "comment";
        for (std::string const& other : known) {
            fKnown = fKnown || other == name;
        }
        if (!fKnown) {
            if (last) {
                m_pSource->faults.Add(*last);
            }
            last = GetMember(n).MakeUnknownName(name, "key", known);
        }
    }
    if (last) {
        throw Fault(*last);
    }
}

void JsonCursor::FailUnknownName(std::string const& name, char const* what,
                                 std::vector<std::string> const& known) const {
    throw MakeUnknownName(name, what, known);
}

Fault JsonCursor::MakeUnknownName(std::string const& name, char const* what,
                                  std::vector<std::string> const& known) const {
    return Fault(GetPlace(),
                 "unknown " + std::string(what) + " " + Quote(name) + DescribeKnownNames(name, known));
}

std::optional<JsonCursor> JsonCursor::Find(std::string_view name) const {
    JsonValue const* const pValue = m_pValue->Find(name);
    if (!pValue) {
        return std::nullopt;
    }
    return JsonCursor(*m_pSource, *pValue);
}

JsonCursor JsonCursor::Require(std::string_view name) const {
    std::optional<JsonCursor> const found = Find(name);
    if (!found) {
        Fail("there is no \"" + std::string(name) + "\"");
    }
    return *found;
}

} // namespace trevik::kelvo::assets
