#pragma once

#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/DocumentNode.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/Serializer.h"

#include <cstdint>
#include <cstdlib>
#include <string>

/** What the targets have in common. */
namespace kelvokit::fuzz {

/** Ends the process, which keeps the input, when something does not hold. */
inline void Require(bool fHolds) {
    if (!fHolds) {
        std::abort();
    }
}

/** A message is one line, and says first what it is about. */
inline void RequireMessage(std::string const& message, char const* pStart) {
    Require(message.rfind(pStart, 0) == 0 && message.find_first_of(std::string("\n\0", 2)) == message.npos);
}

inline void DropTraces() {
    trevik::Debug::SetSink(
        [](void*, trevik::TraceLevel::Enum, trevik::StringEncoded<trevik::UTF16Encoding> const&) {});
}

inline trevik::List<unsigned char> Write(trevik::kelvo::DocumentNode const& document) {
    trevik::List<unsigned char> bytes;
    Require(document.Write(bytes));
    return bytes;
}

/** Triangles must lie within their mesh: what draws them does not look. */
inline void RequireSound(trevik::kelvo::GlyphMesh const& mesh) {
    trevik::List<unsigned short> const& indices = mesh.m_indices.GetValue();
    for (unsigned short const nIndex : indices) {
        Require(nIndex < mesh.m_positions.GetValue().GetCount());
    }
    Require(indices.GetCount() % 3 == 0);
}

/** What can be saved can be loaded again, and is saved the same then. */
template <class T>
void RequireSavesTheSame(T const& object, trevik::ClassRegistry& registry) {
    trevik::kelvo::Serializer serializer;
    auto const pSaved = object.Save(serializer) ? serializer.Finish() : nullptr;
    if (!pSaved) {
        return; // deeper with all its properties than a document can be
    }
    trevik::kelvo::Deserializer deserializer(pSaved, registry);
    T again;
    Require(again.Load(deserializer));
    trevik::kelvo::Serializer second;
    Require(again.Save(second));
    auto const pSavedAgain = second.Finish();
    Require(pSavedAgain && Write(*pSavedAgain) == Write(*pSaved));
}

} // namespace kelvokit::fuzz
