#pragma once

#include "image/Image.h"

#include <memory>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * A value of a JSON text with the line that it ends on. Numbers are finite. Members of an object keep their
 * order, and their names differ.
 */
class JsonValue {
public:
    enum class Kind : unsigned char { Null, Bool, Number, String, Array, Object };

    explicit JsonValue(Kind kind = Kind::Null, unsigned int nLine = 0, unsigned char nFile = 0)
        : m_kind(kind), m_nFile(nFile), m_nLine(nLine) {}

    Kind GetKind() const { return m_kind; }
    /** Number of the file that the value stands in: 0 for the first of those that belong together. */
    unsigned char GetFile() const { return m_nFile; }
    /** Line in the text, from 1; of an array or an object the line that it begins on. */
    unsigned int GetLine() const { return m_nLine; }

    bool GetBool() const { return m_number != 0; }
    double GetNumber() const { return m_number; }
    /** The text of a string, in UTF-8. */
    std::string const& GetText() const { return m_pContent->text; }
    /** Elements of an array, values of an object's members. */
    std::vector<JsonValue> const& GetItems() const { return m_pContent->items; }
    /** Names of an object's members; as many as there are items. */
    std::vector<std::string> const& GetNames() const { return m_pContent->names; }
    /** An object's member; null when it has none of that name. */
    JsonValue const* Find(std::string const& name) const;

    /** The same value once more. Copies nothing by itself: a copy may be large. */
    JsonValue Copy() const;
    /** Values of its own kind for a string, an array or an object, to be changed. */
    std::string& Text() { return m_pContent->text; }
    std::vector<JsonValue>& Items() { return m_pContent->items; }
    std::vector<std::string>& Names() { return m_pContent->names; }
    /** An object's member becomes `value`; a new one, if it has none of that name. */
    void SetMember(std::string const& name, JsonValue value);
    /** Takes a member out of an object. Null when it has none of that name. */
    JsonValue TakeMember(std::string const& name);

    /** Of an object that has come in another's place: which use of a template that was, from 1; else 0. */
    std::size_t GetUse() const { return m_pContent ? m_pContent->nUse : 0; }
    void SetUse(std::size_t nUse) { m_pContent->nUse = nUse; }

private:
    friend class JsonBuilder;

    struct Content {
        std::string text;
        std::vector<JsonValue> items;
        std::vector<std::string> names;
        std::size_t nUse = 0;
    };

    Kind m_kind;
    unsigned char m_nFile;
    unsigned int m_nLine;
    double m_number = 0;
    std::unique_ptr<Content> m_pContent; ///< of strings, arrays and objects
};

/** What a JSON text may ask for. */
struct JsonLimits {
    unsigned int nDepth = 128;      ///< arrays and objects inside each other
    std::size_t nValues = 1u << 22; ///< values of all kinds
};

/**
 * Reads a JSON text in UTF-8, which may have comments as C++ has them; `nFile` is the number that its values
 * get. Fails, leaving `root` alone, with one line that begins with `name` and the
 * place ("name:line:column: " for what is not JSON, "name:line: " for what is but is refused: a name that
 * occurs twice in an object, and more than the limits allow).
 */
bool ParseJson(ByteSpan text, std::string const& name, JsonLimits const& limits, JsonValue& root,
               Fault& fault, unsigned char nFile = 0);

} // namespace trevik::kelvo::assets
