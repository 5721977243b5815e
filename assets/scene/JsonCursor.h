#pragma once

#include "scene/JsonDocument.h"
#include "scene/SceneFaults.h"

#include <optional>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** A JSON document, the name that messages give it, and what those who read it have found wrong. */
struct JsonSource {
    std::string name;
    JsonValue root;
    SceneFaults faults;
};

/**
 * A place in a JSON document. Reading something else than what stands there throws a Fault that lies
 * at "name:line: /path/to/value". The document must outlive it.
 */
class JsonCursor {
public:
    explicit JsonCursor(JsonSource& source) : JsonCursor(source, source.root) {}

    JsonValue const& GetValue() const { return *m_pValue; }
    bool Is(JsonValue::Kind kind) const { return m_pValue->GetKind() == kind; }

    /** Throws "file:line: /path: what". */
    [[noreturn]] void Fail(std::string const& what) const;
    /** Throws the fault of what is named here, such as a file. */
    [[noreturn]] void Fail(Fault const& fault) const;
    /** Throws a FinalFault: one that all that follows would have, too. */
    [[noreturn]] void FailFinally(std::string const& what) const;
    /** Throws "expected <what>, found <what stands here>". */
    [[noreturn]] void FailExpected(std::string const& what) const;

    /**
     * Calls `read`, which reads a part of the document. When it throws a Fault that is no FinalFault, that is
     * noted for the document, so that what does not depend on this part can be read all the same; answers
     * whether it did not.
     */
    template <class Read>
    bool Attempt(Read read) const {
        try {
            read();
            return true;
        } catch (FinalFault const&) {
            throw;
        } catch (Fault const& fault) {
            m_pSource->faults.Add(fault);
            return false;
        }
    }

    bool ReadBool() const;
    /** A number that lies in a range. */
    double ReadNumber(double minimum, double maximum) const;
    /** A number without a fraction that lies in a range. */
    int ReadInteger(int nMinimum, int nMaximum) const;
    std::string const& ReadText() const;
    /** One of some words; returns its index. */
    std::size_t ReadWord(char const* what, std::vector<std::string> const& words) const;

    /**
     * The number of elements of an array, which `what` describes; `nExact`, when not 0, is what it must be.
     */
    std::size_t ReadCount(std::string const& what, std::size_t nExact = 0) const;
    JsonCursor GetItem(std::size_t nIndex) const {
        return JsonCursor(*m_pSource, m_pValue->GetItems()[nIndex]);
    }

    /** Throws unless this is an object. */
    void ReadObject(char const* what) const;
    /** Throws when members' names are not among the known ones; "comment" always is. */
    void CheckNames(std::vector<std::string> const& known) const;
    /** Throws for a name that has no meaning here, with the known one that is nearest to it. */
    [[noreturn]] void FailUnknownName(std::string const& name, char const* what,
                                      std::vector<std::string> const& known) const;
    std::size_t GetMemberCount() const { return m_pValue->GetNames().size(); }
    std::string const& GetMemberName(std::size_t nMember) const { return m_pValue->GetNames()[nMember]; }
    JsonCursor GetMember(std::size_t nMember) const { return GetItem(nMember); }
    std::optional<JsonCursor> Find(std::string const& name) const;
    /** The same, but throws when there is none. */
    JsonCursor Require(std::string const& name) const;

private:
    Fault MakeUnknownName(std::string const& name, char const* what,
                          std::vector<std::string> const& known) const;
    /** "file:line: /path" */
    std::string GetPlace() const;

    JsonCursor(JsonSource& source, JsonValue const& value) : m_pSource(&source), m_pValue(&value) {}

    JsonSource* m_pSource;
    JsonValue const* m_pValue;
};

/** The number as short as it can be written without becoming another one. */
std::string FormatNumber(double number);

} // namespace trevik::kelvo::assets
