#pragma once

#include "scene/JsonDocument.h"
#include "scene/SceneFaults.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevik::kelvo::assets {

/** A fault behind which nothing more is looked for, such as a limit that all of a scene shares. */
class FinalFault : public Fault {
public:
    using Fault::Fault;
};

/** A use of a template: what stands there has come from elsewhere. */
struct JsonUse {
    std::string templateName;
    unsigned char nFile;
    unsigned int nLine;
    std::size_t nOuter; ///< the use that this one has come with, from 1; 0 for none
};

/** A way in which a value has come to where it is: in place of a name, or from beside a template's use. */
struct JsonWay {
    std::string name;    ///< of the parameter or constant; empty for what has been given beside a use
    unsigned char nFile; ///< that the name stands in
    unsigned int nLine;
    std::size_t nUses;    ///< templates inside each other that what is given beside a use does not come from
    std::uint16_t nInner; ///< the way that it had come before, from 1; 0 for none
};

/** From the least to the largest number that is read. */
struct NumberRange {
    double least;
    double largest;
};

/** Another file of the same document. */
struct JsonFile {
    std::string name;
    std::string folder;
    JsonValue root;
};

/** A JSON document, the name that messages give it, and what those who read it have found wrong. */
struct JsonSource {
    std::string name;
    JsonValue root;
    SceneFaults faults = SceneFaults();
    std::string folder = std::string();                     ///< empty or ends in "/"
    std::deque<JsonFile> included = std::deque<JsonFile>(); ///< files of the numbers from 1 on
    std::vector<JsonUse> uses = std::vector<JsonUse>();     ///< numbered from 1 on
    std::vector<JsonWay> ways = std::vector<JsonWay>();     ///< numbered from 1 on
    std::vector<JsonUse> unused = std::vector<JsonUse>();   ///< templates of the first file without any
    JsonPool pool = {};                                     ///< of all files

    std::string const& GetFileName(unsigned char nFile) const {
        return nFile == 0 ? name : included[nFile - 1u].name;
    }

    /** Ends the values of all files. What has been found wrong stays. */
    void EndValues() {
        root = JsonValue();
        included.clear();
        pool.Clear();
    }
};

/**
 * A place in a JSON document. Reading something else than what stands there throws a Fault that lies
 * at "name:line: /path/to/value"; where that came from a template, the use is named behind the line. The
 * document must outlive it.
 */
class JsonCursor {
public:
    explicit JsonCursor(JsonSource& source) : JsonCursor(source, source.root) {}
    /** `value` is one of the source's. */
    JsonCursor(JsonSource& source, JsonValue const& value) : m_pSource(&source), m_pValue(&value) {}

    JsonValue const& GetValue() const { return *m_pValue; }
    bool Is(JsonValue::Kind kind) const { return m_pValue->GetKind() == kind; }

    /** The name of the file that the value stands in, and the folder that paths in it begin at. */
    std::string const& GetFileName() const { return m_pSource->GetFileName(m_pValue->GetFile()); }
    std::string const& GetFolder() const;
    /**
     * How a value has come to where it is, in a few words: `template "row", used at scene.json:31`, or
     * `for $color at widgets.json:8 of template "row", used at scene.json:31`, with what that came with
     * behind; empty for what stands there itself. `outward` are the value and those around it, up to one
     * that has come from a template at least.
     */
    std::string DescribeUse(std::vector<JsonValue const*> const& outward) const;
    /** The templates of the document's first file that nothing has used, where they have stood. */
    std::vector<JsonUse> const& GetUnusedTemplates() const { return m_pSource->unused; }
    /** Whether anything in the document has come to where it is in such a way. */
    bool HasUses() const { return !m_pSource->uses.empty() || !m_pSource->ways.empty(); }

    /**
     * "file:line: /path", or with a template or a name "file:line (template ...): /path". The whole document
     * is searched for it.
     */
    std::string GetPlace() const;
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

    /** Whether nothing wrong has been noted for the document. */
    bool IsFaultless() const { return m_pSource->faults.Get().empty(); }

    bool ReadBool() const;
    /** A number that lies in a range. */
    double ReadNumber(double minimum, double maximum) const;
    double ReadNumber(NumberRange const& range) const { return ReadNumber(range.least, range.largest); }
    /** A number without a fraction that lies in a range. */
    int ReadInteger(int nMinimum, int nMaximum) const;
    int ReadInteger(NumberRange const& range) const {
        return ReadInteger(static_cast<int>(range.least), static_cast<int>(range.largest));
    }
    std::string const& ReadText() const;
    /** One of some words; returns its index. */
    std::size_t ReadWord(char const* what, std::vector<std::string> const& words) const;

    /**
     * The number of elements of an array, which `what` describes; `nExact`, when not 0, is what it must be.
     */
    std::size_t ReadCount(std::string_view what, std::size_t nExact = 0) const;
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
    std::size_t GetMemberCount() const {
        return Is(JsonValue::Kind::Object) ? m_pValue->GetItems().size() : 0;
    }
    std::string const& GetMemberName(std::size_t nMember) const { return m_pValue->GetName(nMember); }
    JsonCursor GetMember(std::size_t nMember) const { return GetItem(nMember); }
    std::optional<JsonCursor> Find(std::string_view name) const;
    /** The same, but throws when there is none. */
    JsonCursor Require(std::string_view name) const;

private:
    Fault MakeUnknownName(std::string const& name, char const* what,
                          std::vector<std::string> const& known) const;
    std::string DescribeUse(std::size_t nUse) const;
    std::vector<std::string> GetNames(JsonValue const& value, std::size_t& nUsesLess) const;

    JsonSource* m_pSource;
    JsonValue const* m_pValue;
};

/** The number as short as it can be written without becoming another one. */
std::string FormatNumber(double number);
std::string FormatNumber(float number);

/** The same for texts and files: whole numbers without an exponent, and alike in all locales. */
std::string WriteNumber(double number);

} // namespace trevik::kelvo::assets
