#pragma once

#include "scene/JsonCursor.h"
#include "trevik/StringEncoded.h"

#include <functional>
#include <string>

namespace trevik::kelvo::assets {

// What several parts of a scene file say in the same way. All throw a Fault.

/**
 * The path of a file, which `what` names ("an image file"); a relative one starts at the folder of
 * the file that it stands in.
 */
std::string ReadPath(JsonCursor const& place, char const* what);

/** The member `pName`, true or false; `fInitial` when there is none. */
bool ReadFlag(JsonCursor const& place, char const* pName, bool fInitial = false);

/**
 * The member that gives a property a value, all of it or a component ("Position.x"); empty for none. Of
 * several one that animates it.
 */
std::string FindGiven(JsonCursor const& place, std::string const& property);

/** A text: a string, or an array of strings, which become its lines. */
std::string ReadLines(JsonCursor const& place);

StringEncoded<UTF16Encoding> ToUtf16(std::string const& text);

/** Calls `visit` with each code point of a text in UTF-8, in order. */
void VisitCharacters(std::string const& text, std::function<void(unsigned int)> const& visit);

} // namespace trevik::kelvo::assets
