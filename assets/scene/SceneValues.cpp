#include "scene/SceneValues.h"

#include <algorithm>
#include <string>

namespace trevik::kelvo::assets {

std::string ReadPath(JsonCursor const& place, char const* what) {
    std::string const& path = place.ReadText();
    if (path.empty() || path.find('\0') != std::string::npos) {
        place.FailExpected(std::string("the path of ") + what);
    }
    return path[0] == '/' ? path : place.GetFolder() + path;
}

bool ReadFlag(JsonCursor const& place, char const* pName, bool fInitial) {
    std::optional<JsonCursor> const flag = place.Find(pName);
    return flag ? flag->ReadBool() : fInitial;
}

namespace {

/** Whether a name is that of a property and one of its components, "Position.x". */
bool IsComponentOf(std::string const& property, std::string const& name) {
    return name.size() > property.size() && name[property.size()] == '.' &&
           name.compare(0, property.size(), property) == 0;
}

} // namespace

std::string FindGiven(JsonCursor const& place, std::string const& property) {
    std::string found;
    for (std::size_t n = 0; n < place.GetMemberCount(); ++n) {
        std::string const& name = place.GetMemberName(n);
        if (name != property && !IsComponentOf(property, name)) {
            continue;
        }
        if (place.GetMember(n).Is(JsonValue::Kind::Object)) {
            return name;
        }
        found = found.empty() ? name : found;
    }
    return found;
}

std::string ReadLines(JsonCursor const& place) {
    if (!place.Is(JsonValue::Kind::Array)) {
        return place.ReadText();
    }
    std::string text;
    std::size_t const nLines = place.ReadCount("an array of lines");
    for (std::size_t n = 0; n < nLines; ++n) {
        text += (n == 0 ? "" : "\n") + place.GetItem(n).ReadText();
    }
    return text;
}

StringEncoded<UTF16Encoding> ToUtf16(std::string const& text) {
    auto const isAscii = [](char unit) { return static_cast<unsigned char>(unit) < 0x80; };
    if (std::all_of(text.begin(), text.end(), isAscii)) { // as names mostly are
        std::u16string const units(text.begin(), text.end());
        return String16(units.data(), static_cast<unsigned int>(units.size()));
    }
    return String16(String8(text.data(), static_cast<unsigned int>(text.size())));
}

void VisitCharacters(std::string const& text, std::function<void(unsigned int)> const& visit) {
    int const nLength = static_cast<int>(text.size());
    for (int nIndex = 0; nIndex < nLength;) {
        visit(static_cast<unsigned int>(UTF8Encoding::GetNextChar(text.data(), nIndex, nLength)));
    }
}

} // namespace trevik::kelvo::assets
